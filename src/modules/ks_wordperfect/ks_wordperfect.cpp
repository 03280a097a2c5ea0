// The exported conversion of KSWordPerfect: the document's text (libwpd)
// written as a UTF-8 copy into the import's temporary folder.
#include "ks_wordperfect.h"

#include <fcntl.h>
#include <librevenge-stream/librevenge-stream.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "wordperfect_text.h"

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// $TMPDIR (else /tmp) without trailing slashes, and "/KSTmpImp": the folder
// the import library deletes converted copies from.
std::string TempImportFolder() {
  const char* tmpdir = std::getenv("TMPDIR");
  std::string folder = tmpdir != nullptr && *tmpdir != '\0' ? tmpdir : "/tmp";
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  if (folder == "/") folder.clear();
  return folder + "/KSTmpImp";
}

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

// Writes the byte-order mark and `text` to a new file of the folder; its
// path in *path.  KS_WP_OK or KS_WP_ERROR_WRITE (no file left).
int WriteCopy(const std::string& text, std::string* path) {
  const std::string folder = TempImportFolder();
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return KS_WP_ERROR_WRITE;
  std::string name = folder + "/wp-XXXXXX.txt";
  // mkstemps makes the file with mode 0600 and a name nobody else holds.
  const int fd = ::mkstemps(name.data(), 4);
  if (fd < 0) return KS_WP_ERROR_WRITE;
  const bool written = WriteAll(fd, kUtf8Mark) && WriteAll(fd, text);
  if (::close(fd) != 0 || !written) {
    ::unlink(name.c_str());
    return KS_WP_ERROR_WRITE;
  }
  *path = std::move(name);
  return KS_WP_OK;
}

int Convert(const char* in_path, char* out_path) {
  std::string text;
  {
    librevenge::RVNGFileStream input(in_path);
    switch (ks::wordperfect::ConvertToText(input, text)) {
      case ks::wordperfect::ConvertError::kNone:
        break;
      case ks::wordperfect::ConvertError::kNotWordPerfect:
        return KS_WP_ERROR_NOT_WP;
      case ks::wordperfect::ConvertError::kEncrypted:
        return KS_WP_ERROR_ENCRYPTED;
      case ks::wordperfect::ConvertError::kParse:
        return KS_WP_ERROR_PARSE;
    }
  }
  std::string path;
  if (const int error = WriteCopy(text, &path); error != KS_WP_OK) return error;
  if (path.size() >= KS_WP_PATH_BUFFER) {
    ::unlink(path.c_str());
    return KS_WP_ERROR_PATH;
  }
  std::memcpy(out_path, path.c_str(), path.size() + 1);
  return KS_WP_OK;
}

}  // namespace

extern "C" KS_WORDPERFECT_API int KSWp2rtf(const char* in_path, char* out_path) {
  if (in_path == nullptr || out_path == nullptr) return KS_WP_ERROR_ARGUMENT;
  try {
    return Convert(in_path, out_path);
  } catch (...) {
    return KS_WP_ERROR_INTERNAL;
  }
}
