// The text of a Windows 3.x Write document (.wri): a 128-byte header, the
// text from byte 128 to its end (fcMac) in Windows-1252 with CR LF
// paragraph ends, then pages of character and paragraph properties.  The
// paragraph properties say which paragraphs are pictures or objects (their
// bytes stand in the text) and which are page headers and footers; both
// are left out.
#pragma once

#include <string>
#include <string_view>

namespace ks::word {

// Whether `bytes` start as a Write document.
bool LooksLikeWrite(std::string_view bytes);

// Reads the document from the bytes of its whole file.  Throws WordError
// when they are no Write document.
std::string ReadWriteText(std::string_view bytes);

}  // namespace ks::word
