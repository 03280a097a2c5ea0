// DbxBytes: the bytes of an Outlook Express folder file (.dbx) with every
// read checked against the file's end, and DbxProblem, what the readers of
// the file's parts say when an offset leads outside it or a structure is
// not what it claims to be.  The file's numbers are little-endian; its
// offsets are 32-bit, so no file is larger than 4 GB.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Why a part of the file could not be read.
struct DbxProblem {
  enum class Kind {
    kCutShort,  // an offset or a length leads past the end of the file
    kDamaged,   // a structure does not carry its own offset, loops, or claims too much
  };
  Kind kind = Kind::kDamaged;
  uint64_t offset = 0;  // the file offset of the structure at fault
  std::string what;     // in words, for the import log
};

class DbxBytes {
 public:
  explicit DbxBytes(std::string_view file) : file_(file) {}

  uint64_t size() const { return file_.size(); }

  // Whether the `length` bytes at `offset` lie inside the file.
  bool Holds(uint64_t offset, uint64_t length) const {
    return offset <= file_.size() && length <= file_.size() - offset;
  }

  // Nothing when the bytes lie (partly) outside the file.
  std::optional<uint32_t> U32(uint64_t offset) const {
    if (!Holds(offset, 4)) return std::nullopt;
    const auto* p = reinterpret_cast<const unsigned char*>(file_.data() + offset);
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
  }
  std::optional<uint8_t> U8(uint64_t offset) const {
    if (!Holds(offset, 1)) return std::nullopt;
    return static_cast<uint8_t>(file_[offset]);
  }
  // The bytes at `offset`, cut at the end of the file.
  std::string_view Span(uint64_t offset, uint64_t length) const {
    if (offset >= file_.size()) return {};
    return file_.substr(offset, length);
  }

 private:
  std::string_view file_;
};
