// ksimp profile: the e-mail wizard and the profile list on the command line.
// create saves a profile, list shows the profiles in the user's order with
// what each selects, show prints one (never its passwords), run imports
// through the e-mail exports and prints each profile's messages, delete
// removes one.
#include <fmt/format.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "commands.h"
#include "database.h"
#include "imap_source.h"
#include "ks_imp.h"
#include "progress_display.h"

namespace ksimp {
namespace {

std::string MessageText(uint32_t code) {
  std::vector<char> text(4096);
  if (!KSIMP_ImportErrorToString(code, text.data(), static_cast<int32_t>(text.size()))) {
    return fmt::format("error {}", code);
  }
  return text.data();
}

// A library text of unknown length: `copy` is called with bigger buffers
// until it fits.
template <typename Copy>
std::optional<std::string> LibraryText(Copy&& copy) {
  for (size_t size = 1024; size <= (size_t{1} << 24); size *= 4) {
    std::vector<char> buffer(size);
    if (copy(buffer.data(), static_cast<int32_t>(size))) return std::string(buffer.data());
  }
  return std::nullopt;
}

std::vector<std::string> ProfileNames() {
  std::vector<std::string> names;
  for (uint32_t index = 0;; ++index) {
    const auto name = LibraryText([index](char* buffer, int32_t size) {
      return KSIMP_GetEmailProfileName(index, buffer, size);
    });
    if (!name) break;
    names.push_back(*name);
  }
  return names;
}

std::string Description(const std::string& name) {
  return LibraryText([&](char* buffer, int32_t size) {
           return KSIMP_GetEmailProfileDescription(name.c_str(), buffer, size);
         })
      .value_or("");
}

std::string LogText(uint32_t handle) {
  if (!KSIMP_IsLogData(handle)) return {};
  std::vector<char> buffer(1 << 16);
  while (KSIMP_GetLogData(handle, buffer.data(), static_cast<int32_t>(buffer.size())) ==
         KSIMP_LOG_TOO_SMALL) {
    if (buffer.size() > (1u << 28)) break;
    buffer.resize(buffer.size() * 4);
  }
  return buffer.data();
}

// The mail programs a profile may read, by the name --mail-program takes,
// with their KSIMP_MAIL_ codes; what --mailbox and --mailroot name differs:
// mailbox files for most, Maildir folders for "maildir", folder files
// (.dbx) and the store folder for "outlook-express", a .pst file and its
// folders for "outlook", the server's mailboxes for "imap".
struct MailProgram {
  const char* name;
  int32_t code;
};
constexpr MailProgram kMailPrograms[] = {
    {"eudora", KSIMP_MAIL_EUDORA},     {"mbox", KSIMP_MAIL_POCOMAIL},
    {"netscape", KSIMP_MAIL_NETSCAPE}, {"pocomail", KSIMP_MAIL_POCOMAIL},
    {"maildir", KSIMP_MAIL_MAILDIR},   {"outlook", KSIMP_MAIL_OUTLOOK},
    {"imap", KSIMP_MAIL_IMAP},         {"outlook-express", KSIMP_MAIL_OUTLOOK_EXPRESS},
};

std::vector<std::string> MailProgramNames() {
  std::vector<std::string> names;
  for (const MailProgram& program : kMailPrograms) names.emplace_back(program.name);
  return names;
}

// The profile's settings from the options.
struct CreateCommand {
  std::string name;
  std::string program;
  std::vector<std::string> mailboxes;
  std::vector<std::string> folders;  // Outlook: folders of the --mailroot file
  bool all = false;
  std::string mail_root;
  std::string database;
  std::string select = "all";
  std::string from;
  std::string to;
  bool full_header = false;
  bool save_attachments = false;
  bool import_attachments = false;
  std::string location = "end";
  bool replace = false;
  // IMAP servers.
  std::string server;
  std::string password_file;
  bool no_certificate_check = false;

