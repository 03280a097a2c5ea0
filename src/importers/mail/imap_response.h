// Reading what an IMAP server answers: ImapResponseReader cuts the bytes of
// the connection into responses (a line, with the literals it announces
// taken in whole), and the functions below read the few responses the
// import uses: the state of a mailbox (EXISTS, UIDVALIDITY, UIDNEXT), the
// UIDs a UID SEARCH found, a message a UID FETCH returned, and the
// mailboxes a LIST names.
//
// Everything here is untrusted: a server may send anything, in any pieces.
// The reader never holds more than one response plus what was fed beyond
// it, refuses a line or a literal above its limits, and a parser that does
// not recognise a response returns nothing rather than guess.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// One response: "* ..." (untagged), "+ ..." (continuation) or "<tag> ..."
// (the end of the command of that tag).  Each literal announced as "{n}" at
// the end of a line is taken out of the text into `literals`, in order; the
// announcement "{n}" stays in the text where it stood, so that a parser
// knows where each literal belongs.
struct ImapResponse {
  std::string tag;   // "*", "+" or a command's tag
  std::string text;  // the rest of the response, literals left out
  std::vector<std::string> literals;
};

class ImapResponseReader {
 public:
  // A SEARCH of every UID of a mailbox of millions of messages is one line.
  static constexpr size_t kLongestLine = size_t{64} << 20;
  static constexpr size_t kLargestLiteral = size_t{512} << 20;

  explicit ImapResponseReader(size_t longest_line = kLongestLine,
                              size_t largest_literal = kLargestLiteral)
      : longest_line_(longest_line), largest_literal_(largest_literal) {}

  // Hands over the next bytes of the connection.
  void Feed(std::string_view bytes);

  // The next whole response; nothing while more bytes are needed or once
  // the reader has failed.
  std::optional<ImapResponse> Next();

  // Set when the server sent what no IMAP response is (a line or a literal
  // above the limits, a line without a tag); what it says is in Error().
  bool Failed() const { return !error_.empty(); }
  const std::string& Error() const { return error_; }

  // Bytes fed and not yet handed out.
  size_t Pending() const { return buffer_.size() - start_; }

 private:
  // Finds the end of the line that starts at `from`; npos when it is not
  // there yet.  Sets the error for a line too long.
  size_t LineEnd(size_t from);

  size_t longest_line_;
  size_t largest_literal_;
  std::string buffer_;
  size_t start_ = 0;  // where the next response begins in buffer_
  std::string error_;
};

// The state of a mailbox as EXAMINE reports it.
struct ImapMailboxState {
  std::optional<uint32_t> exists;        // messages in the mailbox
  std::optional<uint32_t> uid_validity;  // changes when UIDs were given anew
  std::optional<uint32_t> uid_next;      // the UID the next message will get
};

// Takes what an untagged response says of the mailbox into `state`; false
// when it says nothing of it.
bool ReadMailboxState(const ImapResponse& response, ImapMailboxState* state);

// The outcome a tagged response gives its command.
struct ImapCompletion {
  enum class Status { kOk, kNo, kBad };
  Status status = Status::kBad;
  std::string text;  // what the server says, response code included
};
// Nothing when the response is not a completion (an untagged one, or a
// status word other than OK, NO and BAD).
std::optional<ImapCompletion> ReadCompletion(const ImapResponse& response);

// The UIDs of a "* SEARCH" response, in the order sent; nothing for another
// response.  A number that is no UID (0, or beyond 32 bits) makes it no
// SEARCH response.
std::optional<std::vector<uint32_t>> ReadSearchResult(const ImapResponse& response);

// One message of a "* n FETCH (...)" response.
struct ImapFetchedMessage {
  uint32_t sequence = 0;          // the message's number in the mailbox
  std::optional<uint32_t> uid;    // UID, when the response holds it
  std::optional<std::string> body;  // BODY[] (NIL gives an empty text)
};
// Nothing for another response or a FETCH whose list cannot be read.  The
// body is moved out of the response's literals.
std::optional<ImapFetchedMessage> ReadFetchedMessage(ImapResponse& response);

// One mailbox of a "* LIST" response: its name as the server writes it
// (modified UTF-7, imap_mailbox_name.h) and whether it can be opened (not
// marked \Noselect or \NonExistent).
struct ImapListedMailbox {
  std::string name;
  bool selectable = true;
};
// Nothing for another response or a LIST that cannot be read.  A name sent
// as a literal is moved out of the response's literals.
std::optional<ImapListedMailbox> ReadListedMailbox(ImapResponse& response);

// Writes a UID set ("4:7,9,12:13") of `uids`, which must be ascending.
std::string UidSetText(const std::vector<uint32_t>& uids);

// A mailbox name as an IMAP string: an atom-safe name as it is, others
// quoted with their quotes and backslashes escaped.  Nothing for a name
// holding a line end or a NUL, which no quoted string can carry.
std::optional<std::string> MailboxArgument(std::string_view name);
