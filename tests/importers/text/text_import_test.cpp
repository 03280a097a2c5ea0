// The plain-text, HTML and rich-text importers, end to end through the
// exported interface into a real database.
#include "importers/text/text_import.h"

#include <gtest/gtest.h>

#include <fstream>

#include "api/ks_imp_app.h"
#include "core/charset_converter.h"
#include "core/config_store.h"
#include "core/database_import_settings.h"
#include "importers/import_fixture.h"

namespace {

using Docs = std::vector<std::string>;

class TextImport : public ImportFixture {};

TEST_F(TextImport, TheDatabaseRemembersTheFileTypeLastImported) {
  Import({Source("a.html", "<p>x</p>", 108)});
  const auto configuration = ks::core::ConfigStore::Load().values();
  EXPECT_EQ(ks::core::LastUsedFilter(configuration, database_), "HTML (*.htm, *.html)");
}

TEST_F(TextImport, WithoutADelimiterTheFileIsOneDocumentElseEachKindCutsIt) {
  const std::string source = "a1\r\na2\r\n\r\nb1\r\n\f\r\nc1\r\n--\r\nd1\r\n";
  struct Case {
    int32_t flags, lines;
    const char* string;
    Docs expected;
  };
  const Case cases[] = {
      {0, 0, "", {source}},
      {2, 0, "", {"a1\r\na2\r\n\r\nb1\r\n", "c1\r\n--\r\nd1\r\n"}},
      {1, 0, "", {"a1\r\na2\r\n", "b1\r\n\f\r\nc1\r\n--\r\nd1\r\n"}},
      {4, 3, "", {"a1\r\na2\r\n\r\n", "b1\r\n\f\r\nc1\r\n", "--\r\nd1\r\n"}},
      {8, 0, "--", {"a1\r\na2\r\n\r\nb1\r\n\f\r\nc1\r\n", "d1\r\n"}},
  };
  for (const Case& c : cases) {
    FreshDatabase();
    QueuedFile file = Source("s.txt", source);
    file.delimiter_flags = c.flags;
    file.delimiter_lines = c.lines;
    file.delimiter_string = c.string;
    const auto outcome = Import({file});
    EXPECT_EQ(outcome.result, 1u) << "flags " << c.flags;
    EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL) << "no error was to be recorded";
    EXPECT_EQ(outcome.documents_added, c.expected.size()) << "flags " << c.flags;
    EXPECT_EQ(Documents(), c.expected) << "flags " << c.flags;
  }
}

TEST_F(TextImport, DocumentsLongerThanABlockArriveWhole) {
  // Several MB of lines, a Windows-1252 line and a UTF-8 line by turns: the
  // blocks end inside lines, characters and documents.
  std::string page;
  std::string expected;
  for (int i = 0; page.size() < (3u << 20); ++i) {
    page += "Z\xFCrich " + std::to_string(i) + "\n\xE2\x82\xAC " + std::to_string(i) + "\r\n";
    expected += "Z\xC3\xBCrich " + std::to_string(i) + "\n\xE2\x82\xAC " + std::to_string(i) + "\r\n";
  }
  QueuedFile file = Source("long.txt", page + "\f\r\n" + page + "tail without end");
  file.delimiter_flags = 2;
  const auto outcome = Import({file});
  EXPECT_EQ(outcome.result, 1u);
  const Docs docs = Documents();
  ASSERT_EQ(docs.size(), 2u);
  EXPECT_TRUE(docs[0] == expected) << "first document differs, size " << docs[0].size();
  EXPECT_TRUE(docs[1] == expected + "tail without end");
}

TEST_F(TextImport, LaterFilesFollowEarlierOnesAtTheTop) {
  Import({Source("old.txt", "old")});
  QueuedFile one = Source("1.txt", "one\r\n\r\ntwo");
  one.location = 6;
  one.delimiter_flags = 1;
  QueuedFile three = Source("3.txt", "three");
  three.location = 6;
  Import({one, three});
  EXPECT_EQ(Documents(), (Docs{"one\r\n", "two", "three", "old"}));
}

TEST_F(TextImport, MissingNamedDocumentStopsWithError98) {
  QueuedFile file = Source("a.txt", "text");
  file.location = 3;
  file.named_document = "No such document";
  const auto outcome = Import({file});
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.error, KSIMP_ERR_SAVE_DOCUMENT);
  EXPECT_TRUE(Documents().empty());
}

