// Opening protected databases: the prompt asks again for as long as the
// answer is wrong, remembers the login group (never the password) per file,
// and gives up on anything but a wrong password; the entry-form list falls
// back to "No" alone; the host's callback reaches the same prompt.
#include "core/protected_database.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "api/write_file.h"
#include "core/config_store.h"
#include "core/scoped_env.h"
#include "importers/kestro/kestro_test_support.h"
#include "ks_eng5.h"
#include "ks_imp.h"
#include "temp_dir.h"

namespace {

using ks::core::Credentials;
using ks::core::PasswordPrompt;

constexpr const char* kGroup = "Staff";
constexpr const char* kPassword = "correct horse";

// Answers in turn, then cancels; keeps what it was shown.
class AnswersInTurn : public PasswordPrompt {
 public:
  AnswersInTurn(std::initializer_list<Credentials> answers) : answers_(answers) {}

  bool Ask(const std::string& /*path*/, Reason reason, std::string_view message,
           Credentials& credentials) override {
    reasons.push_back(static_cast<uint32_t>(reason));
    messages.emplace_back(message);
    proposed.push_back(credentials.login_group);
    if (reasons.size() > answers_.size()) return false;
    credentials = answers_[reasons.size() - 1];
    return true;
  }

  std::vector<uint32_t> reasons;
  std::vector<std::string> messages;
  std::vector<std::string> proposed;

 private:
  std::vector<Credentials> answers_;
};

class ProtectedDatabaseTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(EngCreateDatabase(path_.c_str(), kGroup, kPassword, 0), 0); }

  std::string ConfigText() const { return ReadFile(config_.path() / "kestro.conf"); }

  TempDir dir_;
  TempDir config_;
  ScopedEnv config_dir_{"KESTRO_CONFIG_DIR", config_.path().string()};
  std::string path_ = dir_.file("notes.kst");
};

TEST_F(ProtectedDatabaseTest, WrongAnswersAreAskedAgainWithTheMessageUntilOneOpens) {
  AnswersInTurn prompt{{kGroup, "one"}, {"Other", kPassword}, {kGroup, kPassword}};
  const ks::core::DatabaseOpening opened =
      ks::core::OpenAskingPassword(path_, KSENG_ACCESS_READ, KSENG_SHARE_READ, &prompt);
  ASSERT_NE(opened.database, 0u);
  EngCloseDatabase(opened.database);
  EXPECT_EQ(prompt.reasons, (std::vector<uint32_t>{4000, 4001, 4001}));
  const std::string retry = "The password you have entered is invalid, please try again.";
  EXPECT_EQ(prompt.messages, (std::vector<std::string>{"", retry, retry}));
}

TEST_F(ProtectedDatabaseTest, TheGroupThatOpenedTheFileIsProposedNextTimeAndThePasswordNeverKept) {
  AnswersInTurn first{{kGroup, kPassword}};
  const uint32_t db =
      ks::core::RunPasswordPrompt(first, path_, KSENG_ACCESS_READ, KSENG_SHARE_READ).database;
  ASSERT_NE(db, 0u);
  EngCloseDatabase(db);
  EXPECT_EQ(first.proposed, std::vector<std::string>{"Default"});

  AnswersInTurn second{{kGroup, kPassword}};
  EngCloseDatabase(
      ks::core::RunPasswordPrompt(second, path_, KSENG_ACCESS_READ, KSENG_SHARE_READ).database);
  EXPECT_EQ(second.proposed, std::vector<std::string>{kGroup});

  const std::string config = ConfigText();
  EXPECT_NE(config.find("Login Group"), std::string::npos) << config;
  EXPECT_EQ(config.find(kPassword), std::string::npos) << "the password is never stored";
}

