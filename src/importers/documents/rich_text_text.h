// Text written into rich text: the characters that are markup in the
// dialect are escaped ("\" as "\\", braces as "\{" and "\}"), a hyphen may
// be written as the non-breaking hyphen "\_", and every character outside
// ASCII is written as "\uN?" (UTF-16 units, signed, "?" for readers that
// know no Unicode), so the document is ASCII whatever the name holds.  A
// byte that is not part of valid UTF-8 is written as "\'xx".
#pragma once

#include <string>
#include <string_view>

namespace ks::documents {

enum class Hyphens { kAsTheyAre, kNonBreaking };

void AppendRichText(std::string& out, std::string_view utf8, Hyphens hyphens = Hyphens::kAsTheyAre);

inline std::string RichText(std::string_view utf8, Hyphens hyphens = Hyphens::kAsTheyAre) {
  std::string out;
  AppendRichText(out, utf8, hyphens);
  return out;
}

}  // namespace ks::documents
