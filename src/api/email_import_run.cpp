// The e-mail import: starting it, queuing profiles, and KSIMP_ImportEmail,
// which runs each queued profile's mailboxes into the profile's database
// under an import handle of the profile's own, then moves what the run
// recorded (errors, log) to the e-mail import's handle, where the host reads
// it.
#include <fmt/format.h>
#include <fmt/printf.h>
#include <sys/stat.h>

#include <ctime>
#include <filesystem>
#include <map>
#include <system_error>

#include "api/email_profile_requests.h"
#include "api/file_type_offers.h"
#include "api/import_session.h"
#include "api/session_import_context.h"
#include "core/error_codes.h"
#include "core/message_texts.h"
#include "importers/mail/dbx_checkpoint.h"
#include "importers/mail/email_profile_mailboxes.h"
#include "importers/mail/email_profiles.h"
#include "importers/mail/imap_checkpoints.h"
#include "importers/mail/imap_import.h"
#include "importers/mail/mailbox_checkpoints.h"
#include "importers/mail/outlook_import.h"
#include "importers/mail/maildir_checkpoint.h"
#include "importers/mail/maildir_tree.h"
#include "importers/mail/private_file.h"
#include "ks_eng5.h"

namespace {

namespace fs = std::filesystem;

// A profile message with its placeholders filled in.
template <typename... Args>
std::string ProfileMessage(uint32_t id, const Args&... args) {
  return fmt::sprintf(std::string(MessageText(id)), args...);
}

// The run's messages are lines of the log; two of them carry their line end.
std::string AsLogLine(std::string text) {
  if (!text.ends_with("\r\n")) text += "\r\n";
  return text;
}

// The mailbox files' size, as the progress bar's total; for Outlook, the
// number of items of the folders.
uint64_t MailboxBytes(const EmailProfile& profile) {
  uint64_t total = 0;
  if (profile.type == mail_application::kOutlook) {
    for (const OutlookFolderSource& source : SelectedOutlookFolders(profile)) {
      total += CountOutlookItems(source.file, source.folder).value_or(0);
    }
    return total;
  }
  for (const std::string& file : SelectedMailboxFiles(profile)) {
    struct stat info {};
    if (::stat(file.c_str(), &info) == 0 && S_ISREG(info.st_mode)) {
      total += static_cast<uint64_t>(info.st_size);
    } else if (profile.type == mail_application::kMaildir) {
      total += MaildirTree::MessageBytes(file);
    }
  }
  return total;
}

// The host's database whose file the profile names, or 0.
uint32_t HostDatabaseFor(const std::vector<uint32_t>& databases, const std::string& path) {
  for (const uint32_t database : databases) {
    char name[4096] = {};
    if (EngGetDatabaseName(database, name, sizeof name) == 0) continue;
    std::error_code ec;
    if (fs::equivalent(fs::path(name), fs::path(path), ec) && !ec) return database;
  }
  return 0;
}

// Closes the database a profile's run opened, however the run ends.
class OpenedDatabase {
 public:
  explicit OpenedDatabase(uint32_t database) : database_(database) {}
  ~OpenedDatabase() {
    if (database_ != 0) EngCloseDatabase(database_);
  }
  OpenedDatabase(const OpenedDatabase&) = delete;
  OpenedDatabase& operator=(const OpenedDatabase&) = delete;

