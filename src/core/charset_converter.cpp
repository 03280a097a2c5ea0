#include "core/charset_converter.h"

#include <iconv.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace ks::core {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

// Names are short tokens; anything else is not a character set (and a "/"
// would ask iconv for transliteration).
constexpr size_t kLongestName = 40;
// Distinct names remembered; mail may name any number of made-up character
// sets, and each would otherwise hold its entry for good.
constexpr size_t kMostEntries = 64;

// The length of the well-formed UTF-8 sequence at the start of `s`, or 0
// when it is not one.
size_t Utf8SequenceLength(const unsigned char* s, size_t left) {
  const unsigned char c = s[0];
  if (c < 0x80) return 1;
  if (c < 0xC2) return 0;
  if (c < 0xE0) return left >= 2 && (s[1] & 0xC0) == 0x80 ? 2 : 0;
  if (c < 0xF0) {
    if (left < 3 || (s[1] & 0xC0) != 0x80 || (s[2] & 0xC0) != 0x80) return 0;
    if (c == 0xE0 && s[1] < 0xA0) return 0;   // overlong
    if (c == 0xED && s[1] >= 0xA0) return 0;  // surrogate
    return 3;
  }
  if (c < 0xF5) {
    if (left < 4 || (s[1] & 0xC0) != 0x80 || (s[2] & 0xC0) != 0x80 || (s[3] & 0xC0) != 0x80) {
      return 0;
    }
    if (c == 0xF0 && s[1] < 0x90) return 0;   // overlong
    if (c == 0xF4 && s[1] >= 0x90) return 0;  // beyond U+10FFFF
    return 4;
  }
  return 0;
}

// Where the first byte with its high bit set is, or the size.  Eight bytes
// at a time: mail is mostly ASCII, and this runs over every body.
size_t AsciiPrefix(std::string_view text) {
  const auto* s = reinterpret_cast<const unsigned char*>(text.data());
  const size_t n = text.size();
  size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    uint64_t word;
    std::memcpy(&word, s + i, sizeof word);
    if ((word & 0x8080808080808080ULL) != 0) break;
  }
  while (i < n && s[i] < 0x80) ++i;
  return i;
}

void AppendCodePoint(uint32_t cp, std::string& out) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

// UTF-8 as declared: well-formed sequences are kept, each byte of a broken
// one becomes U+FFFD.
void AppendUtf8Repaired(std::string_view text, std::string& out) {
  const auto* s = reinterpret_cast<const unsigned char*>(text.data());
  const size_t n = text.size();
  size_t i = 0;
  while (i < n) {
    const size_t run_start = i;
    i += AsciiPrefix(text.substr(i));
    size_t length = 0;
    while (i < n && (length = Utf8SequenceLength(s + i, n - i)) != 0) i += length;
    out.append(text.data() + run_start, i - run_start);
    if (i < n) {
      out += kReplacement;
      ++i;
    }
  }
}

std::string NormalName(std::string_view charset) {
  while (!charset.empty() && (charset.front() == ' ' || charset.front() == '\t' ||
                              charset.front() == '"' || charset.front() == '\'')) {
    charset.remove_prefix(1);
  }
  while (!charset.empty() && (charset.back() == ' ' || charset.back() == '\t' ||
                              charset.back() == '"' || charset.back() == '\'')) {
    charset.remove_suffix(1);
  }
  if (charset.empty() || charset.size() > kLongestName) return {};
  std::string name;
  name.reserve(charset.size());
  for (const char c : charset) {
    const bool word_char = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.' ||
                           c == ':' || c == '+';
    if (!word_char) return {};
    name += static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  }
  return name;
}

