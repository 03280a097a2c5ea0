// Recognises a word-processor file by its first bytes and reads its text
// with the reader for it: a compound file (Word 6.0 to 2003), a zip package
// (Word 2007 and later), a Word 2.0 file or a Write document.  A WordPerfect
// file, which the Word import passes on deliberately, is refused here: this
// converter cannot read it.
#pragma once

#include <string>

namespace ks::word {

// The document's text, UTF-8 with CR LF line ends.  Throws WordError (or
// the container's error) with the reason when it cannot be read.
std::string ReadWordFileText(const std::string& path);

}  // namespace ks::word
