#include "importers/mail/base64_coder.h"

#include <string_view>

namespace ks::mail {

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::array<uint8_t, 256> BuildTable() {
  std::array<uint8_t, 256> table;
  table.fill(Base64Coder::kNotBase64);
  for (size_t i = 0; i < kAlphabet.size(); ++i) {
    const auto c = static_cast<unsigned char>(kAlphabet[i]);
    table[c] = static_cast<uint8_t>(i);
    table[c | 0x80] = static_cast<uint8_t>(i);
  }
  table['='] = Base64Coder::kPadding;
  table['=' | 0x80] = Base64Coder::kPadding;
  return table;
}

// Three bytes from four values, most significant first.  Padding in the
// third or fourth place counts as 0; any other value out of the alphabet
// goes in with all its bits, as the group it spoils.
void AppendGroup(const uint8_t (&v)[4], std::string& out) {
  uint32_t bits = 0;
  for (int place = 0; place < 4; ++place) {
    uint32_t value = v[place];
    if (place >= 2 && value == Base64Coder::kPadding) value = 0;
    bits = (bits << 6) + value;
  }
  out += static_cast<char>((bits >> 16) & 0xFF);
  out += static_cast<char>((bits >> 8) & 0xFF);
  out += static_cast<char>(bits & 0xFF);
}

}  // namespace

const std::array<uint8_t, 256>& Base64Coder::Table() {
  static const std::array<uint8_t, 256> table = BuildTable();
  return table;
}

std::string Base64Coder::Decode(std::string_view text) {
  const std::array<uint8_t, 256>& table = Table();
  std::string out;
  out.reserve((text.size() + 3) / 4 * 3);
  uint8_t group[4];
  size_t place = 0;
  for (const char c : text) {
    group[place++] = table[static_cast<unsigned char>(c)];
    if (place == 4) {
      AppendGroup(group, out);
      place = 0;
    }
  }
  if (place > 0) {
    while (place < 4) group[place++] = 0;
    AppendGroup(group, out);
  }
  return out;
}

std::string Base64Coder::DecodeMime(std::string_view body) {
  const std::array<uint8_t, 256>& table = Table();
  // The alphabet and padding characters alone, cut after the padding that
  // completes a group: what follows it is not part of the data.
  std::string clean;
  clean.reserve(body.size());
  size_t data_characters = 0;
  size_t padding = 0;
  for (const char c : body) {
    const uint8_t value = table[static_cast<unsigned char>(c)];
    if (value < 64) {
      if (padding > 0) break;  // data after a short padding: the padding was the end
      clean += c;
      ++data_characters;
    } else if (value == kPadding) {
      const size_t place = (data_characters + padding) % 4;
      if (place < 2) continue;  // padding where no group can end: noise
      clean += c;
      ++padding;
      if (place == 3) break;
    }
  }
  std::string decoded = Decode(clean);
  // Six bits a character: a group ended by padding or cut short gives only
  // the whole bytes its characters carry.
  decoded.resize(data_characters * 6 / 8);
  return decoded;
}

}  // namespace ks::mail
