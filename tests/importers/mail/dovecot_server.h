// A real IMAP server for tests: Dovecot started from a folder of its own
// (configuration, passwd-file, Maildirs, a self-signed certificate made
// with openssl) on free loopback ports, stopped and removed again with the
// object.  No system service, nothing outside the folder.
//
// Run as root, Dovecot's login processes run as "dovenull" and the mail as
// "nobody", who then owns the Maildirs; run as another user, everything runs
// as that user.  Available() is false, with the reason in SkipReason(), when
// Dovecot or openssl is not installed or the server does not start.
//
// CuttingRelay sits between a client and the server and drops the
// connection after the server sent a given number of bytes: a connection
// lost in the middle of a transfer, on demand.  It can also stand as a
// firewall: a SOCKS5 proxy or an HTTP proxy taking CONNECT, which answers
// the client's request as such a proxy would and then forwards to the
// server, whatever address was asked for.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <grp.h>
#include <netinet/in.h>
#include <poll.h>
#include <pwd.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "temp_dir.h"

namespace dovecot_test {

namespace fs = std::filesystem;

inline sockaddr_in LoopbackAddress(uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

inline std::string FindProgram(const std::vector<std::string>& candidates) {
  for (const std::string& path : candidates) {
    if (::access(path.c_str(), X_OK) == 0) return path;
  }
  return {};
}

// A socket bound to a loopback port of its own; the port in `port`.
inline int BoundLoopbackSocket(uint16_t* port) {
  const int s = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = LoopbackAddress(0);
  ::bind(s, reinterpret_cast<sockaddr*>(&address), sizeof address);
  socklen_t length = sizeof address;
  ::getsockname(s, reinterpret_cast<sockaddr*>(&address), &length);
  *port = ntohs(address.sin_port);
  return s;
}

// A loopback port nobody listens on now.
inline uint16_t FreePort() {
  uint16_t port = 0;
  ::close(BoundLoopbackSocket(&port));
  return port;
}

inline bool Accepts(uint16_t port) {
  const int s = ::socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in address = LoopbackAddress(port);
  const bool connected =
      ::connect(s, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  ::close(s);
  return connected;
}

// A message as a mail program would have delivered it.
inline std::string GeneratedMessage(const std::string& subject, int day) {
  return "From: Sender <sender@example.com>\r\n"
         "To: ann@example.com\r\n"
         "Subject: " + subject + "\r\n"
         "Date: Mon, " + std::to_string(day) + " Jan 2024 10:00:00 +0000\r\n"
         "Message-ID: <" + subject + "@example.com>\r\n"
         "\r\n"
         "The text of " + subject + ".\r\n";
}

class DovecotServer {
 public:
  DovecotServer() {
    const std::string dovecot = FindProgram({"/usr/sbin/dovecot", "/usr/local/sbin/dovecot"});
    const std::string openssl = FindProgram({"/usr/bin/openssl", "/usr/local/bin/openssl"});
    if (dovecot.empty()) {
      skip_reason_ = "Dovecot (dovecot-imapd) is not installed";
      return;
    }
    if (openssl.empty()) {
      skip_reason_ = "openssl is not installed";
      return;
    }
    root_ = ::getuid() == 0;
    // Dovecot's processes must reach the folder under their own users.
    fs::permissions(dir_.path(), fs::perms::owner_all | fs::perms::group_exec |
                                     fs::perms::others_exec);
    const std::string certificate = dir_.file("cert.pem");
    const std::string key = dir_.file("key.pem");
    const std::string make_certificate =
        openssl +
        " req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2"
        " -subj /CN=localhost -keyout " +
        key + " -out " + certificate + " >/dev/null 2>&1";
    if (std::system(make_certificate.c_str()) != 0) {
      skip_reason_ = "openssl could not make a certificate";
      return;
    }
    imap_port_ = FreePort();
    imaps_port_ = FreePort();
    fs::create_directories(dir_.path() / "run");
    WriteConfiguration(certificate, key);
    dovecot_ = dovecot;
  }

  ~DovecotServer() { Stop(); }

  // Adds a user whose INBOX holds `messages` (file names and texts).  Call
  // before Start().
  void AddUser(const std::string& user, const std::string& password,
               const std::vector<std::string>& messages) {
    const fs::path home = dir_.path() / "home" / user;
    WriteMaildir(home / "Maildir", messages);
    std::ofstream(dir_.path() / "passwd", std::ios::app)
        << user << ":{PLAIN}" << password << ":" << MailUid() << ":" << MailGid() << "::"
        << home.string() << "\n";
    users_.push_back(home);
  }

  // Adds a user whose INBOX is an existing Maildir, read where it lies:
  // Dovecot keeps its index and UID list in the server's folder, so the
  // Maildir need only be readable.  Call before Start().
  void AddUserReading(const std::string& user, const std::string& password,
                      const fs::path& maildir) {
    const fs::path home = dir_.path() / "home" / user;
    fs::create_directories(home);
    std::ofstream(dir_.path() / "passwd", std::ios::app)
        << user << ":{PLAIN}" << password << ":" << MailUid() << ":" << MailGid() << "::"
        << home.string() << "::userdb_mail=maildir:" << maildir.string() << ":INDEX="
        << (home / "index").string() << ":CONTROL=" << (home / "control").string() << "\n";
    users_.push_back(home);
  }

  // Adds a mailbox beside a user's INBOX, named on disk as Dovecot names
  // it (Maildir++: "." and the name in modified UTF-7, levels joined by
  // "."), holding `messages`.  Call before Start().
  void AddMailbox(const std::string& user, const std::string& encoded_name,
                  const std::vector<std::string>& messages) {
    WriteMaildir(dir_.path() / "home" / user / "Maildir" / ("." + encoded_name), messages);
  }

  // Delivers one more message to a user's INBOX (or the mailbox of that
  // name on disk), as a running server sees mail arrive.
  void Deliver(const std::string& user, const std::string& name, const std::string& text,
               const std::string& encoded_mailbox = "") {
    const fs::path maildir = dir_.path() / "home" / user / "Maildir";
    const fs::path file =
        (encoded_mailbox.empty() ? maildir : maildir / ("." + encoded_mailbox)) / "new" / name;
    std::ofstream(file, std::ios::binary) << text;
    OwnForMail(file);
  }

  bool Start() {
    if (!skip_reason_.empty()) return false;
    for (const fs::path& home : users_) OwnTreeForMail(home);
    server_ = ::fork();
    if (server_ == 0) {
      const std::string config = dir_.file("dovecot.conf");
      ::execl(dovecot_.c_str(), dovecot_.c_str(), "-F", "-c", config.c_str(),
              static_cast<char*>(nullptr));
      ::_exit(127);
    }
    for (int i = 0; i < 200; ++i) {
      if (Accepts(imap_port_) && Accepts(imaps_port_)) return true;
      int status = 0;
      if (::waitpid(server_, &status, WNOHANG) == server_) {
        server_ = -1;
        break;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    std::ifstream log(dir_.file("dovecot.log"));
    skip_reason_ = "Dovecot did not start: " +
                   std::string(std::istreambuf_iterator<char>(log), std::istreambuf_iterator<char>());
    Stop();
    return false;
  }

  void Stop() {
    if (server_ <= 0) return;
    ::kill(server_, SIGTERM);
    int status = 0;
    ::waitpid(server_, &status, 0);
    server_ = -1;
  }

  const std::string& SkipReason() const { return skip_reason_; }
  uint16_t imap_port() const { return imap_port_; }
  uint16_t imaps_port() const { return imaps_port_; }

 private:
  static void WriteMaildir(const fs::path& maildir, const std::vector<std::string>& messages) {
    for (const char* sub : {"cur", "new", "tmp"}) fs::create_directories(maildir / sub);
    for (size_t i = 0; i < messages.size(); ++i) {
      std::ofstream(maildir / "cur" / (std::to_string(1000000 + i) + ".test:2,"), std::ios::binary)
          << messages[i];
    }
  }

  uid_t MailUid() const { return root_ ? 65534 : ::getuid(); }
  gid_t MailGid() const { return root_ ? 65534 : ::getgid(); }

  void OwnForMail(const fs::path& path) const {
    if (root_) (void)::chown(path.c_str(), MailUid(), MailGid());
  }
  void OwnTreeForMail(const fs::path& root) const {
    OwnForMail(root);
    for (const auto& entry : fs::recursive_directory_iterator(root)) OwnForMail(entry.path());
  }

  void WriteConfiguration(const std::string& certificate, const std::string& key) {
    std::string user_lines;
    if (root_) {
      user_lines = "default_login_user = dovenull\ndefault_internal_user = dovecot\n";
    } else {
      const passwd* me = ::getpwuid(::getuid());
      const group* mine = ::getgrgid(::getgid());
      const std::string name = me != nullptr ? me->pw_name : "nobody";
      user_lines = "default_login_user = " + name + "\ndefault_internal_user = " + name +
                   "\ndefault_internal_group = " + (mine != nullptr ? mine->gr_name : name) + "\n";
    }
    const std::string dir = dir_.path().string();
    std::ofstream(dir_.file("passwd"));
    std::ofstream(dir_.file("dovecot.conf"))
        << "base_dir = " << dir << "/run\n"
        << "state_dir = " << dir << "/state\n"
        << "log_path = " << dir << "/dovecot.log\n"
        << "protocols = imap\n"
        << "listen = 127.0.0.1\n"
        << "ssl = yes\n"
        << "ssl_cert = <" << certificate << "\n"
        << "ssl_key = <" << key << "\n"
        << "disable_plaintext_auth = no\n"
        << "auth_mechanisms = plain login\n"
        << "auth_failure_delay = 0\n"
        << user_lines << "first_valid_uid = 1\n"
        << "mail_location = maildir:~/Maildir\n"
        << "passdb {\n  driver = passwd-file\n  args = scheme=PLAIN username_format=%u " << dir
        << "/passwd\n}\n"
        << "userdb {\n  driver = passwd-file\n  args = username_format=%u " << dir << "/passwd\n}\n"
        << "service imap-login {\n  chroot =\n"
        << "  inet_listener imap {\n    address = 127.0.0.1\n    port = " << imap_port_ << "\n  }\n"
        << "  inet_listener imaps {\n    address = 127.0.0.1\n    port = " << imaps_port_
        << "\n    ssl = yes\n  }\n}\n"
        << "service anvil {\n  chroot =\n}\n";
  }

  TempDir dir_;
  bool root_ = false;
  std::string dovecot_;
  std::string skip_reason_;
  uint16_t imap_port_ = 0;
  uint16_t imaps_port_ = 0;
  pid_t server_ = -1;
  std::vector<fs::path> users_;
};

// Forwards connections from a loopback port of its own to the server's,
// cutting each one after the server sent `cut_after` bytes on it.
class CuttingRelay {
 public:
  enum class Proxy { kNone, kSocks5, kHttpConnect };

  CuttingRelay(uint16_t server_port, size_t cut_after, Proxy proxy = Proxy::kNone)
      : server_port_(server_port), cut_after_(cut_after), proxy_(proxy) {
    listener_ = BoundLoopbackSocket(&port_);
    ::listen(listener_, 8);
    thread_ = std::thread([this] { Serve(); });
  }
  ~CuttingRelay() {
    stop_.store(true);
    thread_.join();
    ::close(listener_);
  }

  uint16_t port() const { return port_; }
  // How many connections were cut.
  int cuts() const { return cuts_.load(); }
  // Connections from now on are cut after `bytes` from the server.
  void CutAfter(size_t bytes) { cut_after_.store(bytes); }
  // How many proxy requests were answered.
  int proxied() const { return proxied_.load(); }

 private:
  void Serve() {
    while (!stop_.load()) {
      pollfd waiting{listener_, POLLIN, 0};
      if (::poll(&waiting, 1, 100) <= 0) continue;
      const int client = ::accept(listener_, nullptr, nullptr);
      if (client < 0) continue;
      if (!AnswerProxyRequest(client)) {
        ::close(client);
        continue;
      }
      const int server = ::socket(AF_INET, SOCK_STREAM, 0);
      const sockaddr_in address = LoopbackAddress(server_port_);
      if (::connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        Forward(client, server);
      }
      ::close(server);
      ::close(client);
    }
  }

  // Reads exactly `count` bytes; false when the client goes first.
  static bool ReadExactly(int fd, char* buffer, size_t count) {
    for (size_t got = 0; got < count;) {
      const ssize_t n = ::read(fd, buffer + got, count - got);
      if (n <= 0) return false;
      got += static_cast<size_t>(n);
    }
    return true;
  }

  bool AnswerProxyRequest(int client) {
    if (proxy_ == Proxy::kNone) return true;
    char buffer[512];
    if (proxy_ == Proxy::kHttpConnect) {
      std::string request;
      while (request.find("\r\n\r\n") == std::string::npos && request.size() < 4096) {
        if (!ReadExactly(client, buffer, 1)) return false;
        request += buffer[0];
      }
      if (!request.starts_with("CONNECT ")) return false;
      const std::string answer = "HTTP/1.1 200 Connection established\r\n\r\n";
      if (::write(client, answer.data(), answer.size()) != static_cast<ssize_t>(answer.size())) {
        return false;
      }
      proxied_.fetch_add(1);
      return true;
    }
    // SOCKS5: greeting (version, methods), then a CONNECT request.
    if (!ReadExactly(client, buffer, 2) || buffer[0] != 5) return false;
    const auto methods = static_cast<unsigned char>(buffer[1]);
    if (!ReadExactly(client, buffer, methods)) return false;
    const char no_login[2] = {5, 0};
    if (::write(client, no_login, 2) != 2) return false;
    if (!ReadExactly(client, buffer, 4) || buffer[0] != 5 || buffer[1] != 1) return false;
    size_t address = 0;
    if (buffer[3] == 1) address = 4;
    if (buffer[3] == 4) address = 16;
    if (buffer[3] == 3) {
      if (!ReadExactly(client, buffer, 1)) return false;
      address = static_cast<unsigned char>(buffer[0]);
    }
    if (address == 0 || !ReadExactly(client, buffer, address + 2)) return false;
    const char granted[10] = {5, 0, 0, 1, 0, 0, 0, 0, 0, 0};
    if (::write(client, granted, sizeof granted) != static_cast<ssize_t>(sizeof granted)) {
      return false;
    }
    proxied_.fetch_add(1);
    return true;
  }

  // One connection at a time: the tests make them one after the other.
  void Forward(int client, int server) {
    const size_t cut_after = cut_after_.load();
    size_t from_server = 0;
    char buffer[16384];
    while (!stop_.load()) {
      pollfd both[2] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
      if (::poll(both, 2, 100) <= 0) continue;
      if (both[0].revents != 0) {
        const ssize_t n = ::read(client, buffer, sizeof buffer);
        if (n <= 0 || ::write(server, buffer, static_cast<size_t>(n)) != n) return;
      }
      if (both[1].revents != 0) {
        const ssize_t n = ::read(server, buffer, sizeof buffer);
        if (n <= 0) return;
        size_t pass = static_cast<size_t>(n);
        if (from_server + pass > cut_after) pass = cut_after - from_server;
        if (pass > 0 && ::write(client, buffer, pass) != static_cast<ssize_t>(pass)) return;
        from_server += pass;
        if (from_server >= cut_after) {
          cuts_.fetch_add(1);
          return;
        }
      }
    }
  }

  uint16_t server_port_;
  std::atomic<size_t> cut_after_;
  Proxy proxy_;
  std::atomic<int> proxied_{0};
  int listener_ = -1;
  uint16_t port_ = 0;
  std::atomic<bool> stop_{false};
  std::atomic<int> cuts_{0};
  std::thread thread_;
};

}  // namespace dovecot_test
