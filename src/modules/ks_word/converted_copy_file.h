// Writes the converted copy of a document: a file of its own, readable by
// its owner only, in the import library's temporary folder ($TMPDIR, else
// /tmp, followed by "KSTmpImp/"), where the importer deletes it after the
// import.
#pragma once

#include <string>
#include <string_view>

namespace ks::word {

// Writes `text` to a new file with a unique name and returns its path.
// Throws WordError when it cannot be written; nothing is then left behind.
std::string WriteConvertedCopy(std::string_view text);

}  // namespace ks::word
