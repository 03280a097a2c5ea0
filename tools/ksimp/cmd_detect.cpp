// ksimp detect: the file type the import library finds each file to be, by
// its first bytes and, for databases, by opening it.  One line a file:
// "FILE: TYPE (name)", or "FILE: 0 (no importable type)".  Exit status 1
// when a file is not there or is not a regular file, else 0.
#include <fmt/format.h>
#include <sys/stat.h>

#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "database.h"
#include "type_check.h"

namespace ksimp {

void AddDetectCommand(CLI::App& parent) {
  auto files = std::make_shared<std::vector<std::string>>();
  CLI::App* cmd = parent.add_subcommand(
      "detect", "Say which file type each file is, as the import library recognises it");
  cmd->add_option("FILE", *files, "Files to look at")->required();
  cmd->callback([files] {
    bool all_there = true;
    for (const std::string& file : *files) {
      struct stat info {};
      if (::stat(file.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
        fmt::print(stderr, "ksimp: {}: no such file\n", file);
        all_there = false;
        continue;
      }
      const DetectedType detected = DetectFileType(file);
      if (!detected.sharing_message.empty()) fmt::print(stderr, "ksimp: {}\n", detected.sharing_message);
      fmt::print("{}: {}\n", file, DescribeType(detected.type));
    }
    if (!all_there) throw HostError("", 1);
  });
}

}  // namespace ksimp
