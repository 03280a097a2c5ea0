// The README's list of the file types that import today is the file-type
// table's: a row that gains or loses its importer changes the list, and this
// test prints the list the README must hold.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "registry/file_type_table.h"

namespace ks::registry {
namespace {

constexpr std::string_view kBegin = "<!-- file types: begin -->\n";
constexpr std::string_view kEnd = "<!-- file types: end -->";

// The display name without its "(*.txt)" part, which Markdown would read as
// emphasis.
std::string NameOnly(std::string_view name) {
  name = name.substr(0, name.find(" ("));
  while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
  return std::string(name);
}

// One table row per offered type whose importer is built.
std::string ListFromTable() {
  std::string list = "| Type | `--type` | Number | Extensions |\n|---|---|---:|---|\n";
  for (const FileTypeRow& row : FileTypeRows()) {
    if (row.offered == Offered::kNo) continue;
    const FileTypeRow* reader = FindFileType(ImportedAs(row.number));
    if (reader == nullptr || reader->create == nullptr) continue;
    std::string extensions;
    std::istringstream words{std::string(row.extensions)};
    for (std::string word; words >> word;) {
      extensions += (extensions.empty() ? "`." : ", `.") + word + "`";
    }
    list += "| " + NameOnly(row.display_name) + " | `" + std::string(row.short_name) + "` | " +
            std::to_string(row.number) + " | " + extensions + " |\n";
  }
  return list;
}

TEST(ReadmeTypesTest, ListsTheTypesWhoseImporterIsBuilt) {
  std::ifstream file(std::string(KS_SOURCE_DIR) + "/README.md");
  ASSERT_TRUE(file) << "README.md not found";
  std::stringstream text;
  text << file.rdbuf();
  const std::string readme = text.str();
  const size_t begin = readme.find(kBegin);
  const size_t end = readme.find(kEnd);
  ASSERT_NE(begin, std::string::npos);
  ASSERT_NE(end, std::string::npos);
  const std::string listed = readme.substr(begin + kBegin.size(), end - begin - kBegin.size());
  EXPECT_EQ(listed, ListFromTable()) << "the README should list:\n" << ListFromTable();
}

}  // namespace
}  // namespace ks::registry
