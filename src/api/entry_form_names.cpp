#include "api/entry_form_names.h"

#include <fmt/format.h>

#include "core/error_codes.h"
#include "core/message_texts.h"
#include "ks_eng5.h"

std::string EntryFormPasswordNotice(const std::string& path) {
  return fmt::format(
      "A password is required to access the Entryform names in {}.  Please enter your password.",
      path);
}

std::vector<std::string> EntryFormNames(const std::string& path, ks::core::PasswordPrompt* prompt) {
  std::vector<std::string> names{std::string(MessageText(error_code::kNoEntryForm))};
  const ks::core::DatabaseOpening opened = ks::core::OpenAskingPassword(
      path, KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE, prompt, EntryFormPasswordNotice(path));
  if (opened.database == 0) return names;
  for (uint64_t form = EngFirstDocument(opened.database, KSENG_WALK_FORMS); form != 0;
       form = EngNextDocument(opened.database, form, KSENG_WALK_FORMS)) {
    char name[256] = {};
    if (EngOp39(opened.database, form, name, sizeof name) != 0 && name[0] != '\0') {
      names.emplace_back(name);
    }
  }
  EngCloseDatabase(opened.database);
  return names;
}