 private:
  uint32_t database_;
};

bool IsRefusedForRights(uint32_t engine_error) {
  return engine_error == KSENG_ERR_ACCESS || engine_error == KSENG_ERR_READONLY ||
         engine_error == KSENG_ERR_PASSWORD_REQUIRED || engine_error == KSENG_ERR_PASSWORD_WRONG;
}

std::string ReadRunState(const fs::path& file, std::string* why) {
  return ReadSmallFile(file, CEmailProfiles::kMaxFileBytes, why).value_or(std::string());
}

// The server mailboxes an IMAP profile names (MAILBOX and FOLDER entries
// alike, in UTF-8), INBOX when it names none.
std::vector<std::string> ImapMailboxes(const EmailProfile& profile) {
  std::vector<std::string> mailboxes;
  for (const auto* entries : {&profile.mailboxes, &profile.folders}) {
    for (const ProfileListEntry& entry : *entries) {
      if (std::find(mailboxes.begin(), mailboxes.end(), entry.name) == mailboxes.end()) {
        mailboxes.push_back(entry.name);
      }
    }
  }
  if (mailboxes.empty()) mailboxes.emplace_back("INBOX");
  return mailboxes;
}

// One mailbox of an IMAP profile as a queued source.  Its name is the
// mailbox's key in the profile's run state (user@host:port/mailbox).
SETDATA ImapRecordOf(const EmailProfile& profile, const std::string& mailbox, uint32_t handle) {
  SETDATA record;
  record.import_handle = handle;
  record.file_type = KSIMP_TYPE_IMAP_SERVER;
  record.imap_server = profile.imap_server;
  record.imap_user = profile.imap_user;
  record.imap_password = profile.imap_password;
  record.imap_mailbox = mailbox;
  record.imap_verify_certificate = profile.imap_verify_certificate;
  record.firewall_type = profile.firewall_type;
  record.firewall_server = profile.firewall_server;
  if (profile.firewall_port > 0 && !profile.firewall_server.empty()) {
    record.firewall_server += fmt::format(":{}", profile.firewall_port);
  }
  record.firewall_user = profile.firewall_user;
  record.firewall_password = profile.firewall_password;
  std::string why;
  const std::optional<ImapServer> server = ImapServerOf(record, &why);
  record.file_name = ImapCheckpoints::KeyOf(profile.imap_user,
                                            server ? server->Name() : profile.imap_server, mailbox);
  return record;
}

}  // namespace

std::optional<uint64_t> CImportSession::ImportedUpTo(uint32_t handle) {
  const std::optional<ImportHandleRecord> record = handles_.Find(handle);
  return record ? record->imported_up_to : std::nullopt;
}

uint32_t CImportSession::InitEmailImportUsingFileHandle(uint32_t database) {
  const uint32_t handle = handles_.Create(database, /*owns_database=*/false);
  std::vector<uint32_t> dropped;
  if (!email_.Begin(handle, database, &dropped)) {
    handles_.Remove(handle);
    RecordError(0, error_code::kCannotQueueImport);
    return 0;
  }
  for (const uint32_t left : dropped) DiscardHandle(left);
  SetEmailMode(true);
  return handle;
}

uint32_t CImportSession::AddEmailProfileToImport(uint32_t handle, const char* profile_name) {
  if (!email_.Owns(handle)) {
    RecordError(handle, error_code::kHandleNotInImportSet);
    return 0;
  }
  const std::string name = profile_name != nullptr ? profile_name : "";
  std::string why;
  const std::optional<EmailProfile> profile =
      CEmailProfiles(email_profile_requests::ProfileFolder()).Load(name, &why);
  if (!profile) {
    RecordError(handle, error_code::kCannotQueueImport);
    AddLogText(handle, fmt::format("Email profile {}.  It cannot be run: {}.\r\n", name, why));
    return 0;
  }
  if (!CEmailProfiles::IsComplete(*profile)) {
    RecordError(handle, error_code::kProfileIncomplete);
    AddLogText(handle, AsLogLine(ProfileMessage(error_code::kProfileIncomplete, name)));
    return 0;
  }
  EmailImport::Item item;
  item.handle = handles_.Create(0, /*owns_database=*/false);
  item.profile = name;
  item.settings = *profile;
  item.description = SelectionDescription(*profile);
  item.total_bytes = SaturatingAdd(0, MailboxBytes(*profile));
  handles_.AddTotalBytes(item.handle, item.total_bytes);
  const uint32_t item_handle = item.handle;
  if (!email_.Add(handle, std::move(item))) {
    handles_.Remove(item_handle);
    RecordError(handle, error_code::kCannotQueueImport);
    return 0;
  }
  return 1;
}

void CImportSession::AddKSFileHandle(uint32_t handle, uint32_t database) {
  email_.AddDatabase(handle, database);
}

