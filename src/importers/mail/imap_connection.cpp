#include "importers/mail/imap_connection.h"

#include <curl/curl.h>
#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <mutex>

#include "core/error_codes.h"
#include "importers/mail/imap_mailbox_name.h"

namespace {

// What one UID FETCH asks for: enough to keep a round trip's wait small
// beside the transfer, few enough that an abort is not kept waiting long.
constexpr size_t kFetchBatch = 250;
// How often a wait looks at the abort flag.
constexpr int kStopTestMs = 250;
constexpr size_t kReceiveBlock = 64 * 1024;

CURL* Handle(void* curl) { return static_cast<CURL*>(curl); }

// libcurl's process-wide set-up, done once before the first handle.
void InitialiseCurlOnce() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

ImapFailure::Kind KindOf(CURLcode code) {
  switch (code) {
    case CURLE_LOGIN_DENIED:
      return ImapFailure::Kind::kLogin;
    case CURLE_OPERATION_TIMEDOUT:
      return ImapFailure::Kind::kTimeout;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
      return ImapFailure::Kind::kCertificate;
    case CURLE_USE_SSL_FAILED:
      return ImapFailure::Kind::kNoTls;
    case CURLE_WEIRD_SERVER_REPLY:
      return ImapFailure::Kind::kProtocol;
    case CURLE_GOT_NOTHING:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
      return ImapFailure::Kind::kLost;
    default:
      return ImapFailure::Kind::kConnect;
  }
}

}  // namespace

uint32_t ImapErrorCode(ImapFailure::Kind kind) {
  switch (kind) {
    case ImapFailure::Kind::kNone:
    case ImapFailure::Kind::kStopped:
      return error_code::kNoError;
    case ImapFailure::Kind::kConnect:
      return error_code::kImapCannotConnect;
    case ImapFailure::Kind::kLogin:
      return error_code::kImapLoginRefused;
    case ImapFailure::Kind::kTimeout:
      return error_code::kImapTimedOut;
    case ImapFailure::Kind::kLost:
      return error_code::kImapConnectionLost;
    case ImapFailure::Kind::kCertificate:
      return error_code::kImapCertificate;
    case ImapFailure::Kind::kNoTls:
      return error_code::kImapNoTls;
    case ImapFailure::Kind::kMailbox:
      return error_code::kImapMailbox;
    case ImapFailure::Kind::kProtocol:
      return error_code::kImapBadReply;
  }
  return error_code::kInternal;
}

ImapConnection::ImapConnection(ImapServer server, StopTest stop)
    : server_(std::move(server)), stop_(std::move(stop)) {}

ImapConnection::~ImapConnection() {
  if (curl_ != nullptr && failure_.kind == ImapFailure::Kind::kNone) {
    // A polite goodbye; the answer is not waited for.
    std::string tag;
    Send("LOGOUT", &tag);
  }
  Close();
}

void ImapConnection::Close() {
  if (curl_ != nullptr) curl_easy_cleanup(Handle(curl_));
  curl_ = nullptr;
}

bool ImapConnection::Fail(ImapFailure::Kind kind, std::string detail) {
  if (failure_.kind == ImapFailure::Kind::kNone) failure_ = {kind, std::move(detail)};
  Close();
  return false;
}

bool ImapConnection::Open() {
  InitialiseCurlOnce();
  CURL* curl = curl_easy_init();
  if (curl == nullptr) return Fail(ImapFailure::Kind::kConnect, "libcurl could not start");
  curl_ = curl;
  char curl_error[CURL_ERROR_SIZE] = {};
  const std::string url = server_.Url();
  const std::string proxy = server_.ProxyUrl();
  curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, curl_error);
  curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "imap,imaps");
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  // libcurl connects, switches to TLS and logs in; the commands are ours.
  curl_easy_setopt(curl, CURLOPT_CONNECT_ONLY, 1L);
  curl_easy_setopt(curl, CURLOPT_USERNAME, server_.user.c_str());
  curl_easy_setopt(curl, CURLOPT_PASSWORD, server_.password.c_str());
  curl_easy_setopt(curl, CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_ALL));
  curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, server_.verify_certificate ? 1L : 0L);
  curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, server_.verify_certificate ? 2L : 0L);
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS,
                   static_cast<long>(server_.connect_timeout.count()));
  // A server that stops talking during the login.
  curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(
      curl, CURLOPT_LOW_SPEED_TIME,
      static_cast<long>(std::max<int64_t>(1, server_.stall_timeout.count() / 1000)));
  if (!proxy.empty()) {
    curl_easy_setopt(curl, CURLOPT_PROXY, proxy.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPPROXYTUNNEL, 1L);
    if (!server_.firewall_user.empty()) {
      curl_easy_setopt(curl, CURLOPT_PROXYUSERNAME, server_.firewall_user.c_str());
      curl_easy_setopt(curl, CURLOPT_PROXYPASSWORD, server_.firewall_password.c_str());
    }
  } else {
    // Not one taken from the environment: the user said how to connect.
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
  }
  const CURLcode code = curl_easy_perform(curl);
  // The error buffer lives on this frame only.
  curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, nullptr);
  if (code != CURLE_OK) {
    std::string detail = curl_error[0] != '\0' ? curl_error : curl_easy_strerror(code);
    return Fail(KindOf(code), std::move(detail));
  }
  return true;
}

