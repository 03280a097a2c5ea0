#include "importers/mail/imap_import.h"

#include <fmt/format.h>
#include <fmt/printf.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "core/error_codes.h"
#include "core/message_texts.h"

namespace {

constexpr uint32_t kLastPossibleUid = std::numeric_limits<uint32_t>::max();

// The highest UID of the examined mailbox: the one before the next, which
// every server announces; one that does not is asked for its UIDs.
std::optional<uint32_t> LastUid(ImapConnection& connection, const ImapMailboxState& state) {
  if (state.uid_next && *state.uid_next > 0) return *state.uid_next - 1;
  std::vector<uint32_t> uids;
  if (!connection.SearchUids(1, kLastPossibleUid, &uids)) return std::nullopt;
  return uids.empty() ? 0 : uids.back();
}

// Which of the UIDs an import fetches were taken, in whatever order the
// server sends them: the UID up to which every one was, which is where a
// later import may start.
class ImportedUids {
 public:
  explicit ImportedUids(const std::vector<uint32_t>& uids) : uids_(uids), taken_(uids.size()) {}

  // Notes `uid` taken; the new UID up to which all are, when it moved.
  std::optional<uint32_t> Take(uint32_t uid) {
    const auto it = std::lower_bound(uids_.begin(), uids_.end(), uid);
    if (it == uids_.end() || *it != uid) return std::nullopt;
    taken_[static_cast<size_t>(it - uids_.begin())] = true;
    const size_t before = next_;
    while (next_ < uids_.size() && taken_[next_]) ++next_;
    if (next_ == before) return std::nullopt;
    return uids_[next_ - 1];
  }

 private:
  const std::vector<uint32_t>& uids_;  // ascending
  std::vector<bool> taken_;
  size_t next_ = 0;  // every UID before this one was taken
};

}  // namespace

std::optional<ImapServer> ImapServerOf(const SETDATA& options, std::string* why) {
  std::optional<ImapServer> server =
      ParseImapServer(options.imap_server, static_cast<uint32_t>(options.imap_port), why);
  if (!server) return std::nullopt;
  server->user = options.imap_user;
  server->password = options.imap_password;
  if (!options.imap_mailbox.empty()) server->mailbox = options.imap_mailbox;
  server->verify_certificate = options.imap_verify_certificate;
  if (!SetImapFirewall(&*server, options.firewall_type, options.firewall_server, 0,
                       options.firewall_user, options.firewall_password, why)) {
    return std::nullopt;
  }
  return server;
}

std::string ImapFailureLine(const ImapServer& server, const ImapFailure& failure) {
  const uint32_t code = ImapErrorCode(failure.kind);
  const std::string subject =
      failure.kind == ImapFailure::Kind::kMailbox ? server.mailbox : server.Name();
  std::string line = fmt::sprintf(std::string(MessageText(code)), subject);
  if (!failure.detail.empty()) line += fmt::format(" ({})", failure.detail);
  if (failure.kind == ImapFailure::Kind::kCertificate) {
    line += " A server whose certificate is of its own making is read only when the "
            "certificate check is turned off for it.";
  }
  return line;
}

ImapMailboxLook LookAtImapMailbox(const SETDATA& options) {
  ImapMailboxLook look;
  std::string why;
  const std::optional<ImapServer> server = ImapServerOf(options, &why);
  if (!server) {
    look.error = error_code::kImapCannotConnect;
    look.log_line = fmt::format("The IMAP source \"{}\" cannot be read: {}.", options.file_name, why);
    return look;
  }
  ImapConnection connection(*server);
  if (connection.Open() && connection.Examine(&look.state)) {
    look.last_uid = LastUid(connection, look.state);
  }
  if (connection.failure().kind != ImapFailure::Kind::kNone || !look.last_uid) {
    look.error = ImapErrorCode(connection.failure().kind);
    look.log_line = ImapFailureLine(*server, connection.failure());
    return look;
  }
  look.looked = true;
  return look;
}

ImapMailboxList ListImapMailboxes(const SETDATA& options) {
  ImapMailboxList list;
  std::string why;
  const std::optional<ImapServer> server = ImapServerOf(options, &why);
  if (!server) {
    list.error = error_code::kImapCannotConnect;
    list.log_line = fmt::format("The IMAP source \"{}\" cannot be read: {}.", options.file_name, why);
    return list;
  }
  ImapConnection connection(*server);
  if (!connection.Open() || !connection.ListMailboxes(&list.names)) {
    list.error = ImapErrorCode(connection.failure().kind);
    list.log_line = ImapFailureLine(*server, connection.failure());
    list.names.clear();
    return list;
  }
  list.listed = true;
  return list;
}

int CImapEmail::ServerFailed(const ImapServer& server, const ImapFailure& failure) {
  Log(ImapFailureLine(server, failure));
  Fail(ImapErrorCode(failure.kind));
  return 0;
}

int CImapEmail::ImportSource() {
  const SETDATA& options = Options();
  std::string why;
  const std::optional<ImapServer> server = ImapServerOf(options, &why);
  if (!server) {
    Log(fmt::format("The IMAP source \"{}\" cannot be read: {}.", options.file_name, why));
    Fail(error_code::kImapCannotConnect);
    return 0;
  }
  ImapConnection connection(*server, [this] { return Aborted(); });
  ImapMailboxState state;
  if (!connection.Open() || !connection.Examine(&state)) {
    if (WasAborted()) return 1;
    return ServerFailed(*server, connection.failure());
  }
  uint32_t after = options.imap_after_uid;
  if (options.imap_uid_validity != 0 && state.uid_validity != options.imap_uid_validity) {
    // The mailbox was rebuilt since the run looked at it: the UIDs it was
    // given mean nothing now.
    Log(fmt::format("The mailbox {} on {} was rebuilt during the import (its UIDVALIDITY "
                    "changed); run the import again to read it from its start.",
                    server->mailbox, server->Name()));
    Fail(error_code::kImapMailbox);
    return 0;
  }
  const uint32_t last = options.imap_last_uid != 0 ? options.imap_last_uid : kLastPossibleUid;
  std::vector<uint32_t> uids;
  if (!connection.SearchUids(after + 1, last, &uids)) {
    if (WasAborted()) return 1;
    return ServerFailed(*server, connection.failure());
  }

  BeginMessages(std::nullopt);
  uint64_t taken = 0;
  bool stopped = false;
  ImportedUids imported(uids);
  const bool fetched = connection.Fetch(uids, [&](uint32_t uid, std::string&& body) {
    if (Aborted()) return false;
    RawMessage message{std::move(body), std::string(), server->mailbox};
    if (ImportMessage(std::move(message), ++taken) == Outcome::kStopped) {
      stopped = true;
      return false;
    }
    if (const std::optional<uint32_t> reached = imported.Take(uid)) {
      Context().SetImportedUpTo(*reached);
    }
    return true;
  });
  if (stopped) return StopResult();
  if (!fetched) {
    if (WasAborted()) return 1;
    return ServerFailed(*server, connection.failure());
  }
  EndMessages();
  if (!uids.empty()) Context().SetImportedUpTo(uids.back());
  if (uids.empty()) {
    Log(fmt::format("The mailbox {} on {} holds no message to import.", server->mailbox,
                    server->Name()));
  }
  return 1;
}
