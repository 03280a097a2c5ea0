// Header values as a reader sees them: RFC 2047 encoded words
// ("=?charset?Q?...?=" and "=?charset?B?...?=") decoded, and 8-bit text
// whose character set nobody declared read by the library's rule, all in
// UTF-8.
//
// White space between two encoded words is dropped (it only separates
// them); adjacent words of one character set are decoded together, so a
// character split between two words comes out whole.  A word in a character
// set this system cannot read, or one that does not follow the form, stays
// as it stands.
#pragma once

#include <string>
#include <string_view>

#include "core/charset_converter.h"

namespace ks::mail {

std::string DecodeHeaderValue(std::string_view value, ks::core::CharsetConverter& converter,
                              std::string_view code_page = ks::core::CharsetConverter::kDefaultCodePage);

// The bytes of the text of a "Q" encoded word: "_" is a blank, "=" and two
// hex digits a byte.
std::string DecodeQEncoding(std::string_view text);

}  // namespace ks::mail
