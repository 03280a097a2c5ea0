// Guessing the character set of text that does not declare one, from its
// bytes alone (uchardet), for imports asked to find it out per file.
#pragma once

#include <string>
#include <string_view>

namespace ks::core {

// Bytes from the start of a file that the guess looks at: enough for any
// detector to settle, little enough to read before every import.
inline constexpr size_t kDetectionSampleBytes = 256 * 1024;

// The name of the character set `sample` is most likely written in
// ("UTF-8", "ASCII", "KOI8-R", "SHIFT_JIS", "WINDOWS-1252", ...), or ""
// when the detector cannot tell.
std::string DetectCharset(std::string_view sample);

}  // namespace ks::core
