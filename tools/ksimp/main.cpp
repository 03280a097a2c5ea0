// ksimp: the command-line host of the Kestro import library.  It uses only
// the public C interfaces (ks_imp.h and ks_eng5.h).
//
// Exit status: 0 success, 1 the operation failed, 2 usage error.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>

#include "commands.h"
#include "database.h"

namespace {

// Every command of the host, in the order --help lists them.
const ksimp::CommandSetup kCommands[] = {
    ksimp::AddCreateCommand,   ksimp::AddImportCommand, ksimp::AddTypesCommand, ksimp::AddTablesCommand,
    ksimp::AddSettingsCommand, ksimp::AddFormCommand,   ksimp::AddAddCommand,
    ksimp::AddDocsCommand,     ksimp::AddShowCommand,   ksimp::AddSearchCommand,
    ksimp::AddExportCommand,   ksimp::AddProfileCommand,
    ksimp::AddDetectCommand,
};

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"ksimp - import files into Kestro databases and look at what they hold"};
  app.require_subcommand(1);
  for (const auto setup : kCommands) setup(app);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    app.exit(e);
    return 2;
  } catch (const ksimp::HostError& e) {
    if (*e.what() != '\0') fmt::print(stderr, "ksimp: {}\n", e.what());
    return e.exit_status;
  } catch (const std::exception& e) {
    fmt::print(stderr, "ksimp: {}\n", e.what());
    return 1;
  }
  return 0;
}
