// ksimp create: a new, empty database.
#include <fmt/format.h>

#include <memory>

#include "commands.h"
#include "database.h"

namespace ksimp {

void AddCreateCommand(CLI::App& parent) {
  struct Options {
    std::string path;
    std::string login_group;
    std::string password;
    bool replace = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = parent.add_subcommand("create", "Create an empty Kestro database");
  cmd->add_option("DB.kst", options->path, "Database file to create")->required();
  cmd->add_option("--login-group", options->login_group, "Protect it with this login group");
  cmd->add_option("--password", options->password, "Protect it with this password");
  cmd->add_flag("--replace", options->replace, "Replace an existing file");
  cmd->callback([options] {
    if (options->login_group.empty() != options->password.empty()) {
      throw HostError("a protected database needs both --login-group and --password", 2);
    }
    if (!EngCreateDatabase(options->path.c_str(), options->login_group.c_str(),
                           options->password.c_str(), options->replace ? 1 : 0)) {
      throw HostError(
          fmt::format("cannot create {}: {}", options->path, EngineErrorText(EngLastError(0))));
    }
    fmt::print("Created {}\n", options->path);
  });
}

}  // namespace ksimp
