// Keeps the passwords of an e-mail profile (IMAP and firewall) off its file
// in plain text.  This is scrambling, not encryption: anyone with this code
// can undo it, which is why profile files are readable by their owner only.
// The scrambled form is printable ASCII without blanks, so it stays on one
// line of the profile file whatever bytes the password holds.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// "" for an empty password.
std::string ScramblePassword(std::string_view password);

// The password ScramblePassword was given; nothing when `stored` is not a
// scrambled password ("" gives "").
std::optional<std::string> UnscramblePassword(std::string_view stored);
