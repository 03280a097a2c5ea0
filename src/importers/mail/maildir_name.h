// MaildirName: what the file name of a Maildir message tells: its unique
// name, the second it was delivered in, and the flags the mail program set.
// A delivery agent names the file "TIME.UNIQUE.HOST" when it delivers it to
// new/; a mail program that has seen it moves it to cur/ and appends ":2,"
// and the flags ("2,S" seen, "2,RS" replied and seen).  The flags change,
// the part before them never does: it is the message's identity.  File
// systems that refuse ":" in names get "!" or ";" instead.
//
// Delivery order is the order the messages arrived in: by the second of
// delivery, then by the unique name compared as text whose runs of digits
// are compared as numbers, so that the fifth delivery of a second
// ("1220863087.12663_5") comes before the fifteenth ("1220863087.12663_15")
// as its agent counted them.  A name without a time (a file a program put
// there by hand) has its delivery second given by the caller, normally the
// file's modification time, which the delivery rename keeps.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

struct MaildirName {
  std::string_view unique;            // the name before the flags
  std::optional<uint64_t> delivered;  // the TIME part, when the name starts with one
  std::string_view flags;             // the letters after "2,", if any
  bool has_info = false;              // a ":2," (or "!2,", ";2,") part follows the unique name

  // Whether the message's flags hold `flag` ('S' seen, 'T' trashed, ...).
  bool HasFlag(char flag) const { return flags.find(flag) != std::string_view::npos; }
};

// The parts of a message file's name; nothing for a name no delivery agent
// gives a message: empty, hidden (a leading "."), or holding a "/" or a NUL.
std::optional<MaildirName> ParseMaildirName(std::string_view file_name);

// Where a message stands in delivery order: the second it was delivered in
// and its unique name.
struct DeliveryKey {
  uint64_t second = 0;
  std::string_view unique;
};

// True when `a` was delivered before `b` (see the order above).
bool DeliveredBefore(const DeliveryKey& a, const DeliveryKey& b);

// Text order in which runs of digits compare as numbers ("_5" < "_15");
// negative, zero or positive as for strcmp.
int CompareNamesNaturally(std::string_view a, std::string_view b);
