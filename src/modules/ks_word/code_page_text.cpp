#include "code_page_text.h"

#include <iconv.h>

#include <cerrno>
#include <string>
#include <vector>

namespace ks::word {
namespace {

// Windows-1252 from 0x80 to 0x9F; zero where the code page has no character.
constexpr char16_t k1252High[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

// An iconv descriptor closed with its owner.
class Converter {
 public:
  explicit Converter(const std::string& from) : cd_(iconv_open("UTF-32LE", from.c_str())) {}
  ~Converter() {
    if (ok()) iconv_close(cd_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  bool ok() const { return cd_ != reinterpret_cast<iconv_t>(-1); }
  iconv_t get() const { return cd_; }

 private:
  iconv_t cd_;
};

void Add1252(std::string_view bytes, WordTextBuilder& builder) {
  for (const char byte : bytes) builder.Add(Windows1252Character(static_cast<unsigned char>(byte)));
}

}  // namespace

int CodePageOfLanguage(uint16_t lid) {
  switch (lid & 0x3FF) {  // the primary language
    case 0x01: return 1256;  // Arabic
    case 0x04: return (lid == 0x0404 || lid == 0x0C04 || lid == 0x1404) ? 950 : 936;  // Chinese
    case 0x05: case 0x0E: case 0x15: case 0x18: case 0x1A: case 0x1B: case 0x1C: case 0x24:
      return lid == 0x0C1A ? 1251 : 1250;  // Central European (Serbian in Cyrillic apart)
    case 0x02: case 0x19: case 0x22: case 0x23: case 0x2F: return 1251;  // Cyrillic
    case 0x08: return 1253;  // Greek
    case 0x0D: return 1255;  // Hebrew
    case 0x11: return 932;   // Japanese
    case 0x12: return 949;   // Korean
    case 0x1E: return 874;   // Thai
    case 0x1F: return 1254;  // Turkish
    case 0x25: case 0x26: case 0x27: return 1257;  // Baltic
    case 0x2A: return 1258;  // Vietnamese
    default: return 1252;
  }
}

char32_t Windows1252Character(unsigned char byte) {
  if (byte < 0x80 || byte >= 0xA0) return byte;
  const char16_t mapped = k1252High[byte - 0x80];
  return mapped != 0 ? mapped : byte;
}

void AddCodePageText(std::string_view bytes, int code_page, WordTextBuilder& builder) {
  if (code_page == 1252 || bytes.empty()) return Add1252(bytes, builder);
  const std::string name = code_page == 932 ? "CP932" : "CP" + std::to_string(code_page);
  Converter converter(name);
  if (!converter.ok()) return Add1252(bytes, builder);
  std::vector<char> out(bytes.size() * 4 + 16);
  char* in = const_cast<char*>(bytes.data());
  size_t in_left = bytes.size();
  while (in_left > 0) {
    char* out_at = out.data();
    size_t out_left = out.size();
    const size_t done = iconv(converter.get(), &in, &in_left, &out_at, &out_left);
    const size_t produced = out.size() - out_left;
    for (size_t i = 0; i + 3 < produced; i += 4) {
      const auto* u = reinterpret_cast<const unsigned char*>(out.data() + i);
      builder.Add(static_cast<char32_t>(u[0]) | static_cast<char32_t>(u[1]) << 8 |
                  static_cast<char32_t>(u[2]) << 16 | static_cast<char32_t>(u[3]) << 24);
    }
    if (done == static_cast<size_t>(-1)) {
      if (errno == E2BIG) continue;
      // An undefined or cut sequence: one replacement, then the next byte.
      builder.Add(0xFFFD);
      ++in;
      --in_left;
      iconv(converter.get(), nullptr, nullptr, nullptr, nullptr);
    }
  }
}

}  // namespace ks::word
