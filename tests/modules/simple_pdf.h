// Writes small PDF files for the tests without any PDF library: pages of
// plain lines in the standard Helvetica font, one content stream each, with
// a correct cross-reference table.  Long files of many pages give the abort
// tests an extraction that takes a while.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

// The text of line `line` of page `page` (both from 1), as written.
inline std::string SimplePdfLine(int page, int line) {
  return "Page " + std::to_string(page) + " line " + std::to_string(line) +
         " holds words of plain text for extraction";
}

// A PDF of `pages` pages of `lines` lines each (SimplePdfLine).
inline std::string SimplePdf(int pages, int lines) {
  std::string pdf = "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n";
  std::vector<size_t> offsets;  // of objects 1, 2, ...
  const auto object = [&](const std::string& body) {
    offsets.push_back(pdf.size());
    pdf += std::to_string(offsets.size()) + " 0 obj\n" + body + "\nendobj\n";
  };
  std::string kids;
  for (int page = 0; page < pages; ++page) kids += std::to_string(4 + 2 * page) + " 0 R ";
  object("<< /Type /Catalog /Pages 2 0 R >>");
  object("<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pages) + " >>");
  object("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>");
  for (int page = 1; page <= pages; ++page) {
    std::string content = "BT /F1 11 Tf 72 740 Td 14 TL\n";
    for (int line = 1; line <= lines; ++line) {
      content += "(" + SimplePdfLine(page, line) + ") Tj T*\n";
    }
    content += "ET";
    object(
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Resources << /Font << /F1 3 "
        "0 R >> >> /Contents " +
        std::to_string(5 + 2 * (page - 1)) + " 0 R >>");
    object("<< /Length " + std::to_string(content.size()) + " >>\nstream\n" + content +
           "\nendstream");
  }
  const size_t xref = pdf.size();
  pdf += "xref\n0 " + std::to_string(offsets.size() + 1) + "\n0000000000 65535 f \n";
  for (size_t offset : offsets) {
    char entry[32];
    std::snprintf(entry, sizeof entry, "%010zu 00000 n \n", offset);
    pdf += entry;
  }
  pdf += "trailer\n<< /Size " + std::to_string(offsets.size() + 1) +
         " /Root 1 0 R >>\nstartxref\n" + std::to_string(xref) + "\n%%EOF\n";
  return pdf;
}
