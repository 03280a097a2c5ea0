// Fuzzes the .docx reader on one part's XML: paragraphs, runs, tables,
// revisions, fields, and whatever hostile markup (entities, document types,
// deep nesting) the bytes hold.
//
// Input: the part's XML.
//
// Checks: nothing but WordError escapes, and the text is valid UTF-8 where
// the XML was.
#include <cstddef>
#include <cstdint>
#include <string>

#include "docx_document.h"
#include "fuzz_input.h"
#include "word_error.h"
#include "word_fuzz_checks.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view xml(reinterpret_cast<const char*>(data), size);
  std::string text;
  try {
    ks::word::AppendDocxPartText(xml, text);
    if (ks::fuzz::IsUtf8(std::string(xml))) FUZZ_CHECK(ks::fuzz::IsUtf8(text));
  } catch (const ks::word::WordError&) {
  }
  return 0;
}
