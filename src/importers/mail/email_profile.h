// EmailProfile: one e-mail profile as a value: what to import from where
// (the mail application, its mail store and the selected mailboxes or
// folders, the IMAP server), into which database, which messages (the date
// selection) and with which import options.  CEmailProfileUtil reads and
// writes it as a ".emw" file; CEmailProfiles keeps the user's profiles.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ks_imp.h"

// The mail application a profile imports from (its TYPE).
namespace mail_application {
inline constexpr int32_t kOutlook = KSIMP_MAIL_OUTLOOK;
inline constexpr int32_t kOutlookExpress = KSIMP_MAIL_OUTLOOK_EXPRESS;
inline constexpr int32_t kNetscape = KSIMP_MAIL_NETSCAPE;
inline constexpr int32_t kEudora = KSIMP_MAIL_EUDORA;
inline constexpr int32_t kPocoMail = KSIMP_MAIL_POCOMAIL;
inline constexpr int32_t kImap = KSIMP_MAIL_IMAP;
inline constexpr int32_t kMaildir = KSIMP_MAIL_MAILDIR;

// The file type the application's mailboxes (files, folders, or Outlook's
// folders) import as, or 0 for an application this library cannot read yet.
int32_t MailboxFileType(int32_t application);
// "Eudora", "IMAP", ...; empty for an unknown code.
std::string_view Name(int32_t application);
}  // namespace mail_application

// Which messages a profile imports (its TYPE_MSG).  Any other code means
// every message.
namespace message_selection {
inline constexpr int32_t kNewMessages = KSIMP_SELECT_NEW;       // since DATE_START
inline constexpr int32_t kBetweenDates = KSIMP_SELECT_BETWEEN;  // DATE_START to DATE_END
inline constexpr int32_t kAllMessages = KSIMP_SELECT_ALL;
}  // namespace message_selection

// A calendar day, as the profile keeps its dates.
struct ProfileDate {
  int32_t year = 0;
  int32_t month = 0;  // 1 to 12
  int32_t day = 0;    // 1 to 31

  auto operator<=>(const ProfileDate&) const = default;
};

// Reads a date the way profile files hold it: the month from the first two
// characters, the day from the fourth and fifth, the year from the seventh
// on ("01/31/2024").  Nothing for an empty text or one that is not a real
// day of the years 1000 to 9999.
std::optional<ProfileDate> ParseProfileDate(std::string_view text);
// "%m/%d/%Y": "01/31/2024".
std::string FormatProfileDate(const ProfileDate& date);
// "%b %d, %Y": "Jan 31, 2024", as the selection descriptions show dates.
std::string DescriptionDate(const ProfileDate& date);
// The local calendar day of `seconds` since the epoch.
ProfileDate LocalDateOf(int64_t seconds);

// One selected mailbox or folder.  Profiles of every application but Outlook
// write it "%s,%d" (name and number); Outlook's write a text after the name.
struct ProfileListEntry {
  std::string name;
  int32_t number = 1;  // not Outlook: kept as read; 1 for an entry the user chose
  std::string text;    // Outlook only

  bool operator==(const ProfileListEntry&) const = default;
};

struct EmailProfile {
  int32_t type = 0;      // TYPE: a mail_application code
  std::string name;      // NAME
  std::string database;  // NAME_KESTRO: path of the target database

  // The IMAP server and its firewall (written only for kImap).  Passwords are
  // plain here and scrambled in the file.
  std::string imap_server;
  std::string imap_user;
  std::string imap_password;
  int32_t firewall_type = 0;
  int32_t firewall_port = 0;
  std::string firewall_server;
  std::string firewall_user;
  std::string firewall_password;
  std::string firewall_data;
  // IMAP_VERIFY_CERTIFICATE: "No" accepts any certificate of the server, for
  // one of its own making; written only then.
  bool imap_verify_certificate = true;

  int32_t selection = message_selection::kAllMessages;  // TYPE_MSG
  std::optional<ProfileDate> date_start;
  std::optional<ProfileDate> date_end;
  // The same dates in the database's own notation, for comparison.
  std::optional<ProfileDate> date_start_comp;
  std::optional<ProfileDate> date_end_comp;

  int32_t option_location = KSIMP_LOC_END;  // End of File or Top of File
  int32_t option_eform = 0;
  int32_t option_header = 0;         // full header
  int32_t option_attach = 0;         // save attachments
  int32_t option_import_attach = 0;  // import attachments into the document

  std::string mail_root;  // MAILROOT: root folder of the mail store
  bool all = false;       // ALL=Yes: every mailbox or folder of the store
  std::vector<ProfileListEntry> folders;
  std::vector<ProfileListEntry> mailboxes;

  bool operator==(const EmailProfile&) const = default;
};

// What the profile selects, in the words the profile list shows: "All New
// Messages" (new messages, no start date yet), "New messages since Jan 31,
// 2024", "Messages from Jan 01, 2024 thru Jan 31, 2024" or "All Messages".
std::string SelectionDescription(const EmailProfile& profile);
