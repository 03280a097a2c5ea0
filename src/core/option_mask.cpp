#include "core/option_mask.h"

namespace ks::core {

std::string_view OptionRowLabel(ImportOption option) {
  switch (option) {
    case ImportOption::kFileOrigin:
      return "File Origin";
    case ImportOption::kImportLocation:
      return "Import Location";
    case ImportOption::kDocumentDelimiter:
      return "Document Delimiter";
    case ImportOption::kEntryForm:
      return "Import into Entry Form";
    case ImportOption::kAutoFieldRecognition:
      return "Auto Field Recognition";
    case ImportOption::kDateRange:
      return "Date Range";
    case ImportOption::kSortOrder:
      return "Sort Order";
    case ImportOption::kUseStoredSettings:
      return "Use Stored Settings";
    case ImportOption::kMessageDateRange:
      return "Message Date Range";
    case ImportOption::kFullHeader:
      return "Full Header";
    case ImportOption::kSaveAttachments:
      return "Save Attachments";
    case ImportOption::kUseFilter:
      return "Use Filter";
  }
  return {};
}

std::vector<ImportOption> OfferedOptions(uint32_t option_mask) {
  std::vector<ImportOption> offered;
  for (const ImportOption option : kOptionsInMaskOrder) {
    if (Offers(option_mask, option)) offered.push_back(option);
  }
  return offered;
}

std::vector<std::string_view> OfferedOptionLabels(uint32_t option_mask) {
  std::vector<std::string_view> labels;
  for (const ImportOption option : OfferedOptions(option_mask)) {
    labels.push_back(OptionRowLabel(option));
  }
  return labels;
}

}  // namespace ks::core
