#include "core/import_options.h"

#include <utility>

#include "core/option_mask.h"

namespace ks::core {

ImportOptions ImportOptions::FromSetData(const SETDATA& record) {
  ImportOptions options;
  options.file_origin_ansi = record.file_origin_ansi != 0;
  options.import_location = record.import_location;
  options.use_named_document = record.use_named_document != 0;
  if (options.use_named_document) options.named_document = record.named_document;
  options.delimiter_flags = record.delimiter_flags;
  options.delimiter_lines = record.delimiter_lines;
  options.delimiter_string = record.delimiter_string;
  options.use_entry_form = record.use_entry_form != 0;
  if (options.use_entry_form) options.entry_form_name = record.entry_form_name;
  options.auto_field_recognition = record.auto_field_recognition != 0;
  options.date_from = record.date_from;
  options.date_to = record.date_to;
  options.message_date_from = record.message_date_from;
  options.message_date_to = record.message_date_to;
  options.sort_order = record.sort_order != 0 ? SortOrder::kDescending : SortOrder::kAscending;
  options.use_stored_settings = record.use_stored_settings != 0;
  options.full_header = record.full_header != 0;
  options.save_attachments = record.save_attachments != 0;
  options.import_attachments = record.import_attachments != 0;
  options.filter_name = record.filter_name;
  options.delete_after_import = record.delete_after_import != 0;
  options.start_offset = record.start_offset;
  return options;
}

void ImportOptions::WriteTo(SETDATA& record) const {
  record.file_origin_ansi = file_origin_ansi ? 1 : 0;
  record.import_location = import_location;
  record.use_named_document = use_named_document ? 1 : 0;
  record.named_document = use_named_document ? named_document : std::string();
  record.delimiter_flags = delimiter_flags;
  record.delimiter_lines = delimiter_lines;
  record.delimiter_string = delimiter_string;
  record.use_entry_form = use_entry_form ? 1 : 0;
  record.entry_form_name = use_entry_form ? entry_form_name : std::string();
  record.auto_field_recognition = auto_field_recognition ? 1 : 0;
  record.date_from = date_from;
  record.date_to = date_to;
  record.message_date_from = message_date_from;
  record.message_date_to = message_date_to;
  record.sort_order = static_cast<int32_t>(sort_order);
  record.use_stored_settings = use_stored_settings ? 1 : 0;
  record.full_header = full_header ? 1 : 0;
  record.save_attachments = save_attachments ? 1 : 0;
  record.import_attachments = import_attachments ? 1 : 0;
  record.filter_name = filter_name;
  record.delete_after_import = delete_after_import ? 1 : 0;
  record.start_offset = start_offset;
}

ImportOptions ImportOptions::ForcedToMask(uint32_t option_mask) const {
  const ImportOptions defaults;
  ImportOptions narrowed = *this;
  const auto offers = [option_mask](ImportOption option) { return Offers(option_mask, option); };
  if (!offers(ImportOption::kFileOrigin)) narrowed.file_origin_ansi = defaults.file_origin_ansi;
  if (!offers(ImportOption::kImportLocation)) {
    narrowed.import_location = defaults.import_location;
    narrowed.use_named_document = defaults.use_named_document;
    narrowed.named_document = defaults.named_document;
  }
  if (!offers(ImportOption::kDocumentDelimiter)) {
    narrowed.delimiter_flags = defaults.delimiter_flags;
    narrowed.delimiter_lines = defaults.delimiter_lines;
    narrowed.delimiter_string = defaults.delimiter_string;
  }
  if (!offers(ImportOption::kEntryForm)) {
    narrowed.use_entry_form = defaults.use_entry_form;
    narrowed.entry_form_name = defaults.entry_form_name;
  }
  if (!offers(ImportOption::kAutoFieldRecognition)) {
    narrowed.auto_field_recognition = defaults.auto_field_recognition;
  }
  if (!offers(ImportOption::kDateRange)) {
    narrowed.date_from = defaults.date_from;
    narrowed.date_to = defaults.date_to;
  }
  if (!offers(ImportOption::kSortOrder)) narrowed.sort_order = defaults.sort_order;
  if (!offers(ImportOption::kUseStoredSettings)) {
    narrowed.use_stored_settings = defaults.use_stored_settings;
  }
  if (!offers(ImportOption::kMessageDateRange)) {
    narrowed.message_date_from = defaults.message_date_from;
    narrowed.message_date_to = defaults.message_date_to;
  }
  if (!offers(ImportOption::kFullHeader)) narrowed.full_header = defaults.full_header;
  if (!offers(ImportOption::kSaveAttachments)) {
    narrowed.save_attachments = defaults.save_attachments;
    narrowed.import_attachments = defaults.import_attachments;
  }
  if (!offers(ImportOption::kUseFilter)) narrowed.filter_name = defaults.filter_name;
  return narrowed;
}

uint32_t ImportOptions::TrySetSaveAttachments(bool save) {
  if (save && HasDocumentDelimiter()) return option_change::kCannotSetSaveAttachments;
  save_attachments = save;
  return option_change::kAccepted;
}

uint32_t ImportOptions::TrySetDocumentDelimiter(int32_t flags, int32_t lines, std::string string) {
  if ((flags & delimiter_bit::kAny) != 0 && save_attachments) {
    return option_change::kCannotSetDocumentDelimiter;
  }
  delimiter_flags = flags;
  delimiter_lines = lines;
  delimiter_string = std::move(string);
  return option_change::kAccepted;
}

}  // namespace ks::core
