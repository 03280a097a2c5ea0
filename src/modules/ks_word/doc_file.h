// The text of a binary Word document: a compound file (Word 6.0 to 2003)
// with its "WordDocument" stream, or a plain Word 2.0 file.
#pragma once

#include <string>
#include <string_view>

namespace ks::word {

// Reads the compound file at `path`.  Throws WordError when it holds no
// Word document (an encrypted Word 2007 package among them) or the
// document cannot be read; CompoundFileError when the container is damaged.
std::string ReadCompoundWordText(const std::string& path);

// Reads a Word 2.0 (or 1.x) document from the bytes of its whole file.
std::string ReadWord2Text(std::string bytes);

}  // namespace ks::word
