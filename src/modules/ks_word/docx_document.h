// The text of a Word 2007 and later document (.docx): a zip package whose
// part "word/document.xml" holds the body as paragraphs of runs, and whose
// footnotes and endnotes parts follow it here, as a binary document's notes
// follow its main text.  Deleted revisions and field codes are left out;
// tabs, breaks and table cells become tabs and line ends.  The XML is read
// without its document type: an entity it declares is never resolved, an
// external one never fetched.
#pragma once

#include <string>
#include <string_view>

namespace ks::word {

// Reads the package at `path`.  Throws WordError when it is no readable
// Word package.
std::string ReadDocxText(const std::string& path);

// The text of one part's XML (the body, the footnotes or the endnotes),
// appended to `text`.  Throws WordError when the XML does not parse.
void AppendDocxPartText(std::string_view xml, std::string& text);

}  // namespace ks::word
