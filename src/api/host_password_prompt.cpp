#include "api/host_password_prompt.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

// The answers' buffers: a login group or a password longer than this is cut.
constexpr size_t kAnswerSize = 1024;

// The text up to its terminator or the buffer's end, whichever comes first.
std::string TextIn(const std::array<char, kAnswerSize>& buffer) {
  return std::string(buffer.data(), strnlen(buffer.data(), buffer.size()));
}

void Wipe(std::array<char, kAnswerSize>& buffer) {
  volatile char* bytes = buffer.data();
  for (size_t i = 0; i < buffer.size(); ++i) bytes[i] = '\0';
}

}  // namespace

void HostPasswordPrompt::Set(KSIMP_PASSWORD_PROMPT callback, void* host_data) {
  const std::lock_guard lock(mutex_);
  callback_ = callback;
  host_data_ = host_data;
}

ks::core::PasswordPrompt* HostPasswordPrompt::IfSet() {
  const std::lock_guard lock(mutex_);
  return callback_ != nullptr ? this : nullptr;
}

bool HostPasswordPrompt::Ask(const std::string& path, Reason reason, std::string_view message,
                             ks::core::Credentials& credentials) {
  KSIMP_PASSWORD_PROMPT callback = nullptr;
  void* host_data = nullptr;
  {
    const std::lock_guard lock(mutex_);
    callback = callback_;
    host_data = host_data_;
  }
  if (callback == nullptr) return false;
  std::array<char, kAnswerSize> login_group{};
  std::array<char, kAnswerSize> password{};
  const size_t proposed = std::min(credentials.login_group.size(), login_group.size() - 1);
  std::memcpy(login_group.data(), credentials.login_group.data(), proposed);
  const std::string shown(message);
  // The host is called without any lock held: it may take its time, and
  // may call the library.
  const uint32_t answered =
      callback(host_data, path.c_str(), static_cast<uint32_t>(reason), shown.c_str(),
               login_group.data(), static_cast<int32_t>(login_group.size()), password.data(),
               static_cast<int32_t>(password.size()));
  if (answered != 0) {
    credentials.login_group = TextIn(login_group);
    credentials.password = TextIn(password);
  }
  Wipe(password);
  return answered != 0;
}
