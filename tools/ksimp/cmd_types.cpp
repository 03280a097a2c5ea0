// ksimp types: every file type the import library offers here, with its
// number, short name, extensions, description and the options it offers.
#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "commands.h"
#include "database.h"
#include "import_options.h"
#include "json_text.h"
#include "ks_imp.h"

namespace ksimp {
namespace {

struct FileType {
  int32_t number = 0;
  uint32_t mask = 0;
  std::string name, extensions, description;
  std::vector<std::string> options;
};

std::vector<std::string> OptionLabels(uint32_t mask) {
  std::vector<std::string> labels;
  for (uint32_t bit = 1; bit <= KSIMP_OPT_FILTER; bit <<= 1) {
    char label[256] = {};
    if ((mask & bit) && KSIMP_GetOptionLabel(bit, label, sizeof label)) labels.push_back(label);
  }
  return labels;
}

std::vector<FileType> OfferedTypes() {
  const uint32_t count = KSIMP_GetFileTypeCount();
  if (count == 0) {
    std::vector<char> reason(4096);
    const bool have = KSIMP_GetLogData(0, reason.data(), static_cast<int32_t>(reason.size())) != 0;
    throw HostError(have ? std::string(reason.data()) : "no file types are available");
  }
  std::vector<FileType> types;
  for (uint32_t i = 0; i < count; ++i) {
    FileType t;
    std::vector<char> name(1024), extensions(1024), description(8192);
    if (!KSIMP_GetFileTypeInfo(i, &t.number, &t.mask, name.data(), 1024, extensions.data(), 1024,
                               description.data(), 8192)) {
      continue;
    }
    t.name = name.data();
    t.extensions = extensions.data();
    t.description = description.data();
    t.options = OptionLabels(t.mask);
    types.push_back(std::move(t));
  }
  return types;
}

}  // namespace

void AddTypesCommand(CLI::App& parent) {
  auto json = std::make_shared<bool>(false);
  CLI::App* cmd = parent.add_subcommand("types", "List the file types that can be imported");
  cmd->add_flag("--json", *json, "One JSON object per type and line");
  cmd->callback([json] {
    const std::vector<FileType> types = OfferedTypes();
    for (const FileType& t : types) {
      const std::string short_name = FileTypeShortName(t.number);
      if (*json) {
        std::string options;
        for (const auto& o : t.options) options += (options.empty() ? "" : ",") + JsonString(o);
        fmt::print(
            "{{\"number\":{},\"short_name\":{},\"name\":{},\"extensions\":{},"
            "\"description\":{},\"option_mask\":{},\"options\":[{}]}}\n",
            t.number, JsonString(short_name), JsonString(t.name), JsonString(t.extensions),
            JsonString(t.description), t.mask, options);
        continue;
      }
      fmt::print("{:>5}  {:<7} {}\n", t.number, short_name, t.name);
      fmt::print("       extensions: {}\n", t.extensions);
      fmt::print("       {}\n", t.description);
      std::string options;
      for (const auto& o : t.options) options += (options.empty() ? "" : ", ") + o;
      fmt::print("       options: {}\n\n", options);
    }
    if (*json) return;
    // Types outside the list, which a host names: table files, fixed-width
    // text, Maildir folders, single messages.
    std::string others;
    char name[256];
    int32_t number = 0;
    for (uint32_t i = 0; KSIMP_GetFileTypeShortName(i, &number, name, sizeof name) != 0; ++i) {
      const bool listed = std::any_of(types.begin(), types.end(),
                                      [number](const FileType& t) { return t.number == number; });
      if (!listed) others += fmt::format("{}{} ({})", others.empty() ? "" : ", ", name, number);
    }
    if (!others.empty()) fmt::print("Also imported when named with --type: {}\n", others);
  });
}

}  // namespace ksimp
