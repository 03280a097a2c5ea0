// The DOS export text import (file type 1002): recognition by the last bytes
// of a file, the two ways its NUL bytes end documents and the code page of
// its text, end to end through the exported interface into a real database.
#include "importers/text/kestro_dos_import.h"

#include <gtest/gtest.h>

#include "importers/import_fixture.h"

namespace {

using Docs = std::vector<std::string>;
using namespace std::string_literals;

constexpr int32_t kKestroDos = 1002;

TEST(KestroDosRecognition, AFileIsAnExportWhenItEndsWithNul) {
  TempDir dir;
  CIMPKestroDos importer;
  for (const auto& [name, content, is_export] : {std::tuple{"one.txt", "doc\0"s, 1},
                                                 {"two.txt", "doc\0\0"s, 1},
                                                 {"nul.txt", "\0"s, 1},
                                                 {"inner.txt", "a\0b"s, 0},
                                                 {"text.txt", "plain text\r\n"s, 0},
                                                 {"empty.txt", ""s, 0}}) {
    EXPECT_EQ(importer.CheckFile(WriteFile(dir, name, content)), is_export) << name;
  }
  EXPECT_EQ(importer.CheckFile(dir.file("missing.txt")), 0);
  EXPECT_EQ(importer.CheckFile(dir.path().string()), 0) << "a folder";
}

class KestroDosImport : public ImportFixture {};

TEST_F(KestroDosImport, NulBytesEndDocumentsInOneOfTwoModes) {
  // Pair mode when the file ends with two NULs; a lone NUL is then a line
  // break.  In single-NUL mode the empty document between two NULs is not
  // stored, and text after the last NUL is the last document.
  const std::vector<SourceCase> cases = {
      {"single", "Name[ Ann ]\r\nnote\r\n\0second\0"s, "", {"Name[ Ann ]\r\nnote\r\n", "second"}},
      {"pairs", "line 1\0line 2\0\0next\0\0"s, "", {"line 1\nline 2", "next"}},
      {"text after the last NUL", "a\0\0b\0tail"s, "", {"a", "b", "tail"}},
      {"OEM text is read as CP437", "gro\xE1\0"s, "", {"gro\u00DF"}, 0},
      {"ANSI text as Windows-1252", "caf\xE9\0"s, "", {"caf\u00E9"}},
  };
  ExpectDocuments(kKestroDos, cases);
}

TEST_F(KestroDosImport, DocumentsLongerThanABlockArriveWholeInBothModes) {
  // 1 MB blocks: in pair mode the first document ends exactly at the first
  // block's end, so the NUL pair is split between two blocks.
  const std::string first((1 << 20) - 1, 'x');
  std::string second;
  for (int i = 0; i < 300000; ++i) second += "line " + std::to_string(i) + "\r\n";
  const std::pair<std::string, Docs> cases[] = {
      {first + "\0\0"s + second + "\0\0"s, {first, second}},
      {second + "\0"s + first + "\0"s, {second, first}},
  };
  for (const auto& [source, expected] : cases) {
    FreshDatabase();
    Import({Source("long.txt", source, kKestroDos)});
    const Docs docs = Documents();
    ASSERT_EQ(docs.size(), 2u);
    EXPECT_TRUE(docs[0] == expected[0]) << "size " << docs[0].size();
    EXPECT_TRUE(docs[1] == expected[1]) << "size " << docs[1].size();
  }
}

}  // namespace
