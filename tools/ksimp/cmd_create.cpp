// ksimp create: a new, empty database.
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "commands.h"
#include "database.h"
#include "password_prompt.h"

namespace ksimp {

void AddCreateCommand(CLI::App& parent) {
  struct Options {
    std::string path;
    CredentialOptions credentials;
    bool replace = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = parent.add_subcommand("create", "Create an empty Kestro database");
  cmd->add_option("DB.kst", options->path, "Database file to create")->required();
  cmd->add_option("--login-group", options->credentials.login_group,
                  "Protect it with this login group (and a password: from --password-file, or "
                  "asked on the terminal)");
  cmd->add_option("--password-file", options->credentials.password_file,
                  "File whose first line is the password to protect it with");
  cmd->add_flag("--replace", options->replace, "Replace an existing file");
  cmd->callback([options] {
    const std::string& group = options->credentials.login_group;
    if (group.empty() && options->credentials.Given()) {
      throw HostError("a protected database needs --login-group with its password", 2);
    }
    std::string password;
    if (!group.empty()) {
      password = options->credentials.password_file.empty()
                     ? AskNewPassword(options->path)
                     : ReadPasswordFile(options->credentials.password_file);
    }
    const int32_t created = EngCreateDatabase(options->path.c_str(), group.c_str(),
                                              password.c_str(), options->replace ? 1 : 0);
    std::fill(password.begin(), password.end(), '\0');
    if (!created) {
      throw HostError(
          fmt::format("cannot create {}: {}", options->path, EngineErrorText(EngLastError(0))));
    }
    fmt::print("Created {}\n", options->path);
  });
}

}  // namespace ksimp
