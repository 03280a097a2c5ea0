// ksimp import: queues files into an import, runs it on a worker thread while
// the main thread shows progress, and reports what became of each file
// (import_report.h): exit status 1 unless every file was imported whole.
// Ctrl-C aborts the import and keeps what was imported.
#include <fmt/format.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "column_header_flags.h"
#include "commands.h"
#include "database.h"
#include "import_options.h"
#include "imap_source.h"
#include "import_report.h"
#include "ks_imp.h"
#include "password_prompt.h"
#include "progress_display.h"
#include "table_sources.h"
#include "type_check.h"

namespace ksimp {
namespace {

std::atomic<bool> interrupted{false};

void OnInterrupt(int) {
  interrupted.store(true);
  // A second Ctrl-C ends the program at once.
  signal(SIGINT, SIG_DFL);
}

// An IMAP source takes its server, user, password and mailbox along.
uint32_t Queue(uint32_t handle, const std::string& file, int32_t type, const ImportRequest& r,
               const ImapSource* imap = nullptr) {
  const auto text = [imap](const std::string ImapSource::*part) {
    return imap != nullptr ? (imap->*part).c_str() : nullptr;
  };
  return KSIMP_AddFileToImport(
      handle, file.c_str(), type, r.location, r.form.empty() ? 0 : 1, r.form.c_str(),
      r.named_document.empty() ? 0 : 1, r.named_document.c_str(), r.delimiter_flags,
      r.delimiter_lines, r.delimiter_string.c_str(), r.origin_ansi, r.auto_fields ? 1 : 0,
      r.date_from.c_str(), r.sort_descending, r.stored_settings ? 1 : 0, r.date_to.c_str(),
      r.full_header ? 1 : 0, r.message_date_from.c_str(), r.save_attachments ? 1 : 0,
      r.message_date_to.c_str(), r.filter.c_str(), r.delete_after ? 1 : 0,
      r.import_attachments ? 1 : 0, text(&ImapSource::server), text(&ImapSource::user),
      text(&ImapSource::password),
      // The mailbox argument names an IMAP mailbox, or a folder of an Outlook file.
      imap != nullptr ? imap->mailbox.c_str() : (r.folder.empty() ? nullptr : r.folder.c_str()),
      nullptr, nullptr, nullptr, 0, 0);
}

std::string OptionLabel(uint32_t option) {
  char label[256] = {};
  return KSIMP_GetOptionLabel(option, label, sizeof label) ? label
                                                           : fmt::format("option {}", option);
}

// The options the user asked for, as option bits.
uint32_t RequestedOptions(const ImportRequest& r, const std::vector<std::string>& given) {
  uint32_t options = 0;
  const auto was_given = [&](const char* name) {
    return std::find(given.begin(), given.end(), name) != given.end();
  };
  if (was_given("--origin")) options |= KSIMP_OPT_FILE_ORIGIN;
  if (was_given("--location")) options |= KSIMP_OPT_IMPORT_LOCATION;
  if (r.delimiter_flags != 0) options |= KSIMP_OPT_DOCUMENT_DELIMITER;
  if (!r.form.empty()) options |= KSIMP_OPT_ENTRY_FORM;
  if (r.auto_fields) options |= KSIMP_OPT_AUTO_FIELDS;
  if (was_given("--date-range")) options |= KSIMP_OPT_DATE_RANGE;
  if (was_given("--sort")) options |= KSIMP_OPT_SORT_ORDER;
  if (r.stored_settings) options |= KSIMP_OPT_STORED_SETTINGS;
  if (was_given("--message-date-range")) options |= KSIMP_OPT_MESSAGE_DATE_RANGE;
  if (r.full_header) options |= KSIMP_OPT_FULL_HEADER;
  // Importing attachments is offered with saving them, by the same option bit.
  if (r.save_attachments || r.import_attachments) options |= KSIMP_OPT_SAVE_ATTACHMENTS;
  if (!r.filter.empty()) options |= KSIMP_OPT_FILTER;
  return options;
}

// One line for each asked-for option that the file's type does not offer:
// the library imports with that option's default.
void WarnAboutOptionsNotOffered(const std::string& file, int32_t type, uint32_t requested) {
  const uint32_t offered = KSIMP_GetFileTypeOptionMask(type);
  for (uint32_t bit = 1; bit <= KSIMP_OPT_FILTER; bit <<= 1) {
    if ((requested & bit) && !(offered & bit)) {
      fmt::print(stderr, "warning: file type {} does not offer \"{}\"; {} is imported without it\n",
                 type, OptionLabel(bit), file);
    }
  }
}

// A document delimiter and saving attachments exclude each other; the one
// given last is refused with the product's own message, as the import
// dialog does.
void RefuseDelimiterWithAttachments(const ImportRequest& r, const std::vector<std::string>& given) {
  if (r.delimiter_flags == 0 || !r.save_attachments) return;
  const auto last = [&](const char* name) {
    const auto it = std::find(given.rbegin(), given.rend(), name);
    return it == given.rend() ? -1 : static_cast<int>(given.rend() - it);
  };
  const uint32_t code = last("--save-attachments") > last("--delimiter") ? 14045u : 14053u;
  std::vector<char> text(4096);
  char caption[256] = {};
  KSIMP_ImportErrorToString(code, text.data(), static_cast<int32_t>(text.size()));
  KSIMP_GetMessageCaption(code, caption, sizeof caption);
  throw HostError(fmt::format("{}: {}", caption, text.data()), 2);
}

// The library's queue reads "|" as the border between two file names (and
// drops the blanks after it), so a file whose own name holds a bar would be
// imported as other files, or not found.  Such a name is refused before
// anything is read or imported.
void RefuseBarInFileNames(const std::vector<std::string>& files) {
  for (const auto& file : files) {
    if (file.find('|') == std::string::npos) continue;
    throw HostError(fmt::format("cannot import {}: its name holds \"|\", which the import library "
                                "reads as a separator between file names; rename the file or "
                                "link it under a name without \"|\"",
                                file),
                    2);
  }
}

struct ImportCommand {
  std::string path;
  std::vector<std::string> files;
  std::string type;
  std::string delimiter = "none";
  std::string origin = "ansi";
  std::string charset;  // empty: by the origin
  std::string location = "end";
  std::vector<std::string> attachment_folders;
  uint64_t attachment_max_mb = 0;
  std::string date_range;
  std::string message_date_range;
  std::string sort = "asc";
  ImportRequest request;
  ColumnHeaderFlags columns;  // delimited and fixed-width layouts
  bool quiet = false;
  bool json = false;  // one JSON object at the end, nothing else on stdout
  // Database tables: the tables to import and the field names to use.
  std::string odbc;
  std::vector<std::string> tables;
  std::vector<std::string> field_names;
  std::vector<std::string> given;  // the options given, in command-line order
  // IMAP servers given as imap[s]://user@host[:port]/Mailbox: their
  // password comes from --source-password-file or the terminal.
  bool no_certificate_check = false;
  // A protected database and protected Kestro databases to import from.
  CredentialOptions credentials;
  CredentialOptions source_credentials;
  PasswordPrompt prompt;

