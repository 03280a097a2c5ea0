#include "importers/mail/email_profiles.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>

#include "core/error_codes.h"
#include "importers/mail/email_profile_util.h"
#include "importers/mail/private_file.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t kMaxNameBytes = 200;
// Characters that no file name may hold on the systems profiles come from.
constexpr std::string_view kCharactersNotInFileNames = "\\/:*?\"<>|";
constexpr std::string_view kStateExtension = ".state";

bool IsControlCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

}  // namespace

uint32_t CEmailProfiles::CheckName(std::string_view name) {
  const bool characters_bad = std::any_of(name.begin(), name.end(), [](char c) {
    return IsControlCharacter(c) || kCharactersNotInFileNames.find(c) != std::string_view::npos;
  });
  if (characters_bad) return error_code::kProfileNameCharacters;
  if (name.empty() || name == "." || name == ".." || name.size() > kMaxNameBytes ||
      name.front() == ' ' || name.back() == ' ') {
    return error_code::kProfileNameInvalid;
  }
  return 0;
}

bool CEmailProfiles::IsComplete(const EmailProfile& p) {
  if (p.name.empty() || p.database.empty() || mail_application::Name(p.type).empty()) return false;
  if (p.selection == message_selection::kBetweenDates && (!p.date_start || !p.date_end)) {
    return false;
  }
  if (p.type == mail_application::kImap) return !p.imap_server.empty();
  if (p.all) return !p.mail_root.empty() || p.type == mail_application::kOutlook;
  return !p.mailboxes.empty() || !p.folders.empty();
}

std::optional<CProfileList> CEmailProfiles::List(std::string* why) const {
  const std::optional<std::string> text = ReadSmallFile(ListPath(), kMaxFileBytes, why);
  if (!text) {
    if (!why->empty()) return std::nullopt;
    return CProfileList();  // no list yet
  }
  return CProfileList::Parse(*text);
}

fs::path CEmailProfiles::FileOf(std::string_view name) const {
  std::string ignored;
  const std::optional<CProfileList> list = List(&ignored);
  const CProfileList::Entry* entry = list ? list->Find(name) : nullptr;
  return entry != nullptr ? folder_ / entry->file : fs::path();
}

fs::path CEmailProfiles::StateFileOf(std::string_view name) const {
  fs::path file = FileOf(name);
  if (!file.empty()) file.replace_extension(kStateExtension);
  return file;
}

std::optional<EmailProfile> CEmailProfiles::Load(std::string_view name, std::string* why) const {
  const std::optional<CProfileList> list = List(why);
  if (!list) return std::nullopt;
  const CProfileList::Entry* entry = list->Find(name);
  if (entry == nullptr) {
    *why = fmt::format("there is no e-mail profile named \"{}\"", name);
    return std::nullopt;
  }
  const fs::path file = folder_ / entry->file;
  const std::optional<std::string> text = ReadSmallFile(file, kMaxFileBytes, why);
  if (!text) {
    if (why->empty()) *why = fmt::format("the profile file {} is missing", file.string());
    return std::nullopt;
  }
  return CEmailProfileUtil::Read(*text);
}

bool CEmailProfiles::WriteList(const CProfileList& list, std::string* why) const {
  return WritePrivateFile(ListPath(), list.Serialize(), why);
}

std::string CEmailProfiles::FreeFileName(const CProfileList& list, std::string_view name) const {
  const auto free = [&](const std::string& file) {
    std::error_code ec;
    return !list.UsesFile(file) && !fs::exists(folder_ / file, ec) && !ec;
  };
  std::string file = fmt::format("{}.emw", name);
  // The numbered variants of the name: "Work(1).emw", "Work(2).emw", ...
  for (int number = 1; !free(file); ++number) file = fmt::format("{}({}).emw", name, number);
  return file;
}

uint32_t CEmailProfiles::Save(const EmailProfile& profile, bool replace, std::string* why) const {
  if (const uint32_t bad_name = CheckName(profile.name); bad_name != 0) return bad_name;
  if (!IsComplete(profile)) return error_code::kProfileIncomplete;

  PrivateFileLock lock(ListPath());
  std::optional<CProfileList> list = List(why);
  if (!list) return error_code::kAccessDenied;
  const CProfileList::Entry* existing = list->Find(profile.name);
  if (existing != nullptr && !replace) return error_code::kProfileDuplicateName;

  const std::string file = existing != nullptr ? existing->file : FreeFileName(*list, profile.name);
  if (!WritePrivateFile(folder_ / file, CEmailProfileUtil::Write(profile), why)) {
    return error_code::kAccessDenied;
  }
  if (existing == nullptr) {
    list->Add({profile.name, file});
    if (!WriteList(*list, why)) return error_code::kAccessDenied;
  }
  return 0;
}

bool CEmailProfiles::Delete(std::string_view name, std::string* why) const {
  PrivateFileLock lock(ListPath());
  std::optional<CProfileList> list = List(why);
  if (!list) return false;
  const CProfileList::Entry* entry = list->Find(name);
  if (entry == nullptr) {
    *why = fmt::format("there is no e-mail profile named \"{}\"", name);
    return false;
  }
  fs::path file = folder_ / entry->file;
  list->Remove(name);
  if (!WriteList(*list, why)) return false;
  std::error_code ignored;
  fs::remove(file, ignored);
  fs::remove(file.replace_extension(kStateExtension), ignored);
  return true;
}

bool CEmailProfiles::StoreStartDate(std::string_view name, const ProfileDate& day,
                                    std::string* why) const {
  PrivateFileLock lock(ListPath());
  std::optional<EmailProfile> profile = Load(name, why);
  if (!profile) return false;
  if (profile->selection != message_selection::kNewMessages) return true;
  profile->date_start = day;
  return WritePrivateFile(FileOf(name), CEmailProfileUtil::Write(*profile), why);
}
