// The host's commands.  Each adds one subcommand to the command line; its
// callback does the work and throws HostError to report a failure.
#pragma once

#include <CLI/CLI.hpp>

namespace ksimp {

using CommandSetup = void (*)(CLI::App& parent);

void AddCreateCommand(CLI::App& parent);
void AddAddCommand(CLI::App& parent);
void AddImportCommand(CLI::App& parent);
void AddTypesCommand(CLI::App& parent);
void AddTablesCommand(CLI::App& parent);
void AddSettingsCommand(CLI::App& parent);
void AddFormCommand(CLI::App& parent);
void AddDocsCommand(CLI::App& parent);
void AddShowCommand(CLI::App& parent);
void AddSearchCommand(CLI::App& parent);
void AddExportCommand(CLI::App& parent);
void AddProfileCommand(CLI::App& parent);
void AddDetectCommand(CLI::App& parent);

}  // namespace ksimp
