// Unsigned numbers of up to 8 bytes as a table file stores them, read a
// byte at a time so that neither the machine's byte order nor alignment
// matters.  The caller has checked that the bytes are there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ks::tables {

inline uint64_t LittleEndian(const char* p, size_t size) {
  uint64_t value = 0;
  for (size_t i = size; i-- > 0;) value = value << 8 | static_cast<uint8_t>(p[i]);
  return value;
}

inline uint64_t BigEndian(const char* p, size_t size) {
  uint64_t value = 0;
  for (size_t i = 0; i < size; ++i) value = value << 8 | static_cast<uint8_t>(p[i]);
  return value;
}

// The first `size` bytes of `bytes`, or the `size` bytes at `at`.
inline uint64_t LittleEndian(std::string_view bytes, size_t size) { return LittleEndian(bytes.data(), size); }
inline uint64_t LittleEndian(std::string_view bytes, size_t at, size_t size) {
  return LittleEndian(bytes.data() + at, size);
}
// All of `bytes`.
inline uint64_t BigEndian(std::string_view bytes) { return BigEndian(bytes.data(), bytes.size()); }

}  // namespace ks::tables
