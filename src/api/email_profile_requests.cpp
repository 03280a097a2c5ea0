#include "api/email_profile_requests.h"

#include <fmt/format.h>

#include "api/ks_imp_app.h"
#include "core/config_store.h"
#include "core/error_codes.h"
#include "importers/mail/email_profile_util.h"
#include "importers/mail/email_profiles.h"

namespace email_profile_requests {

namespace {

CEmailProfiles UserProfiles() {
  return CEmailProfiles(ProfileFolder());
}

void LogForHost(std::string text) {
  CKS_ImpApp::Instance().Session().AddLogText(0, std::move(text) + "\r\n");
}

}  // namespace

std::filesystem::path ProfileFolder() {
  return ks::core::ConfigStore::DefaultPath().parent_path() / "profiles";
}

uint32_t Save(const std::string& key_values, bool replace) {
  EmailProfile profile;
  std::string bad_line;
  if (!CEmailProfileUtil::FromKeyValues(key_values, &profile, &bad_line)) {
    LogForHost(fmt::format("The e-mail profile was not saved: \"{}\" is not a profile setting.",
                           bad_line));
    return error_code::kCannotSetParameters;
  }
  std::string why;
  const uint32_t code = UserProfiles().Save(profile, replace, &why);
  if (!why.empty()) LogForHost(fmt::format("The e-mail profile was not saved: {}.", why));
  return code;
}

std::optional<std::string> NameAt(uint32_t index) {
  std::string why;
  const std::optional<CProfileList> list = UserProfiles().List(&why);
  if (!list || index >= list->entries().size()) return std::nullopt;
  return list->entries()[index].name;
}

std::optional<std::string> ShownText(const std::string& name) {
  std::string why;
  const std::optional<EmailProfile> profile = UserProfiles().Load(name, &why);
  if (!profile) return std::nullopt;
  return CEmailProfileUtil::ShownText(*profile);
}

std::optional<std::string> Description(const std::string& name) {
  std::string why;
  const std::optional<EmailProfile> profile = UserProfiles().Load(name, &why);
  if (!profile) return std::nullopt;
  return SelectionDescription(*profile);
}

bool Delete(const std::string& name) {
  std::string why;
  if (UserProfiles().Delete(name, &why)) return true;
  if (!why.empty()) LogForHost(fmt::format("The e-mail profile was not deleted: {}.", why));
  return false;
}

}  // namespace email_profile_requests
