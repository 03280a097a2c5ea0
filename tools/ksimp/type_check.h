// What the import library finds a file to be (KSIMP_DetectFileType), and
// whether that fits the file type the user chose for it.
#pragma once

#include <cstdint>
#include <string>

namespace ksimp {

struct DetectedType {
  int32_t type = 0;            // a KSIMP_TYPE_ value, 0 for no importable type
  std::string sharing_message;  // set when another program holds the file
};

DetectedType DetectFileType(const std::string& path);

// "1000 (text)", or "0 (no importable type)".
std::string DescribeType(int32_t type);

// The type a file given without --type is imported as.  Its extension
// decides; a file whose extension names no type is imported as what the
// library finds it to be, and refused when that is nothing importable (a
// picture, an archive): importing those bytes as text would only bury them
// in a document.  An empty file is text, which adds nothing.
struct ChosenType {
  int32_t type = 0;
  std::string refusal;  // set when the file is not to be queued at all
};
ChosenType ChooseFileType(const std::string& path);

// Whether a file found to be `found` may be imported as `chosen` without a
// warning.  The library's answer is one type per file, so several choices
// fit one answer: every file can be linked or attached; delimited,
// fixed-width, DOS export and HTML files are plain text to it; a Eudora
// mailbox is a standard mailbox too; a message file is text; the Word
// import also reads WordPerfect and the one for any Word file the Word
// documents; the table types and their aliases are one per family; the
// zipped Word and Excel files (by their extension) are archives to it; and
// a type it has no test for (a mail folder, Outlook files, Write) fits
// whatever it cannot name.
bool TypeFits(int32_t chosen, int32_t found, const std::string& path);

// The warning for a file whose chosen type does not fit what it was found
// to be ("" when it fits, or when the file cannot be looked at).
std::string WrongTypeWarning(const std::string& path, int32_t chosen);

}  // namespace ksimp
