// Quoted-printable decoding of MIME bodies: "=" and two hex digits stand
// for a byte, "=" at the end of a line joins it to the next (a soft line
// break).  An "=" that is neither is kept as it stands, as are the bytes
// around it: damaged text loses nothing.
#pragma once

#include <string>
#include <string_view>

namespace ks::mail {

// Appends the bytes `text` encodes to `out`.
void AppendQuotedPrintableDecoded(std::string_view text, std::string& out);

inline std::string DecodeQuotedPrintable(std::string_view text) {
  std::string out;
  AppendQuotedPrintableDecoded(text, out);
  return out;
}

// The value of a hex digit (either case), or -1.
int HexValue(char c);

}  // namespace ks::mail
