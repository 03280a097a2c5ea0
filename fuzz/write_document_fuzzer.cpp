// Fuzzes the Write (.wri) reader: the header, the text bounds and the
// paragraph property pages that mark pictures and running heads.
//
// Input: the file's bytes.
//
// Checks: nothing but WordError escapes; the text is valid UTF-8.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_input.h"
#include "word_error.h"
#include "word_fuzz_checks.h"
#include "write_document.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  try {
    FUZZ_CHECK(ks::fuzz::IsUtf8(ks::word::ReadWriteText(bytes)));
  } catch (const ks::word::WordError&) {
  }
  return 0;
}