TEST_F(TextImport, BadSourcesAreReportedAndNothingImportedIsLost) {
  const std::string good = WriteFile(dir_, "good.txt", "kept");
  const std::string missing = dir_.file("missing.txt");
  const auto outcome =
      Import({{good}, {missing}, {dir_.path().string()}, Source("late.txt", "late")});
  EXPECT_EQ(outcome.error, KSIMP_ERR_OPEN_FILE);
  EXPECT_NE(outcome.log.find("The file " + missing + ", could not be located."), std::string::npos)
      << outcome.log;
  EXPECT_NE(outcome.log.find("is a folder, not a file."), std::string::npos) << outcome.log;
  EXPECT_EQ(outcome.documents_added, 2u);
  EXPECT_EQ(Documents(), (Docs{"kept", "late"}));
}

// A text importer that notes the progress counter when its file is done.
struct ProgressNotingImport : CIMPTextImport {
  explicit ProgressNotingImport(uint32_t* seen) : seen_(seen) {}
  int Run() override {
    const int result = CIMPTextImport::Run();
    *seen_ = static_cast<uint32_t>(Context().CurrentBytes());
    return result;
  }
  uint32_t* seen_;
};

// Polling while a real importer runs is ImportAbortingAfter's part.
TEST_F(TextImport, ProgressReachesTheFileSizeOverSeveralBlocks) {
  const std::string path = WriteFile(dir_, "a.txt", std::string(3 << 20, 'x') + "\r\nend\r\n");
  const uint32_t handle = KSIMP_InitImportUsingFileName(database_.c_str());
  ASSERT_EQ(Queue(handle, {path}), 1u);
  uint32_t at_end = 0;
  CImportSession& session = CKS_ImpApp::Instance().Session();
  session.SetImporterFactory([&](int32_t) {
    CreatedImporter created;
    created.outcome = CreatedImporter::Outcome::kCreated;
    created.importer = std::make_unique<ProgressNotingImport>(&at_end);
    return created;
  });
  uint32_t added = 0;
  EXPECT_EQ(KSIMP_Import(handle, 0, 0, nullptr, &added), 1u);
  session.SetImporterFactory(nullptr);
  EXPECT_EQ(added, 1u);
  EXPECT_EQ(at_end, std::filesystem::file_size(path));
}

TEST_F(TextImport, AbortFromAnotherThreadKeepsWholeDocumentsOnly) {
  std::string source;
  for (int i = 0; i < 200000; ++i) source += "document " + std::to_string(i) + "\r\n\r\n";
  QueuedFile file = Source("many.txt", source);
  file.delimiter_flags = 1;
  const Docs docs = ImportAbortingAfter(file, 1000, 200000).documents;
  for (size_t i = 0; i < docs.size(); ++i) {
    ASSERT_EQ(docs[i], "document " + std::to_string(i) + "\r\n") << "document " << i;
  }
}

// Real HTML and rich-text files written by other software: each is one
// document holding the file's bytes exactly, or for a UTF-16 file its text
// as UTF-8.
TEST_F(TextImport, CorpusHtmlAndRtfFilesAreOneDocumentEach) {
  const std::filesystem::path corpus = Corpus();
  if (!std::filesystem::exists(corpus)) GTEST_SKIP() << "no corpus beside the checkout";
  std::vector<QueuedFile> files;
  Docs expected;
  for (const auto& [folder, type] : {std::pair{"html", 108}, std::pair{"rtf", 19}}) {
    for (const auto& entry : std::filesystem::directory_iterator(corpus / folder)) {
      const std::string bytes = ReadFile(entry.path());
      if (bytes.find_first_not_of(" \t\r\n") == std::string::npos) continue;
      files.push_back({entry.path().string(), type});
      expected.push_back(bytes);
    }
  }
  ASSERT_FALSE(files.empty());
  const auto outcome = Import(files);
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.documents_added, files.size());
  const Docs docs = Documents();
  ASSERT_EQ(docs.size(), expected.size());
  for (size_t i = 0; i < docs.size(); ++i) {
    if (expected[i].rfind("\xFF\xFE", 0) == 0) {
      EXPECT_EQ(docs[i].find('\0'), std::string::npos) << files[i].path;
      EXPECT_NE(docs[i].find("<html>"), std::string::npos) << files[i].path;
      continue;
    }
    if (!ks::core::IsValidUtf8(expected[i])) {
      // Undeclared 8-bit text (no-charset-8bit.html: a Windows-1252 "©")
      // is stored as UTF-8.
      EXPECT_TRUE(ks::core::IsValidUtf8(docs[i])) << files[i].path;
      EXPECT_NE(docs[i].find("\xC2\xA9"), std::string::npos) << files[i].path;
      continue;
    }
    EXPECT_TRUE(docs[i] == expected[i]) << files[i].path;
  }
}

}  // namespace
