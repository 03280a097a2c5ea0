// IMAP sources on the command line: "imap://user@host[:port]/Mailbox" (or
// imaps://) read into what KSIMP_AddFileToImport takes, and the password,
// which never comes from the command line itself: from a file, or typed at
// the terminal without echo.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ksimp {

struct ImapSource {
  std::string server;   // "imaps://host:993", as the library reads it
  std::string user;     // percent-decoded
  std::string mailbox;  // percent-decoded; INBOX when the URL names none
  std::string password;
};

// Whether `text` is an IMAP URL rather than a file name.
bool IsImapUrl(const std::string& text);

// The parts of the URL; throws HostError (usage) for one without a user or
// a host.
ImapSource ParseImapUrl(const std::string& url);

// The password: the first line of `password_file` when one is given, else
// typed at the terminal (no echo) when standard input is one.  Throws
// HostError when there is neither.
std::string ReadImapPassword(const std::string& password_file, const std::string& prompt);

}  // namespace ksimp
