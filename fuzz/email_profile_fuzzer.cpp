// Fuzzes the e-mail profile readers: CEmailProfileUtil (".emw" files and a
// host's "KEY=value" text), CProfileList ("Profiles.inf") and
// MailboxCheckpoints (the state kept beside a profile), all in memory.
//
// Input: a byte of mode, then the text (or, for mode 1, the profile name
// the writer is given).
//
// Checks:
//  0  a profile file reads without refusing anything; what it reads, written
//     and read again, is what it read, but for what the writer leaves out on
//     purpose (server keys of a profile that is not IMAP's, the dates its
//     selection does not use, the list entries when ALL is set); writing that
//     again gives the same text;
//  1  a name written and read back is the name, unless its line holds the
//     text of the one key the reader tests before NAME ("TYPE="): the line is
//     then a TYPE line, the name empty and the type what that line alone
//     gives;
//  2  a host's text either is refused with the line that named no key, or
//     reads into a profile that the file writer and reader take;
//  3  a profile list and a checkpoint file read, written and read again give
//     what they gave the first time.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz_input.h"
#include "importers/mail/email_profile.h"
#include "importers/mail/email_profile_list.h"
#include "importers/mail/email_profile_util.h"
#include "importers/mail/mailbox_checkpoints.h"

namespace {

// The profile as the writer keeps it.
EmailProfile AsWritten(EmailProfile p) {
  if (p.type != mail_application::kImap) {
    p.imap_server.clear();
    p.imap_user.clear();
    p.imap_password.clear();
    p.firewall_type = 0;
    p.firewall_port = 0;
    p.firewall_server.clear();
    p.firewall_user.clear();
    p.firewall_password.clear();
    p.firewall_data.clear();
    p.imap_verify_certificate = true;
  }
  if (p.selection != message_selection::kBetweenDates) {
    p.date_start_comp.reset();
    p.date_end_comp.reset();
    p.date_end.reset();
    if (p.selection != message_selection::kNewMessages) p.date_start.reset();
  }
  if (p.all) {
    p.folders.clear();
    p.mailboxes.clear();
  }
  return p;
}

void CheckProfileFile(std::string_view text) {
  const EmailProfile read = CEmailProfileUtil::Read(text);
  const std::string written = CEmailProfileUtil::Write(read);
  const EmailProfile again = CEmailProfileUtil::Read(written);
  FUZZ_CHECK(again == AsWritten(read));
  FUZZ_CHECK(CEmailProfileUtil::Write(again) == written);
  // Shown without its password lines (other values may hold their text).
  const std::string shown = "\n" + CEmailProfileUtil::ShownText(read);
  FUZZ_CHECK(shown.find("\nIMAP_PASSWORD=") == std::string::npos);
  FUZZ_CHECK(shown.find("\nFIREWALL_PASSWORD=") == std::string::npos);
  static_cast<void>(SelectionDescription(read));
}

void CheckNameRoundTrip(std::string_view name) {
  EmailProfile profile;
  profile.type = mail_application::kEudora;
  profile.name = name;
  profile.database = "mail.kst";
  const EmailProfile read = CEmailProfileUtil::Read(CEmailProfileUtil::Write(profile));

  // The NAME line as written: line breaks become blanks, returns at its end
  // go.
  std::string line = "NAME=" + std::string(name);
  for (char& c : line) {
    if (c == '\n') c = ' ';
  }
  while (line.back() == '\r') line.pop_back();
  const size_t type_at = line.find("TYPE=");
  if (type_at == std::string::npos) {
    FUZZ_CHECK(read.name == line.substr(5));
    FUZZ_CHECK(read.type == mail_application::kEudora);
  } else {
    FUZZ_CHECK(read.name.empty());
    FUZZ_CHECK(read.type == CEmailProfileUtil::Read(line.substr(type_at)).type);
  }
}

void CheckHostText(std::string_view text) {
  EmailProfile profile;
  std::string bad_line;
  if (!CEmailProfileUtil::FromKeyValues(text, &profile, &bad_line)) {
    FUZZ_CHECK(text.find(bad_line) != std::string_view::npos);
    return;
  }
  CheckProfileFile(CEmailProfileUtil::Write(profile));
}

void CheckListAndCheckpoints(std::string_view text) {
  const CProfileList list = CProfileList::Parse(text);
  FUZZ_CHECK(CProfileList::Parse(list.Serialize()).entries() == list.entries());
  for (const CProfileList::Entry& entry : list.entries()) {
    FUZZ_CHECK(!entry.name.empty());
    FUZZ_CHECK(entry.file.find('/') == std::string::npos && entry.file.ends_with(".emw"));
  }
  const MailboxCheckpoints checkpoints = MailboxCheckpoints::Parse(text);
  FUZZ_CHECK(MailboxCheckpoints::Parse(checkpoints.Serialize()).checkpoints() ==
             checkpoints.checkpoints());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ks::fuzz::FuzzInput in(data, size);
  const uint8_t mode = in.Byte() % 4;
  const std::string_view text = in.Rest();
  switch (mode) {
    case 0:
      CheckProfileFile(text);
      break;
    case 1:
      CheckNameRoundTrip(text);
      break;
    case 2:
      CheckHostText(text);
      break;
    default:
      CheckListAndCheckpoints(text);
      break;
  }
  return 0;
}
