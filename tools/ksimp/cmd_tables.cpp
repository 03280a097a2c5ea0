// ksimp tables: the tables of a table file or an ODBC data source and their
// columns, as the table dialogs show them before an import.
#include <fmt/format.h>

#include <memory>
#include <string_view>
#include <vector>

#include "commands.h"
#include "database.h"
#include "import_options.h"
#include "import_report.h"
#include "ks_imp.h"
#include "table_sources.h"

namespace ksimp {
namespace {

struct TablesCommand {
  std::string source;
  std::string type;
  std::string odbc;

  void Run() {
    if (source.empty() == odbc.empty()) throw HostError("give either FILE or --odbc", 2);
    int32_t file_type = KSIMP_TYPE_ODBC;
    std::string connection = odbc;
    if (!source.empty()) {
      file_type = type.empty() ? TableTypeForPath(source) : ParseFileType(type);
      if (!IsTableType(file_type)) {
        throw HostError(fmt::format("{} is no table file: give --type access, excel, dbase, "
                                    "foxpro or paradox",
                                    source),
                        2);
      }
      connection = TableConnectionString(file_type, source);
    }
    std::vector<char> buffer(1 << 16);
    uint32_t message = 0;
    while (!KSIMP_GetTableList(file_type, connection.c_str(), buffer.data(),
                               static_cast<int32_t>(buffer.size()), &message)) {
      if (message == KSIMP_ERR_INTERNAL && buffer.size() < (size_t{1} << 26)) {
        buffer.resize(buffer.size() * 4);  // a source with many tables or columns
        continue;
      }
      std::string text = ImportErrorText(message);
      if (const size_t at = text.find("%1"); at != std::string::npos) {
        text.replace(at, 2, source.empty() ? connection : source);
      }
      const std::string detail = buffer.data();
      throw HostError(detail.empty() || detail == text ? text : text + "\n" + detail);
    }
    // One line per table: its name, then a tab before each column's name.
    std::string_view lines = buffer.data();
    while (!lines.empty()) {
      const size_t end = lines.find('\n');
      std::string_view line = lines.substr(0, end);
      lines.remove_prefix(end == std::string_view::npos ? lines.size() : end + 1);
      size_t tab = line.find('\t');
      fmt::print("{}\n", line.substr(0, tab));
      while (tab != std::string_view::npos) {
        line.remove_prefix(tab + 1);
        tab = line.find('\t');
        fmt::print("  {}\n", line.substr(0, tab));
      }
    }
  }
};

}  // namespace

void AddTablesCommand(CLI::App& parent) {
  auto command = std::make_shared<TablesCommand>();
  CLI::App* cmd = parent.add_subcommand(
      "tables", "List the tables of a table file or an ODBC data source, with their columns");
  cmd->add_option("FILE", command->source, "An Access, Excel, dBase, FoxPro or Paradox file");
  cmd->add_option("--type", command->type,
                  "access, excel, dbase, foxpro or paradox (default: by the extension)");
  cmd->add_option("--odbc", command->odbc,
                  "An ODBC connection string instead of a file: DSN=name, or "
                  "DRIVER={name};...");
  cmd->callback([command] { command->Run(); });
}

}  // namespace ksimp
