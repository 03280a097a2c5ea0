// ImapServer: where an IMAP source is and how to reach it: host, port and
// kind of TLS, the login, the mailbox, the firewall (proxy) between, and how
// long to wait.  Made from what the host queued (the server, user, password,
// mailbox, firewall and port arguments) or from an e-mail profile.
//
// The server text is a host name or address, optionally with ":port", or a
// URL "imap://host[:port]" or "imaps://host[:port]".  imaps (or port 993
// without a scheme) speaks TLS from the first byte; otherwise the session
// must be switched to TLS with STARTTLS before the login, and a server that
// does not offer it is refused: a password never crosses the network in
// the clear.  The server's certificate is checked unless the user turned
// that off for a server with a certificate of its own making.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Firewall types, as the host and the profiles number them.
namespace imap_firewall {
inline constexpr int32_t kNone = 0;
inline constexpr int32_t kHttpTunnel = 1;  // HTTP proxy, CONNECT
inline constexpr int32_t kSocks4 = 2;
inline constexpr int32_t kSocks5 = 3;
}  // namespace imap_firewall

struct ImapServer {
  enum class Security {
    kStartTls,     // imap: plain connection switched to TLS before the login
    kImplicitTls,  // imaps: TLS from the start
  };

  std::string host;
  uint16_t port = 143;
  Security security = Security::kStartTls;
  bool verify_certificate = true;
  std::string user;
  std::string password;
  std::string mailbox = "INBOX";

  int32_t firewall_type = imap_firewall::kNone;
  std::string firewall_host;
  uint16_t firewall_port = 0;
  std::string firewall_user;
  std::string firewall_password;

  // Connecting and logging in, and any wait for the server's next bytes.
  std::chrono::milliseconds connect_timeout{30000};
  std::chrono::milliseconds stall_timeout{60000};

  // "imaps://host:993/": what the connection is opened with.
  std::string Url() const;
  // "host:993": how messages name the server.
  std::string Name() const;
  // The proxy URL for the firewall ("socks5h://host:1080"); empty without one.
  std::string ProxyUrl() const;
};

// Reads the server text and the port (0: the one the text names, else the
// default of its kind).  Nothing, with *why set, for a text that names no
// host or a port that is no port.
std::optional<ImapServer> ParseImapServer(std::string_view server_text, uint32_t port,
                                          std::string* why);

// Reads "host[:port]" of a firewall of `type`; a missing port is the usual
// one of the kind (1080 for SOCKS, 8080 for HTTP).  False, with *why set,
// for an unknown type or a text that names no host.
bool SetImapFirewall(ImapServer* server, int32_t type, std::string_view host_text,
                     uint32_t port, std::string user, std::string password, std::string* why);
