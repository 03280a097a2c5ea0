// Base64Coder: decodes Base64 text, the encoding of binary attachments and
// of some text parts in mail.
//
// The decoder works in groups of four characters translated through one
// table: the 64 characters of the standard alphabet, and each of them with
// its high bit set (text damaged by an 8-bit gateway decodes all the same),
// stand for 0 to 63; "=" (either way) is padding.  Padding in the third or
// fourth place of a group counts as 0, every group gives three bytes, and a
// short last group is read with its missing places as 0.  The decoder itself
// expects nothing but alphabet and padding: any other character is read as
// the table's "not Base64" value and spoils its group.
//
// DecodeMime is what a MIME body needs: it skips line ends and everything
// else outside the alphabet, stops after the padding that ends the data, and
// gives exactly the bytes encoded (no zeros from padding or a short group).
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace ks::mail {

class Base64Coder {
 public:
  static constexpr uint8_t kNotBase64 = 254;
  static constexpr uint8_t kPadding = 255;

  // The value of each byte: 0..63, kNotBase64 or kPadding.  Built once.
  static const std::array<uint8_t, 256>& Table();

  // Three bytes for every group of four characters (a short last group
  // counts as a whole one).
  static std::string Decode(std::string_view text);

  // The bytes a MIME body encodes; see above.
  static std::string DecodeMime(std::string_view body);
};

}  // namespace ks::mail
