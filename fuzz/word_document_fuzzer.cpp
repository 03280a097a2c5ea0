// Fuzzes the Word converter's reading of whole files, as the module reads
// them: recognition by the first bytes, then the compound file, the Word
// 97-2003, 6.0/95 and 2.0 readers, the .docx package over libzip, or the
// Write reader, written to a temporary file as the converter reads only
// files.
//
// Input: the file's bytes.
//
// Checks: nothing but the readers' own errors escapes, and the text is
// valid UTF-8.
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

#include "formats/compound_file.h"
#include "fuzz_input.h"
#include "word_converter.h"
#include "word_error.h"
#include "word_fuzz_checks.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string path = (ks::fuzz::WorkFolder() / "document").string();
  {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  try {
    FUZZ_CHECK(ks::fuzz::IsUtf8(ks::word::ReadWordFileText(path)));
  } catch (const ks::word::WordError&) {
  } catch (const ks::formats::CompoundFileError&) {
  }
  return 0;
}
