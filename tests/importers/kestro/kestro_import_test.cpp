// Importing another Kestro database: every document copied in the source's
// order with what belongs to it, protected sources opened with the
// credentials the host gave or through its password prompt, and sources
// that are no database refused with their message and nothing lost.  Where
// the copies go and what the prompt remembers are the engine's copy test's
// and the prompt's own (protected_database_test.cpp).
#include "importers/kestro/kestro_import.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/scoped_env.h"
#include "importers/import_fixture.h"
#include "importers/kestro/kestro_test_support.h"

namespace {

constexpr const char* kGroup = "Staff";
constexpr const char* kPassword = "s3cret pass";

class KestroImportTest : public ImportFixture {
 protected:
  // A source database in the test's folder holding `texts`.
  QueuedFile KestroSource(const std::string& name, const std::vector<std::string>& texts,
                          const char* login_group = nullptr, const char* password = nullptr) {
    const std::string path = dir_.file(name);
    CreateSourceDatabase(path, texts, login_group, password);
    return QueuedFile{path, KSIMP_TYPE_KESTRO};
  }

  // Imports `files`, each with the credentials given with it (none: "").
  using Credentials = std::pair<std::string, std::string>;
  ImportOutcome ImportWithCredentials(const std::vector<std::pair<QueuedFile, Credentials>>& files) {
    std::vector<QueuedFile> queued;
    for (const auto& [file, credentials] : files) queued.push_back(file);
    return Import(queued, [&](uint32_t handle, size_t n) {
      EXPECT_EQ(KSIMP_SetSourceCredentials(handle, files[n].second.first.c_str(),
                                           files[n].second.second.c_str()),
                1u);
    });
  }

  // The target holds `texts` before the import, to show that nothing is lost.
  void TargetHolds(const std::vector<std::string>& texts) {
    CreateSourceDatabase(database_, texts);
  }

  TempDir config_;
  ScopedEnv config_dir_{"KESTRO_CONFIG_DIR", config_.path().string()};
};

// The copy count is never reset: it grows across files and imports.
TEST_F(KestroImportTest, CopiesEveryDocumentInTheSourcesOrderAfterWhatTheTargetHeld) {
  TargetHolds({"already here"});
  const uint64_t copied_before = CIMPKestro4::CopyCount();
  const QueuedFile first = KestroSource("first.kst", {"one", "two", "three"});
  const QueuedFile second = KestroSource("second.kst", {"four"});
  const ImportOutcome outcome = Import({first, second});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL) << "no error was to be recorded: " << outcome.log;
  EXPECT_EQ(outcome.documents_added, 4u);
  EXPECT_EQ(Documents(), (std::vector<std::string>{"already here", "one", "two", "three", "four"}));
  EXPECT_EQ(CIMPKestro4::CopyCount(), copied_before + 4);
  EXPECT_EQ(Import({KestroSource("again.kst", {"five"})}).result, 1u);
  EXPECT_EQ(CIMPKestro4::CopyCount(), copied_before + 5);
}

// The engine's copy test checks everything a copy keeps; here, that an
// entry of the source arrives through the import as the entry it was.
TEST_F(KestroImportTest, EntriesKeepTheirFormAndFields) {
  CreateForm("Contacts", {"Name", "City"});
  QueuedFile rows = Source("rows.csv", "Ada,London\r\n", KSIMP_TYPE_DELIMITED,
                           "T=CSV\r\nN=2\r\nNA1=Name\r\nNA2=City\r\nD=,\r\nTC=0");
  rows.entry_form = "Contacts";
  ASSERT_EQ(Import({rows}).result, 1u);
  const std::vector<StoredDocument> in_source = StoredDocuments();
  ASSERT_EQ(in_source.size(), 1u);
  ASSERT_EQ(in_source[0].fields.size(), 2u);
  const std::string source = database_;
  FreshDatabase();

  EXPECT_EQ(Import({QueuedFile{source, KSIMP_TYPE_KESTRO}}).result, 1u);
  const std::vector<StoredDocument> stored = StoredDocuments();
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(stored[0].kind, KSENG_KIND_ENTRY);
  EXPECT_EQ(stored[0].form, "Contacts");
  EXPECT_EQ(stored[0].fields, in_source[0].fields);
  EXPECT_EQ(stored[0].text, in_source[0].text);
}

TEST_F(KestroImportTest, AProtectedSourceOpensWithTheRightCredentials) {
  const QueuedFile source =
      KestroSource("locked.kst", {"private one", "private two"}, kGroup, kPassword);
  const ImportOutcome outcome = ImportWithCredentials({{source, {kGroup, kPassword}}});
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_EQ(Documents(), (std::vector<std::string>{"private one", "private two"}));
}

