#include "importers/mail/imap_server.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>

namespace {

constexpr uint16_t kImapsPort = 993;
constexpr uint16_t kSocksPort = 1080;
constexpr uint16_t kHttpProxyPort = 8080;

bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() &&
         std::equal(prefix.begin(), prefix.end(), text.begin(), [](char a, char b) {
           return std::tolower(static_cast<unsigned char>(a)) ==
                  std::tolower(static_cast<unsigned char>(b));
         });
}

bool ReadPort(std::string_view text, uint16_t* port) {
  uint32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value == 0 || value > 65535) {
    return false;
  }
  *port = static_cast<uint16_t>(value);
  return true;
}

// "host", "host:port", "[v6]" or "[v6]:port"; *port is left alone without
// one.  False for an empty host, a bad port, or characters no host name has.
bool SplitHostPort(std::string_view text, std::string* host, uint16_t* port) {
  std::string_view name = text;
  std::string_view port_text;
  if (!text.empty() && text.front() == '[') {
    const size_t close = text.find(']');
    if (close == std::string_view::npos) return false;
    name = text.substr(0, close + 1);
    const std::string_view rest = text.substr(close + 1);
    if (!rest.empty()) {
      if (rest.front() != ':') return false;
      port_text = rest.substr(1);
    }
  } else if (const size_t colon = text.rfind(':'); colon != std::string_view::npos) {
    name = text.substr(0, colon);
    port_text = text.substr(colon + 1);
  }
  if (name.empty() || name == "[]") return false;
  const bool clean = std::all_of(name.begin(), name.end(), [](char c) {
    const auto u = static_cast<unsigned char>(c);
    return u > 0x20 && u < 0x7f && c != '/' && c != '@' && c != '?' && c != '#' && c != '\\';
  });
  if (!clean) return false;
  if (!port_text.empty() && !ReadPort(port_text, port)) return false;
  *host = name;
  return true;
}

}  // namespace

std::string ImapServer::Url() const {
  return fmt::format("{}://{}:{}/", security == Security::kImplicitTls ? "imaps" : "imap", host,
                     port);
}

std::string ImapServer::Name() const { return fmt::format("{}:{}", host, port); }

std::string ImapServer::ProxyUrl() const {
  switch (firewall_type) {
    case imap_firewall::kHttpTunnel:
      return fmt::format("http://{}:{}", firewall_host, firewall_port);
    case imap_firewall::kSocks4:
      return fmt::format("socks4a://{}:{}", firewall_host, firewall_port);
    case imap_firewall::kSocks5:
      return fmt::format("socks5h://{}:{}", firewall_host, firewall_port);
    default:
      return {};
  }
}

std::optional<ImapServer> ParseImapServer(std::string_view text, uint32_t port,
                                          std::string* why) {
  ImapServer server;
  bool scheme = false;
  if (StartsWithIgnoringCase(text, "imaps://")) {
    server.security = ImapServer::Security::kImplicitTls;
    server.port = kImapsPort;
    text.remove_prefix(8);
    scheme = true;
  } else if (StartsWithIgnoringCase(text, "imap://")) {
    text.remove_prefix(7);
    scheme = true;
  }
  if (scheme && !text.empty() && text.back() == '/') text.remove_suffix(1);
  if (!SplitHostPort(text, &server.host, &server.port)) {
    *why = fmt::format("\"{}\" names no mail server (a host name, optionally with \":port\")",
                       text);
    return std::nullopt;
  }
  if (port != 0) {
    if (port > 65535) {
      *why = fmt::format("{} is no port number", port);
      return std::nullopt;
    }
    server.port = static_cast<uint16_t>(port);
  }
  // The IMAPS port without a scheme means what it always means.
  if (!scheme && server.port == kImapsPort) server.security = ImapServer::Security::kImplicitTls;
  return server;
}

bool SetImapFirewall(ImapServer* server, int32_t type, std::string_view host_text, uint32_t port,
                     std::string user, std::string password, std::string* why) {
  if (type == imap_firewall::kNone) return true;
  if (type != imap_firewall::kHttpTunnel && type != imap_firewall::kSocks4 &&
      type != imap_firewall::kSocks5) {
    *why = fmt::format("firewall type {} is unknown (1 HTTP tunnel, 2 SOCKS4, 3 SOCKS5)", type);
    return false;
  }
  uint16_t firewall_port = type == imap_firewall::kHttpTunnel ? kHttpProxyPort : kSocksPort;
  std::string host;
  if (!SplitHostPort(host_text, &host, &firewall_port)) {
    *why = fmt::format("\"{}\" names no firewall host", host_text);
    return false;
  }
  if (port != 0) {
    if (port > 65535) {
      *why = fmt::format("{} is no firewall port", port);
      return false;
    }
    firewall_port = static_cast<uint16_t>(port);
  }
  server->firewall_type = type;
  server->firewall_host = std::move(host);
  server->firewall_port = firewall_port;
  server->firewall_user = std::move(user);
  server->firewall_password = std::move(password);
  return true;
}
