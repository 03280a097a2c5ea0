// The file-type table: one row per type, the importer lookup of the run and
// the short names hosts type.
#include "registry/file_type_table.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "ks_imp.h"

namespace ks::registry {
namespace {

TEST(FileTypeTable, NumbersAndShortNamesAreUniqueAndOnlyOfferedRowsHaveTexts) {
  std::set<int32_t> numbers;
  std::set<std::string> short_names;
  for (const FileTypeRow& row : FileTypeRows()) {
    EXPECT_TRUE(numbers.insert(row.number).second) << "duplicate row " << row.number;
    if (!row.short_name.empty()) {
      EXPECT_TRUE(short_names.insert(std::string(row.short_name)).second) << row.short_name;
    }
    EXPECT_EQ(row.offered == Offered::kNo, row.display_name.empty()) << row.number;
  }
}

// The aliases' mapping is checked through the run (import_run_test.cpp).
TEST(FileTypeTable, TheRunCreatesOnlyWhatIsBuilt) {
  for (int32_t type : {KSIMP_TYPE_ACCEPTED_1003, KSIMP_TYPE_ACCEPTED_1007}) {
    const CreatedImporter created = CreateImporterFromTable(type);
    EXPECT_EQ(created.outcome, CreatedImporter::Outcome::kAcceptedWithoutImporter) << type;
    EXPECT_FALSE(created.importer);
  }
  // 1001 and the plain FoxPro entry's type have no importer: the run ends.
  for (int32_t type : {0, 1001, KSIMP_TYPE_FOXPRO, -1}) {
    EXPECT_EQ(CreateImporterFromTable(type).outcome, CreatedImporter::Outcome::kNoImporter) << type;
  }
  for (int32_t type : {KSIMP_TYPE_TEXT, KSIMP_TYPE_DELIMITED, KSIMP_TYPE_FIXED_WIDTH,
                       KSIMP_TYPE_MBX, KSIMP_TYPE_PDF}) {
    EXPECT_EQ(CreateImporterFromTable(type).outcome, CreatedImporter::Outcome::kCreated) << type;
  }
}

TEST(FileTypeTable, ShortNamesAreFoundInAnyCase) {
  ASSERT_NE(FindFileTypeByShortName("CSV"), nullptr);
  EXPECT_EQ(FindFileTypeByShortName("CSV")->number, KSIMP_TYPE_DELIMITED);
  EXPECT_EQ(FindFileTypeByShortName("fixed")->number, KSIMP_TYPE_FIXED_WIDTH);
  EXPECT_EQ(FindFileTypeByShortName(""), nullptr);
  EXPECT_EQ(FindFileTypeByShortName("csvx"), nullptr);
}

}  // namespace
}  // namespace ks::registry