  static std::string Absolute(const std::string& path) {
    return std::filesystem::absolute(path).lexically_normal().string();
  }

  std::string KeyValues() const {
    int32_t type = 0;
    for (const MailProgram& known : kMailPrograms) {
      if (program == known.name) type = known.code;
    }
    const bool outlook = program == "outlook";
    int32_t selection = KSIMP_SELECT_ALL;
    if (select == "new") selection = KSIMP_SELECT_NEW;
    if (select == "between") selection = KSIMP_SELECT_BETWEEN;
    if (selection == KSIMP_SELECT_BETWEEN && (from.empty() || to.empty())) {
      throw HostError("--select between needs --from and --to", 2);
    }
    if (selection == KSIMP_SELECT_ALL && (!from.empty() || !to.empty())) {
      throw HostError("--from and --to go with --select new or between", 2);
    }
    const bool imap = type == KSIMP_MAIL_IMAP;
    if (imap != !server.empty()) {
      throw HostError("--server imap[s]://USER@HOST[:PORT] goes with --mail-program imap", 2);
    }
    if (outlook) {
      // The folders lie in one file: the profile's mail root.
      if (mail_root.empty()) throw HostError("an Outlook profile needs --mailroot FILE.pst", 2);
      if (!mailboxes.empty()) throw HostError("an Outlook profile takes --folder, not --mailbox", 2);
      if (all == !folders.empty()) throw HostError("give --folder NAME... or --all", 2);
    } else if (imap) {
      if (!folders.empty()) throw HostError("--folder is for Outlook profiles", 2);
      if (!mail_root.empty() || (all && !mailboxes.empty())) {
        throw HostError("an IMAP profile names its server's mailboxes with --mailbox, or --all", 2);
      }
    } else {
      if (!folders.empty()) throw HostError("--folder is for Outlook profiles", 2);
      if (all == !mailboxes.empty()) throw HostError("give --mailbox FILE... or --all", 2);
      if (all && mail_root.empty()) throw HostError("--all needs --mailroot DIR", 2);
    }

    std::string text = fmt::format("TYPE={}\nNAME={}\nNAME_KESTRO={}\nTYPE_MSG={}\n", type, name,
                                   Absolute(database), selection);
    if (imap) text += ImapKeyValues();
    if (!from.empty()) text += fmt::format("DATE_START={}\n", from);
    if (!to.empty()) text += fmt::format("DATE_END={}\n", to);
    text += fmt::format(
        "OPTION_LOCATION={}\nOPTION_EFORM=0\nOPTION_HEADER={}\nOPTION_ATTACH={}\n"
        "OPTION_IMPORT_ATTACH={}\n",
        location == "top" ? KSIMP_LOC_TOP : KSIMP_LOC_END, full_header ? 1 : 0,
        save_attachments ? 1 : 0, import_attachments ? 1 : 0);
    if (!mail_root.empty()) text += fmt::format("MAILROOT={}\n", Absolute(mail_root));
    if (all) text += "ALL=Yes\n";
    for (const std::string& mailbox : mailboxes) {
      text += fmt::format("MAILBOX={}\n", imap ? mailbox : Absolute(mailbox));
    }
    for (const std::string& folder : folders) text += fmt::format("FOLDER={}\n", folder);
    return text;
  }

  // The server, its login and the certificate check; the password is read
  // from the file or the terminal, never from the command line.
  std::string ImapKeyValues() const {
    const ImapSource source = ParseImapUrl(IsImapUrl(server) ? server : "imap://" + server);
    if (source.mailbox != "INBOX") {
      throw HostError("the server's mailboxes are named with --mailbox, not in --server", 2);
    }
    const std::string password = ReadImapPassword(
        password_file, fmt::format("Password of {} on {}: ", source.user, source.server));
    for (const std::string* value : {&source.server, &source.user, &password}) {
      if (value->find_first_of("\r\n") != std::string::npos) {
        throw HostError("the server, user and password are each one line", 2);
      }
    }
    return fmt::format("IMAP_SERVER={}\nIMAP_USER={}\nIMAP_PASSWORD={}\n{}", source.server,
                       source.user, password,
                       no_certificate_check ? "IMAP_VERIFY_CERTIFICATE=No\n" : "");
  }

