// The DOS export text import (file type 1002): recognition by the last bytes
// of a file and the two ways its NUL bytes end documents, end to end through
// the exported interface into a real database.
#include "importers/text/kestro_dos_import.h"

#include <gtest/gtest.h>

#include "api/write_file.h"
#include "core/importer_table.h"
#include "import_fixture.h"

namespace {

using Docs = std::vector<std::string>;
using namespace std::string_literals;

constexpr int32_t kKestroDos = 1002;

class KestroDosImport : public ImportFixture {
 protected:
  QueuedFile Dos(const std::string& name, const std::string& content) {
    return {WriteFile(dir_, name, content), kKestroDos};
  }
};

TEST(KestroDosRecognition, AFileIsAnExportWhenItEndsWithNul) {
  TempDir dir;
  CIMPKestroDos importer;
  EXPECT_EQ(importer.CheckFile(WriteFile(dir, "one.txt", "doc\0"s)), 1);
  EXPECT_EQ(importer.CheckFile(WriteFile(dir, "two.txt", "doc\0\0"s)), 1);
  EXPECT_EQ(importer.CheckFile(WriteFile(dir, "nul.txt", "\0"s)), 1);
  EXPECT_EQ(importer.CheckFile(WriteFile(dir, "inner.txt", "a\0b"s)), 0);
  EXPECT_EQ(importer.CheckFile(WriteFile(dir, "text.txt", "plain text\r\n")), 0);
  EXPECT_EQ(importer.CheckFile(WriteFile(dir, "empty.txt", "")), 0);
  EXPECT_EQ(importer.CheckFile(dir.file("missing.txt")), 0);
  EXPECT_EQ(importer.CheckFile(dir.path().string()), 0) << "a folder";
}

TEST(KestroDosRecognition, TheTableCreatesTheTextFamilyImporters) {
  for (const int32_t type : {1002, 1004, 9999}) {
    const CreatedImporter created = CreateImporterFromTable(type);
    EXPECT_EQ(created.outcome, CreatedImporter::Outcome::kCreated) << type;
  }
  EXPECT_NE(dynamic_cast<CIMPKestroDos*>(CreateImporterFromTable(1002).importer.get()), nullptr);
}

TEST_F(KestroDosImport, SingleNulEndsEachDocument) {
  const auto outcome = Import({Dos("s.txt", "Name[ Ann ]\r\nnote\r\n\0second\0"s)});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL) << "no error was to be recorded";
  EXPECT_EQ(outcome.documents_added, 2u);
  EXPECT_EQ(Documents(), (Docs{"Name[ Ann ]\r\nnote\r\n", "second"}));
}

TEST_F(KestroDosImport, NulPairsEndDocumentsAndALoneNulIsALineBreak) {
  Import({Dos("d.txt", "line 1\0line 2\0\0next\0\0"s)});
  EXPECT_EQ(Documents(), (Docs{"line 1\nline 2", "next"}));
}

TEST_F(KestroDosImport, TextAfterTheLastNulIsTheLastDocument) {
  Import({Dos("t.txt", "a\0\0b\0tail"s)});
  // Single-NUL mode (the byte before the last is no NUL); the empty
  // document between two NULs is not stored.
  EXPECT_EQ(Documents(), (Docs{"a", "b", "tail"}));
}

TEST_F(KestroDosImport, DocumentsLongerThanABlockArriveWholeInBothModes) {
  // 1 MB blocks: the first document ends exactly at the first block's end,
  // so the NUL pair is split between two blocks.
  const std::string first((1 << 20) - 1, 'x');
  std::string second;
  for (int i = 0; i < 300000; ++i) second += "line " + std::to_string(i) + "\r\n";
  Import({Dos("pairs.txt", first + "\0\0"s + second + "\0\0"s)});
  Docs docs = Documents();
  ASSERT_EQ(docs.size(), 2u);
  EXPECT_TRUE(docs[0] == first) << "size " << docs[0].size();
  EXPECT_TRUE(docs[1] == second) << "size " << docs[1].size();

  TempDir scratch;
  database_ = scratch.file("db.kst");
  ASSERT_NE(EngCreateDatabase(database_.c_str(), nullptr, nullptr, 0), 0);
  Import({Dos("single.txt", second + "\0"s + first + "\0"s)});
  docs = Documents();
  ASSERT_EQ(docs.size(), 2u);
  EXPECT_TRUE(docs[0] == second) << "size " << docs[0].size();
  EXPECT_TRUE(docs[1] == first) << "size " << docs[1].size();
}

TEST_F(KestroDosImport, OemTextIsConvertedUnlessMarkedAnsi) {
  QueuedFile oem = Dos("oem.txt",
                       "Stra\xE1"
                       "e\0"s);
  oem.origin_ansi = 0;
  QueuedFile ansi = Dos("ansi.txt", "caf\xE9\0"s);
  Import({oem, ansi});
  EXPECT_EQ(Documents(), (Docs{"Stra\u00DFe", "caf\xE9"}));
}

TEST_F(KestroDosImport, MissingFileIsReportedAndEarlierDocumentsKept) {
  const auto outcome = Import({Dos("a.txt", "kept\0"s), {dir_.file("gone.txt"), kKestroDos}});
  EXPECT_EQ(outcome.error, KSIMP_ERR_OPEN_FILE);
  EXPECT_NE(outcome.log.find("could not be located."), std::string::npos) << outcome.log;
  EXPECT_EQ(Documents(), Docs{"kept"});
}

}  // namespace
