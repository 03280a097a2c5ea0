// MessageFile: one mail message kept in a file of its own (a message of a
// Maildir, an ".eml" file saved by a mail program), told apart from what is
// no message, and given the shape the message composer reads.
//
// The composer reads a message as a mailbox hands it over: its first line is
// the rest of the mailbox's separator line ("From sender DATE"), its header
// lines follow, each found at the start of a line after a line end.  A file
// of its own has no separator line (or keeps one, when it was cut from a
// mailbox); one is made for it, dated when the message was delivered, so
// that its first header line is found like every other and the full header
// reads as for the same message in a mailbox.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace message_file {

// Larger files are refused: a message is held whole while it is imported.
inline constexpr uint64_t kLargestMessage = uint64_t{256} << 20;

enum class Verdict {
  kMessage,
  kEmpty,       // no byte, or only blanks and line ends
  kNotAMessage  // its start reads as no message header (binary data, other text)
};

// Whether `bytes` (the whole file, or at least its first 64 KiB) begin as a
// mail message: after an optional "From " line, a header line "Name: value"
// (the name printable ASCII without blanks) among the first lines, and no
// NUL byte before the header's end.  Lines folded onto the first header
// line are tolerated, as mail programs read them.
Verdict Examine(std::string_view bytes);

struct Message {
  std::string separator_line;  // "From ..." as kept in the file, or made for it
  std::string raw_text;        // CR LF line ends; first line: the separator line's rest
};

// The message of `bytes` (a file that Examine found a message) in the
// composer's shape.  A leading "From " line is taken as its separator line;
// otherwise the separator line is "From MAILER-DAEMON" and
// `delivered_seconds` (UTC) written as a mailbox writes it, "Tue Jun 01
// 12:00:00 2004".
Message AsMailboxMessage(std::string_view bytes, int64_t delivered_seconds);

// "Tue Jun 01 12:00:00 2004" for `seconds` since the epoch, in UTC.
std::string SeparatorDate(int64_t seconds);

}  // namespace message_file
