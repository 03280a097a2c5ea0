// MailboxReader: cuts a mailbox file into its messages.  Messages stand one
// after another as RFC 822 text, each introduced by a separator line that
// begins with "From ".
//
// Two separator modes:
//  - standard (PocoMail, Netscape, Unix mbox): a message begins at "From "
//    at the very start of the file or at the start of any line;
//  - Eudora: only "From ???@???" begins a message, wherever it stands, so a
//    body line beginning with "From " stays in its message.
// A message's raw text starts at the blank after the separator's first word
// (the sender address or "???@???"), so its first line is the rest of the
// separator line, normally the date; it runs to the next separator, or to
// the end of the mailbox.
//
// The mailbox is held in memory whole.  Its line ends are made CR LF as it
// is loaded (Unix mailboxes use LF, old Macintosh ones CR), since message
// text is CR LF throughout.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

class MailboxReader {
 public:
  enum class Mode { kStandard, kEudora };

  struct Message {
    std::string_view separator_line;  // "From ...", up to its line end
    std::string_view raw_text;        // from the blank after the address on
  };

  MailboxReader(std::string text, Mode mode);

  // The next message; none once the mailbox is finished.
  std::optional<Message> Next();

  // How far the reading has come, as a share of the mailbox (0 to 1).
  double Progress() const;

  // Line ends made CR LF: LF alone and CR alone each become CR LF.
  static std::string WithCrLfLineEnds(std::string_view text);

 private:
  // Where the next message's "From " starts, at or after `from`.
  std::optional<size_t> LocateSeparator(size_t from) const;

  std::string text_;
  Mode mode_;
  size_t position_ = 0;
};
