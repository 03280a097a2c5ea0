// The default file-type list: its order and texts, and the two entries that
// depend on what is installed.  What an option mask does to a queued source
// is add_file_to_import_test's.
#include "registry/default_filters.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "core/option_mask.h"

namespace ks::core {
namespace {

using enum ImportOption;

const InstalledHelpers kNothingInstalled{};
const InstalledHelpers kVisualFoxPro{false, FoxProDriver::kVisualFoxPro};

std::vector<int32_t> FileTypesOf(const std::vector<ImportFilter>& filters) {
  std::vector<int32_t> types;
  for (const auto& f : filters) types.push_back(f.file_type);
  return types;
}

const ImportFilter& FilterOf(const std::vector<ImportFilter>& filters, int32_t file_type) {
  for (const auto& f : filters) {
    if (f.file_type == file_type) return f;
  }
  throw std::out_of_range("no filter for type " + std::to_string(file_type));
}

TEST(DefaultFilters, ListsTheTypesInTheOrderShownToUsersWithFoxProOnlyWhenADriverIsThere) {
  const std::vector<int32_t> without_foxpro = {1000, 1002, 1010, 1005, 1060, 1004, 108,
                                               1056, 1057, 19,   1058, 1059, 1061};
  EXPECT_EQ(FileTypesOf(DefaultImportFilters(kNothingInstalled)), without_foxpro);
  // The driver decides the FoxPro entry's type and extensions: tables and
  // databases (1114) for Visual FoxPro, tables only (1109) for the older one.
  const struct {
    FoxProDriver driver;
    int32_t file_type;
    const char* extensions;
  } drivers[] = {{FoxProDriver::kVisualFoxPro, 1114, "dbf dbc"},
                 {FoxProDriver::kFoxPro, 1109, "dbf"}};
  for (const auto& d : drivers) {
    const auto filters = DefaultImportFilters({false, d.driver});
    std::vector<int32_t> expected = without_foxpro;
    expected.insert(expected.begin() + 10, d.file_type);
    ASSERT_EQ(FileTypesOf(filters), expected);
    EXPECT_EQ(filters[10].name, "Microsoft FoxPro, Visual FoxPro (*.dbf, *.dbc)");
    EXPECT_EQ(filters[10].extensions, d.extensions);
    EXPECT_EQ(filters[10].option_mask, 123u);
  }
}

TEST(DefaultFilters, OddTextsAreKeptAsUsersKnowThem) {
  // Trailing and double blanks, "Thses", "This are", "sperated" and the
  // missing comma before "*.txt" all belong to the texts.
  const auto filters = DefaultImportFilters(kVisualFoxPro);
  EXPECT_EQ(FilterOf(filters, 1002).name, "Kestro DOS (*.txt) ");
  EXPECT_EQ(FilterOf(filters, 1002).description,
            "ASCII files that were exported from Kestro using the Kestro Dos file type.  These "
            "files contain special characters that indicate where documents are to end when "
            "imported.");
  EXPECT_EQ(FilterOf(filters, 1004).name, "Text Delimited (*.csv, *.dat, *.prn *.txt)");
  // The delimited description keeps its known beginning and may go on.
  const std::string beginning =
      "ASCII text files that contain fielded information.  Fields could be sperated (delimited) "
      "by a comma, a tab, a space, or a character you define.  Fields could also";
  const std::string& delimited = FilterOf(filters, 1004).description;
  EXPECT_EQ(delimited.substr(0, beginning.size()), beginning);
  EXPECT_GT(delimited.size(), beginning.size() + 1);
  EXPECT_EQ(delimited.back(), '.');
  EXPECT_EQ(FilterOf(filters, 1056).description,
            "These are Word files. This includes Word for  Windows 95, Word 97, and Word 2000.  ");
  EXPECT_EQ(FilterOf(filters, 19).description.substr(0, 6), "Thses ");
  EXPECT_EQ(FilterOf(filters, 1114).description,
            "This are Microsoft FoxPro and Visual FoxPro data base files.");
}

TEST(DefaultFilters, FilterProgramAddsUseFilterToTheMarkedTypesOnly) {
  const auto plain = DefaultImportFilters(kVisualFoxPro);
  const auto with_program = DefaultImportFilters({true, FoxProDriver::kVisualFoxPro});
  const std::vector<int32_t> marked = {1000, 1005, 1060, 1004, 108, 19};
  ASSERT_EQ(plain.size(), with_program.size());
  for (size_t i = 0; i < plain.size(); ++i) {
    const bool is_marked =
        std::find(marked.begin(), marked.end(), plain[i].file_type) != marked.end();
    EXPECT_FALSE(Offers(plain[i].option_mask, kUseFilter)) << plain[i].name;
    EXPECT_EQ(with_program[i].option_mask, plain[i].option_mask | (is_marked ? 2048u : 0u))
        << plain[i].name;
  }
}

}  // namespace
}  // namespace ks::core
