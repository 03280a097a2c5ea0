// ksimp form create: an entry form with its fields, so that imports can
// make entries of it.
#include <fmt/format.h>

#include <memory>
#include <vector>

#include "commands.h"
#include "database.h"

namespace ksimp {

void AddFormCommand(CLI::App& parent) {
  CLI::App* cmd = parent.add_subcommand("form", "Entry forms");
  cmd->require_subcommand(1);
  struct Options {
    std::string path;
    std::string name;
    std::vector<std::string> fields;
  };
  auto options = std::make_shared<Options>();
  CLI::App* create = cmd->add_subcommand("create", "Create an entry form");
  create->add_option("DB.kst", options->path, "Database")->required();
  create->add_option("NAME", options->name, "Name of the form")->required();
  create->add_option("--fields", options->fields, "Field names, separated by commas")
      ->required()
      ->delimiter(',');
  create->callback([options] {
    Database db(options->path, KSENG_ACCESS_READWRITE);
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
}

}  // namespace ksimp
