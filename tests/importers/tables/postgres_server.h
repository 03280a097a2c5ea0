// A throwaway PostgreSQL server for one test: a cluster made by initdb in a
// temporary folder, listening on a free loopback port and on a socket in
// that folder, stopped when the object goes.  The superuser "postgres"
// signs in over TCP with a password (so that a wrong one can be tried) and
// over the socket without one (for psql, which fills the tables).  As root
// the server runs as the "postgres" account, since initdb refuses root.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "temp_dir.h"

class PostgresServer {
 public:
  static constexpr const char* kBin = "/usr/lib/postgresql/15/bin";
  static constexpr const char* kPassword = "kestro-secret";

  // True when the binaries are installed (else the test skips).
  static bool Available() { return std::filesystem::exists(std::string(kBin) + "/initdb"); }

  // Starts the server; started() says whether it came up.
  PostgresServer() : port_(FreePort()) {
    if (geteuid() == 0) {
      const passwd* account = getpwnam("postgres");
      if (account == nullptr) return;
      if (chown(dir_.path().c_str(), account->pw_uid, account->pw_gid) != 0) return;
      as_ = "runuser -u postgres -- ";
    }
    std::ofstream(dir_.file("pw")) << kPassword << '\n';
    if (chmod(dir_.file("pw").c_str(), 0644) != 0) return;
    const std::string data = dir_.file("data");
    if (!Run(std::string(kBin) + "/initdb -D " + data + " -U postgres --pwfile=" + dir_.file("pw") +
             " --auth-local=trust --auth-host=scram-sha-256 -E UTF8 --locale=C --no-sync")) {
      return;
    }
    started_ = Run(std::string(kBin) + "/pg_ctl -D " + data + " -w -l " + dir_.file("log") +
                   " -o \"-p " + std::to_string(port_) + " -k " + dir_.path().string() +
                   " -c listen_addresses=127.0.0.1 -c fsync=off\" start");
  }
  ~PostgresServer() {
    if (started_) Run(std::string(kBin) + "/pg_ctl -D " + dir_.file("data") + " -m immediate -w stop");
  }
  PostgresServer(const PostgresServer&) = delete;
  PostgresServer& operator=(const PostgresServer&) = delete;

  bool started() const { return started_; }
  int port() const { return port_; }

  // Runs the statements `sql` through psql on the socket; true on success.
  bool Sql(const std::string& sql) const {
    const std::string file = dir_.file("setup.sql");
    std::ofstream(file) << sql;
    return Run(std::string(kBin) + "/psql -q -v ON_ERROR_STOP=1 -h " + dir_.path().string() +
               " -p " + std::to_string(port_) + " -U postgres -d postgres -f " + file);
  }

  // A port on 127.0.0.1 that nothing listens on just now.
  static int FreePort() {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    int port = 0;
    if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
      port = ntohs(address.sin_port);
    }
    close(fd);
    return port;
  }

 private:
  bool Run(const std::string& command) const {
    return std::system((as_ + command + " >>" + dir_.file("commands.log") + " 2>&1").c_str()) == 0;
  }

  TempDir dir_;
  int port_;
  std::string as_;  // the prefix that runs a command as the server's account
  bool started_ = false;
};