TEST_F(ProtectedDatabaseTest, AFailedOrCancelledPromptRemembersNothing) {
  AnswersInTurn wrong_then_cancel{{"Intruders", "guess"}};
  const ks::core::DatabaseOpening opened =
      ks::core::RunPasswordPrompt(wrong_then_cancel, path_, KSENG_ACCESS_READ, KSENG_SHARE_READ);
  EXPECT_EQ(opened.database, 0u);
  EXPECT_TRUE(opened.cancelled);
  EXPECT_EQ(ConfigText().find("Intruders"), std::string::npos);
}

TEST_F(ProtectedDatabaseTest, AnErrorOtherThanAWrongPasswordEndsThePromptWithThatError) {
  AnswersInTurn prompt{{kGroup, kPassword}};
  std::filesystem::remove(path_);
  const ks::core::DatabaseOpening opened =
      ks::core::RunPasswordPrompt(prompt, path_, KSENG_ACCESS_READ, KSENG_SHARE_READ);
  EXPECT_EQ(opened.database, 0u);
  EXPECT_FALSE(opened.cancelled);
  EXPECT_EQ(opened.engine_error, static_cast<uint32_t>(KSENG_ERR_NOT_FOUND));
  EXPECT_EQ(prompt.reasons.size(), 1u) << "not asked again";
}

TEST_F(ProtectedDatabaseTest, OnlyAProtectedDatabaseAsksAndWithoutAPromptItStaysClosed) {
  const std::string open_path = dir_.file("open.kst");
  ASSERT_NE(EngCreateDatabase(open_path.c_str(), nullptr, nullptr, 0), 0);
  AnswersInTurn prompt{};
  const ks::core::DatabaseOpening open =
      ks::core::OpenAskingPassword(open_path, KSENG_ACCESS_READ, KSENG_SHARE_READ, &prompt);
  EXPECT_NE(open.database, 0u);
  EngCloseDatabase(open.database);
  EXPECT_TRUE(prompt.reasons.empty());

  const ks::core::DatabaseOpening closed =
      ks::core::OpenAskingPassword(path_, KSENG_ACCESS_READ, KSENG_SHARE_READ, nullptr);
  EXPECT_EQ(closed.database, 0u);
  EXPECT_EQ(closed.engine_error, static_cast<uint32_t>(KSENG_ERR_PASSWORD_REQUIRED));
}

TEST(RememberedLoginGroup, AWindowsPathIsKeyedWithItsBackslashesMadeStars) {
  ks::core::ProfileFile configuration;
  EXPECT_EQ(ks::core::RememberedLoginGroup(configuration, "C:\\Data\\Notes.kst"), "Default");
  ks::core::RememberLoginGroup(configuration, "C:\\Data\\Notes.kst", "Staff");
  EXPECT_EQ(configuration.GetOr("Software\\Kestro\\Windows\\5.0\\File Settings\\C:*Data*Notes.kst",
                                "Login Group", ""),
            "Staff");
  EXPECT_EQ(ks::core::RememberedLoginGroup(configuration, "C:\\Data\\Notes.kst"), "Staff");
  EXPECT_EQ(ks::core::RememberedLoginGroup(configuration, "C:\\Data\\Other.kst"), "Default");
}

TEST(FullDatabasePath, ARelativePathIsMadeAbsoluteAndPlain) {
  const std::string full = ks::core::FullDatabasePath("a/../b/./notes.kst");
  EXPECT_EQ(full, (std::filesystem::current_path() / "b" / "notes.kst").string());
}

// Through the exported interface: the host's callback, KSIMP_OpenDatabase,
// the import's own database and the entry-form list.
class HostPromptTest : public ProtectedDatabaseTest {};

