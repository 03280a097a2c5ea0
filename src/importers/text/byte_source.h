// ByteSource: where the text readers get their bytes, one block at a time.
// A file descriptor and a stream are the real sources; a string lets tests
// (and previews of a few lines) feed text, optionally in tiny pieces to
// exercise every block boundary.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <istream>
#include <string_view>

namespace ks::text {

class ByteSource {
 public:
  virtual ~ByteSource() = default;
  // Reads up to `size` bytes into `buffer`: the count read, 0 at the end of
  // the input, -1 when reading failed.
  virtual ssize_t Read(char* buffer, size_t size) = 0;
};

// Reads an open file descriptor, which stays the caller's to close.
class FileDescriptorSource : public ByteSource {
 public:
  explicit FileDescriptorSource(int fd) : fd_(fd) {}
  ssize_t Read(char* buffer, size_t size) override;

 private:
  int fd_;
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
