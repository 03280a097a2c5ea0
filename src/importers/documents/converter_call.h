// Calls a converter module's export the way every converter is called: the
// module is loaded by name just before the call and unloaded just after; the
// export takes the input path and a zero-filled 2,048-byte buffer, writes
// the converted copy's path there and returns 0 or more on success.  A
// module that cannot be loaded, or lacks the export, is a failed call.
#pragma once

#include <string>
#include <string_view>

namespace ks::documents {

struct ConverterOutcome {
  bool converted = false;
  std::string copy_path;  // the converted copy, when converted
  std::string why;        // why not, in words for the import log
};

// The signature of every converter export.
using ConverterExport = int(const char* in, char* out_2048);

inline constexpr size_t kConverterOutputSize = 2048;

ConverterOutcome CallConverter(std::string_view module, const char* export_name,
                               const std::string& input_path);

}  // namespace ks::documents
