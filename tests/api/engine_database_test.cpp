// The import run against a real engine database: who closes the database,
// and that what an importer adds is committed at the end of its file.
#include <gtest/gtest.h>

#include <string>

#include "api/import_session.h"
#include "core/error_codes.h"
#include "ks_eng5.h"
#include "stub_importer.h"
#include "write_file.h"

namespace {

class EngineDatabaseTest : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = (dir_.path() / "target.kst").string();
    ASSERT_NE(EngCreateDatabase(path_.c_str(), nullptr, nullptr, 0), 0);
    session_.SetImporterFactory(StubFactory(script_));
  }

  // Whether the engine still knows `database` as an open handle.
  static bool IsOpen(uint32_t database) {
    char name[1024];
    return EngGetDatabaseName(database, name, sizeof name) != 0;
  }
  uint32_t Open(uint32_t access) const {
    return EngOpenDatabase(path_.c_str(), access, KSENG_SHARE_READWRITE);
  }
  uint32_t ImportOneFile(uint32_t handle) {
    session_.queue().Append(QueuedFile(handle, "a.txt"));
    return session_.Import(handle, 0, 0, nullptr, nullptr);
  }

  TempDir dir_;
  std::string path_;
  StubScript script_;
  CImportSession session_;
};

TEST_F(EngineDatabaseTest, OnlyADatabaseOpenedByFileNameIsClosedWhenTheImportEnds) {
  const uint32_t handle = session_.InitImportUsingFileName(path_.c_str());
  ASSERT_NE(handle, 0u);
  const uint32_t opened = session_.handles().Find(handle)->database;
  ASSERT_TRUE(IsOpen(opened));
  ImportOneFile(handle);
  EXPECT_FALSE(IsOpen(opened));

  const uint32_t host = Open(KSENG_ACCESS_READWRITE);
  ASSERT_NE(host, 0u);
  ImportOneFile(session_.InitImportUsingFileHandle(host));
  EXPECT_TRUE(IsOpen(host));
  EngCloseDatabase(host);
}

TEST_F(EngineDatabaseTest, MissingDatabaseFileIsRefusedWith92) {
  EXPECT_EQ(session_.InitImportUsingFileName((dir_.path() / "none.kst").c_str()), 0u);
  EXPECT_EQ(session_.GetLastImportError(0), error_code::kCannotOpenDatabase);
}

TEST_F(EngineDatabaseTest, DocumentsAnImporterAddedAreCommittedAtTheEndOfItsFile) {
  const uint32_t database = Open(KSENG_ACCESS_READWRITE);
  ASSERT_NE(database, 0u);
  script_.while_running = [database](uint32_t, const SETDATA&) {
    char marker = '[';
    ASSERT_NE(EngBeginAdd(database, &marker), 0);
    ASSERT_EQ(
        EngAddDocument(database, "one\r\n", 1, 0, KSENG_KIND_TEXT, KSENG_LOC_END, 0, nullptr, 0),
        KSENG_STATUS_TAKEN);
    ASSERT_NE(EngSaveDocument(database, nullptr, nullptr, 1, nullptr), 0);
  };
  EXPECT_EQ(ImportOneFile(session_.InitImportUsingFileHandle(database)), 1u);

  // A second connection sees only committed documents.
  const uint32_t reader = Open(KSENG_ACCESS_READ);
  ASSERT_NE(reader, 0u);
  EXPECT_EQ(EngCountDocuments(reader, KSENG_WALK_DOCUMENTS), 1u);
  EngCloseDatabase(reader);
  EngCloseDatabase(database);
}

}  // namespace