// Names mail programs write that iconv does not know, or knows as a
// narrower set than the one the programs really use.  ISO-8859-1 and
// US-ASCII text that uses 0x80-0x9F is Windows-1252 in practice (browsers
// read it so): those bytes are control characters in Latin-1 and never text.
std::string_view IconvName(std::string_view name) {
  struct Alias {
    std::string_view mail;
    std::string_view iconv;
  };
  static constexpr Alias kAliases[] = {
      {"iso-8859-1", "WINDOWS-1252"},   {"iso8859-1", "WINDOWS-1252"},
      {"iso_8859-1", "WINDOWS-1252"},   {"latin1", "WINDOWS-1252"},
      {"l1", "WINDOWS-1252"},           {"cp819", "WINDOWS-1252"},
      {"ks_c_5601-1987", "CP949"},      {"ks_c_5601", "CP949"},
      {"ksc5601", "CP949"},             {"gb2312", "GBK"},
      {"x-gbk", "GBK"},                 {"euc-cn", "GBK"},
      {"big5", "CP950"},                {"x-sjis", "SHIFT_JIS"},
      {"x-mac-roman", "MACINTOSH"},     {"unicode-1-1-utf-7", "UTF-7"},
      {"iso-8859-8-i", "ISO-8859-8"},   {"windows-874", "CP874"},
  };
  for (const Alias& alias : kAliases) {
    if (alias.mail == name) return alias.iconv;
  }
  return name;
}

bool IsUtf8Name(std::string_view name) {
  return name == "utf-8" || name == "utf8";
}

bool IsAsciiName(std::string_view name) {
  return name == "us-ascii" || name == "ascii" || name == "ansi_x3.4-1968" || name == "us";
}

// The UTF-8 form of one code point, at most three bytes (single-byte code
// pages stay in the Basic Multilingual Plane).
struct Utf8Char {
  std::array<char, 3> bytes{};
  uint8_t length = 0;
};

Utf8Char Encode(uint32_t cp) {
  std::string text;
  AppendCodePoint(cp, text);
  Utf8Char c;
  c.length = static_cast<uint8_t>(text.size());
  std::memcpy(c.bytes.data(), text.data(), text.size());
  return c;
}

}  // namespace

bool IsAscii(std::string_view text) {
  return AsciiPrefix(text) == text.size();
}

size_t UnfinishedUtf8Tail(std::string_view text) {
  const size_t n = text.size();
  for (size_t back = 1; back <= 3 && back <= n; ++back) {
    const auto c = static_cast<unsigned char>(text[n - back]);
    if ((c & 0xC0) == 0x80) continue;  // a continuation byte: look further back
    const size_t length = c >= 0xF0 && c < 0xF5   ? 4
                          : c >= 0xE0 && c < 0xF0 ? 3
                          : c >= 0xC2 && c < 0xE0 ? 2
                                                  : 1;
    return length > back ? back : 0;
  }
  return 0;
}

bool IsValidUtf8(std::string_view text) {
  const auto* s = reinterpret_cast<const unsigned char*>(text.data());
  const size_t n = text.size();
  size_t i = AsciiPrefix(text);
  while (i < n) {
    if (s[i] < 0x80) {
      i += AsciiPrefix(text.substr(i));
      continue;
    }
    const size_t length = Utf8SequenceLength(s + i, n - i);
    if (length == 0) return false;
    i += length;
  }
  return true;
}

namespace {

// An iconv descriptor, closed when it goes.
class Descriptor {
 public:
  explicit Descriptor(const std::string& from)
      : descriptor_(iconv_open("UTF-8", from.c_str())) {}
  ~Descriptor() {
    if (ok()) iconv_close(descriptor_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  bool ok() const { return descriptor_ != reinterpret_cast<iconv_t>(-1); }
  iconv_t get() const { return descriptor_; }

 private:
  iconv_t descriptor_;
};

}  // namespace

struct CharsetConverter::Entry {
  enum class Kind { kUtf8, kAscii, kSingleByte, kIconv };
  Kind kind = Kind::kIconv;
  std::string iconv_name;             // kIconv: the name iconv knows
  std::array<Utf8Char, 256> table{};  // kSingleByte: each byte's character

  // Whether iconv knows `name`.  A code page whose every byte stands alone
  // for one character becomes a byte table: faster than iconv, and the bytes
  // it leaves undefined get their Latin-1 characters instead of stopping the
  // conversion.  Others are opened afresh for every text: a reset does not
  // make every decoder forget what it read (UTF-16 keeps the byte order of a
  // byte-order mark), and one text must not change how the next is read.
  bool Open(std::string_view name) {
    iconv_name = std::string(IconvName(name));
    const Descriptor descriptor(iconv_name);
    if (!descriptor.ok()) return false;
    if (BuildTable(descriptor.get())) kind = Kind::kSingleByte;
    return true;
  }