TEST_F(KestroImportTest, AWrongPasswordImportsNothingAndSaysSoKeepingTheRest) {
  TargetHolds({"kept"});
  const QueuedFile locked = KestroSource("locked.kst", {"private"}, kGroup, kPassword);
  const QueuedFile open = KestroSource("open.kst", {"public"});
  const ImportOutcome outcome =
      ImportWithCredentials({{locked, {kGroup, "wrong"}}, {open, {"", ""}}});
  EXPECT_EQ(outcome.error, 11026u) << "the code a host tests for a protected source";
  EXPECT_TRUE(Holds(outcome.log, "Error: the login group or password is wrong in file " +
                                     locked.path + ", this file will not be imported."));
  EXPECT_EQ(Documents(), (std::vector<std::string>{"kept", "public"}))
      << "the next file is imported, nothing before is lost";
}

TEST_F(KestroImportTest, AProtectedSourceWithoutCredentialsOrPromptIsRefusedAsProtected) {
  const QueuedFile locked = KestroSource("locked.kst", {"private"}, kGroup, kPassword);
  const ImportOutcome outcome = Import({locked});
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.error, 11026u);
  EXPECT_TRUE(Holds(outcome.log, "Error: the database is protected by a password in file"));
  EXPECT_TRUE(Documents().empty());
}

TEST_F(KestroImportTest, RejectedCredentialsFallBackToAPlainOpenWhichThePromptAnswers) {
  const QueuedFile locked = KestroSource("locked.kst", {"private"}, kGroup, kPassword);
  ScriptedPrompt prompt;
  prompt.answers = {{"Default", "guess"}, {kGroup, kPassword}};
  const PromptInstalled installed(prompt);
  const ImportOutcome outcome = ImportWithCredentials({{locked, {kGroup, "stale password"}}});
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_EQ(Documents(), std::vector<std::string>{"private"});
  // What the prompt is told on each try is the prompt's own test
  // (protected_database_test.cpp); here, that the open without credentials
  // asked it, for this file.
  ASSERT_EQ(prompt.asked.size(), 2u);
  EXPECT_EQ(prompt.asked[0].path, locked.path);
  EXPECT_EQ(prompt.asked[0].reason, 4000u);
}

TEST_F(KestroImportTest, AFileThatIsNoDatabaseIsRefusedByNameAndNothingIsLost) {
  TargetHolds({"kept"});
  // A real database cut short: a valid header and too few pages.
  const QueuedFile whole = KestroSource("whole.kst", {"x", "y"});
  const std::string bytes = ReadFile(whole.path);
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"text.kst", "just some text, not a database\r\n"}, {"empty.kst", ""},
      {"garbage.kst", std::string(5000, '\xff')},         {"truncated.kst", bytes.substr(0, 100)},
      {"half.kst", bytes.substr(0, bytes.size() / 2)},
  };
  for (const auto& [name, content] : cases) {
    SCOPED_TRACE(name);
    const QueuedFile bad = Source(name, content, KSIMP_TYPE_KESTRO);
    const QueuedFile good = KestroSource("good.kst", {"good"});
    const ImportOutcome outcome = Import({bad, good});
    EXPECT_TRUE(outcome.error == 130u || outcome.error == 131u) << outcome.error;
    if (outcome.error == 130u) {
      EXPECT_TRUE(Holds(outcome.log, "File: \"" + bad.path +
                                         "\" is not an Kestro 5 file, and will not be imported."));
    }
    std::vector<std::string> documents = Documents();
    ASSERT_GE(documents.size(), 2u);
    EXPECT_EQ(documents.front(), "kept");
    EXPECT_EQ(documents.back(), "good") << "the file after it is imported";
  }
}

TEST_F(KestroImportTest, TheTargetItselfIsNotImportedIntoItself) {
  TargetHolds({"only"});
  const ImportOutcome outcome = Import({QueuedFile{database_, KSIMP_TYPE_KESTRO}});
  EXPECT_EQ(outcome.error, 131u);
  EXPECT_TRUE(Holds(outcome.log, "it is the database being imported into"));
  EXPECT_EQ(Documents(), std::vector<std::string>{"only"});
}

TEST_F(KestroImportTest, AMissingSourceIsReportedAsAFileThatCannotBeOpened) {
  const ImportOutcome outcome = Import({QueuedFile{dir_.file("missing.kst"), KSIMP_TYPE_KESTRO}});
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.error, KSIMP_ERR_OPEN_FILE);
}

}  // namespace
