// SQLite's varint as FTS5 stores it: seven bits a byte, most significant
// first, the high bit set on all but the last; a ninth byte carries eight.
// The hot paths of the bulk index writer encode millions of them, so these
// work on raw buffers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace ks::engine::fts_varint {

// Writes `value` at `out` (room for 9 bytes); returns the bytes written.
inline int Put(uint8_t* out, uint64_t value) {
  if (value < 0x80) {
    out[0] = static_cast<uint8_t>(value);
    return 1;
  }
  if (value < 0x4000) {
    out[0] = static_cast<uint8_t>((value >> 7) | 0x80);
    out[1] = static_cast<uint8_t>(value & 0x7f);
    return 2;
  }
  uint8_t bytes[10];
  if ((value >> 56) != 0) {
    out[8] = static_cast<uint8_t>(value & 0xff);
    value >>= 8;
    for (int i = 7; i >= 0; --i) {
      out[i] = static_cast<uint8_t>((value & 0x7f) | 0x80);
      value >>= 7;
    }
    return 9;
  }
  int n = 0;
  do {
    bytes[n++] = static_cast<uint8_t>((value & 0x7f) | 0x80);
    value >>= 7;
  } while (value != 0);
  bytes[0] &= 0x7f;
  for (int i = 0; i < n; ++i) out[i] = bytes[n - 1 - i];
  return n;
}

inline int Length(uint64_t value) {
  uint8_t scratch[9];
  return Put(scratch, value);
}

inline void Append(std::string& out, uint64_t value) {
  uint8_t bytes[9];
  out.append(reinterpret_cast<const char*>(bytes), static_cast<size_t>(Put(bytes, value)));
}

// Reads a varint at `in`, which the caller knows to hold a whole one;
// returns the bytes read.
inline int Get(const uint8_t* in, uint64_t& value) {
  uint64_t v = 0;
  for (int i = 0; i < 8; ++i) {
    v = (v << 7) | (in[i] & 0x7f);
    if ((in[i] & 0x80) == 0) {
      value = v;
      return i + 1;
    }
  }
  value = (v << 8) | in[8];
  return 9;
}

}  // namespace ks::engine::fts_varint
