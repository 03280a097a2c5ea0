#include "importers/documents/converter_call.h"

#include <fmt/format.h>

#include <cstring>
#include <vector>

#include "core/loadable_module.h"

namespace ks::documents {

ConverterOutcome CallConverter(std::string_view module, const char* export_name,
                               const std::string& input_path) {
  ConverterOutcome outcome;
  std::string why;
  std::unique_ptr<core::LoadableModule> library = core::LoadableModule::Load(module, &why);
  if (!library) {
    outcome.why = fmt::format("the converter {} cannot be loaded: {}", module, why);
    return outcome;
  }
  auto* convert = library->Find<ConverterExport>(export_name);
  if (convert == nullptr) {
    outcome.why = fmt::format("the converter {} has no function {}", module, export_name);
    return outcome;
  }
  std::vector<char> input(input_path.begin(), input_path.end());
  input.push_back('\0');
  std::vector<char> output(kConverterOutputSize, '\0');
  const int result = convert(input.data(), output.data());
  output.back() = '\0';  // whatever the module wrote, the text ends inside the buffer
  library.reset();       // unloaded right after the call
  const std::string written(output.data());
  if (result < 0) {
    outcome.why = written.empty() ? fmt::format("the converter {} failed ({})", module, result)
                                  : fmt::format("the converter {} failed: {}", module, written);
    return outcome;
  }
  if (written.empty()) {
    outcome.why = fmt::format("the converter {} named no converted file", module);
    return outcome;
  }
  outcome.converted = true;
  outcome.copy_path = written;
  return outcome;
}

}  // namespace ks::documents
