// The text of a binary Word document (Word 2.0 to 2003) once its file
// information block is read: the stories a reader wants (main text,
// footnotes, endnotes, text boxes), each through the piece table or, in a
// plain older file, straight from the main stream.  Headers, footers,
// comments and macros are left out, as they repeat or annotate the text.
#pragma once

#include <string>

#include "formats/stream_bytes.h"
#include "word_fib.h"

namespace ks::word {

// `main` is the main stream ("WordDocument", or the whole Word 2.0 file);
// `table` holds the piece table (Word 97's table stream; before, `main`).
// Throws WordError when the text cannot be read.
std::string ReadWordBinaryText(const WordFib& fib, formats::StreamBytes& main,
                               formats::StreamBytes& table);

}  // namespace ks::word