// The dialogs' checks, then the log says there is none; as for the other
// dialogs, a missing parent window is error 94 (against handle 0: the wizard
// has no import handle).
uint32_t CImportSession::ImportEmailWizard(void* parent_window) {
  if (parent_window == nullptr) {
    RecordError(0, error_code::kParentWindowRequired);
    return 0;
  }
  owner_window_.store(parent_window);
  AddLogText(0,
             "The e-mail wizard is not available in this version of the import library; save "
             "profiles with KSIMP_SaveEmailProfile instead.\r\n");
  return 0;
}

uint32_t CImportSession::ImportEmailProfileDialog() {
  AddLogText(0,
             "The e-mail profile list is not available in this version of the import "
             "library; run profiles with KSIMP_InitEmailImportUsingFileHandle, "
             "KSIMP_AddEmailProfileToImport and KSIMP_Import instead.\r\n");
  return 0;
}

uint32_t CImportSession::ProgressHandleOf(uint32_t handle) {
  const std::optional<EmailImport::Current> current = email_.CurrentOf(handle);
  return current ? current->handle : handle;
}

uint32_t CImportSession::ImportEmail(uint32_t handle, int64_t* carry, uint32_t* result) {
  std::optional<std::vector<EmailImport::Item>> items = email_.Start(handle);
  if (!items) return 0;

  uint32_t documents = 0;
  bool every_profile_ran = true;
  size_t next = 0;
  // Stopped before it began, or between two profiles: KSIMP_Abort marked the
  // e-mail import's own handle.
  while (next < items->size() && !handles_.IsAborted(handle)) {
    const EmailImport::Item& item = (*items)[next++];
    email_.SetCurrent(&item);
    EmailProfileRun run;
    try {
      run = RunEmailProfile(item, carry);
    } catch (...) {
      // Memory ran out outside the mailboxes' imports: the profile failed,
      // the e-mail import stays in order.
      RecordError(item.handle, error_code::kInternal);
      DiscardHandle(item.handle);
    }
    email_.SetCurrent(nullptr);
    errors_.Reassign(item.handle, handle);
    log_.Reassign(item.handle, handle);
    documents = SaturatingAdd(documents, run.documents);
    every_profile_ran = every_profile_ran && run.succeeded;
    if (run.aborted) break;
  }
  for (; next < items->size(); ++next) DiscardHandle((*items)[next].handle);

  if (!every_profile_ran) {
    RecordError(handle, error_code::kProfilesFailed);
    AddLogText(handle, AsLogLine(std::string(MessageText(error_code::kProfilesFailed))));
  }
  if (result != nullptr) *result = documents;
  email_.End(handle);
  SetEmailMode(false);
  ReleaseHandle(handle);
  return every_profile_ran ? 1 : 0;
}