TEST_F(HostPromptTest, KsimpOpenDatabaseAsksTheHostsPromptAndReportsACancel) {
  ScriptedPrompt prompt;
  prompt.answers = {{kGroup, "nope"}, {kGroup, kPassword}};
  {
    const PromptInstalled installed(prompt);
    uint32_t error = 99;
    const uint32_t db =
        KSIMP_OpenDatabase(path_.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ, &error);
    ASSERT_NE(db, 0u);
    EXPECT_EQ(error, 0u);
    EngCloseDatabase(db);
    ASSERT_EQ(prompt.asked.size(), 2u);
    EXPECT_EQ(prompt.asked[1].reason, 4001u);

    // The answers are used up: the prompt cancels.
    EXPECT_EQ(KSIMP_OpenDatabase(path_.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ, &error), 0u);
    EXPECT_EQ(error, 4000u);
  }
  uint32_t error = 0;
  EXPECT_EQ(KSIMP_OpenDatabase(path_.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ, &error), 0u)
      << "without a prompt a protected database stays closed";
  EXPECT_EQ(error, 4000u);
}

TEST_F(HostPromptTest, AnImportIntoAProtectedDatabaseOpensItThroughThePrompt) {
  const std::string source = dir_.file("source.txt");
  WriteFile(source, "imported text");
  EXPECT_EQ(KSIMP_InitImportUsingFileName(path_.c_str()), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(0), KSIMP_ERR_OPEN_DATABASE);
  EXPECT_EQ(EngLastError(0), 4000u) << "the engine's reason stays for the host";

  ScriptedPrompt prompt;
  prompt.answers = {{kGroup, kPassword}};
  const PromptInstalled installed(prompt);
  const uint32_t handle = KSIMP_InitImportUsingFileName(path_.c_str());
  ASSERT_NE(handle, 0u);
  ASSERT_EQ(KSIMP_AddFileToImport(handle, source.c_str(), KSIMP_TYPE_TEXT, 1, 0, nullptr, 0,
                                  nullptr, 0, 0, nullptr, 1, 0, nullptr, 0, 0, nullptr, 0, nullptr,
                                  0, nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr, nullptr,
                                  nullptr, nullptr, nullptr, 0, 0),
            1u);
  uint32_t added = 0;
  EXPECT_EQ(KSIMP_Import(handle, 0, 0, nullptr, &added), 1u);
  EXPECT_EQ(added, 1u);
}

TEST_F(HostPromptTest, TheEntryFormListStartsWithNoAndAsksWithItsNotice) {
  const uint32_t db = EngOpenDatabaseEx(path_.c_str(), KSENG_ACCESS_READWRITE,
                                        KSENG_SHARE_READWRITE, kPassword, kGroup);
  ASSERT_NE(db, 0u);
  const char* fields[] = {"Name"};
  ASSERT_NE(EngCreateForm(db, "Contacts", fields, 1), 0u);
  ASSERT_NE(EngCreateForm(db, "Orders", fields, 1), 0u);
  EngCloseDatabase(db);

  char names[256] = {};
  ASSERT_EQ(KSIMP_GetEntryFormNames(path_.c_str(), names, sizeof names), 1u);
  EXPECT_STREQ(names, "No\n") << "without a prompt the list holds only \"No\"";

  ScriptedPrompt cancelling;
  {
    const PromptInstalled installed(cancelling);
    ASSERT_EQ(KSIMP_GetEntryFormNames(path_.c_str(), names, sizeof names), 1u);
    EXPECT_STREQ(names, "No\n") << "a cancelled prompt leaves only \"No\"";
  }
  ASSERT_EQ(cancelling.asked.size(), 1u);
  EXPECT_EQ(cancelling.asked[0].message,
            "A password is required to access the Entryform names in " + path_ +
                ".  Please enter your password.");

  ScriptedPrompt answering;
  answering.answers = {{kGroup, kPassword}, {kGroup, kPassword}};
  const PromptInstalled installed(answering);
  ASSERT_EQ(KSIMP_GetEntryFormNames(path_.c_str(), names, sizeof names), 1u);
  EXPECT_STREQ(names, "No\nContacts\nOrders\n");
  EXPECT_EQ(KSIMP_GetEntryFormNames(path_.c_str(), names, 10), 0u) << "too small a buffer";
}

}  // namespace
