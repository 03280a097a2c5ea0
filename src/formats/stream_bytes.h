// StreamBytes: the bytes of one stream read at any offset, so that a reader
// (a workbook's sheet, a document's text pieces) starts where it needs to
// without the stream held in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace ks::formats {

class StreamBytes {
 public:
  virtual ~StreamBytes() = default;
  virtual uint64_t Size() const = 0;
  // Copies `size` bytes from `offset`; false when they are not all in the
  // stream (or the file under it is shorter than its directory says).
  virtual bool ReadAt(uint64_t offset, void* into, size_t size) = 0;
};

// Bytes held in memory: a small stream, a test's or a fuzzer's input.
class MemoryStreamBytes : public StreamBytes {
 public:
  explicit MemoryStreamBytes(std::string bytes) : bytes_(std::move(bytes)) {}
  uint64_t Size() const override { return bytes_.size(); }
  bool ReadAt(uint64_t offset, void* into, size_t size) override {
    if (offset > bytes_.size() || size > bytes_.size() - offset) return false;
    if (size > 0) std::memcpy(into, bytes_.data() + offset, size);
    return true;
  }

 private:
  std::string bytes_;
};

}  // namespace ks::formats
