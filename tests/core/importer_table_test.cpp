// The importer table: every importable type has a row, two types import
// without an importer, and nothing else is known.
#include "core/importer_table.h"

#include <gtest/gtest.h>

#include <set>

namespace {

TEST(ImporterTable, HasOneRowForEachImportableType) {
  const std::set<int32_t> expected = {7,    19,   21,   703,  770,  771,  1114, 108,  1000,
                                      1002, 1003, 1007, 1004, 1005, 1008, 1009, 1010, 1056,
                                      1057, 1058, 1059, 1060, 1061, 1062, 9999};
  std::set<int32_t> types;
  for (const ImporterRow& row : ImporterRows()) {
    EXPECT_TRUE(types.insert(row.file_type).second) << "duplicate row " << row.file_type;
  }
  EXPECT_EQ(types, expected);
}

TEST(ImporterTable, TypesWithoutAnImporterAreAccepted) {
  for (int32_t type : {1003, 1007}) {
    const CreatedImporter created = CreateImporterFromTable(type);
    EXPECT_EQ(created.outcome, CreatedImporter::Outcome::kAcceptedWithoutImporter) << type;
    EXPECT_FALSE(created.importer);
  }
}

TEST(ImporterTable, UnknownTypesAndRowsWhoseImporterIsNotBuiltCreateNothing) {
  for (int32_t type : {0, 1001, 1099, 1109, -1}) {
    EXPECT_EQ(FindImporterRow(type), nullptr) << type;
    EXPECT_EQ(CreateImporterFromTable(type).outcome, CreatedImporter::Outcome::kNoImporter) << type;
  }
  for (const ImporterRow& row : ImporterRows()) {
    if (row.create != nullptr || row.accepted_without_importer) continue;
    EXPECT_EQ(CreateImporterFromTable(row.file_type).outcome, CreatedImporter::Outcome::kNoImporter)
        << row.file_type;
  }
}

}  // namespace