  // Another Kestro database to import from is opened here first, on this
  // thread, so that a protected one asks for its password (or says what is
  // missing) before anything is imported; the credentials that opened it go
  // with it to the import, which runs on another thread and never asks.
  // One that does not open for another reason is left to the import, which
  // reports it with the rest.
  void UseSourceCredentials(uint32_t handle, const std::string& file, int32_t file_type) {
    if (file_type != KSIMP_TYPE_KESTRO) {
      KSIMP_SetSourceCredentials(handle, nullptr, nullptr);
      return;
    }
    uint32_t error = 0;
    const uint32_t source = KSIMP_OpenDatabase(file.c_str(), KSENG_ACCESS_READ,
                                               KSENG_SHARE_READ, &error);
    if (source != 0) EngCloseDatabase(source);
    if (source == 0 &&
        (error == KSENG_ERR_PASSWORD_REQUIRED || error == KSENG_ERR_PASSWORD_WRONG)) {
      const std::string refusal = prompt.Refusal(file);
      KSIMP_Import(handle, 0, 0, nullptr, nullptr);  // releases the handle
      throw HostError(fmt::format("cannot import {}: {}", file,
                                  refusal.empty() ? EngineErrorText(error) : refusal));
    }
    auto [group, password] = prompt.LastAnswer(file);
    KSIMP_SetSourceCredentials(handle, group.c_str(), password.c_str());
    std::fill(password.begin(), password.end(), '\0');
  }

