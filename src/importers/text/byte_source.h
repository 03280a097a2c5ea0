// ByteSource: where the text readers get their bytes, one block at a time.
// A source file and a stream are the real sources; a string lets tests
// (and previews of a few lines) feed text, optionally in tiny pieces to
// exercise every block boundary.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string_view>

#include "core/source_file.h"

namespace ks::text {

class ByteSource {
 public:
  virtual ~ByteSource() = default;
  // Reads up to `size` bytes into `buffer`: the count read, 0 at the end of
  // the input, -1 when reading failed.
  virtual ssize_t Read(char* buffer, size_t size) = 0;
  // Where in the underlying file the byte `position` of what Read handed
  // out came from; the same number unless the source decodes its file.
  virtual uint64_t FileOffsetOf(uint64_t position) const { return position; }
};

// Reads a source file the caller opened, as the importers do: text that
// declares Unicode arrives as UTF-8 (see SourceFile).
class SourceFileBytes : public ByteSource {
 public:
  explicit SourceFileBytes(SourceFile& file) : file_(file) {}
  ssize_t Read(char* buffer, size_t size) override { return file_.Read(buffer, size); }
  uint64_t FileOffsetOf(uint64_t position) const override { return file_.FileOffsetOf(position); }

 private:
  SourceFile& file_;
};

// Reads a stream opened by the caller (in binary mode, so that line ends
// arrive as they are in the file).
class StreamSource : public ByteSource {
 public:
  explicit StreamSource(std::istream& stream) : stream_(stream) {}
  ssize_t Read(char* buffer, size_t size) override;

 private:
  std::istream& stream_;
};

// Reads a string that must outlive the source, at most `piece` bytes a call.
class StringSource : public ByteSource {
 public:
  explicit StringSource(std::string_view text, size_t piece = static_cast<size_t>(-1))
      : rest_(text), piece_(piece == 0 ? 1 : piece) {}
  ssize_t Read(char* buffer, size_t size) override;

 private:
  std::string_view rest_;
  size_t piece_;
};

}  // namespace ks::text
