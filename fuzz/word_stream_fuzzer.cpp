// Fuzzes the binary Word text reader without its container: the file
// information block of any version, the piece table and the text pieces,
// read from one stream that serves as main stream and table stream alike
// (as in Word 6.0/95 and 2.0 files), and the Word 2.0 reader on the bytes.
//
// Input: the stream's bytes.
//
// Checks: nothing but WordError escapes; the text is valid UTF-8 and no
// larger than a bound that follows from the input's size.
#include <cstddef>
#include <cstdint>
#include <string>

#include "formats/stream_bytes.h"
#include "fuzz_input.h"
#include "doc_file.h"
#include "word_binary_text.h"
#include "word_error.h"
#include "word_fib.h"
#include "word_fuzz_checks.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  try {
    const ks::word::WordFib fib = ks::word::ReadWordFib(bytes.substr(0, ks::word::kWordFibBytes));
    ks::formats::MemoryStreamBytes stream(bytes);
    const std::string text = ks::word::ReadWordBinaryText(fib, stream, stream);
    FUZZ_CHECK(ks::fuzz::IsUtf8(text));
    // Each byte read gives at most one character of four UTF-8 bytes and a
    // line end per story; reads are bounded by twice the stream.
    FUZZ_CHECK(text.size() <= (2 * size + 4096) * 4 + 16);
  } catch (const ks::word::WordError&) {
  }
  try {
    FUZZ_CHECK(ks::fuzz::IsUtf8(ks::word::ReadWord2Text(bytes)));
  } catch (const ks::word::WordError&) {
  }
  return 0;
}