  // A delimited or fixed-width layout travels as the import's stored
  // settings, as the column header string itself (a settings file is read
  // here, so that --first-row can outweigh it).  A string that does not
  // parse is reported now; the import still runs, keeping each row as it
  // stands.
  void UseColumns() {
    if (!columns.Given()) return;
    if (!date_range.empty()) {
      throw HostError("--date-range cannot be combined with a column layout", 2);
    }
    request.stored_settings = true;
    if (columns.header_row) {
      // Each file's own first row names its columns (see Run).
      if (type.empty()) request.file_type = KSIMP_TYPE_DELIMITED;
      return;
    }
    const std::string header = columns.ColumnHeader();
    request.date_from = header;
    if (type.empty()) {
      const bool fixed = header.find("T=FXD") != std::string::npos;
      request.file_type = fixed ? KSIMP_TYPE_FIXED_WIDTH : KSIMP_TYPE_DELIMITED;
    }
    const uint32_t code = KSIMP_CheckColumnHeader(header.c_str());
    if (code != 0) {
      std::vector<char> text(4096);
      KSIMP_ImportErrorToString(code, text.data(), static_cast<int32_t>(text.size()));
      // What the import then does depends on the type: delimited text takes
      // each row as it stands, fixed-width text cannot be cut at all.
      const bool fixed = request.file_type == KSIMP_TYPE_FIXED_WIDTH;
      fmt::print(stderr,
                 "warning: the column header string does not parse: message {}: {}\n"
                 "         {}\n",
                 code, text.data(),
                 fixed ? "no row is imported." : "each row is imported as it stands.");
    }
  }

  // The names to queue: a table file or data source becomes the settings
  // string of the tables and field names given.
  std::vector<std::string> QueuedNames(const std::vector<int32_t>& file_types) const {
    std::vector<std::string> names;
    for (size_t i = 0; i < files.size(); ++i) {
      const bool table = IsTableType(file_types[i]);
      if (!table && (!tables.empty() || !field_names.empty())) {
        throw HostError(fmt::format("--tables and --field-names are for table files; {} is "
                                    "imported as file type {}",
                                    files[i], file_types[i]),
                        2);
      }
      names.push_back(table ? TableSourceName(file_types[i], files[i], tables, field_names)
                            : files[i]);
    }
    return names;
  }

