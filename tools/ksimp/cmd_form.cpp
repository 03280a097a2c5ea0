// ksimp form create: an entry form with its fields, so that imports can
// make entries of it; ksimp form list: the entry-form choices of an import.
#include <fmt/format.h>

#include <memory>
#include <vector>

#include "commands.h"
#include "database.h"
#include "ks_imp.h"
#include "password_prompt.h"

namespace ksimp {

void AddFormCommand(CLI::App& parent) {
  CLI::App* cmd = parent.add_subcommand("form", "Entry forms");
  cmd->require_subcommand(1);
  struct Options {
    std::string path;
    std::string name;
    std::vector<std::string> fields;
    CredentialOptions credentials;
  };
  auto options = std::make_shared<Options>();
  CLI::App* create = cmd->add_subcommand("create", "Create an entry form");
  create->add_option("DB.kst", options->path, "Database")->required();
  create->add_option("NAME", options->name, "Name of the form")->required();
  create->add_option("--fields", options->fields, "Field names, separated by commas")
      ->required()
      ->delimiter(',');
  AddCredentialOptions(*create, options->credentials, "the database");
  create->callback([options] {
    Database db(options->path, KSENG_ACCESS_READWRITE, options->credentials);
    std::vector<const char*> names;
    for (const auto& field : options->fields) names.push_back(field.c_str());
    const uint64_t form = EngCreateForm(db.handle(), options->name.c_str(), names.data(),
                                        static_cast<uint32_t>(names.size()));
    if (form == 0) {
      throw HostError(fmt::format("cannot create the form {}: {}", options->name,
                                  EngineErrorText(EngLastError(0))));
    }
    fmt::print("Created entry form {} with {} field(s)\n", options->name, names.size());
  });

  struct ListOptions {
    std::string path;
    CredentialOptions credentials;
  };
  auto list_options = std::make_shared<ListOptions>();
  CLI::App* list = cmd->add_subcommand(
      "list", "The choices of an import's entry form: \"No\", then the database's forms");
  list->add_option("DB.kst", list_options->path, "Database")->required();
  AddCredentialOptions(*list, list_options->credentials, "the database");
  list->callback([list_options] {
    PasswordPrompt prompt;
    prompt.Give(list_options->path, list_options->credentials);
    prompt.Install();
    std::vector<char> names(1 << 16);
    while (!KSIMP_GetEntryFormNames(list_options->path.c_str(), names.data(),
                                    static_cast<int32_t>(names.size()))) {
      if (names.size() >= (size_t{1} << 26)) throw HostError("too many entry forms to list");
      names.resize(names.size() * 4);
    }
    prompt.Remove();
    fmt::print("{}", names.data());
    const std::string refusal = prompt.Refusal(list_options->path);
    if (!refusal.empty()) throw HostError(fmt::format("cannot read the entry forms: {}", refusal));
  });
}

}  // namespace ksimp