  void Run() const {
    const uint32_t code = KSIMP_SaveEmailProfile(KeyValues().c_str(), replace ? 1 : 0);
    if (code == 0) {
      fmt::print("Saved profile \"{}\": {}\n", name, Description(name));
      return;
    }
    std::string text = MessageText(code);
    if (const size_t at = text.find("%s"); at != std::string::npos) text.replace(at, 2, name);
    const std::string log = LogText(0);
    throw HostError(fmt::format("{}{}", text, log.empty() ? "" : "\n" + log),
                    code == KSIMP_ERR_PROFILE_DUPLICATE ? 1 : 2);
  }
};

// Runs the profiles through the e-mail exports on a worker thread while the
// main thread shows progress.
void RunProfiles(const std::vector<std::string>& names, bool quiet) {
  const uint32_t handle = KSIMP_InitEmailImportUsingFileHandle(0);
  if (handle == 0) {
    throw HostError(
        fmt::format("cannot start an e-mail import: {}", MessageText(KSIMP_GetLastImportError(0))));
  }
  bool queued_all = true;
  for (const std::string& name : names) {
    if (KSIMP_AddEmailProfileToImport(handle, name.c_str()) == 0) {
      fmt::print(stderr, "cannot run profile \"{}\": {}\n", name,
                 MessageText(KSIMP_GetLastImportError(handle)));
      queued_all = false;
    }
  }

  uint32_t added = 0;
  int64_t carry = 0;
  std::atomic<uint32_t> outcome{0};
  std::atomic<bool> done{false};
  const uint32_t total_at_start = KSIMP_GetTotalBytes(handle);
  std::thread worker([&] {
    outcome.store(KSIMP_Import(handle, 0, 0, &carry, &added));
    done.store(true);
  });
  ProgressDisplay display(stderr);
  std::string last_file;
  while (!done.load()) {
    if (!quiet) {
      if (const auto now = ReadProgress(handle, total_at_start, &last_file)) display.Show(*now);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  worker.join();
  display.Finish();

  const std::string log = LogText(handle);
  if (!log.empty()) fmt::print("{}", log);
  fmt::print("{} document(s) added\n", added);
  if (outcome.load() == 0 || !queued_all) throw HostError("", 1);
}

}  // namespace

void AddProfileCommand(CLI::App& parent) {
  CLI::App* cmd = parent.add_subcommand(
      "profile",
      "Keep and run e-mail profiles (what to import from which mailboxes, into which "
      "database)");
  cmd->require_subcommand(1);

  auto create = std::make_shared<CreateCommand>();
  CLI::App* create_cmd = cmd->add_subcommand("create", "Save a new e-mail profile");
  create_cmd->add_option("NAME", create->name, "The profile's name")->required();
  create_cmd->add_option("--mail-program", create->program, "Where the mail comes from")
      ->required()
      ->check(CLI::IsMember(MailProgramNames()));
  create_cmd->add_option("--mailbox", create->mailboxes,
                         "A mailbox file to import (repeatable); for maildir, a Maildir folder; "
                         "for outlook-express, a folder file (.dbx); for imap, a mailbox of the "
                         "server (without one, INBOX)");
  create_cmd->add_option("--folder", create->folders,
                         "Outlook: a folder of the --mailroot file, by its path below the top of "
                         "the personal folders, \"Inbox/Projects\" (repeatable)");
  create_cmd->add_option("--server", create->server,
                         "IMAP: the server as imap://USER@HOST[:PORT] (STARTTLS) or "
                         "imaps://USER@HOST[:PORT]");
  create_cmd->add_option("--password-file", create->password_file,
                         "IMAP: read the password from the first line of this file (without it, "
                         "it is asked for at the terminal); the profile keeps it scrambled");
  create_cmd->add_flag("--no-certificate-check", create->no_certificate_check,
                       "IMAP: accept any certificate of the server (one of its own making)");
  create_cmd->add_flag("--all", create->all,
                       "Every mailbox under --mailroot (Outlook: every folder; maildir: the "
                       "Maildir --mailroot; outlook-express: every folder file of the store "
                       "folder --mailroot; imap: every mailbox of the server)");
  create_cmd->add_option("--mailroot", create->mail_root,
                         "The mail program's mail folder; for Outlook, the .pst or .ost file");
  create_cmd->add_option("--database", create->database, "The database to import into")->required();
  create_cmd
      ->add_option("--select", create->select,
                   "Which messages: all, new (since --from, then since each run) or between "
                   "--from and --to")
      ->check(CLI::IsMember({"all", "new", "between"}));
  create_cmd->add_option("--from", create->from, "First day, MM/DD/YYYY");
  create_cmd->add_option("--to", create->to, "Last day, MM/DD/YYYY");
  create_cmd->add_flag("--full-header", create->full_header, "Keep each message's full header");
  create_cmd->add_flag("--save-attachments", create->save_attachments,
                       "Attach the files the messages name to their documents");
  create_cmd->add_flag("--import-attachments", create->import_attachments,
                       "Import attachments into the message's document text");
  create_cmd->add_option("--location", create->location, "Where new documents go: end or top")
      ->check(CLI::IsMember({"end", "top"}));
  create_cmd->add_flag("--replace", create->replace, "Overwrite a profile of the same name");
  create_cmd->callback([create] { create->Run(); });

  CLI::App* list_cmd = cmd->add_subcommand("list", "The profiles in order, with what each selects");
  list_cmd->callback([] {
    const std::vector<std::string> names = ProfileNames();
    if (names.empty()) fmt::print("No e-mail profiles.\n");
    for (const std::string& name : names) fmt::print("{}\t{}\n", name, Description(name));
  });

  auto show_name = std::make_shared<std::string>();
  CLI::App* show_cmd = cmd->add_subcommand("show", "Print a profile's settings (no passwords)");
  show_cmd->add_option("NAME", *show_name, "The profile")->required();
  show_cmd->callback([show_name] {
    const auto text = LibraryText([&](char* buffer, int32_t size) {
      return KSIMP_GetEmailProfile(show_name->c_str(), buffer, size);
    });
    if (!text) throw HostError(fmt::format("there is no e-mail profile \"{}\"", *show_name));
    fmt::print("{}", *text);
    fmt::print("# {}\n", Description(*show_name));
  });

  struct RunOptions {
    std::vector<std::string> names;
    bool quiet = false;
  };
  auto run = std::make_shared<RunOptions>();
  CLI::App* run_cmd =
      cmd->add_subcommand("run", "Import what the profiles select (every profile without NAME)");
  run_cmd->add_option("NAME", run->names, "Profiles to run, in this order");
  run_cmd->add_flag("--quiet", run->quiet, "No progress display");
  run_cmd->callback([run] {
    const std::vector<std::string> names = run->names.empty() ? ProfileNames() : run->names;
    if (names.empty()) throw HostError("there are no e-mail profiles to run");
    RunProfiles(names, run->quiet);
  });

  auto delete_name = std::make_shared<std::string>();
  CLI::App* delete_cmd = cmd->add_subcommand("delete", "Delete a profile");
  delete_cmd->add_option("NAME", *delete_name, "The profile")->required();
  delete_cmd->callback([delete_name] {
    if (KSIMP_DeleteEmailProfile(delete_name->c_str()) == 0) {
      const std::string log = LogText(0);
      throw HostError(fmt::format("cannot delete e-mail profile \"{}\"{}", *delete_name,
                                  log.empty() ? ": there is no such profile" : "\n" + log));
    }
    fmt::print("Deleted profile \"{}\"\n", *delete_name);
  });
}

}  // namespace ksimp