  void Run() {
    if (!odbc.empty()) {
      if (!files.empty()) throw HostError("--odbc imports a data source, not files", 2);
      files.push_back(odbc);
      if (type.empty()) type = "odbc";
    }
    if (files.empty()) throw HostError("give the files to import, or --odbc", 2);
    RefuseBarInFileNames(files);
    ParseDelimiter(delimiter, request);
    ParseOrigin(origin, request);
    ParseLocation(location, request);
    ParseSortOrder(sort, request);
    if (!date_range.empty()) ParseDateRange(date_range, request.date_from, request.date_to);
    if (!message_date_range.empty()) {
      ParseDateRange(message_date_range, request.message_date_from, request.message_date_to);
    }
    if (!type.empty()) request.file_type = ParseFileType(type);
    if (!request.folder.empty() && request.file_type != KSIMP_TYPE_OUTLOOK_FOLDER) {
      throw HostError("--folder picks a folder of an Outlook file: give --type outlook", 2);
    }
    RefuseDelimiterWithAttachments(request, given);
    UseColumns();
    const uint32_t requested = RequestedOptions(request, given);

    // Every file's column names are read before anything is imported, so a
    // file without a first row stops the command with nothing half done.
    std::vector<std::string> first_row_headers;
    if (columns.header_row) {
      for (const auto& file : files) {
        first_row_headers.push_back(
            columns.ColumnHeaderFromFirstRow(file, request.origin_ansi != 0));
      }
    }

    prompt.Give(path, credentials);
    for (const std::string& file : files) prompt.Give(file, source_credentials, "source-");
    prompt.Install();
    // Every server's password is had before anything is imported.
    std::vector<std::optional<ImapSource>> imap_sources;
    for (const std::string& file : files) {
      if (!IsImapUrl(file)) {
        imap_sources.emplace_back();
        continue;
      }
      ImapSource source = ParseImapUrl(file);
      source.password = ReadImapPassword(
          source_credentials.password_file, fmt::format("Password of {} on {}: ", source.user, source.server));
      imap_sources.push_back(std::move(source));
    }

    const uint32_t handle = KSIMP_InitImportUsingFileName(path.c_str());
    if (handle == 0) {
      // The library's failed open ran on this thread, so the engine's reason
      // is still there to say more than the library's own text.
      const uint32_t engine_error = EngLastError(0);
      const std::string refusal = prompt.Refusal(path);
      throw HostError(fmt::format("cannot import into {}: {} ({})", path,
                                  ImportErrorText(KSIMP_GetLastImportError(0)),
                                  refusal.empty() ? EngineErrorText(engine_error) : refusal));
    }
    for (const std::string& folder : attachment_folders) {
      KSIMP_AddAttachmentFolder(handle, folder.c_str());
    }
    if (attachment_max_mb > 0) KSIMP_SetAttachmentSizeLimit(handle, attachment_max_mb << 20);
    if (no_certificate_check) KSIMP_SetImapCertificateCheck(handle, 0);
    if (!charset.empty() && KSIMP_SetSourceCharset(handle, charset.c_str()) == 0) {
      const uint32_t error = KSIMP_GetLastImportError(handle);
      KSIMP_Import(handle, 0, 0, nullptr, nullptr);  // releases the handle
      throw HostError(
          fmt::format("--charset {}: message {}: {}", charset, error, ImportErrorText(error)), 2);
    }
    std::vector<int32_t> file_types;
    std::vector<std::string> refusals;  // per file: why it is not queued, or ""
    for (const std::string& file : files) {
      if (IsImapUrl(file)) {
        file_types.push_back(KSIMP_TYPE_IMAP_SERVER);
        refusals.emplace_back();
        continue;
      }
      int32_t file_type = request.file_type != 0 ? request.file_type : TableTypeForPath(file);
      std::string refusal;
      if (file_type == 0) {
        ChosenType chosen = ChooseFileType(file);
        file_type = chosen.type;
        refusal = std::move(chosen.refusal);
      }
      file_types.push_back(file_type);
      refusals.push_back(std::move(refusal));
    }
    std::vector<std::string> queued_names;
    try {
      queued_names = QueuedNames(file_types);
    } catch (...) {
      KSIMP_Import(handle, 0, 0, nullptr, nullptr);  // releases the handle
      throw;
    }
    size_t queued = 0;
    for (size_t i = 0; i < files.size(); ++i) {
      const std::string& file = files[i];
      const int32_t file_type = file_types[i];
      if (!refusals[i].empty()) continue;
      WarnAboutOptionsNotOffered(file, file_type, requested);
      // As the import dialog does: the file is still imported as chosen.
      if (file_type != KSIMP_TYPE_ODBC) {
        const std::string warning = WrongTypeWarning(file, file_type);
        if (!warning.empty()) fmt::print(stderr, "{}\n", warning);
      }
      if (columns.header_row) request.date_from = first_row_headers[i];
      UseSourceCredentials(handle, file, file_type);
      const ImapSource* imap = imap_sources[i] ? &*imap_sources[i] : nullptr;
      if (!Queue(handle, queued_names[i], file_type, request, imap)) {
        std::string reason = ImportErrorText(KSIMP_GetLastImportError(handle));
        // An IMAP server's log line says which server and why.
        if (const std::string log = ImportLogText(handle); imap != nullptr && !log.empty()) {
          reason = log;
          while (!reason.empty() && (reason.back() == '\n' || reason.back() == '\r')) {
            reason.pop_back();
          }
        }
        KSIMP_Import(handle, 0, 0, nullptr, nullptr);  // releases the handle
        throw HostError(fmt::format("cannot queue {}: {}", file, reason));
      }
      ++queued;
    }
    if (queued == 0) {
      KSIMP_Import(handle, 0, 0, nullptr, nullptr);  // releases the handle
      const ImportReport report = RefusedOnly(path, files, refusals);
      if (json) {
        PrintImportReportJson(report);
      } else {
        fmt::print("0 document(s) added to {}\n", path);
        PrintFilesNotImportedWhole(report);
      }
      throw HostError("", 1);
    }

    // The import runs on another thread, where no one is asked anything.
    prompt.Remove();
    uint32_t added = 0;
    int64_t carry = 0;
    std::atomic<uint32_t> outcome{0};
    std::atomic<bool> done{false};
    const uint32_t total_at_start = KSIMP_GetTotalBytes(handle);
    std::thread worker([&] {
      outcome.store(KSIMP_Import(handle, 0, 0, &carry, &added));
      done.store(true);
    });

    interrupted.store(false);
    struct sigaction action {};
    action.sa_handler = OnInterrupt;
    struct sigaction previous {};
    sigaction(SIGINT, &action, &previous);

    ProgressDisplay display(stderr);
    bool abort_sent = false;
    std::string last_file;
    while (!done.load()) {
      if (interrupted.load() && !abort_sent) {
        abort_sent = KSIMP_Abort(handle) != 0;
        fmt::print(stderr, "\nAborting: what was imported so far is kept...\n");
      }
      if (!quiet && !json) {
        if (const auto now = ReadProgress(handle, total_at_start, &last_file)) display.Show(*now);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    worker.join();
    sigaction(SIGINT, &previous, nullptr);
    display.Finish();

    // Each queued file is one record of one name, so the library's files
    // are ours in order.
    const ImportReport report = ReadImportReport(handle, path, files, file_types, refusals, abort_sent);
    if (json) {
      PrintImportReportJson(report);
    } else {
      fmt::print("{} document(s) added to {}\n", report.DocumentsAdded(), path);
      const std::string log = ImportLogText(handle);
      if (!log.empty()) fmt::print("Import log:\n{}", log);
      if (abort_sent) fmt::print("The import was aborted.\n");
      PrintFilesNotImportedWhole(report);
    }
    const bool run_failed = outcome.load() == 0 && !abort_sent;
    if (run_failed && report.AllImportedWhole()) {
      // Every file came through, yet the run says it failed: the handle's
      // own error says why.
      const uint32_t error = KSIMP_GetLastImportError(handle);
      fmt::print(stderr, "ksimp: the import failed: error {}: {}\n", error, ImportErrorText(error));
    }
    if (run_failed || !report.AllImportedWhole()) throw HostError("", 1);
  }
};

}  // namespace

void AddImportCommand(CLI::App& parent) {
  auto command = std::make_shared<ImportCommand>();
  CLI::App* cmd = parent.add_subcommand("import", "Import files into a database");
  cmd->add_option("DB.kst", command->path, "Database to import into")->required();
  cmd->add_option("FILE", command->files,
                  "Files to import, or IMAP mailboxes as imap://USER@HOST[:PORT]/MAILBOX "
                  "(imaps:// for TLS from the start; imap:// switches to TLS with STARTTLS).  A "
                  "name holding \"|\" is refused: the import library reads \"|\" as a "
                  "separator between file names");
  cmd->add_flag("--no-certificate-check", command->no_certificate_check,
                "IMAP: accept any certificate of the server (one of its own making); only on a "
                "network you trust");
  ImportRequest& r = command->request;
  cmd->add_option("--type", command->type,
                  "File type: a number, or " + FileTypeNames() +
                      " (default: by each file's extension; see 'ksimp types')");
  cmd->add_option("--delimiter", command->delimiter,
                  "How documents are cut: none, pagebreak, blankline, lines:N, string:S");
  cmd->add_option("--origin", command->origin, "Character set of the files: ansi or oem (CP437)");
  cmd->add_option("--charset", command->charset,
                  "Read the files in this character set (any iconv knows), or auto to detect it "
                  "per file; a byte-order mark still wins");
  cmd->add_option("--location", command->location,
                  "Where new documents go: end, top, after-current, end-current, after:NAME");
  cmd->add_option("--form", r.form, "Make entries of this entry form");
  cmd->add_flag("--auto-fields", r.auto_fields, "Auto field recognition");
  cmd->add_option("--date-range", command->date_range, "Dated items from..to");
  cmd->add_option("--message-date-range", command->message_date_range, "Messages from..to");
  cmd->add_option("--sort", command->sort, "Sort order: asc or desc");
  cmd->add_flag("--stored-settings", r.stored_settings, "Use the stored settings file");
  cmd->add_flag("--full-header", r.full_header, "Keep the full header of mail messages");
  cmd->add_flag("--save-attachments", r.save_attachments,
                "Save attachments (mail), or the original file as an attachment");
  cmd->add_flag("--import-attachments", r.import_attachments,
                "Mail: import each attachment file a message names into the end of the "
                "message's document, through the importer of its type (text, HTML, rich text)");
  cmd->add_option("--attachments-dir", command->attachment_folders,
                  "A folder attachment files named in messages may be read from, besides the "
                  "mailbox's own folder (repeatable)");
  cmd->add_option("--attachment-max-mb", command->attachment_max_mb,
                  "Largest attachment file read, in MB (default 256)")
      ->check(CLI::PositiveNumber);
  cmd->add_option("--filter", r.filter, "Filter the source through this filter first");
  cmd->add_flag("--delete-after", r.delete_after,
                "Delete files of the temporary import folder once imported");
  command->columns.AddTo(*cmd, /*for_import=*/true);
  cmd->add_option("--odbc", command->odbc,
                  "Import the tables of an ODBC data source: DSN=name, or DRIVER={name};...");
  cmd->add_option("--tables", command->tables,
                  "Table files and data sources: the tables to import (default: every one; "
                  "see 'ksimp tables')")
      ->delimiter(',');
  cmd->add_option("--field-names", command->field_names,
                  "Table files and data sources: field names to use instead of the column "
                  "names, in column order")
      ->delimiter(',');
  cmd->add_option("--folder", r.folder,
                  "Outlook files (--type outlook, .pst or .ost): import only this folder, named "
                  "by its path below the top of the personal folders (\"Inbox/Projects\"); "
                  "without it every folder is imported.  A folder the file does not hold is an "
                  "error whose log lists the folders it holds");
  AddCredentialOptions(*cmd, command->credentials, "the database imported into");
  AddCredentialOptions(*cmd, command->source_credentials, "the Kestro databases and IMAP servers imported from",
                       "source-");
  cmd->add_flag("--quiet", command->quiet, "No progress display");
  cmd->add_flag("--json", command->json,
                "Print one JSON object at the end and nothing else on stdout (no progress): "
                "per file its type, documents added, error and log lines; the totals");
  cmd->callback([command, cmd] {
    for (const CLI::Option* option : cmd->parse_order())
      command->given.push_back(option->get_name());
    command->Run();
  });
}

}  // namespace ksimp
