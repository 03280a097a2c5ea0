// ksimp settings write / show: the import wizard's settings files, from the
// command line.
#include <fmt/format.h>

#include <memory>

#include "column_header_flags.h"
#include "commands.h"
#include "database.h"
#include "ks_imp.h"

namespace ksimp {

void AddSettingsCommand(CLI::App& parent) {
  CLI::App* cmd = parent.add_subcommand("settings", "Write or show import settings files (.ksi)");
  cmd->require_subcommand(1);

  struct WriteOptions {
    std::string path;
    std::string names_from;  // a delimited file whose first row names the columns
    ColumnHeaderFlags flags;
  };
  auto write = std::make_shared<WriteOptions>();
  CLI::App* write_cmd =
      cmd->add_subcommand("write", "Save the columns the flags describe as a settings file");
  write_cmd->add_option("FILE.ksi", write->path, "Settings file to write")->required();
  write->flags.AddTo(*write_cmd, /*for_import=*/false);
  write_cmd
      ->add_option("--names-from", write->names_from,
                   "Delimited file whose first row names the columns")
      ->excludes("--names")
      ->excludes("--columns")
      ->excludes("--widths");
  write_cmd->callback([write] {
    const bool from_file = !write->names_from.empty();
    const std::string header = from_file
                                   ? write->flags.ColumnHeaderFromFirstRow(write->names_from, true)
                                   : write->flags.ColumnHeader();
    if (header.empty())
      throw HostError("describe the columns with --columns, --names or --widths", 2);
    RequireValidColumnHeader(header);
    const uint32_t code = KSIMP_WriteSettingsFile(write->path.c_str(), header.c_str());
    if (code != 0) throw HostError(fmt::format("cannot write {} (error {})", write->path, code));
    fmt::print("Wrote {}\n", write->path);
    if (write->flags.first_row || from_file) {
      fmt::print(stderr,
                 "note: a settings file does not keep the first row; give --first-row again "
                 "when you import with it.\n");
    }
  });

  auto show_path = std::make_shared<std::string>();
  CLI::App* show_cmd =
      cmd->add_subcommand("show", "Print the column header string a settings file yields");
  show_cmd->add_option("FILE.ksi", *show_path, "Settings file to read")->required();
  show_cmd->callback([show_path] {
    ColumnHeaderFlags flags;
    flags.settings = *show_path;
    std::string header = flags.ColumnHeader();
    for (size_t at; (at = header.find("\r\n")) != std::string::npos;) header.replace(at, 2, "\n");
    fmt::print("{}", header);
    if (!header.empty() && header.back() != '\n') fmt::print("\n");
    const uint32_t code = KSIMP_CheckColumnHeader(flags.ColumnHeader().c_str());
    if (code != 0) {
      std::vector<char> text(4096);
      KSIMP_ImportErrorToString(code, text.data(), static_cast<int32_t>(text.size()));
      fmt::print(stderr, "This column header string does not parse: message {}: {}\n", code,
                 text.data());
    }
  });
}

}  // namespace ksimp
