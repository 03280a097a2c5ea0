#include "core/protected_database.h"

#include <filesystem>

#include "core/config_store.h"
#include "core/message_texts.h"
#include "ks_eng5.h"

namespace ks::core {
namespace {

// "The password you have entered is invalid, please try again."
constexpr uint32_t kPasswordInvalidMessage = 14085;

std::string RememberedLoginGroupOf(const std::string& full_path) {
  try {
    return RememberedLoginGroup(ConfigStore::Load().values(), full_path);
  } catch (const ConfigError&) {
    // A configuration that cannot be read proposes what a first visit does.
    return std::string(kDefaultLoginGroup);
  }
}

void RememberLoginGroupOf(const std::string& full_path, const std::string& login_group) {
  try {
    ConfigStore::Update([&](ProfileFile& configuration) {
      RememberLoginGroup(configuration, full_path, login_group);
    });
  } catch (const ConfigError&) {
    // Remembering only saves typing next time; the database is open.
  }
}

}  // namespace

Credentials::~Credentials() {
  WipeText(password);
}

void WipeText(std::string& text) {
  // Through a volatile pointer, so that the stores are not dropped as dead.
  volatile char* bytes = text.data();
  for (size_t i = 0; i < text.size(); ++i) bytes[i] = '\0';
  text.clear();
}

std::string FullDatabasePath(std::string_view path) {
  std::error_code error;
  std::filesystem::path full = std::filesystem::absolute(std::filesystem::path(path), error);
  if (error) full = std::filesystem::path(path);
  return full.lexically_normal().string();
}

std::string RememberedLoginGroup(const ProfileFile& configuration, std::string_view full_path) {
  std::string group = configuration.GetOr(FileSettingsKey(full_path), kLoginGroupValue, "");
  return group.empty() ? std::string(kDefaultLoginGroup) : group;
}

void RememberLoginGroup(ProfileFile& configuration, std::string_view full_path,
                        std::string_view login_group) {
  configuration.Set(FileSettingsKey(full_path), kLoginGroupValue, login_group);
}

DatabaseOpening RunPasswordPrompt(PasswordPrompt& prompt, const std::string& path,
                                  int32_t access_mode, int32_t share_mode,
                                  std::string_view first_message) {
  const std::string full_path = FullDatabasePath(path);
  Credentials credentials{RememberedLoginGroupOf(full_path), {}};
  PasswordPrompt::Reason reason = PasswordPrompt::Reason::kPasswordRequired;
  std::string_view message = first_message;
  // There is no limit on the number of tries: the person may cancel.
  while (true) {
    WipeText(credentials.password);
    if (!prompt.Ask(path, reason, message, credentials)) {
      return {0, KSENG_ERR_PASSWORD_REQUIRED, /*cancelled=*/true};
    }
    const uint32_t database =
        EngOpenDatabaseEx(path.c_str(), access_mode, share_mode, credentials.password.c_str(),
                          credentials.login_group.c_str());
    if (database != 0) {
      RememberLoginGroupOf(full_path, credentials.login_group);
      return {database, 0, false};
    }
    const uint32_t error = EngLastError(0);
    if (error != KSENG_ERR_PASSWORD_WRONG) return {0, error, false};
    reason = PasswordPrompt::Reason::kPasswordWrong;
    message = MessageText(kPasswordInvalidMessage);
  }
}

DatabaseOpening OpenAskingPassword(const std::string& path, int32_t access_mode, int32_t share_mode,
                                   PasswordPrompt* prompt, std::string_view notice) {
  const uint32_t database = EngOpenDatabase(path.c_str(), access_mode, share_mode);
  if (database != 0) return {database, 0, false};
  const uint32_t error = EngLastError(0);
  if (error != KSENG_ERR_PASSWORD_REQUIRED || prompt == nullptr) return {0, error, false};
  return RunPasswordPrompt(*prompt, path, access_mode, share_mode, notice);
}

}  // namespace ks::core