bool ImapConnection::Wait(bool for_writing) {
  curl_socket_t socket = CURL_SOCKET_BAD;
  if (curl_easy_getinfo(Handle(curl_), CURLINFO_ACTIVESOCKET, &socket) != CURLE_OK ||
      socket == CURL_SOCKET_BAD) {
    return Fail(ImapFailure::Kind::kLost, "the connection is closed");
  }
  const auto deadline = std::chrono::steady_clock::now() + server_.stall_timeout;
  while (true) {
    if (stop_ && stop_()) return Fail(ImapFailure::Kind::kStopped, "the import was aborted");
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      return Fail(ImapFailure::Kind::kTimeout,
                  fmt::format("nothing came from the server for {} ms",
                              server_.stall_timeout.count()));
    }
    pollfd watched{socket, static_cast<short>(for_writing ? POLLOUT : POLLIN), 0};
    const int ready = ::poll(&watched, 1, static_cast<int>(std::min<int64_t>(left.count(), kStopTestMs)));
    if (ready > 0) return true;
    if (ready < 0 && errno != EINTR) return Fail(ImapFailure::Kind::kLost, "poll failed");
  }
}

bool ImapConnection::SendBytes(std::string_view bytes) {
  if (curl_ == nullptr) return false;
  while (!bytes.empty()) {
    size_t sent = 0;
    const CURLcode code = curl_easy_send(Handle(curl_), bytes.data(), bytes.size(), &sent);
    if (code == CURLE_AGAIN) {
      if (!Wait(/*for_writing=*/true)) return false;
      continue;
    }
    if (code != CURLE_OK) return Fail(ImapFailure::Kind::kLost, curl_easy_strerror(code));
    bytes.remove_prefix(sent);
  }
  return true;
}

bool ImapConnection::Send(std::string_view command, std::string* tag) {
  *tag = fmt::format("K{}", next_tag_++);
  return SendBytes(fmt::format("{} {}\r\n", *tag, command));
}

std::optional<ImapResponse> ImapConnection::Receive() {
  if (block_.size() != kReceiveBlock) block_.resize(kReceiveBlock);
  while (curl_ != nullptr) {
    if (std::optional<ImapResponse> response = reader_.Next()) return response;
    if (reader_.Failed()) {
      Fail(ImapFailure::Kind::kProtocol, reader_.Error());
      return std::nullopt;
    }
    size_t got = 0;
    const CURLcode code = curl_easy_recv(Handle(curl_), block_.data(), block_.size(), &got);
    if (code == CURLE_AGAIN) {
      if (!Wait(/*for_writing=*/false)) return std::nullopt;
      continue;
    }
    if (code != CURLE_OK) {
      Fail(ImapFailure::Kind::kLost, curl_easy_strerror(code));
      return std::nullopt;
    }
    if (got == 0) {
      Fail(ImapFailure::Kind::kLost, "the server closed the connection");
      return std::nullopt;
    }
    reader_.Feed(std::string_view(block_.data(), got));
  }
  return std::nullopt;
}

bool ImapConnection::Complete(const std::string& tag, ImapFailure::Kind refused,
                              const std::function<bool(ImapResponse&)>& each) {
  while (true) {
    std::optional<ImapResponse> response = Receive();
    if (!response) return false;
    if (response->tag == "*") {
      std::string_view text(response->text);
      if (text.starts_with("BYE ") || text == "BYE") {
        // The server is closing; what it says is why.
        return Fail(ImapFailure::Kind::kLost, fmt::format("the server said: {}", text));
      }
      if (each && !each(*response)) return false;
      continue;
    }
    if (response->tag != tag) continue;  // a continuation or a stray tag: nothing for us
    const std::optional<ImapCompletion> completion = ReadCompletion(*response);
    if (!completion) return Fail(ImapFailure::Kind::kProtocol, "an unreadable completion");
    if (completion->status != ImapCompletion::Status::kOk) {
      return Fail(refused, fmt::format("the server said: {}", completion->text));
    }
    return true;
  }
}

