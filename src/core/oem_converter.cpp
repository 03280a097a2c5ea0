#include "core/oem_converter.h"

#include <iconv.h>

#include <stdexcept>

namespace ks::core {

OemConverter::OemConverter(const std::string& code_page) {
  iconv_t cd = iconv_open("UTF-8", code_page.c_str());
  if (cd == reinterpret_cast<iconv_t>(-1)) {
    throw std::runtime_error("unknown OEM code page " + code_page);
  }
  // A single-byte code page converts byte by byte, so one table built once
  // turns every later conversion into lookups.
  for (int byte = 0; byte < 256; ++byte) {
    char in = static_cast<char>(byte);
    char out[8];
    char* in_ptr = &in;
    char* out_ptr = out;
    size_t in_left = 1;
    size_t out_left = sizeof out;
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    if (iconv(cd, &in_ptr, &in_left, &out_ptr, &out_left) == static_cast<size_t>(-1)) {
      table_[byte] = std::string(1, in);
    } else {
      table_[byte] = std::string(out, out_ptr);
    }
  }
  iconv_close(cd);
}

void OemConverter::AppendConverted(std::string_view oem, std::string& out) const {
  out.reserve(out.size() + oem.size());
  for (const char c : oem) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      out += c;  // CP437 and its kind keep ASCII as it is (line ends included)
    } else {
      out += table_[byte];
    }
  }
}

}  // namespace ks::core
