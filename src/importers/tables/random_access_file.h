// RandomAccessFile: a file opened read-only whose bytes are read at any
// offset, never past its end.  Table files are read this way: a table in
// large blocks from front to back, its memo file a value at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace ks::tables {

class RandomAccessFile {
 public:
  RandomAccessFile() = default;
  ~RandomAccessFile();
  RandomAccessFile(const RandomAccessFile&) = delete;
  RandomAccessFile& operator=(const RandomAccessFile&) = delete;

  // Opens a regular file; false (with errno's text in `error`) when it
  // cannot be opened or is not a regular file.
  bool Open(const std::string& path, std::string& error);

  // Reads up to `size` bytes at `offset`: fewer only at the end of the
  // file; -1 on a failure of the system.
  ptrdiff_t ReadAt(uint64_t offset, char* buffer, size_t size) const;

  uint64_t size() const { return size_; }
  bool is_open() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
  uint64_t size_ = 0;  // taken at Open: a table does not grow while it is read
};

}  // namespace ks::tables
