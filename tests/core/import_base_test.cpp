// The importer base: what Prepare keeps and the values the run hands over.
#include "core/import_base.h"

#include <gtest/gtest.h>

namespace {

class MinimalImporter : public CIMPImportBase {
 public:
  int CheckFile(const std::string&) override { return 1; }
  int Run(uint32_t) override { return 1; }
  int IntegerProperty() const override { return 0; }
  using CIMPImportBase::ImportHandle;
  using CIMPImportBase::Options;
};

TEST(ImportBase, PrepareKeepsHandleAndRecordWhileCarryAndFirstFileStartClearAndKeepWhatIsSet) {
  MinimalImporter importer;
  EXPECT_EQ(importer.GetCarry(), 0);
  EXPECT_FALSE(importer.IsFirstFile());
  SETDATA record;
  record.file_name = "a.txt";
  record.delimiter_flags = 2;
  EXPECT_EQ(importer.Prepare(77, record), 1);
  EXPECT_EQ(importer.ImportHandle(), 77u);
  EXPECT_EQ(importer.Options().file_name, "a.txt");
  EXPECT_EQ(importer.Options().delimiter_flags, 2);
  importer.SetCarry(-12);
  importer.SetFirstFile(true);
  EXPECT_EQ(importer.GetCarry(), -12);
  EXPECT_TRUE(importer.IsFirstFile());
}

}  // namespace
