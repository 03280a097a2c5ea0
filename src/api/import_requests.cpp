// The requests behind the exported functions: starting an import, queuing
// sources, the dialogs (which this build cannot show), abort and the current
// file.  Each checks its arguments and records the error code the host
// expects.
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <vector>

#include "api/entry_form_names.h"
#include "api/file_names.h"
#include "api/file_type_offers.h"
#include "api/import_session.h"
#include "core/temp_import_folder.h"
#include "core/error_codes.h"
#include "core/file_error_text.h"
#include "core/message_texts.h"
#include "core/protected_database.h"
#include "core/source_decoding.h"
#include "importers/mail/outlook_import.h"
#include "importers/mail/maildir_tree.h"
#include "importers/mail/imap_import.h"
#include "importers/kestro/kestro_source.h"
#include "ks_eng5.h"
#include "ks_imp.h"
#include "registry/file_type_table.h"

namespace {

// An Outlook folder is sized by the number of items the import runs
// through; a file or folder that cannot be counted is sized as hosts have
// always seen an Outlook folder without a count.
constexpr uint64_t kUncountedOutlookFolderSize = 2000;

// Copies at most PATH_MAX - 1 bytes and a terminator: the host does not pass
// the buffer's size and is required to supply PATH_MAX bytes.
void CopyPathSizedText(std::string_view text, char* buffer) {
  const size_t length = std::min(text.size(), static_cast<size_t>(PATH_MAX - 1));
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
}

// The file name and extension of a path.
std::string_view BaseName(std::string_view path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

// The bytes of the regular files directly in `folder` whose extension is
// `extension` (any case).
uint64_t SizeOfFilesIn(const std::string& folder, std::string_view extension) {
  uint64_t size = 0;
  std::error_code error;
  for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end;
       it.increment(error)) {
    std::string name_extension = it->path().extension().string();
    std::transform(name_extension.begin(), name_extension.end(), name_extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    std::error_code file_error;
    if (name_extension == extension && it->is_regular_file(file_error)) {
      const uintmax_t file_size = it->file_size(file_error);
      if (!file_error) size += file_size;
    }
  }
  return size;
}

}  // namespace

uint32_t CImportSession::InitImportUsingFileName(const char* path) {
  if (path == nullptr) {
    RecordError(0, error_code::kNoDatabaseFileName);
    return 0;
  }
  const ks::core::DatabaseOpening opened = ks::core::OpenAskingPassword(
      path, KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE, password_prompt_.IfSet());
  if (opened.database == 0) {
    RecordError(0, error_code::kCannotOpenDatabase);
    return 0;
  }
  return handles_.Create(opened.database, /*owns_database=*/true);
}

uint32_t CImportSession::OpenDatabase(const char* path, int32_t access_mode, int32_t share_mode,
                                      uint32_t* engine_error) {
  ks::core::DatabaseOpening opened;
  if (path == nullptr) {
    opened.engine_error = KSENG_ERR_ARGUMENT;
  } else {
    opened = ks::core::OpenAskingPassword(path, access_mode, share_mode, password_prompt_.IfSet());
  }
  if (engine_error != nullptr) *engine_error = opened.engine_error;
  return opened.database;
}

uint32_t CImportSession::GetEntryFormNames(const char* path, char* buffer, int32_t size) {
  std::string lines;
  const std::vector<std::string> names =
      path != nullptr ? EntryFormNames(path, password_prompt_.IfSet())
                      : std::vector<std::string>{std::string(MessageText(error_code::kNoEntryForm))};
  for (const std::string& name : names) lines += name + "\n";
  return CopyTextStrictly(lines, buffer, size);
}

uint32_t CImportSession::SetSourceCredentials(uint32_t handle, const std::string& login_group,
                                              const std::string& password) {
  const std::string joined = ks::kestro::JoinSourceCredentials(login_group, password);
  const bool known =
      handles_.Update(handle, [&joined](ImportHandleRecord& r) { r.source_credentials = joined; });
  return known ? 1 : 0;
}

uint32_t CImportSession::InitImportUsingFileHandle(uint32_t database) {
  if (database == 0) {
    RecordError(0, error_code::kInvalidDatabaseHandle);
    return 0;
  }
  return handles_.Create(database, /*owns_database=*/false);
}

uint32_t CImportSession::AddFileToImport(SETDATA record) {
  const uint32_t handle = record.import_handle;
  if (record.file_name.empty()) {
    RecordError(handle, error_code::kNoFileNameToImport);
    return 0;
  }
  const std::optional<ImportHandleRecord> owner = handles_.Find(handle);
  if (owner) {
    record.charset = owner->source_charset;
    record.imap_verify_certificate = owner->imap_verify_certificate;
    record.source_credentials = owner->source_credentials;
  }
  if (record.file_type == KSIMP_TYPE_IMAP_SERVER && owner) {
    // An IMAP source is sized by its messages, which only its server can
    // count; a server that cannot be read is not queued.
    const ImapMailboxLook look = LookAtImapMailbox(record);
    if (!look.looked) {
      RecordError(handle, look.error);
      AddLogText(handle, look.log_line + "\r\n");
      return 0;
    }
    handles_.AddTotalBytes(handle, look.state.exists.value_or(0));
  }
  // An option the file type does not offer reaches the importer as its
  // default, never as whatever the caller happened to pass.
  std::string warning;
  file_type_offers::ApplyFileTypeOptions(record, &warning);
  if (!warning.empty()) AddLogText(handle, warning + "\r\n");
  AddSourceSizeToTotal(record);
  if (!queue_.Append(std::move(record))) {
    RecordError(handle, error_code::kCannotQueueImport);
    return 0;
  }
  return 1;
}

uint32_t CImportSession::SetSourceCharset(uint32_t handle, const std::string& charset) {
  if (!handles_.Find(handle)) return 0;
  if (!charset.empty() && !ks::core::IsReadableCharsetName(charset)) {
    RecordError(handle, error_code::kUnknownCharset);
    AddLogText(handle, fmt::format("The character set \"{}\" is unknown.\r\n", charset));
    return 0;
  }
  const bool known =
      handles_.Update(handle, [&charset](ImportHandleRecord& r) { r.source_charset = charset; });
  return known ? 1 : 0;
}

// The total bytes the host's progress bar runs to.  A file that cannot be
// examined counts 0; it is still queued, and the importer that fails to open
// it reports why, once, when the import reaches it.
void CImportSession::AddSourceSizeToTotal(const SETDATA& record) {
  const uint32_t handle = record.import_handle;
  if (record.file_type == KSIMP_TYPE_IMAP_SERVER) return;  // counted when its server was read
  if (record.file_type == KSIMP_TYPE_OUTLOOK_FOLDER) {
    // The mailbox argument names the folder inside the file.
    uint64_t items = 0;
    for (const std::string& name : SplitFileNames(record.file_name)) {
      items += CountOutlookItems(name, record.imap_mailbox).value_or(kUncountedOutlookFolderSize);
    }
    handles_.AddTotalBytes(handle, items);
    return;
  }
  uint64_t size = 0;
  for (std::string name : SplitFileNames(record.file_name)) {
    // A table import's settings string names its file second, after the
    // connection string.
    if (const size_t separator = name.find('\x1b'); separator != std::string::npos) {
      name = name.substr(separator + 1, name.find('\x1b', separator + 1) - separator - 1);
    }
    struct stat info {};
    if (::stat(name.c_str(), &info) != 0) continue;
    if (S_ISREG(info.st_mode)) {
      size += static_cast<uint64_t>(info.st_size);
    } else if (S_ISDIR(info.st_mode) && record.file_type == KSIMP_TYPE_OUTLOOK_EXPRESS) {
      // An Outlook Express store folder is read folder file by folder file.
      size += SizeOfFilesIn(name, ".dbx");
    } else if (S_ISDIR(info.st_mode) && record.file_type == KSIMP_TYPE_MAILDIR) {
      // A Maildir is a folder: its size is that of its messages.
      size += MaildirTree::MessageBytes(name);
    }
  }
  handles_.AddTotalBytes(handle, size);
}

uint32_t CImportSession::ImportDlg(uint32_t handle, void* parent_window, uint32_t* result) {
  if (!DialogArgumentsValid(handle, parent_window, result, /*needs_result=*/true)) return 0;
  *result = 0;
  return ReportNoDialog(handle, parent_window, "import dialog");
}

uint32_t CImportSession::ImportOutlookDlg(uint32_t handle, void* parent_window, uint32_t* result) {
  if (!DialogArgumentsValid(handle, parent_window, result, /*needs_result=*/true)) return 0;
  *result = 0;
  return ReportNoDialog(handle, parent_window, "Outlook folder dialog");
}

uint32_t CImportSession::ImportWizard(uint32_t handle, void* parent_window) {
  if (!DialogArgumentsValid(handle, parent_window, nullptr, /*needs_result=*/false)) return 0;
  return ReportNoDialog(handle, parent_window, "import wizard");
}

// The checks every dialog makes before it would be shown: an unknown handle
// fails silently, the others record what is missing.
bool CImportSession::DialogArgumentsValid(uint32_t handle, void* parent_window, uint32_t* result,
                                          bool needs_result) {
  if (!handles_.Exists(handle)) return false;
  if (parent_window == nullptr) {
    RecordError(handle, error_code::kParentWindowRequired);
    return false;
  }
  if (needs_result && result == nullptr) {
    RecordError(handle, error_code::kHandleNotInImportSet);
    return false;
  }
  return true;
}

// The checks passed but there is no windowing toolkit: say so in the log and
// leave the handle usable for KSIMP_AddFileToImport.
uint32_t CImportSession::ReportNoDialog(uint32_t handle, void* parent_window, const char* what) {
  owner_window_.store(parent_window);
  AddLogText(handle, fmt::format("The {} is not available in this version of the import "
                                 "library; queue the files with KSIMP_AddFileToImport instead.\r\n",
                                 what));
  return 0;
}

uint32_t CImportSession::Abort(uint32_t handle) {
  // Held across the whole abort, as hosts have always seen it; the calls
  // below go on under it.
  SessionLockGuard session(locks_.session);
  uint32_t found = 0;
  // An e-mail import stops the profile being run and those after it.
  if (const uint32_t profile = ProgressHandleOf(handle); profile != handle) {
    handles_.SetAborted(profile);
  }
  if (handles_.SetAborted(handle)) {
    std::vector<tagIMPORTATTACH> waiting;
    {
      std::lock_guard data(locks_.data);
      waiting.swap(attachments_);
    }
    // The attachments import into the database of the running import, which
    // stays open: their handles are dropped without closing anything.
    for (const tagIMPORTATTACH& attachment : waiting) {
      DiscardHandle(attachment.import_handle);
      DeleteTempImportFile(attachment.path);
    }
    found = 1;
  }
  SetEmailMode(false);
  return found;
}

uint32_t CImportSession::GetCurFile(uint32_t handle, char* buffer) {
  if (buffer == nullptr) return 0;
  // The e-mail import shows its own current item instead.
  if (!IsEmailMode() && IsImportingAttachments()) {
    CopyPathSizedText(MessageText(error_code::kImportingAttachments), buffer);
    return 1;
  }
  // The e-mail import names the mailbox being read, without its folder.
  const bool email = email_.Owns(handle);
  const std::optional<SETDATA> current = queue_.First(email ? ProgressHandleOf(handle) : handle);
  if (!current) return 0;
  CopyPathSizedText(email ? BaseName(current->file_name) : current->file_name, buffer);
  return 1;
}
