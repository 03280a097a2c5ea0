// The exported KSIMP_ functions: each passes its call on to the import
// session inside the export guard.  Argument order and types are the ones
// hosts are built against (include/ks_imp.h).
#include <optional>
#include <string>
#include <utility>

#include "api/email_profile_requests.h"
#include "api/export_guard.h"
#include "api/file_type_offers.h"
#include "api/ks_imp_app.h"
#include "api/settings_file_requests.h"
#include "api/table_requests.h"
#include "core/config_store.h"
#include "core/error_codes.h"
#include "core/message_texts.h"
#include "core/option_mask.h"
#include "importers/text/first_row_names.h"
#include "ks_imp.h"
#include "registry/file_type_table.h"
#include "registry/verify_filetype.h"

namespace {

CImportSession& Session() {
  return CKS_ImpApp::Instance().Session();
}

std::string TextOrEmpty(const char* text) {
  return text != nullptr ? std::string(text) : std::string();
}

// A string the host passes together with a flag is kept only when the flag
// is set.
std::string TextIfFlagged(int32_t flag, const char* text) {
  return flag != 0 ? TextOrEmpty(text) : std::string();
}

}  // namespace

extern "C" {

KSIMP_API uint32_t KSIMP_InitImportUsingFileName(const char* path) {
  return GuardExport([&] { return Session().InitImportUsingFileName(path); });
}

KSIMP_API uint32_t KSIMP_InitImportUsingFileHandle(uint32_t database) {
  return GuardExport([&] { return Session().InitImportUsingFileHandle(database); });
}

KSIMP_API uint32_t KSIMP_AddFileToImport(
    uint32_t handle, const char* file_name, int32_t file_type, int32_t import_location,
    int32_t use_entry_form, const char* entry_form_name, int32_t use_named_document,
    const char* named_document, int32_t delimiter_flags, int32_t delimiter_lines,
    const char* delimiter_string, int32_t file_origin_ansi, int32_t auto_field_recognition,
    const char* date_from, int32_t sort_order, int32_t use_stored_settings, const char* date_to,
    int32_t full_header, const char* message_date_from, int32_t save_attachments,
    const char* message_date_to, const char* filter_name, int32_t delete_after_import,
    int32_t import_attachments, const char* imap_server, const char* imap_user, const char* imap_password,
    const char* imap_mailbox, const char* firewall_server, const char* firewall_user,
    const char* firewall_password, int32_t firewall_type, int32_t imap_port) {
  return GuardExport([&] {
    SETDATA record;
    record.import_handle = handle;
    record.file_name = TextOrEmpty(file_name);
    record.file_type = file_type;
    record.import_location = import_location;
    record.use_entry_form = use_entry_form;
    record.entry_form_name = TextIfFlagged(use_entry_form, entry_form_name);
    record.use_named_document = use_named_document;
    record.named_document = TextIfFlagged(use_named_document, named_document);
    record.delimiter_flags = delimiter_flags;
    record.delimiter_lines = delimiter_lines;
    record.delimiter_string = TextOrEmpty(delimiter_string);
    record.file_origin_ansi = file_origin_ansi;
    record.auto_field_recognition = auto_field_recognition;
    record.date_from = TextOrEmpty(date_from);
    record.sort_order = sort_order;
    record.use_stored_settings = use_stored_settings;
    record.date_to = TextOrEmpty(date_to);
    record.full_header = full_header;
    record.message_date_from = TextOrEmpty(message_date_from);
    record.save_attachments = save_attachments;
    record.message_date_to = TextOrEmpty(message_date_to);
    record.filter_name = TextOrEmpty(filter_name);
    record.delete_after_import = delete_after_import;
    record.import_attachments = import_attachments;
    record.imap_server = TextOrEmpty(imap_server);
    record.imap_user = TextOrEmpty(imap_user);
    record.imap_password = TextOrEmpty(imap_password);
    record.imap_mailbox = TextOrEmpty(imap_mailbox);
    record.firewall_server = TextOrEmpty(firewall_server);
    record.firewall_user = TextOrEmpty(firewall_user);
    record.firewall_password = TextOrEmpty(firewall_password);
    record.firewall_type = firewall_type;
    record.imap_port = imap_port & 0xFFFF;
    return Session().AddFileToImport(std::move(record));
  });
}

KSIMP_API uint32_t KSIMP_AddAttachmentFolder(uint32_t handle, const char* folder) {
  return GuardExport([&] {
    if (folder == nullptr || *folder == '\0') return 0u;
    const bool known = Session().handles().Update(
        handle, [folder](ImportHandleRecord& r) { r.attachment_folders.emplace_back(folder); });
    return known ? 1u : 0u;
  });
}

KSIMP_API uint32_t KSIMP_SetAttachmentSizeLimit(uint32_t handle, uint64_t max_bytes) {
  return GuardExport([&] {
    const bool known = Session().handles().Update(
        handle, [max_bytes](ImportHandleRecord& r) { r.attachment_max_bytes = max_bytes; });
    return known ? 1u : 0u;
  });
}

KSIMP_API uint32_t KSIMP_SetSourceCharset(uint32_t handle, const char* charset) {
  return GuardExport([&] { return Session().SetSourceCharset(handle, TextOrEmpty(charset)); });
}

KSIMP_API uint32_t KSIMP_SetImapCertificateCheck(uint32_t handle, int32_t check) {
  return GuardExport([&] {
    const bool known = Session().handles().Update(
        handle, [check](ImportHandleRecord& r) { r.imap_verify_certificate = check != 0; });
    return known ? 1u : 0u;
  });
}

KSIMP_API void KSIMP_SetPasswordPrompt(KSIMP_PASSWORD_PROMPT prompt, void* host_data) {
  GuardExport([&] { Session().password_prompt().Set(prompt, host_data); });
}

KSIMP_API uint32_t KSIMP_SetSourceCredentials(uint32_t handle, const char* login_group,
                                              const char* password) {
  return GuardExport([&] {
    return Session().SetSourceCredentials(handle, TextOrEmpty(login_group), TextOrEmpty(password));
  });
}

KSIMP_API uint32_t KSIMP_OpenDatabase(const char* path, int32_t access_mode, int32_t share_mode,
                                      uint32_t* engine_error) {
  return GuardExport(
      [&] { return Session().OpenDatabase(path, access_mode, share_mode, engine_error); });
}

KSIMP_API uint32_t KSIMP_GetEntryFormNames(const char* path, char* buffer, int32_t size) {
  return GuardExport([&] { return Session().GetEntryFormNames(path, buffer, size); });
}

KSIMP_API uint32_t KSIMP_ImportDlg(uint32_t handle, void* parent_window, int32_t /*host_value1*/,
                                   int32_t /*host_value2*/, int32_t /*host_value3*/,
                                   int32_t /*host_value4*/, uint32_t* result) {
  return GuardExport([&] { return Session().ImportDlg(handle, parent_window, result); });
}

KSIMP_API uint32_t KSIMP_ImportOutlookDlg(uint32_t handle, void* parent_window, uint32_t* result) {
  return GuardExport([&] { return Session().ImportOutlookDlg(handle, parent_window, result); });
}

KSIMP_API uint32_t KSIMP_ImportWizard(uint32_t handle, void* parent_window, int32_t /*host_value*/,
                                      int32_t /*wizard_mode*/) {
  return GuardExport([&] { return Session().ImportWizard(handle, parent_window); });
}

KSIMP_API uint32_t KSIMP_Import(uint32_t handle, int32_t host_value1, int32_t host_value2,
                                int64_t* carry, uint32_t* result) {
  return GuardExport(
      [&] { return Session().Import(handle, host_value1, host_value2, carry, result); });
}

KSIMP_API uint32_t KSIMP_Abort(uint32_t handle) {
  return GuardExport([&] { return Session().Abort(handle); });
}

KSIMP_API uint32_t KSIMP_GetTotalBytes(uint32_t handle) {
  return GuardExport([&] {
    // The e-mail import's total is that of all its profiles.
    if (Session().email().Owns(handle)) return Session().email().TotalBytes(handle);
    return Session().handles().TotalBytes(handle);
  });
}

KSIMP_API uint32_t KSIMP_GetCurBytes(uint32_t handle) {
  return GuardExport(
      [&] { return Session().handles().CurrentBytes(Session().ProgressHandleOf(handle)); });
}

KSIMP_API uint32_t KSIMP_GetNumDocsAdded(uint32_t handle) {
  return GuardExport(
      [&] { return Session().handles().DocumentsAdded(Session().ProgressHandleOf(handle)); });
}

KSIMP_API uint32_t KSIMP_GetCurFile(uint32_t handle, char* buffer) {
  return GuardExport([&] { return Session().GetCurFile(handle, buffer); });
}

KSIMP_API uint32_t KSIMP_GetLastImportError(uint32_t handle) {
  return GuardExport([&] { return Session().GetLastImportError(handle); });
}

KSIMP_API uint32_t KSIMP_ImportErrorToString(uint32_t code, char* buffer, int32_t size) {
  return GuardExport([&] { return CopyErrorText(code, buffer, size); });
}

KSIMP_API uint32_t KSIMP_GetFileTypeCount(void) {
  return GuardExport([&] {
    try {
      return static_cast<uint32_t>(file_type_offers::OfferedFileTypes().size());
    } catch (const ks::core::ConfigError& e) {
      Session().AddLogText(0, std::string(e.what()) + "\r\n");
      return 0u;
    }
  });
}

KSIMP_API uint32_t KSIMP_GetFileTypeInfo(uint32_t index, int32_t* file_type, uint32_t* option_mask,
                                         char* name, int32_t name_size, char* extensions,
                                         int32_t extensions_size, char* description,
                                         int32_t description_size) {
  return GuardExport([&] {
    const auto filters = file_type_offers::OfferedFileTypes();
    if (index >= filters.size()) return 0u;
    const auto& filter = filters[index];
    if (file_type != nullptr) *file_type = filter.file_type;
    if (option_mask != nullptr) *option_mask = filter.option_mask;
    const auto copy = [](const std::string& text, char* buffer, int32_t size) {
      return buffer == nullptr || CopyTextStrictly(text, buffer, size) == 1;
    };
    const bool copied = copy(filter.name, name, name_size) &&
                        copy(filter.extensions, extensions, extensions_size) &&
                        copy(filter.description, description, description_size);
    return copied ? 1u : 0u;
  });
}

KSIMP_API uint32_t KSIMP_GetFileTypeOptionMask(int32_t file_type) {
  return GuardExport([&] { return file_type_offers::OptionMaskOf(file_type); });
}

KSIMP_API int32_t KSIMP_DetectFileType(const char* path, char* message, int32_t size) {
  return GuardExport([&]() -> int32_t {
    if (path == nullptr) return 0;
    std::string shown;
    CVerifyFiletype verifier(/*show_messages=*/true,
                             [&shown](const std::string&, const std::string& text) { shown = text; });
    const int32_t type = verifier.DetectFileType(path);
    if (message != nullptr) CopyTextStrictly(verifier.SharingFailed() ? shown : "", message, size);
    return type;
  });
}

KSIMP_API uint32_t KSIMP_GetFileTypeShortName(uint32_t index, int32_t* file_type, char* buffer,
                                              int32_t size) {
  return GuardExport([&] {
    uint32_t seen = 0;
    for (const ks::registry::FileTypeRow& row : ks::registry::FileTypeRows()) {
      if (row.short_name.empty() || seen++ != index) continue;
      if (file_type != nullptr) *file_type = row.number;
      return CopyTextStrictly(row.short_name, buffer, size);
    }
    return 0u;
  });
}

KSIMP_API uint32_t KSIMP_GetOptionLabel(uint32_t option, char* buffer, int32_t size) {
  return GuardExport([&] {
    for (const auto known : ks::core::kOptionsInMaskOrder) {
      if (static_cast<uint32_t>(known) == option) {
        return CopyTextStrictly(ks::core::OptionRowLabel(known), buffer, size);
      }
    }
    return 0u;
  });
}

KSIMP_API uint32_t KSIMP_GetMessageCaption(uint32_t code, char* buffer, int32_t size) {
  return GuardExport([&] {
    const std::string_view caption = MessageCaption(code);
    return caption.empty() ? 0u : CopyTextStrictly(caption, buffer, size);
  });
}

KSIMP_API uint32_t KSIMP_CheckColumnHeader(const char* column_header) {
  return GuardExport(
      [&] { return settings_file_requests::CheckColumnHeader(TextOrEmpty(column_header)); });
}

KSIMP_API uint32_t KSIMP_WriteSettingsFile(const char* path, const char* column_header) {
  return GuardExport([&] {
    if (path == nullptr || *path == '\0') return error_code::kAccessDenied;
    return settings_file_requests::WriteSettingsFile(path, TextOrEmpty(column_header));
  });
}

KSIMP_API uint32_t KSIMP_ReadSettingsFile(const char* path, char* buffer, int32_t size) {
  return GuardExport([&] {
    return CopyTextStrictly(settings_file_requests::ReadSettingsFile(TextOrEmpty(path)), buffer,
                            size);
  });
}

KSIMP_API uint32_t KSIMP_ColumnHeaderFromFirstRow(const char* path, const char* delimiters,
                                                  char qualifier, int32_t consecutive,
                                                  int32_t origin_ansi, char* buffer, int32_t size,
                                                  uint32_t* message) {
  uint32_t reason = error_code::kInternal;  // what a failure that throws leaves
  if (message != nullptr) *message = reason;
  const uint32_t copied = GuardExport([&]() -> uint32_t {
    ks::text::FirstRowLayout layout;
    layout.delimiters = TextOrEmpty(delimiters);
    layout.qualifier = qualifier;
    layout.consecutive = consecutive != 0;
    layout.origin_ansi = origin_ansi != 0;
    layout.code_pages = CImportSession::ConfiguredCodePages();
    std::string column_header;
    reason = ks::text::ColumnHeaderFromFirstRow(TextOrEmpty(path), layout, &column_header);
    if (reason != 0) return 0;
    if (CopyTextStrictly(column_header, buffer, size) == 1) return 1;
    reason = error_code::kInternal;
    return 0;
  });
  if (message != nullptr) *message = reason;
  return copied;
}

KSIMP_API uint32_t KSIMP_GetTableConnectionString(int32_t file_type, const char* path,
                                                  char* buffer, int32_t size) {
  return GuardExport([&]() -> uint32_t {
    const std::optional<std::string> connection =
        ks::api::TableConnectionString(file_type, TextOrEmpty(path));
    return connection ? CopyTextStrictly(*connection, buffer, size) : 0;
  });
}

KSIMP_API uint32_t KSIMP_GetTableList(int32_t file_type, const char* connection, char* buffer,
                                      int32_t size, uint32_t* message) {
  uint32_t reason = error_code::kInternal;  // what a failure that throws leaves
  const uint32_t copied = GuardExport([&]() -> uint32_t {
    const ks::api::TableListing listing = ks::api::ListTables(file_type, TextOrEmpty(connection));
    const uint32_t fits = CopyTextStrictly(listing.text, buffer, size);
    reason = listing.message != 0 ? listing.message : fits == 1 ? 0 : error_code::kInternal;
    return reason == 0 ? 1 : 0;
  });
  if (message != nullptr) *message = reason;
  return copied;
}

KSIMP_API uint32_t KSIMP_IsLogData(uint32_t handle) {
  return GuardExport([&] { return Session().IsLogData(handle) ? 1u : 0u; });
}

KSIMP_API uint32_t KSIMP_GetLogData(uint32_t handle, char* buffer, int32_t size) {
  return GuardExport([&] { return Session().GetLogData(handle, buffer, size); });
}

KSIMP_API uint32_t KSIMP_GetFileOutcome(uint32_t handle, uint32_t index, char* file_name,
                                        int32_t name_size, int32_t* file_type,
                                        uint32_t* documents_added, uint32_t* error,
                                        uint32_t* imported_whole) {
  return GuardExport([&]() -> uint32_t {
    const std::optional<FileOutcome> outcome = Session().GetFileOutcome(handle, index);
    if (!outcome) return 0;
    if (file_name != nullptr && !CopyTextStrictly(outcome->file_name, file_name, name_size)) {
      return 0;
    }
    if (file_type != nullptr) *file_type = outcome->file_type;
    if (documents_added != nullptr) *documents_added = outcome->documents_added;
    if (error != nullptr) *error = outcome->error;
    if (imported_whole != nullptr) *imported_whole = outcome->imported_whole ? 1u : 0u;
    return 1;
  });
}

KSIMP_API uint32_t KSIMP_GetFileLog(uint32_t handle, uint32_t index, char* buffer, int32_t size) {
  return GuardExport([&]() -> uint32_t {
    const std::optional<FileOutcome> outcome = Session().GetFileOutcome(handle, index);
    if (!outcome) return KSIMP_LOG_NONE;
    return CopyTextStrictly(outcome->log, buffer, size) ? KSIMP_LOG_COPIED : KSIMP_LOG_TOO_SMALL;
  });
}

// ---- E-mail imports ----------------------------------------------------

KSIMP_API uint32_t KSIMP_InitEmailImportUsingFileHandle(uint32_t database) {
  return GuardExport([&] { return Session().InitEmailImportUsingFileHandle(database); });
}

KSIMP_API uint32_t KSIMP_AddEmailProfileToImport(uint32_t handle, const char* profile) {
  return GuardExport([&] { return Session().AddEmailProfileToImport(handle, profile); });
}

KSIMP_API uint32_t KSIMP_ImportEmail(uint32_t handle, int32_t /*host_value1*/,
                                     int32_t /*host_value2*/, int64_t* carry, uint32_t* result) {
  return GuardExport([&] { return Session().ImportEmail(handle, carry, result); });
}

KSIMP_API uint32_t KSIMP_ImportEmailWizard(void* parent_window, uint32_t /*database*/) {
  return GuardExport([&] { return Session().ImportEmailWizard(parent_window); });
}

KSIMP_API uint32_t KSIMP_ImportEmailProfile(void) {
  return GuardExport([&] { return Session().ImportEmailProfileDialog(); });
}

KSIMP_API void KSIMP_AddKSFileHandle(uint32_t handle, uint32_t database) {
  GuardExport([&] { Session().AddKSFileHandle(handle, database); });
}

KSIMP_API uint32_t KSIMP_GetCurEmailProfile(uint32_t handle, char* buffer, int32_t size) {
  return GuardExport([&] {
    const auto current = Session().email().CurrentOf(handle);
    return current ? CopyTextStrictly(current->profile, buffer, size) : 0u;
  });
}

KSIMP_API uint32_t KSIMP_GetCurEmailKroFile(uint32_t handle, char* buffer, int32_t size) {
  return GuardExport([&] {
    const auto current = Session().email().CurrentOf(handle);
    return current ? CopyTextStrictly(current->database, buffer, size) : 0u;
  });
}

KSIMP_API uint32_t KSIMP_GetEmailProfileCount(uint32_t handle) {
  return GuardExport([&] { return Session().email().Count(handle); });
}

KSIMP_API uint32_t KSIMP_GetCurEmailDescription(uint32_t handle, char* buffer, int32_t size) {
  return GuardExport([&] {
    const auto current = Session().email().CurrentOf(handle);
    return current ? CopyTextStrictly(current->description, buffer, size) : 0u;
  });
}

KSIMP_API uint32_t KSIMP_SaveEmailProfile(const char* profile, int32_t replace) {
  return GuardExport(
      [&] { return email_profile_requests::Save(TextOrEmpty(profile), replace != 0); });
}

KSIMP_API uint32_t KSIMP_GetEmailProfileName(uint32_t index, char* buffer, int32_t size) {
  return GuardExport([&] {
    const auto name = email_profile_requests::NameAt(index);
    return name ? CopyTextStrictly(*name, buffer, size) : 0u;
  });
}

KSIMP_API uint32_t KSIMP_GetEmailProfile(const char* name, char* buffer, int32_t size) {
  return GuardExport([&] {
    const auto text = email_profile_requests::ShownText(TextOrEmpty(name));
    return text ? CopyTextStrictly(*text, buffer, size) : 0u;
  });
}

KSIMP_API uint32_t KSIMP_GetEmailProfileDescription(const char* name, char* buffer,
                                                    int32_t size) {
  return GuardExport([&] {
    const auto text = email_profile_requests::Description(TextOrEmpty(name));
    return text ? CopyTextStrictly(*text, buffer, size) : 0u;
  });
}

KSIMP_API uint32_t KSIMP_DeleteEmailProfile(const char* name) {
  return GuardExport([&] { return email_profile_requests::Delete(TextOrEmpty(name)) ? 1u : 0u; });
}

}  // extern "C"
