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
// The mailbox is read once, front to back, through MailboxBytes: only the
// message at hand is held.  Message text is CR LF throughout, so each
// message's line ends are made CR LF as it is handed out (Unix mailboxes use
// LF, old Macintosh ones CR): LF alone and CR alone each become CR LF.  A line
// end of any kind followed by "From " starts a message in standard mode.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "importers/mail/mailbox_bytes.h"

class MailboxReader {
 public:
  enum class Mode { kStandard, kEudora };

  // Valid until the next call of Next().
  struct Message {
    std::string_view separator_line;  // "From ...", up to its line end
    std::string_view raw_text;        // from the blank after the address on, CR LF line ends
    uint64_t begin = 0;               // file offset of the separator's "From "
    uint64_t end = 0;                 // file offset just past the message
  };

  // Reads a mailbox held in memory.
  MailboxReader(std::string text, Mode mode);
  // Reads `bytes`, a file of `size` bytes (0 when unknown), from file offset
  // `start` on: a message begins right there when the bytes there begin
  // with "From ", else at the next separator after it.
  MailboxReader(MailboxBytes& bytes, Mode mode, uint64_t size, uint64_t start = 0);

  // The next message; none once the mailbox is finished (or a read failed:
  // see Failed()).
  std::optional<Message> Next();

  // How far the reading has come: the file offset reached, and as a share of
  // the mailbox (0 to 1).
  uint64_t Position() const { return position_; }
  double Progress() const;
  // Whether reading the mailbox failed part way.
  bool Failed() const { return bytes_.failed(); }

  // Line ends made CR LF: LF alone and CR alone each become CR LF.
  static std::string WithCrLfLineEnds(std::string_view text);
  // The same, appended to *out; returns `text` itself when its line ends
  // are all CR LF already, else *out.
  static std::string_view CrLfLineEnds(std::string_view text, std::string* out);

 private:
  // Where the next message's "From " starts, at or after `from`.
  std::optional<uint64_t> LocateSeparator(uint64_t from);
  // The first separator after `from` (one right at `from` is the caller's
  // to see).  In standard mode *all_crlf, when given, says whether every
  // line end from `from` to it is CR LF.
  std::optional<uint64_t> FindSeparator(uint64_t from, bool* all_crlf = nullptr);
  std::optional<uint64_t> FindEudoraSeparator(uint64_t from);
  // The first CR or LF at or after `from`, else the end of the file.
  uint64_t FindLineEnd(uint64_t from);
  // Makes the bytes up to `offset` visible, as far as the file goes.
  void Reach(uint64_t offset);
  std::string_view Bytes(uint64_t from, uint64_t to) const;

  std::unique_ptr<MailboxBytes> owned_;  // set when the reader holds its text itself
  MailboxBytes& bytes_;
  Mode mode_;
  uint64_t size_;
  uint64_t position_;
  std::string converted_;  // the current message when its line ends had to be made CR LF
  // The first line end at or after line_end_from_: separators that follow
  // one another on one long line (Eudora) share it, instead of each looking
  // for it again.
  uint64_t line_end_from_ = 0;
  uint64_t line_end_ = 0;
};