  bool BuildTable(iconv_t descriptor) {
    for (unsigned byte = 0; byte < 256; ++byte) {
      iconv(descriptor, nullptr, nullptr, nullptr, nullptr);
      char in_byte = static_cast<char>(byte);
      char* in = &in_byte;
      size_t in_left = 1;
      std::array<char, 16> buffer{};
      char* out = buffer.data();
      size_t out_left = buffer.size();
      const size_t result = iconv(descriptor, &in, &in_left, &out, &out_left);
      if (result == static_cast<size_t>(-1)) {
        if (errno != EILSEQ) return false;  // a lead byte or a shift: not single-byte
        table[byte] = Encode(byte);
        continue;
      }
      const auto produced = static_cast<size_t>(out - buffer.data());
      const auto* u = reinterpret_cast<const unsigned char*>(buffer.data());
      if (produced == 0 || produced > 3 || Utf8SequenceLength(u, produced) != produced) {
        return false;
      }
      table[byte].length = static_cast<uint8_t>(produced);
      std::memcpy(table[byte].bytes.data(), buffer.data(), produced);
    }
    return true;
  }

  void AppendTable(std::string_view text, std::string& out) const {
    const size_t start = out.size();
    out.resize(start + text.size() * 3);
    char* at = out.data() + start;
    for (const char c : text) {
      const Utf8Char& u = table[static_cast<unsigned char>(c)];
      at[0] = u.bytes[0];
      at[1] = u.bytes[1];
      at[2] = u.bytes[2];
      at += u.length;
    }
    out.resize(static_cast<size_t>(at - out.data()));
  }

