// Fuzzes the WordPerfect converter's reading (modules/ks_wordperfect/
// wordperfect_text.*) over libwpd: format detection, then the document's
// text through librevenge's text generator, from memory.
//
// Input: the whole input is the file, so a corpus document is a seed as it
// is.
//
// Checks: a refusal leaves no text; the same bytes read twice give the same
// outcome and the same text (nothing kept between conversions).
#include <librevenge-stream/librevenge-stream.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_input.h"
#include "wordperfect_text.h"

namespace {

ks::wordperfect::ConvertError Convert(const uint8_t* data, size_t size, std::string& text) {
  librevenge::RVNGStringStream input(data, static_cast<unsigned>(size));
  return ks::wordperfect::ConvertToText(input, text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0 || size > UINT_MAX) return 0;  // a string stream of nothing is no stream
  std::string text;
  const ks::wordperfect::ConvertError error = Convert(data, size, text);
  if (error != ks::wordperfect::ConvertError::kNone) FUZZ_CHECK(text.empty());
  std::string again;
  FUZZ_CHECK(Convert(data, size, again) == error);
  FUZZ_CHECK(again == text);
  return 0;
}
