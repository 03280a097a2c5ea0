// ReadOnlyFile: a table or memo file opened for reading pieces at given
// offsets: blocks front to back, or the places a file's own structure
// (block chains, memo pointers) points at.  Every read is checked against
// the file's size, so that no offset taken from the file's bytes reads
// outside it: a range beyond the end is a damaged file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace ks::tables {

class ReadOnlyFile {
 public:
  // Throws TableError kNotFound when the file cannot be opened.
  explicit ReadOnlyFile(const std::string& path);
  ~ReadOnlyFile();
  ReadOnlyFile(const ReadOnlyFile&) = delete;
  ReadOnlyFile& operator=(const ReadOnlyFile&) = delete;

  uint64_t size() const { return size_; }
  const std::string& path() const { return path_; }

  // True when the `count` bytes from `offset` lie inside the file.
  bool Holds(uint64_t offset, uint64_t count) const {
    return offset <= size_ && count <= size_ - offset;
  }
  // Reads the `count` bytes at `offset` into `out`.  Throws TableError
  // kDamaged when they do not lie inside the file, kOther when the system
  // fails to read them.
  void ReadAt(uint64_t offset, size_t count, char* out) const;
  void ReadAt(uint64_t offset, size_t count, std::string& out) const;
  // Reads up to `count` bytes at `offset`, fewer only where the file ends,
  // for a reader that goes front to back in blocks.  Throws TableError
  // kOther when the system fails to read them.
  size_t ReadUpTo(uint64_t offset, size_t count, char* out) const;

 private:
  void CheckHolds(uint64_t offset, uint64_t count) const;

  std::string path_;
  int fd_ = -1;
  uint64_t size_ = 0;
};

}  // namespace ks::tables
