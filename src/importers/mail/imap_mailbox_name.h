// The names of mailboxes on an IMAP server as the protocol writes them:
// modified UTF-7.  Printable ASCII stands for itself, "&" is written "&-",
// and every other character goes, as UTF-16, into a run of Base64 (with ","
// for "/", no padding) between "&" and "-": "Entwürfe" is "Entw&APw-rfe".
// Profiles, the log and the documents' MailBox field hold names in UTF-8;
// a name is encoded where a command carries it and decoded where the
// server's LIST gives it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// `name` (UTF-8) as the protocol writes it; nothing when it is not UTF-8.
std::optional<std::string> EncodeImapMailboxName(std::string_view name);

// The UTF-8 name that `encoded` writes; nothing when it is no modified
// UTF-7 (a byte outside printable ASCII, a run that does not close, bits
// that make no whole UTF-16 unit or a surrogate without its pair).
std::optional<std::string> DecodeImapMailboxName(std::string_view encoded);

// For the log: the decoded name, or `encoded` as it stands when it does
// not decode.
std::string ImapMailboxDisplayName(std::string_view encoded);
