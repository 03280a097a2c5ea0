// ImapConnection: one logged-in IMAP session with a server, for reading a
// mailbox without changing it.  libcurl makes the connection: the firewall
// (proxy), TLS or STARTTLS with the certificate checks, the login.  From
// there the session speaks the few commands the import needs itself, over
// libcurl's connection: EXAMINE (the mailbox read-only), UID SEARCH and UID
// FETCH of BODY.PEEK[], so no message is ever marked read.
//
// Every failure is kept as an ImapFailure (what kind, and the server's or
// libcurl's words); once one happened the connection is closed and every
// later call fails at once.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "importers/mail/imap_response.h"
#include "importers/mail/imap_server.h"

struct ImapFailure {
  enum class Kind {
    kNone,
    kConnect,      // no connection: refused, unknown host, firewall
    kLogin,        // the server refused the user name or password
    kTimeout,      // no answer in time
    kLost,         // the connection ended in the middle
    kCertificate,  // the server's certificate could not be verified
    kNoTls,        // the server offers no STARTTLS
    kMailbox,      // the mailbox cannot be opened
    kProtocol,     // the server answered what cannot be read
    kStopped,      // the import was aborted while waiting
  };
  Kind kind = Kind::kNone;
  std::string detail;  // libcurl's or the server's words
};

class ImapConnection {
 public:
  // Tested while waiting for the server; true stops the wait (kStopped).
  using StopTest = std::function<bool()>;

  explicit ImapConnection(ImapServer server, StopTest stop = {});
  ~ImapConnection();
  ImapConnection(const ImapConnection&) = delete;
  ImapConnection& operator=(const ImapConnection&) = delete;

  // Connects and logs in.
  bool Open();
  // The names (UTF-8) of the server's mailboxes that can be opened, in the
  // server's order, each once.  A name the server writes in no modified
  // UTF-7 is kept as it stands.
  bool ListMailboxes(std::vector<std::string>* names);
  // Opens the server's mailbox read-only and reads its state.
  bool Examine(ImapMailboxState* state);
  // The UIDs from `first` to `last` of the open mailbox, ascending; those
  // outside the range a server may add ("n:*" always matches the last
  // message) are left out.
  bool SearchUids(uint32_t first, uint32_t last, std::vector<uint32_t>* uids);
  // Fetches the messages of `uids` (ascending) whole, without marking them
  // read; each goes to `take` as it arrives.  A message the server does not
  // send (deleted meanwhile) is passed over.  `take` returns false to stop
  // (the failure is then kStopped).
  bool Fetch(const std::vector<uint32_t>& uids,
             const std::function<bool(uint32_t uid, std::string&& body)>& take);

  const ImapFailure& failure() const { return failure_; }
  const ImapServer& server() const { return server_; }

 private:
  bool Fail(ImapFailure::Kind kind, std::string detail);
  // Sends one command under a new tag; the tag in *tag.
  bool Send(std::string_view command, std::string* tag);
  bool SendBytes(std::string_view bytes);
  // The next response; waits for the server no longer than the stall time.
  std::optional<ImapResponse> Receive();
  // Reads to the completion of `tag`, handing each untagged response to
  // `each`; fails for a completion other than OK with `refused`.
  bool Complete(const std::string& tag, ImapFailure::Kind refused,
                const std::function<bool(ImapResponse&)>& each);
  // Waits until the socket can be read (or written); false on time-out,
  // with the failure set.
  bool Wait(bool for_writing);
  void Close();

  ImapServer server_;
  StopTest stop_;
  void* curl_ = nullptr;  // CURL*, kept out of this header
  ImapResponseReader reader_;
  std::vector<char> block_;  // what one read from the connection takes
  uint32_t next_tag_ = 1;
  ImapFailure failure_;
};

// The message ImapFailure kinds are reported with, as an import error code.
uint32_t ImapErrorCode(ImapFailure::Kind kind);
