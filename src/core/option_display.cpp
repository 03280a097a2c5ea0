#include "core/option_display.h"

#include <fmt/format.h>

namespace ks::core {

std::string_view FileOriginText(bool ansi) {
  return ansi ? "Windows (ANSI)" : "DOS (OEM)";
}

std::string ImportLocationText(int32_t location, std::string_view named_document) {
  switch (location) {
    case import_location::kAfterCurrentDocument:
      return "After Current Document";
    case import_location::kAfterNamedDocument:
      return fmt::format("After Document: {}", named_document);
    case import_location::kEndOfCurrentDocument:
      return "End of Current Document";
    case import_location::kTopOfFile:
      return "Top of file";
    default:
      return "End of File";
  }
}

std::string DocumentDelimiterText(int32_t delimiter_flags, int32_t delimiter_lines) {
  if ((delimiter_flags & delimiter_bit::kPageBreak) != 0) return "Page Break";
  if ((delimiter_flags & delimiter_bit::kBlankLine) != 0) return "Blank Line";
  if ((delimiter_flags & delimiter_bit::kEveryNLines) != 0) {
    return fmt::format("Every {} lines", delimiter_lines);
  }
  if ((delimiter_flags & delimiter_bit::kString) != 0) return "String";
  return "None";
}

std::string EntryFormText(bool use_entry_form, std::string_view entry_form_name) {
  return use_entry_form ? std::string(entry_form_name) : std::string("No");
}

std::string_view YesNoText(bool yes) {
  return yes ? "Yes" : "No";
}

std::string_view SortOrderText(SortOrder order) {
  return order == SortOrder::kDescending ? "Descending" : "Ascending";
}

}  // namespace ks::core
