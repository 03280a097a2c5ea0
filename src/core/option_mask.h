// The option mask of a file type: one bit for each import option the type
// offers.  The import dialog shows a row for every offered option, and an
// option whose bit is clear is forced to its default before an importer
// sees it (ImportOptions::ForcedToMask).
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "ks_imp.h"

namespace ks::core {

enum class ImportOption : uint32_t {
  kFileOrigin = KSIMP_OPT_FILE_ORIGIN,
  kImportLocation = KSIMP_OPT_IMPORT_LOCATION,
  kDocumentDelimiter = KSIMP_OPT_DOCUMENT_DELIMITER,
  kEntryForm = KSIMP_OPT_ENTRY_FORM,
  kAutoFieldRecognition = KSIMP_OPT_AUTO_FIELDS,
  kDateRange = KSIMP_OPT_DATE_RANGE,
  kSortOrder = KSIMP_OPT_SORT_ORDER,
  kUseStoredSettings = KSIMP_OPT_STORED_SETTINGS,
  kMessageDateRange = KSIMP_OPT_MESSAGE_DATE_RANGE,
  kFullHeader = KSIMP_OPT_FULL_HEADER,
  kSaveAttachments = KSIMP_OPT_SAVE_ATTACHMENTS,
  kUseFilter = KSIMP_OPT_FILTER,  // set only where the external filter program is installed
};

// Every option, in the order of its bit: the order of the dialog's rows.
inline constexpr ImportOption kOptionsInMaskOrder[] = {
    ImportOption::kFileOrigin,
    ImportOption::kImportLocation,
    ImportOption::kDocumentDelimiter,
    ImportOption::kEntryForm,
    ImportOption::kAutoFieldRecognition,
    ImportOption::kDateRange,
    ImportOption::kSortOrder,
    ImportOption::kUseStoredSettings,
    ImportOption::kMessageDateRange,
    ImportOption::kFullHeader,
    ImportOption::kSaveAttachments,
    ImportOption::kUseFilter,
};

constexpr bool Offers(uint32_t option_mask, ImportOption option) {
  return (option_mask & static_cast<uint32_t>(option)) != 0;
}

// The label of the option's row in the import dialog ("File Origin", ...).
std::string_view OptionRowLabel(ImportOption option);

// The options a mask offers, in row order; bits beyond the twelve known ones
// offer nothing.
std::vector<ImportOption> OfferedOptions(uint32_t option_mask);

// The row labels of OfferedOptions(option_mask).
std::vector<std::string_view> OfferedOptionLabels(uint32_t option_mask);

}  // namespace ks::core
