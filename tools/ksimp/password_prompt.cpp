#include "password_prompt.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "database.h"
#include "ks_eng5.h"
#include "ks_imp.h"

namespace ksimp {
namespace {

// One database by whatever path names it.
std::string Key(const std::string& path) {
  std::error_code error;
  const std::filesystem::path full = std::filesystem::absolute(path, error);
  return (error ? std::filesystem::path(path) : full).lexically_normal().string();
}

void Wipe(std::string& text) {
  volatile char* bytes = text.data();
  for (size_t i = 0; i < text.size(); ++i) bytes[i] = '\0';
  text.clear();
}

// One line of stdin without its line end; false at its end.
bool ReadLine(std::string& line) {
  line.clear();
  if (!std::getline(std::cin, line)) return false;
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return true;
}

// Stdin's echo turned off while the password is typed, and back on after.
class EchoOff {
 public:
  EchoOff() {
    if (tcgetattr(STDIN_FILENO, &saved_) != 0) return;
    termios quiet = saved_;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    active_ = tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) == 0;
  }
  ~EchoOff() {
    if (active_) tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved_);
  }
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

 private:
  termios saved_{};
  bool active_ = false;
};

bool CopyInto(const std::string& text, char* buffer, int32_t size) {
  if (static_cast<int64_t>(text.size()) + 1 > size) return false;
  std::memcpy(buffer, text.c_str(), text.size() + 1);
  return true;
}

}  // namespace

void AddCredentialOptions(CLI::App& cmd, CredentialOptions& options, const std::string& what,
                          const std::string& prefix) {
  cmd.add_option("--" + prefix + "login-group", options.login_group,
                 "Login group of " + what + ", when it is protected");
  cmd.add_option("--" + prefix + "password-file", options.password_file,
                 "File whose first line is the password of " + what +
                     " (without it, a protected database asks on the terminal)");
}

std::string ReadPasswordFile(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  std::string password;
  if (!in || !std::getline(in, password)) {
    throw HostError(fmt::format("cannot read the password file {}", file));
  }
  if (!password.empty() && password.back() == '\r') password.pop_back();
  if (password.empty()) throw HostError(fmt::format("the password file {} is empty", file));
  struct stat info {};
  if (::stat(file.c_str(), &info) == 0 && (info.st_mode & (S_IRGRP | S_IROTH)) != 0) {
    fmt::print(stderr, "warning: the password file {} can be read by other users\n", file);
  }
  return password;
}

std::string AskNewPassword(const std::string& path) {
  if (!isatty(STDIN_FILENO)) {
    throw HostError("give the password with --password-file (stdin is not a terminal to ask on)",
                    2);
  }
  std::string first, second;
  for (std::string* typed : {&first, &second}) {
    bool read = false;
    {
      const EchoOff echo_off;
      if (typed == &first) {
        fmt::print(stderr, "Password for {}: ", path);
      } else {
        fmt::print(stderr, "The same password again: ");
      }
      std::fflush(stderr);
      read = ReadLine(*typed);
    }
    fmt::print(stderr, "\n");
    if (!read || typed->empty()) throw HostError("no password was given", 2);
  }
  const bool same = first == second;
  Wipe(second);
  if (!same) {
    Wipe(first);
    throw HostError("the two passwords differ", 2);
  }
  return first;
}

PasswordPrompt::~PasswordPrompt() {
  Remove();
  for (auto& [path, given] : given_) Wipe(given.password);
  for (auto& [path, answer] : answers_) Wipe(answer.second);
}

void PasswordPrompt::Give(const std::string& path, const CredentialOptions& options,
                          const std::string& prefix) {
  Given& given = given_[Key(path)];
  given.prefix = prefix;
  given.login_group = options.login_group;
  if (!options.password_file.empty()) given.password = ReadPasswordFile(options.password_file);
}

void PasswordPrompt::Install() {
  KSIMP_SetPasswordPrompt(&PasswordPrompt::Callback, this);
  installed_ = true;
}

void PasswordPrompt::Remove() {
  if (!installed_) return;
  KSIMP_SetPasswordPrompt(nullptr, nullptr);
  installed_ = false;
}

std::string PasswordPrompt::Refusal(const std::string& path) const {
  const auto found = refusals_.find(Key(path));
  return found == refusals_.end() ? std::string() : found->second;
}

std::pair<std::string, std::string> PasswordPrompt::LastAnswer(const std::string& path) const {
  const auto found = answers_.find(Key(path));
  return found == answers_.end() ? std::pair<std::string, std::string>() : found->second;
}

uint32_t PasswordPrompt::Callback(void* self, const char* path, uint32_t reason,
                                  const char* message, char* login_group, int32_t login_group_size,
                                  char* password, int32_t password_size) {
  auto& prompt = *static_cast<PasswordPrompt*>(self);
  std::string group = login_group;
  std::string secret;
  bool answered = false;
  try {
    answered = prompt.Answer(path, reason == KSENG_ERR_PASSWORD_WRONG, message, group, secret) &&
               CopyInto(group, login_group, login_group_size) &&
               CopyInto(secret, password, password_size);
  } catch (const std::exception& e) {
    prompt.refusals_[Key(path)] = e.what();
  }
  Wipe(secret);
  return answered ? 1 : 0;
}

bool PasswordPrompt::Answer(const std::string& path, bool again, const std::string& message,
                            std::string& login_group, std::string& password) {
  const std::string key = Key(path);
  refusals_.erase(key);
  Given* given = nullptr;
  if (const auto found = given_.find(key); found != given_.end()) given = &found->second;
  if (given != nullptr && !given->password.empty()) {
    if (again) {
      // The same answer again would be refused again.
      refusals_[key] = fmt::format("the login group or password given for {} is wrong", path);
      return false;
    }
    if (!given->login_group.empty()) login_group = given->login_group;
    password = given->password;
    answers_[key] = {login_group, password};
    return true;
  }
  if (!isatty(STDIN_FILENO)) {
    const std::string prefix = given != nullptr ? given->prefix : std::string();
    refusals_[key] = fmt::format(
        "{} is protected by a password: give --{}login-group and --{}password-file (stdin is not "
        "a terminal to ask on)",
        path, prefix, prefix);
    return false;
  }
  if (!message.empty()) fmt::print(stderr, "{}\n", message);
  fmt::print(stderr, "{} is protected by a password.\n", path);
  if (given != nullptr && !given->login_group.empty()) {
    login_group = given->login_group;
  } else {
    fmt::print(stderr, "Login group [{}]: ", login_group);
    std::fflush(stderr);
    std::string typed;
    if (!ReadLine(typed)) {
      refusals_[key] = fmt::format("no login group was given for {}", path);
      return false;
    }
    if (!typed.empty()) login_group = typed;
  }
  bool read = false;
  {
    // Echo goes off before the prompt shows: what is typed after it is
    // never flushed away nor shown.
    const EchoOff echo_off;
    fmt::print(stderr, "Password: ");
    std::fflush(stderr);
    read = ReadLine(password);
  }
  fmt::print(stderr, "\n");
  if (!read) {
    refusals_[key] = fmt::format("no password was given for {}", path);
    return false;
  }
  answers_[key] = {login_group, password};
  return true;
}

}  // namespace ksimp
