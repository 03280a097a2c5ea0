// The import frame seen from a session a test builds itself: a real importer
// reports its progress, documents and errors to that session and to nothing
// else, and whatever an importer throws leaves the run in order.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "api/import_session.h"
#include "api/ks_imp_app.h"
#include "api/session_import_context.h"
#include "api/stub_importer.h"
#include "api/write_file.h"
#include "core/error_codes.h"
#include "importers/text/text_import.h"
#include "ks_eng5.h"
#include "ks_imp.h"
#include "temp_dir.h"

namespace {

class ImportFrameTest : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = dir_.file("target.kst");
    ASSERT_NE(EngCreateDatabase(path_.c_str(), nullptr, nullptr, 0), 0);
  }

  SETDATA TextFile(uint32_t handle, const std::string& name) const {
    SETDATA options;
    options.import_handle = handle;
    options.file_name = name;
    options.file_type = KSIMP_TYPE_TEXT;
    options.file_origin_ansi = 1;
    options.import_location = KSIMP_LOC_END;
    options.delimiter_flags = KSIMP_DELIM_BLANK_LINE;
    return options;
  }

  uint64_t DocumentsIn(uint32_t database) { return EngCountDocuments(database, KSENG_KIND_TEXT); }

  TempDir dir_;
  std::string path_;
  CImportSession session_;
};

TEST_F(ImportFrameTest, ARealImporterReportsToTheSessionThatRunsItAndToNoOther) {
  const uint32_t database =
      EngOpenDatabase(path_.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
  ASSERT_NE(database, 0u);
  const uint32_t handle = session_.InitImportUsingFileHandle(database);
  const std::string text = "one\r\n\r\ntwo\r\n\r\nthree\r\n";
  const std::string source = WriteFile(dir_, "notes.txt", text);

  SessionImportContext context(session_, handle, database, TextFile(handle, source));
  CIMPTextImport importer;
  ASSERT_EQ(importer.Prepare(context), 1);
  EXPECT_EQ(importer.Run(), 1);
  EXPECT_EQ(session_.handles().DocumentsAdded(handle), 3u);
  EXPECT_EQ(session_.handles().CurrentBytes(handle), text.size());
  EXPECT_EQ(CKS_ImpApp::Instance().Session().handles().DocumentsAdded(handle), 0u);

  // A file that cannot be opened: the error and its log line are this
  // session's.
  SessionImportContext missing(session_, handle, database, TextFile(handle, dir_.file("no.txt")));
  CIMPTextImport refused;
  EXPECT_EQ(refused.Prepare(missing), 0);
  EXPECT_EQ(session_.GetLastImportError(handle), KSIMP_ERR_OPEN_FILE);
  EXPECT_TRUE(session_.IsLogData(handle));
  EXPECT_EQ(CKS_ImpApp::Instance().Session().GetLastImportError(handle), KSIMP_ERR_INTERNAL);
  EXPECT_FALSE(CKS_ImpApp::Instance().Session().IsLogData(handle));
  session_.ReleaseHandle(handle);
  EngCloseDatabase(database);
}

// Stores two whole documents, begins a third and then throws.
class ThrowingImporter : public CIMPImportBase {
 public:
  int CheckFile(const std::string&) override { return 1; }
  int IntegerProperty() const override { return 0; }

 protected:
  int ImportSource() override {
    SaveDocument("first", 1);
    SaveDocument("second", 2);
    SavePiece("third, never finished", false, 3);
    throw std::runtime_error("the reading thread failed");
  }
};

TEST_F(ImportFrameTest, AnImporterThatThrowsLeavesTheRunInOrder) {
  session_.SetImporterFactory([](int32_t) {
    CreatedImporter created;
    created.outcome = CreatedImporter::Outcome::kCreated;
    created.importer = std::make_unique<ThrowingImporter>();
    return created;
  });
  const uint32_t handle = session_.InitImportUsingFileName(path_.c_str());
  ASSERT_NE(handle, 0u);
  const uint32_t opened = session_.handles().Find(handle)->database;
  ASSERT_TRUE(session_.queue().Append(QueuedFile(handle, WriteFile(dir_, "a.txt", "x"))));

  uint32_t added = 99;
  EXPECT_EQ(session_.Import(handle, 0, 0, nullptr, &added), 0u);
  EXPECT_EQ(session_.GetLastImportError(handle), KSIMP_ERR_INTERNAL);
  EXPECT_FALSE(session_.handles().Exists(handle));
  EXPECT_EQ(session_.queue().Count(handle), 0u);
  char name[1024];
  EXPECT_EQ(EngGetDatabaseName(opened, name, sizeof name), 0) << "the database stays open";

  // What was whole is in the file; the document begun is not.
  const uint32_t reopened =
      EngOpenDatabase(path_.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READWRITE);
  ASSERT_NE(reopened, 0u);
  EXPECT_EQ(DocumentsIn(reopened), 2u);
  EngCloseDatabase(reopened);
}

}  // namespace
