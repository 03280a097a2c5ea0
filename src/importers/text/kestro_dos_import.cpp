#include "importers/text/kestro_dos_import.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <vector>

namespace {

// Large enough to read quickly, small enough that memory stays flat.
constexpr size_t kBlockSize = 1 << 20;
// A document that grows beyond this is handed to the engine in pieces.
constexpr size_t kPieceSize = 1 << 20;
// How the export ends a file written with documents ended by NUL pairs.
constexpr char kEndMark[2] = {'\0', '\0'};

// Reads up to the last two bytes of the file at `path` into `tail` (the last
// byte last); returns how many there were: 0 for an empty file or one that
// cannot be read.
size_t ReadLastBytes(const std::string& path, char tail[2]) {
  // Never blocks on a FIFO; anything but a regular file gives 0.
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return 0;
  struct stat info {};
  size_t count = 0;
  if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0) {
    count = info.st_size >= 2 ? 2 : 1;
    if (::pread(fd, tail, count, info.st_size - static_cast<off_t>(count)) !=
        static_cast<ssize_t>(count)) {
      count = 0;
    }
  }
  ::close(fd);
  return count;
}

}  // namespace

int CIMPKestroDos::CheckFile(const std::string& file_name) {
  char tail[2] = {};
  const size_t count = ReadLastBytes(file_name, tail);
  if (count == 0) return 0;
  if (count == 2 && std::memcmp(tail, kEndMark, 2) == 0) return 1;
  return tail[count - 1] == '\0' ? 1 : 0;
}

bool CIMPKestroDos::EndDocument(uint64_t position) {
  // An abort stops the import between documents; one already begun in the
  // engine is finished.
  if (!piece_sent_ && Aborted()) return false;
  const bool saved = SavePiece(FromSource(document_, &scratch_), true, position);
  document_.clear();
  piece_sent_ = false;
  return saved;
}

bool CIMPKestroDos::HandOutPiece(uint64_t position) {
  if (!piece_sent_ && Aborted()) return false;
  // Cut after the last line end so that no line is split between pieces; a
  // line longer than a piece is the one that must be cut where it stands.
  const size_t line_end = document_.find_last_of("\r\n");
  const size_t cut = line_end == std::string::npos ? document_.size() : line_end + 1;
  const uint64_t held_back = document_.size() - cut;
  const bool saved = SavePiece(FromSource(std::string_view(document_).substr(0, cut), &scratch_),
                               false, position - held_back);
  document_.erase(0, cut);
  piece_sent_ = true;
  return saved;
}

int CIMPKestroDos::ImportSource() {
  char tail[2] = {};
  const bool pairs_end_documents = ReadLastBytes(Source().path(), tail) == 2 && tail[0] == '\0';

  std::vector<char> block(kBlockSize);
  uint64_t position = 0;     // source bytes read so far
  bool pending_nul = false;  // a NUL that a next NUL may pair with
  while (!Aborted()) {
    const ssize_t got = Source().Read(block.data(), block.size());
    if (got < 0) return ReadFailed();
    if (got == 0) break;
    std::string_view rest(block.data(), static_cast<size_t>(got));
    uint64_t at = position;  // source offset of rest's first byte
    position += static_cast<uint64_t>(got);
    while (!rest.empty()) {
      if (pending_nul) {
        pending_nul = false;
        if (rest.front() == '\0') {
          rest.remove_prefix(1);
          ++at;
          if (!EndDocument(at)) return Failed() ? 0 : 1;
          continue;
        }
        document_ += '\n';  // a lone NUL is a line break
      }
      const size_t nul = rest.find('\0');
      if (nul == std::string_view::npos) {
        document_.append(rest);
        break;
      }
      document_.append(rest.substr(0, nul));
      rest.remove_prefix(nul + 1);
      at += nul + 1;
      if (pairs_end_documents) {
        pending_nul = true;
      } else if (!EndDocument(at)) {
        return Failed() ? 0 : 1;
      }
    }
    if (document_.size() > kPieceSize && !HandOutPiece(position)) return Failed() ? 0 : 1;
  }
  if (WasAborted()) return 1;
  if (pending_nul) document_ += '\n';
  if ((!document_.empty() || piece_sent_) && !EndDocument(position)) return Failed() ? 0 : 1;
  return 1;
}
