// CodePageText: reads the 8-bit text of older Word and Write documents,
// whose code page follows from the document's language, into Unicode
// characters.  Windows-1252 is built in (it is the code page of every
// compressed piece of a Word 97 document, and of most older documents);
// the other Windows code pages are read through iconv.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "word_text_builder.h"

namespace ks::word {

// The Windows code page of a Word language identifier (lid); 1252 for
// languages written in Western European letters and for unknown ones.
int CodePageOfLanguage(uint16_t lid);

// The Unicode character of a Windows-1252 byte; bytes that code page
// leaves undefined stand for the C1 control of the same value.
char32_t Windows1252Character(unsigned char byte);

// Appends `bytes`, text in Windows code page `code_page`, to `builder`.  A
// sequence the code page does not define is U+FFFD; a code page iconv does
// not know reads as 1252.
void AddCodePageText(std::string_view bytes, int code_page, WordTextBuilder& builder);

}  // namespace ks::word
