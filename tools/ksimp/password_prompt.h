// How ksimp answers the import library's password prompt for a protected
// database: with the login group and password file the command line gave
// for that file, else by asking on the terminal (the password without echo,
// again after a wrong one), else - stdin being no terminal - not at all,
// keeping a plain reason for the error the command reports.
#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <string>

namespace ksimp {

// --login-group and --password-file, or another pair of the same kind.
struct CredentialOptions {
  std::string login_group;
  std::string password_file;

  bool Given() const { return !login_group.empty() || !password_file.empty(); }
};

// Adds "--<prefix>login-group" and "--<prefix>password-file" to `cmd`, for
// opening `what`.
void AddCredentialOptions(CLI::App& cmd, CredentialOptions& options, const std::string& what,
                          const std::string& prefix = "");

// The password a --password-file holds: its first line, without the line
// end.  Throws HostError when it cannot be read or is empty.
std::string ReadPasswordFile(const std::string& file);

// A new password typed twice on the terminal without echo.  Throws
// HostError when stdin is no terminal or the two differ.
std::string AskNewPassword(const std::string& path);

class PasswordPrompt {
 public:
  PasswordPrompt() = default;
  ~PasswordPrompt();
  PasswordPrompt(const PasswordPrompt&) = delete;
  PasswordPrompt& operator=(const PasswordPrompt&) = delete;

  // The credentials the command line gave for the database at `path`, with
  // the prefix of their options' names, to name them in a refusal.
  void Give(const std::string& path, const CredentialOptions& options,
            const std::string& prefix = "");
  // Makes this the library's password prompt until Remove() or the end.
  void Install();
  void Remove();

  // Why the last ask for `path` was not answered ("" when it was).
  std::string Refusal(const std::string& path) const;
  // The login group and password last answered for `path` (empty: none).
  std::pair<std::string, std::string> LastAnswer(const std::string& path) const;

 private:
  struct Given {
    std::string login_group;
    std::string password;  // empty: to be asked on the terminal
    std::string prefix;    // of the options that give them
  };

  static uint32_t Callback(void* self, const char* path, uint32_t reason, const char* message,
                           char* login_group, int32_t login_group_size, char* password,
                           int32_t password_size);
  // `again`: the previous answer for this open was refused.
  bool Answer(const std::string& path, bool again, const std::string& message,
              std::string& login_group, std::string& password);

  std::map<std::string, Given> given_;
  std::map<std::string, std::string> refusals_;
  std::map<std::string, std::pair<std::string, std::string>> answers_;
  bool installed_ = false;
};

}  // namespace ksimp
