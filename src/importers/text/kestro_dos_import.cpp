#include "importers/text/kestro_dos_import.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "importers/text/dos_export_splitter.h"

namespace {

// Large enough to read quickly, small enough that memory stays flat.
constexpr size_t kBlockSize = 1 << 20;
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

// Hands the splitter's pieces to the writer.
class CIMPKestroDos::DocumentSink : public ks::text::DosExportSplitter::Sink {
 public:
  explicit DocumentSink(CIMPKestroDos& importer) : importer_(importer) {}

  bool Take(const ks::text::DosExportSplitter::Piece& piece) override {
    // An abort stops the import between documents; one already begun in the
    // engine is finished.
    if (!piece.continues_document && importer_.Aborted()) return false;
    return importer_.SavePiece(piece.text, piece.ends_document,
                               importer_.Source().FileOffsetOf(piece.position));
  }

 private:
  CIMPKestroDos& importer_;
};

int CIMPKestroDos::ImportSource() {
  char tail[2] = {};
  const bool pairs_end_documents = ReadLastBytes(Source().path(), tail) == 2 && tail[0] == '\0';
  DocumentSink sink(*this);
  ks::text::DosExportSplitter splitter(pairs_end_documents, sink);

  std::vector<char> block(kBlockSize);
  while (!Aborted()) {
    const ssize_t got = Source().Read(block.data(), block.size());
    if (got < 0) return ReadFailed();
    if (got == 0) break;
    if (!splitter.Feed(std::string_view(block.data(), static_cast<size_t>(got)))) {
      return Failed() ? 0 : 1;
    }
  }
  if (WasAborted()) return 1;
  return (splitter.Finish() || !Failed()) ? 1 : 0;
}
