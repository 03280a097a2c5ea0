// Protected databases: a login group and password are needed to open them;
// the file keeps only a salted hash of the password.
#include "engine_test_support.h"

namespace ks::engine::test {
namespace {

class ProtectionTest : public EngineTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(EngCreateDatabase(Path().c_str(), "Staff", kPassword, 0), 1) << LastError();
  }
  static constexpr const char* kPassword = "correct horse battery";
};

TEST_F(ProtectionTest, OpenWithoutTheRightCredentialsIsRefusedAndNoOpenChangesAnything) {
  std::string before = ReadFile(Path());
  for (int32_t access_mode : {KSENG_ACCESS_READ, KSENG_ACCESS_READWRITE}) {
    EXPECT_FAILS(EngOpenDatabase(Path().c_str(), access_mode, KSENG_SHARE_READ), 0u,
                 KSENG_ERR_PASSWORD_REQUIRED);
  }
  const std::tuple<int32_t, const char*, const char*> wrong[] = {
      {KSENG_ACCESS_READWRITE, "guess", "Staff"},
      {KSENG_ACCESS_READ, kPassword, "Default"},
      {KSENG_ACCESS_READ, nullptr, nullptr}};
  for (auto [access_mode, password, group] : wrong) {
    SCOPED_TRACE(std::string(password ? password : "-") + " / " + (group ? group : "-"));
    EXPECT_FAILS(EngOpenDatabaseEx(Path().c_str(), access_mode, KSENG_SHARE_READ, password, group),
                 0u, KSENG_ERR_PASSWORD_WRONG);
  }
  // The right ones open it for reading; opening for writing is shown below.
  uint32_t db = EngOpenDatabaseEx(Path().c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ, kPassword,
                                  "Staff");
  EXPECT_NE(db, 0u) << LastError();
  EngCloseDatabase(db);
  EXPECT_EQ(ReadFile(Path()), before);
}

TEST_F(ProtectionTest, FileHoldsNeitherThePasswordNorAnUnsaltedHash) {
  std::string bytes = ReadFile(Path());
  EXPECT_EQ(bytes.find(kPassword), std::string::npos);
  // Two files with the same password keep different hashes: each is salted.
  ASSERT_EQ(EngCreateDatabase(Path("second.kst").c_str(), "Staff", kPassword, 0), 1);
  std::string other = ReadFile(Path("second.kst"));
  size_t at = bytes.find("$argon2");
  ASSERT_NE(at, std::string::npos);
  std::string hash = bytes.substr(at, bytes.find('\0', at) - at);
  EXPECT_EQ(other.find(hash.substr(0, 60)), std::string::npos);
}

TEST_F(ProtectionTest, OnlyALoginGroupWithAPasswordProtectsADatabase) {
  EXPECT_FAILS(EngCreateDatabase(Path("half.kst").c_str(), "Staff", nullptr, 0), 0,
               KSENG_ERR_ARGUMENT);
  EXPECT_FAILS(EngCreateDatabase(Path("half.kst").c_str(), "", "pw", 0), 0, KSENG_ERR_ARGUMENT);
  EXPECT_EQ(ListFolder(Folder()), std::set<std::string>{"test.kst"});
  // With neither, credentials given at opening are ignored.
  ASSERT_EQ(EngCreateDatabase(Path("open.kst").c_str(), nullptr, "", 0), 1);
  uint32_t db = EngOpenDatabaseEx(Path("open.kst").c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ,
                                  "anything", "Anyone");
  EXPECT_NE(db, 0u) << LastError();
  EngCloseDatabase(db);
}

// What the documentation promises about protection is exactly this much: an
// access check at opening, not encryption.  Anyone who can read the file
// reads its text, and one deleted row of the settings removes the check.
TEST_F(ProtectionTest, IsAnAccessCheckNotEncryption) {
  uint32_t db = EngOpenDatabaseEx(Path().c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE,
                                  kPassword, "Staff");
  ASSERT_NE(db, 0u) << LastError();
  ASSERT_NE(AddDocument(db, "payroll figures in the clear"), 0u);
  ASSERT_EQ(EngCloseDatabase(db), 1);
  EXPECT_NE(ReadFile(Path()).find("payroll figures in the clear"), std::string::npos);

  sqlite3* raw = nullptr;
  ASSERT_EQ(sqlite3_open(Path().c_str(), &raw), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(raw, "DELETE FROM settings WHERE key = 'password_hash'", nullptr,
                         nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(raw);
  db = EngOpenDatabase(Path().c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
  ASSERT_NE(db, 0u) << "the check is gone with the row: " << LastError();
  EXPECT_EQ(WalkTexts(db), std::vector<std::string>{"payroll figures in the clear"});
  EngCloseDatabase(db);
}

}  // namespace
}  // namespace ks::engine::test