bool ImapConnection::ListMailboxes(std::vector<std::string>* names) {
  names->clear();
  std::string tag;
  if (!Send("LIST \"\" \"*\"", &tag)) return false;
  return Complete(tag, ImapFailure::Kind::kProtocol, [names](ImapResponse& response) {
    const std::optional<ImapListedMailbox> listed = ReadListedMailbox(response);
    if (!listed || !listed->selectable) return true;
    std::string name = ImapMailboxDisplayName(listed->name);
    if (std::find(names->begin(), names->end(), name) == names->end()) {
      names->push_back(std::move(name));
    }
    return true;
  });
}

bool ImapConnection::Examine(ImapMailboxState* state) {
  const std::optional<std::string> encoded = EncodeImapMailboxName(server_.mailbox);
  if (!encoded) return Fail(ImapFailure::Kind::kMailbox, "the mailbox name is not UTF-8");
  const std::optional<std::string> mailbox = MailboxArgument(*encoded);
  if (!mailbox) return Fail(ImapFailure::Kind::kMailbox, "the mailbox name holds a line end");
  std::string tag;
  if (!Send("EXAMINE " + *mailbox, &tag)) return false;
  *state = {};
  if (!Complete(tag, ImapFailure::Kind::kMailbox, [state](ImapResponse& response) {
        ReadMailboxState(response, state);
        return true;
      })) {
    return false;
  }
  if (!state->exists || !state->uid_validity) {
    return Fail(ImapFailure::Kind::kProtocol,
                "the server did not say how many messages the mailbox holds or its UIDVALIDITY");
  }
  return true;
}

bool ImapConnection::SearchUids(uint32_t first, uint32_t last, std::vector<uint32_t>* uids) {
  uids->clear();
  if (first == 0) first = 1;
  if (last < first) return true;
  std::string tag;
  if (!Send(fmt::format("UID SEARCH UID {}:{}", first, last), &tag)) return false;
  bool unreadable = false;
  if (!Complete(tag, ImapFailure::Kind::kProtocol, [&](ImapResponse& response) {
        if (std::optional<std::vector<uint32_t>> found = ReadSearchResult(response)) {
          uids->insert(uids->end(), found->begin(), found->end());
        } else if (response.text.starts_with("SEARCH")) {
          unreadable = true;
        }
        return true;
      })) {
    return false;
  }
  if (unreadable) return Fail(ImapFailure::Kind::kProtocol, "an unreadable SEARCH response");
  std::erase_if(*uids, [&](uint32_t uid) { return uid < first || uid > last; });
  std::sort(uids->begin(), uids->end());
  uids->erase(std::unique(uids->begin(), uids->end()), uids->end());
  return true;
}

bool ImapConnection::Fetch(const std::vector<uint32_t>& uids,
                           const std::function<bool(uint32_t, std::string&&)>& take) {
  for (size_t begin = 0; begin < uids.size(); begin += kFetchBatch) {
    const size_t end = std::min(uids.size(), begin + kFetchBatch);
    const std::vector<uint32_t> batch(uids.begin() + static_cast<ptrdiff_t>(begin),
                                      uids.begin() + static_cast<ptrdiff_t>(end));
    std::string tag;
    if (!Send(fmt::format("UID FETCH {} (UID BODY.PEEK[])", UidSetText(batch)), &tag)) {
      return false;
    }
    bool stopped = false;
    const bool completed = Complete(tag, ImapFailure::Kind::kProtocol, [&](ImapResponse& response) {
      std::optional<ImapFetchedMessage> message = ReadFetchedMessage(response);
      // Flag changes and other news come as FETCH responses without a body.
      if (!message || !message->uid || !message->body) return true;
      if (!std::binary_search(batch.begin(), batch.end(), *message->uid)) return true;
      if (!take(*message->uid, std::move(*message->body))) {
        stopped = true;
        return false;
      }
      return true;
    });
    if (stopped) return Fail(ImapFailure::Kind::kStopped, "the import stopped");
    if (!completed) return false;
  }
  return true;
}
