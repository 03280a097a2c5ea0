// Creating and opening database files: every refusal has its documented
// error code and leaves the file exactly as it was; a read-only handle never
// writes the file nor creates any file beside it.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "engine_test_support.h"

namespace ks::engine::test {
namespace {

using Files = std::set<std::string>;

class OpenTest : public EngineTest {
 protected:
  // Opens `path` both ways; each must fail with `error`, leave the bytes as
  // they were and create no file.
  void ExpectRefused(const std::string& path, uint32_t error) {
    bool existed = access(path.c_str(), F_OK) == 0;
    std::string before = existed ? ReadFile(path) : "";
    Files files = ListFolder(Folder());
    for (int32_t access_mode : {KSENG_ACCESS_READ, KSENG_ACCESS_READWRITE}) {
      SCOPED_TRACE(access_mode);
      EXPECT_FAILS(EngOpenDatabase(path.c_str(), access_mode, KSENG_SHARE_READ), 0u, error);
      if (existed) {
        EXPECT_EQ(ReadFile(path), before);
      }
      EXPECT_EQ(ListFolder(Folder()), files);
    }
  }

  // A database with a few documents of every sort, committed and closed.
  void MakePopulatedDatabase(const std::string& path) {
    uint32_t db = CreateAndOpen(path);
    ASSERT_NE(AddDocument(db, "alpha beta\r\n"), 0u);
    ASSERT_NE(AddDocument(db, "gamma delta\r\n"), 0u);
    const char* fields[] = {"Name"};
    uint64_t form = EngCreateForm(db, "Person", fields, 1);
    uint64_t entry = 0;
    ASSERT_EQ(EngOp251(db, form, &entry, 0, "note", KSENG_LOC_END, 0), 1);
    ASSERT_EQ(WriteFields(db, entry, {Field("Name", "Ann")}), 1);
    ASSERT_EQ(EngCloseDatabase(db), 1);
  }
};

TEST_F(OpenTest, CreatedDatabaseIsMarkedAsOursAndOpensEmptyBothWaysButNotInABadMode) {
  std::string path = Path();
  ASSERT_EQ(EngCreateDatabase(path.c_str(), nullptr, nullptr, 0), 1) << LastError();
  for (int32_t access_mode : {KSENG_ACCESS_READ, KSENG_ACCESS_READWRITE}) {
    uint32_t db = EngOpenDatabase(path.c_str(), access_mode, KSENG_SHARE_READWRITE);
    ASSERT_NE(db, 0u) << LastError();
    EXPECT_EQ(EngCountDocuments(db, KSENG_WALK_DOCUMENTS), 0u);
    EXPECT_EQ(EngFirstDocument(db, KSENG_WALK_DOCUMENTS), 0u);
    EXPECT_EQ(EngCloseDatabase(db), 1);
  }
  EXPECT_EQ(ListFolder(Folder()), Files{"test.kst"});
  using Rows = std::vector<std::vector<int64_t>>;
  EXPECT_EQ(QueryFile(path, "PRAGMA application_id"), Rows{{0x4B535435}});
  EXPECT_EQ(QueryFile(path, "PRAGMA user_version"), Rows{{2}});
  EXPECT_FAILS(EngOpenDatabase(path.c_str(), 3, KSENG_SHARE_READ), 0u, KSENG_ERR_ARGUMENT);
  EXPECT_FAILS(EngOpenDatabase(path.c_str(), KSENG_ACCESS_READ, 0), 0u, KSENG_ERR_ARGUMENT);
  EXPECT_FAILS(EngOpenDatabase(nullptr, KSENG_ACCESS_READ, KSENG_SHARE_READ), 0u,
               KSENG_ERR_ARGUMENT);
}

TEST_F(OpenTest, CreateRefusesAMissingFolderAndAnExistingFileUnlessToldToReplaceIt) {
  EXPECT_FAILS(EngCreateDatabase(Path("missing/test.kst").c_str(), nullptr, nullptr, 0), 0,
               KSENG_ERR_NOT_FOUND);
  EXPECT_TRUE(ListFolder(Folder()).empty());

  std::string path = Path();
  WriteFile(path, "keep me");
  EXPECT_FAILS(EngCreateDatabase(path.c_str(), nullptr, nullptr, 0), 0, KSENG_ERR_EXISTS);
  EXPECT_EQ(ReadFile(path), "keep me");
  ASSERT_EQ(EngCreateDatabase(path.c_str(), nullptr, nullptr, 1), 1) << LastError();
  uint32_t db = OpenForReading(path);
  EXPECT_NE(db, 0u) << LastError();
  EngCloseDatabase(db);
  EXPECT_EQ(ListFolder(Folder()), Files{"test.kst"});
}

TEST_F(OpenTest, WhatIsNotOneOfOurDatabasesIsRefusedWithItsOwnErrorAndLeftAlone) {
  ExpectRefused(Path("absent.kst"), KSENG_ERR_NOT_FOUND);  // and it is not created
  ASSERT_EQ(mkdir(Path("folder.kst").c_str(), 0755), 0);
  WriteFile(Path("notes.kst"), std::string(4096, 'x'));
  WriteFile(Path("empty.kst"), "");
  sqlite3* raw = nullptr;
  ASSERT_EQ(sqlite3_open(Path("other.db").c_str(), &raw), SQLITE_OK);
  ASSERT_EQ(
      sqlite3_exec(raw, "CREATE TABLE t(x); INSERT INTO t VALUES(1);", nullptr, nullptr, nullptr),
      SQLITE_OK);
  sqlite3_close(raw);
  MakePopulatedDatabase(Path("newer.kst"));
  std::string bytes = ReadFile(Path("newer.kst"));
  bytes[63] = 3;  // user_version, big-endian at offset 60
  WriteFile(Path("newer.kst"), bytes);
  const std::pair<const char*, uint32_t> cases[] = {{"folder.kst", KSENG_ERR_NOT_DATABASE},
                                                    {"notes.kst", KSENG_ERR_NOT_DATABASE},
                                                    {"empty.kst", KSENG_ERR_NOT_DATABASE},
                                                    {"other.db", KSENG_ERR_FOREIGN},
                                                    {"newer.kst", KSENG_ERR_VERSION}};
  for (auto [file, error] : cases) {
    SCOPED_TRACE(file);
    ExpectRefused(Path(file), error);
  }
}

TEST_F(OpenTest, WriteProtectedFileOpensOnlyForReadingAndAnUnreadableOneNotAtAll) {
  std::string path = Path();
  MakePopulatedDatabase(path);
  std::string before = ReadFile(path);
  // A write-protected file opens only for reading.
  ASSERT_EQ(chmod(path.c_str(), 0444), 0);
  EXPECT_TRUE(AsOrdinaryUser(Folder(), [&] {
    if (EngOpenDatabase(path.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READ) != 0) return false;
    if (EngLastError(0) != KSENG_ERR_ACCESS) return false;
    uint32_t db = OpenForReading(path);
    bool ok = db != 0 && EngCountDocuments(db, KSENG_WALK_DOCUMENTS) == 3;
    EngCloseDatabase(db);
    return ok;
  }));
  EXPECT_EQ(ReadFile(path), before);
  // Nor is an unreadable one opened any way.
  ASSERT_EQ(chmod(path.c_str(), 0), 0);
  EXPECT_TRUE(AsOrdinaryUser(Folder(), [&] {
    for (int32_t access_mode : {KSENG_ACCESS_READ, KSENG_ACCESS_READWRITE}) {
      if (EngOpenDatabase(path.c_str(), access_mode, KSENG_SHARE_READ) != 0) return false;
      if (EngLastError(0) != KSENG_ERR_ACCESS) return false;
    }
    return true;
  }));
  ASSERT_EQ(chmod(path.c_str(), 0600), 0);
  EXPECT_EQ(ReadFile(path), before);
  EXPECT_EQ(ListFolder(Folder()), Files{"test.kst"});
}

TEST_F(OpenTest, ReadOnlyHandleLeavesTheFileByteIdenticalAndCreatesNoFiles) {
  std::string path = Path();
  MakePopulatedDatabase(path);
  std::string before = ReadFile(path);
  struct stat info_before {};
  ASSERT_EQ(stat(path.c_str(), &info_before), 0);

  uint32_t db = OpenForReading(path);
  ASSERT_NE(db, 0u) << LastError();
  std::vector<uint64_t> ids = WalkIds(db);
  ASSERT_EQ(ids.size(), 3u);
  EXPECT_EQ(Search(db, "gamma"), std::vector<uint64_t>{ids[1]});
  EXPECT_EQ(Search(db, "ann"), std::vector<uint64_t>{ids[2]});
  int32_t half_points = 0;
  EXPECT_EQ(EngOp27(db, &half_points), 1);
  EXPECT_EQ(EngGetFieldCount(db, ids[2]), 1u);
  EXPECT_EQ(EngSetCurrentDocument(db, ids[1]), 1);  // the current document is the handle's own

  // Writes are refused.
  char marker = 0;
  EXPECT_FAILS(EngBeginAdd(db, &marker), 0, KSENG_ERR_READONLY);
  EXPECT_FAILS(AddPiece(db, "x"), 0, KSENG_ERR_READONLY);
  EXPECT_FAILS(EngSetDocumentName(db, ids[0], "name"), 0, KSENG_ERR_READONLY);
  EXPECT_FAILS(EngSetFieldMarker(db, '#'), 0, KSENG_ERR_READONLY);
  EXPECT_EQ(ListFolder(Folder()), Files{"test.kst"});
  EXPECT_EQ(EngCloseDatabase(db), 1);

  EXPECT_EQ(ReadFile(path), before);
  struct stat info_after {};
  ASSERT_EQ(stat(path.c_str(), &info_after), 0);
  EXPECT_EQ(info_after.st_mtim.tv_sec, info_before.st_mtim.tv_sec);
  EXPECT_EQ(info_after.st_mtim.tv_nsec, info_before.st_mtim.tv_nsec);
  EXPECT_EQ(ListFolder(Folder()), Files{"test.kst"});
}

TEST_F(OpenTest, DatabaseNameIsTheFullPathAndNeedsASpareByte) {
  std::string path = Path();
  ASSERT_EQ(EngCreateDatabase(path.c_str(), nullptr, nullptr, 0), 1);
  // Open through a relative path: the name is still absolute.
  char cwd[4096];
  ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
  ASSERT_EQ(chdir(Folder().c_str()), 0);
  uint32_t db = OpenForReading("./test.kst");
  ASSERT_EQ(chdir(cwd), 0);
  ASSERT_NE(db, 0u) << LastError();

  char real[4096];
  ASSERT_NE(realpath(path.c_str(), real), nullptr);
  std::string expected = real;
  std::vector<char> buffer(expected.size() + 2, '#');
  // Path plus terminator exactly filling the buffer is not enough.
  EXPECT_FAILS(EngGetDatabaseName(db, buffer.data(), static_cast<uint32_t>(expected.size() + 1)), 0,
               KSENG_ERR_BUFFER);
  EXPECT_EQ(buffer[0], '#');
  EXPECT_EQ(EngGetDatabaseName(db, buffer.data(), static_cast<uint32_t>(buffer.size())), 1);
  EXPECT_EQ(std::string(buffer.data()), expected);
  EngCloseDatabase(db);
}

}  // namespace
}  // namespace ks::engine::test