  void AppendIconv(std::string_view text, std::string& out) const {
    const Descriptor opened(iconv_name);
    if (!opened.ok()) {
      // Known a moment ago; should it fail now, the bytes as Latin-1.
      for (const char c : text) AppendCodePoint(static_cast<unsigned char>(c), out);
      return;
    }
    const iconv_t descriptor = opened.get();
    const size_t start = out.size();
    out.resize(start + text.size() * 3 + 16);
    char* in = const_cast<char*>(text.data());
    size_t in_left = text.size();
    size_t used = start;
    auto room = [&](size_t need) {
      if (out.size() - used < need) out.resize(out.size() * 2 + need);
    };
    bool flushed = false;
    while (!flushed) {
      char* to = out.data() + used;
      size_t out_left = out.size() - used;
      // Once the input is used up, one more call ends a stateful encoding.
      const bool flushing = in_left == 0;
      const size_t result = flushing ? iconv(descriptor, nullptr, nullptr, &to, &out_left)
                                     : iconv(descriptor, &in, &in_left, &to, &out_left);
      const int error = errno;
      used = static_cast<size_t>(to - out.data());
      if (result != static_cast<size_t>(-1)) {
        flushed = flushing;
        continue;
      }
      if (error == E2BIG) {
        room(64);
      } else if ((error == EILSEQ || error == EINVAL) && in_left > 0) {
        // Not a character, or one cut by the end of the text.
        room(kReplacement.size());
        std::memcpy(out.data() + used, kReplacement.data(), kReplacement.size());
        used += kReplacement.size();
        ++in;
        --in_left;
      } else {
        break;
      }
    }
    out.resize(used);
  }
};

CharsetConverter::CharsetConverter() = default;
CharsetConverter::~CharsetConverter() = default;

CharsetConverter& CharsetConverter::ForThisThread() {
  static thread_local CharsetConverter converter;
  return converter;
}

const CharsetConverter::Entry* CharsetConverter::Find(std::string_view charset) {
  if (last_entry_ != nullptr && charset == last_name_) return last_entry_;
  std::string name = NormalName(charset);
  if (name.empty()) return nullptr;
  const auto found = entries_.find(name);
  if (found != entries_.end()) {
    if (charset.size() <= kLongestName) {
      last_name_ = charset;
      last_entry_ = found->second.get();
    }
    return found->second.get();
  }
  auto entry = std::make_unique<Entry>();
  if (IsUtf8Name(name)) {
    entry->kind = Entry::Kind::kUtf8;
  } else if (IsAsciiName(name)) {
    entry->kind = Entry::Kind::kAscii;
  } else if (!entry->Open(name)) {
    entry.reset();
  }
  // Unknown names are remembered too (as null), so that a mailbox full of
  // one made-up name asks iconv only once.
  if (entries_.size() >= kMostEntries) {
    entries_.clear();
    last_entry_ = nullptr;
  }
  return entries_.emplace(std::move(name), std::move(entry)).first->second.get();
}

bool CharsetConverter::Knows(std::string_view charset) {
  return Find(charset) != nullptr;
}

CharsetConverter::Reading CharsetConverter::ReadingOf(std::string_view charset) {
  const Entry* entry = Find(charset);
  if (entry == nullptr) return Reading::kUnknown;
  switch (entry->kind) {
    case Entry::Kind::kUtf8:
      return Reading::kUtf8;
    case Entry::Kind::kAscii:
      return Reading::kAscii;
    case Entry::Kind::kSingleByte:
      return Reading::kSingleByte;
    case Entry::Kind::kIconv:
      break;
  }
  return Reading::kMultiByte;
}

std::string CharsetConverter::IconvNameOf(std::string_view charset) {
  const Entry* entry = Find(charset);
  if (entry == nullptr) return {};
  switch (entry->kind) {
    case Entry::Kind::kUtf8:
      return "UTF-8";
    case Entry::Kind::kAscii:
      return "ASCII";
    default:
      return entry->iconv_name;
  }
}

bool CharsetConverter::AppendDeclared(std::string_view charset, std::string_view text,
                                      std::string& out) {
  const Entry* entry = Find(charset);
  if (entry == nullptr) return false;
  switch (entry->kind) {
    case Entry::Kind::kUtf8:
      if (IsValidUtf8(text)) {
        out += text;
      } else {
        AppendUtf8Repaired(text, out);
      }
      break;
    case Entry::Kind::kAscii:
      // Declared ASCII that is not is mislabelled 8-bit text.
      AppendUndeclared(text, out);
      break;
    case Entry::Kind::kSingleByte:
      entry->AppendTable(text, out);
      break;
    case Entry::Kind::kIconv:
      entry->AppendIconv(text, out);
      break;
  }
  return true;
}

void CharsetConverter::AppendUndeclared(std::string_view text, std::string& out,
                                        std::string_view code_page) {
  if (IsValidUtf8(text)) {
    out += text;
    return;
  }
  const Entry* entry = Find(code_page);
  if (entry == nullptr || entry->kind == Entry::Kind::kUtf8 ||
      entry->kind == Entry::Kind::kAscii) {
    entry = Find(kDefaultCodePage);
  }
  while (!text.empty()) {
    const size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end == std::string_view::npos ? text.size() : end + 1);
    text.remove_prefix(line.size());
    if (IsValidUtf8(line)) {
      out += line;
    } else if (entry != nullptr && entry->kind == Entry::Kind::kSingleByte) {
      entry->AppendTable(line, out);
    } else if (entry != nullptr && entry->kind == Entry::Kind::kIconv) {
      entry->AppendIconv(line, out);
    } else {
      // Without even Windows-1252 on the system: Latin-1, byte for byte.
      for (const char c : line) AppendCodePoint(static_cast<unsigned char>(c), out);
    }
  }
}

void CharsetConverter::AppendText(std::string_view charset, std::string_view text,
                                  std::string& out, std::string_view code_page) {
  if (!charset.empty()) {
    const Entry* entry = Find(charset);
    if (entry != nullptr && entry->kind != Entry::Kind::kAscii) {
      AppendDeclared(charset, text, out);
      return;
    }
  }
  AppendUndeclared(text, out, code_page);
}

}  // namespace ks::core
