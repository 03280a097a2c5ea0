// Little-endian numbers inside the byte buffers of Word documents.
#pragma once

#include <cstdint>

namespace ks::word {

inline uint16_t Le16(const char* at) {
  const auto* u = reinterpret_cast<const unsigned char*>(at);
  return static_cast<uint16_t>(u[0] | u[1] << 8);
}

inline uint32_t Le32(const char* at) {
  const auto* u = reinterpret_cast<const unsigned char*>(at);
  return static_cast<uint32_t>(u[0]) | static_cast<uint32_t>(u[1]) << 8 |
         static_cast<uint32_t>(u[2]) << 16 | static_cast<uint32_t>(u[3]) << 24;
}

}  // namespace ks::word