// One profile: its database, its mailboxes queued with the profile's options
// and date selection, each imported in turn.  A mailbox imported whole moves
// its checkpoint on; a profile run whole (nothing failed, nothing aborted)
// that selects new messages gets the day of the run as its start date.
CImportSession::EmailProfileRun CImportSession::RunEmailProfile(const EmailImport::Item& item,
                                                                int64_t* carry) {
  const EmailProfile& profile = item.settings;
  const std::string& name = item.profile;
  const uint32_t handle = item.handle;
  const int64_t started = static_cast<int64_t>(std::time(nullptr));
  EmailProfileRun run;
  const auto finish = [&] {
    DiscardHandle(handle);
    return run;
  };

  const bool imap = profile.type == mail_application::kImap;
  const int32_t file_type =
      imap ? KSIMP_TYPE_IMAP_SERVER : mail_application::MailboxFileType(profile.type);
  if (file_type == 0) {
    RecordError(handle, error_code::kUnsupportedFileType);
    AddLogText(handle, fmt::format("Email profile {}.  {} profiles cannot be run by this version "
                                   "of the import library.\r\n",
                                   name, mail_application::Name(profile.type)));
    return finish();
  }

  bool owns_database = false;
  uint32_t database = HostDatabaseFor(email_.Databases(), profile.database);
  if (database == 0) {
    database =
        EngOpenDatabase(profile.database.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
    if (database == 0) {
      const bool rights = IsRefusedForRights(EngLastError(0));
      RecordError(handle, error_code::kCannotOpenDatabase);
      AddLogText(handle, ProfileMessage(rights ? error_code::kProfileNoWriteRights
                                               : error_code::kProfileCannotOpenDatabase,
                                        name, profile.database));
      return finish();
    }
    owns_database = true;
  }
  const OpenedDatabase opened(owns_database ? database : 0);
  const uint64_t documents_at_start = EngCountDocuments(database, KSENG_WALK_DOCUMENTS);
  handles_.Update(handle, [&](ImportHandleRecord& r) {
    r.database = database;
    r.documents_at_start = documents_at_start;
  });

  const CEmailProfiles profiles(email_profile_requests::ProfileFolder());
  const bool new_only = profile.selection == message_selection::kNewMessages;
  const bool eudora = file_type == KSIMP_TYPE_EUDORA;
  // A Maildir is a folder of message files, read from a second on rather
  // than from an offset (maildir_checkpoint.h).
  const bool maildir = file_type == KSIMP_TYPE_MAILDIR;
  // An Outlook Express folder file keeps its messages by number, read from
  // the first one not taken (dbx_checkpoint.h).
  const bool outlook_express = file_type == KSIMP_TYPE_OUTLOOK_EXPRESS;
  const fs::path state_file = profiles.StateFileOf(name);
  std::string why;
  MailboxCheckpoints checkpoints;
  ImapCheckpoints imap_checkpoints;
  if (new_only && !state_file.empty()) {
    const std::string state = ReadRunState(state_file, &why);
    checkpoints = MailboxCheckpoints::Parse(state);
    imap_checkpoints = ImapCheckpoints::Parse(state);
  }
  if (!why.empty()) AddLogText(handle, fmt::format("Email profile {}.  {}.\r\n", name, why));
  bool checkpoints_moved = false;

  bool succeeded = true;
  std::map<std::string, MailboxCheckpoint> reached;  // where each queued mailbox ends now
  std::map<std::string, ImapCheckpoint> imap_reached;  // likewise, each server mailbox
  std::vector<std::string> server_mailboxes;
  if (imap && profile.all) {
    // Every mailbox the server lists, as it lists them now.
    const ImapMailboxList list = ListImapMailboxes(ImapRecordOf(profile, "INBOX", handle));
    if (list.listed) {
      server_mailboxes = list.names;
    } else {
      RecordError(handle, list.error);
      AddLogText(handle, AsLogLine(ProfileMessage(error_code::kProfileCannotOpenMailbox, name,
                                                  profile.imap_server)));
      AddLogText(handle, AsLogLine(list.log_line));
      succeeded = false;
    }
  } else if (imap) {
    server_mailboxes = ImapMailboxes(profile);
  }
  for (const std::string& mailbox : server_mailboxes) {
    SETDATA record = ImapRecordOf(profile, mailbox, handle);
    record.import_location = profile.option_location;
    record.full_header = profile.option_header;
    record.save_attachments = profile.option_attach;
    record.import_attachments = profile.option_import_attach;
    // The run takes the messages there now; those that arrive meanwhile
    // are the next run's.
    const ImapMailboxLook look = LookAtImapMailbox(record);
    if (!look.looked) {
      RecordError(handle, look.error);
      AddLogText(handle,
                 AsLogLine(ProfileMessage(error_code::kProfileCannotOpenMailbox, name, mailbox)));
      AddLogText(handle, AsLogLine(look.log_line));
      succeeded = false;
      continue;
    }
    const ImapCheckpoint now{record.file_name, look.state.uid_validity.value_or(0),
                             look.last_uid.value_or(0)};
    if (new_only) {
      const ImapCheckpoint* before = imap_checkpoints.Find(record.file_name);
      if (before != nullptr && before->uid_validity == now.uid_validity) {
        if (now.last_uid <= before->last_uid) continue;  // nothing new
        record.imap_after_uid = before->last_uid;
      } else {
        if (before != nullptr) {
          AddLogText(handle, fmt::format("Email profile {}.  The mailbox {} was rebuilt on the "
                                         "server (its UIDVALIDITY changed): it is read from its "
                                         "start again.\r\n",
                                         name, mailbox));
        }
        if (profile.date_start) record.message_date_from = FormatProfileDate(*profile.date_start);
      }
      record.imap_uid_validity = now.uid_validity;
      record.imap_last_uid = now.last_uid;
    } else if (profile.selection == message_selection::kBetweenDates) {
      record.message_date_from = profile.date_start ? FormatProfileDate(*profile.date_start) : "";
      record.message_date_to = profile.date_end ? FormatProfileDate(*profile.date_end) : "";
    }
    if (look.state.exists.value_or(0) == 0) {
      AddLogText(handle,
                 AsLogLine(ProfileMessage(error_code::kProfileMailboxEmpty, name, mailbox)));
      if (new_only) {
        imap_checkpoints.Set(now);
        checkpoints_moved = true;
      }
      continue;
    }
    handles_.AddTotalBytes(handle, look.state.exists.value_or(0));
    imap_reached[record.file_name] = now;
    std::string warning;
    file_type_offers::ApplyFileTypeOptions(record, &warning);
    if (!warning.empty()) AddLogText(handle, warning + "\r\n");
    queue_.Append(std::move(record));
  }
  // Outlook folders are sources of their own within one file, which no
  // byte offset can resume: they take new messages by the start date.
  const bool outlook = file_type == KSIMP_TYPE_OUTLOOK_FOLDER;
  std::vector<OutlookFolderSource> sources;
  if (outlook) {
    sources = SelectedOutlookFolders(profile);
  } else if (!imap) {
    for (std::string& file : SelectedMailboxFiles(profile)) sources.push_back({std::move(file), ""});
  }
  for (const OutlookFolderSource& source : sources) {
    // Named, not bound: a lambda below takes the file.
    const std::string& file = source.file;
    const std::string& folder = source.folder;
    struct stat info {};
    if (::stat(file.c_str(), &info) != 0 ||
        !(maildir ? S_ISDIR(info.st_mode) : S_ISREG(info.st_mode))) {
      RecordError(handle, error_code::kCannotOpenFile);
      AddLogText(handle,
                 AsLogLine(ProfileMessage(error_code::kProfileCannotOpenMailbox, name, file)));
      succeeded = false;
      continue;
    }
    SETDATA record;
    record.import_handle = handle;
    record.file_name = file;
    record.file_type = file_type;
    record.import_location = profile.option_location;
    record.full_header = profile.option_header;
    record.save_attachments = profile.option_attach;
    record.import_attachments = profile.option_import_attach;
    record.imap_mailbox = folder;
    if (new_only) {
      const ResumePoint resume = outlook           ? ResumePoint{}
                                 : maildir         ? MaildirResumePoint(checkpoints, file)
                                 : outlook_express ? DbxResumePoint(checkpoints, file)
                                                   : checkpoints.ResumeAt(file, eudora);
      if (resume.kind == ResumePoint::Kind::kNothingNew) continue;
      if (resume.kind == ResumePoint::Kind::kFromOffset) {
        record.start_offset = resume.offset;
      } else if (profile.date_start) {
        record.message_date_from = FormatProfileDate(*profile.date_start);
      }
    } else if (profile.selection == message_selection::kBetweenDates) {
      record.message_date_from = profile.date_start ? FormatProfileDate(*profile.date_start) : "";
      record.message_date_to = profile.date_end ? FormatProfileDate(*profile.date_end) : "";
    }
    const auto take_checkpoint = [&] {
      if (maildir) return TakeMaildirCheckpoint(file, static_cast<uint64_t>(std::time(nullptr)));
      return outlook_express ? TakeDbxCheckpoint(file) : MailboxCheckpoints::Take(file);
    };
    if ((maildir ? MaildirTree::MessageBytes(file) : static_cast<uint64_t>(info.st_size)) == 0) {
      AddLogText(handle, AsLogLine(ProfileMessage(error_code::kProfileMailboxEmpty, name, file)));
      if (new_only && !outlook) {
        if (auto now = take_checkpoint()) {
          checkpoints.Set(std::move(*now));
          checkpoints_moved = true;
        }
      }
      continue;
    }
    if (auto now = outlook || !new_only ? std::nullopt : take_checkpoint()) {
      reached[file] = std::move(*now);
    }
    std::string warning;
    file_type_offers::ApplyFileTypeOptions(record, &warning);
    if (!warning.empty()) AddLogText(handle, warning + "\r\n");
    queue_.Append(std::move(record));
  }

  bool first_file = true;
  try {
    while (const std::optional<SETDATA> queued = queue_.First(handle)) {
      uint32_t code = 1;
      if (!ImportOneFile(handle, database, *queued, queued->file_name, first_file, carry, &code)) {
        succeeded = false;  // no importer for the type: nothing more can be read
        break;
      }
      first_file = false;
      run.aborted = handles_.IsAborted(handle);
      if (code != 1) succeeded = false;
      const auto now = reached.find(queued->file_name);
      if (code == 1 && !run.aborted && new_only && now != reached.end()) {
        checkpoints.Set(now->second);
        checkpoints_moved = true;
      }
      const auto imap_now = imap_reached.find(queued->file_name);
      if (new_only && imap_now != imap_reached.end()) {
        if (code == 1 && !run.aborted) {
          imap_checkpoints.Set(imap_now->second);
          checkpoints_moved = true;
        } else if (const std::optional<uint64_t> upto = ImportedUpTo(handle);
                   upto && *upto > queued->imap_after_uid && *upto <= imap_now->second.last_uid) {
          // Cut short (a lost connection, an abort): what was taken stays
          // taken, and the next run starts after it.
          ImapCheckpoint partial = imap_now->second;
          partial.last_uid = static_cast<uint32_t>(*upto);
          imap_checkpoints.Set(std::move(partial));
          checkpoints_moved = true;
        }
      }
      if (run.aborted) break;
    }
  } catch (...) {
    // As in CImportSession::Import: whatever an importer let out, what was
    // whole is committed, the profile has failed, and the e-mail import goes
    // on with the next one.  The mailbox being read keeps its checkpoint.
    RecordError(handle, error_code::kInternal);
    uint32_t ignored = 0;
    CommitAddedDocuments(handle, database, std::string(), &ignored);
    RecountDocumentsAdded(handle, database);
    FinishFileOutcome(handle, false, error_code::kInternal);
    succeeded = false;
  }
  queue_.RemoveAll(handle);
  // A profile's handle is the library's own: no host asks for its files.
  outcomes_.Forget(handle);

  run.documents = handles_.DocumentsAdded(handle);

  if (checkpoints_moved && !state_file.empty()) {
    const std::string state = imap ? imap_checkpoints.Serialize() : checkpoints.Serialize();
    if (!WritePrivateFile(state_file, state, &why)) {
      AddLogText(handle, fmt::format("Email profile {}.  {}.\r\n", name, why));
    }
  }
  if (run.aborted) {
    AddLogText(handle, fmt::format("Email profile {}.  The import was aborted.\r\n", name));
  } else if (succeeded) {
    if (run.documents == 0 && new_only) {
      AddLogText(handle, AsLogLine(ProfileMessage(error_code::kProfileNothingNew, name)));
    } else if (run.documents == 0 && profile.selection == message_selection::kBetweenDates) {
      AddLogText(handle, AsLogLine(ProfileMessage(error_code::kProfileNothingInRange, name)));
    }
    if (new_only && !profiles.StoreStartDate(name, LocalDateOf(started), &why)) {
      RecordError(handle, error_code::kAccessDenied);
      AddLogText(handle, fmt::format("Email profile {}.  The date of this import could not be "
                                     "kept: {}.\r\n",
                                     name, why));
      succeeded = false;
    }
  }
  AddLogText(handle, fmt::format("Email profile {}.  {} document(s) added to {}.\r\n", name,
                                 run.documents, profile.database));
  // An abort is the user's choice, not a failure; the start date stays.
  run.succeeded = succeeded;
  return finish();
}
