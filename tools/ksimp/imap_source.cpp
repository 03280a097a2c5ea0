#include "imap_source.h"

#include <fmt/format.h>
#include <termios.h>
#include <unistd.h>

#include <cctype>
#include <fstream>
#include <iostream>

#include "database.h"

namespace ksimp {
namespace {

std::string PercentDecoded(const std::string& text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() &&
        std::isxdigit(static_cast<unsigned char>(text[i + 1])) &&
        std::isxdigit(static_cast<unsigned char>(text[i + 2]))) {
      plain += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

// Switches the terminal's echo off for as long as it lives.
class EchoOff {
 public:
  EchoOff() {
    if (::tcgetattr(STDIN_FILENO, &saved_) == 0) {
      termios quiet = saved_;
      quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
      active_ = ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) == 0;
    }
  }
  ~EchoOff() {
    if (active_) ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved_);
  }
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

 private:
  termios saved_{};
  bool active_ = false;
};

}  // namespace

bool IsImapUrl(const std::string& text) {
  std::string lower = text.substr(0, 8);
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return lower.starts_with("imap://") || lower.starts_with("imaps://");
}

ImapSource ParseImapUrl(const std::string& url) {
  const size_t scheme_end = url.find("://");
  const std::string scheme = url.substr(0, scheme_end);
  std::string rest = url.substr(scheme_end + 3);
  const size_t slash = rest.find('/');
  std::string authority = rest.substr(0, slash);
  ImapSource source;
  source.mailbox = slash == std::string::npos ? "" : PercentDecoded(rest.substr(slash + 1));
  if (source.mailbox.empty()) source.mailbox = "INBOX";
  const size_t at = authority.rfind('@');
  if (at == std::string::npos || at == 0 || at + 1 == authority.size()) {
    throw HostError(fmt::format("{}: write the server as {}://USER@HOST[:PORT]/MAILBOX", url,
                                scheme),
                    2);
  }
  source.user = PercentDecoded(authority.substr(0, at));
  if (source.user.find(':') != std::string::npos) {
    throw HostError(fmt::format("{}: a password does not go into the URL; give it in a "
                                "password file or type it when asked",
                                url),
                    2);
  }
  source.server = fmt::format("{}://{}", scheme, authority.substr(at + 1));
  return source;
}

std::string ReadImapPassword(const std::string& password_file, const std::string& prompt) {
  if (!password_file.empty()) {
    std::ifstream in(password_file, std::ios::binary);
    if (!in) throw HostError(fmt::format("cannot read the password file {}", password_file), 2);
    std::string password;
    std::getline(in, password);
    if (!password.empty() && password.back() == '\r') password.pop_back();
    return password;
  }
  if (!::isatty(STDIN_FILENO)) {
    throw HostError("give the IMAP password in a file: ksimp import --source-password-file FILE, "
                    "ksimp profile create --password-file FILE (standard input is no terminal to "
                    "type it at)",
                    2);
  }
  fmt::print(stderr, "{}", prompt);
  std::string password;
  {
    const EchoOff quiet;
    std::getline(std::cin, password);
  }
  fmt::print(stderr, "\n");
  return password;
}

}  // namespace ksimp
