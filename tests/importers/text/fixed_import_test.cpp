// The fixed-width import (file type 9999), end to end through the exported
// interface into a real database: how lines are cut, the document text with
// its two blanks after the marker, entry-form mode and bad settings.
#include "importers/text/fixed_import.h"

#include <gtest/gtest.h>

#include "core/message_texts.h"
#include "importers/import_fixture.h"

namespace {

using Docs = std::vector<std::string>;
using Fields = std::vector<std::pair<std::string, std::string>>;

constexpr int32_t kFixedWidth = 9999;

class FixedImport : public ImportFixture {
 protected:
  QueuedFile Fixed(const std::string& name, const std::string& content,
                   const std::string& settings) {
    return Source(name, content, kFixedWidth, settings);
  }
};

// ---- Text mode ----

TEST_F(FixedImport, EachLineBecomesADocumentOfFieldLines) {
  const std::vector<SourceCase> cases = {
      // The delimited import writes "Name[ Smith ]"; this one has always
      // written one blank more.
      {"values stand two blanks after the marker",
       "Smith     42\r\nJo        7 \r\n",
       "T=FXD\r\nN=2\r\nNA1=Name\r\nL1=10\r\nNA2=Age\r\nL2=2",
       {"Name[  Smith ]\r\nAge[  42 ]\r\n", "Name[  Jo ]\r\nAge[  7 ]\r\n"}},
      // "hij" after the last column belongs to no field.
      {"lines are cut at the widths, short lines give empty values",
       "abcdefghij\r\nabc\r\n",
       "T=FXD\r\nN=2\r\nNA1=A\r\nL1=3\r\nNA2=B\r\nL2=4",
       {"A[  abc ]\r\nB[  defg ]\r\n", "A[  abc ]\r\nB[   ]\r\n"}},
      {"Skip and empty names are left out, names lose blanks",
       "12345678\r\n",
       "T=FXD\r\nN=4\r\nNA1=SKIP\r\nL1=2\r\nNA2=Part No\r\nL2=2\r\nL3=2\r\nNA4=Qty\r\nL4=2",
       {"PartNo[  34 ]\r\nQty[  78 ]\r\n"}},
      {"the first row and a blank line bound the lines read",
       "head\r\nab\ncd\r\n\r\nef\r\n",
       "T=FXD\r\nN=1\r\nS=2\r\nNA1=A\r\nP1=1\r\nL1=2",
       {"A[  ab ]\r\n", "A[  cd ]\r\n"}},
      {"widths count the characters of an OEM source",
       "\x9C\xE1x\r\n",
       "T=FXD\r\nN=2\r\nNA1=A\r\nL1=1\r\nNA2=B\r\nL2=2",
       {"A[  \u00A3 ]\r\nB[  \u00DFx ]\r\n"},
       0},
      {"and those of a Windows-1252 or UTF-8 one",
       "\xA3\xDFx\r\n\xC2\xA3\xC3\x9Fx\r\n",
       "T=FXD\r\nN=2\r\nNA1=A\r\nL1=1\r\nNA2=B\r\nL2=2",
       {"A[  \u00A3 ]\r\nB[  \u00DFx ]\r\n", "A[  \u00A3 ]\r\nB[  \u00DFx ]\r\n"}},
      {"without settings each line is a document of its text",
       "first line \r\nsecond\r\n",
       "",
       {"first line ", "second"}},
  };
  ExpectDocuments(kFixedWidth, cases);
}

TEST_F(FixedImport, SettingsThatCannotBeUsedAreLoggedAndStoreNothing) {
  QueuedFile lost = Source("lost.txt", "abc\r\n", kFixedWidth);
  lost.use_stored_settings = 1;
  const std::pair<QueuedFile, std::string> cases[] = {
      {Fixed("f.txt", "abc\r\n", "T=FXD\r\nN=1\r\nL1=-2"),
       dir_.file("f.txt") + ": 13011 " + std::string(MessageText(13011)) + "\r\n"},
      {lost, "The file " + dir_.file("lost.ksi") + ", could not be located.\r\n"},
      {Fixed("c.txt", "a,b\r\n", "T=CSV\r\nN=1\r\nNA1=A\r\nD=,"),
       dir_.file("c.txt") +
           ": the column header string describes delimited text, not fixed-width columns.\r\n"},
  };
  for (const auto& [file, log] : cases) {
    FreshDatabase();
    const auto outcome = Import({file});
    EXPECT_EQ(outcome.result, 1u) << file.path;
    EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL) << "no error was to be recorded";
    // The log says what became of the rows, too.
    EXPECT_EQ(outcome.log, log + file.path +
                               ": without settings that can be used the columns are unknown, so "
                               "no row is imported.\r\n");
    EXPECT_TRUE(Documents().empty()) << file.path;
  }
}

// ---- Entry-form mode ----

TEST_F(FixedImport, EntryValuesStandUntrimmedWithoutATrailingBlank) {
  CreateForm("Part", {"Code", "Name"});
  QueuedFile file =
      Fixed("e.txt", "AB Bolt  extra\r\n",
            "T=FXD\r\nN=3\r\nNA1=Code\r\nL1=3\r\nNA2=Skip\r\nL2=0\r\nNA3=Name\r\nL3=6");
  file.entry_form = "Part";
  const auto outcome = Import({file});
  EXPECT_EQ(outcome.result, 1u);
  const std::vector<StoredDocument> stored = StoredDocuments();
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(stored[0].kind, KSENG_KIND_ENTRY);
  EXPECT_EQ(stored[0].form, "Part");
  // "Skip" is a field here; the text after the last column has no field.
  EXPECT_EQ(stored[0].fields, (Fields{{"Code", "AB "}, {"Name", "Bolt  "}, {"Skip", ""}}));
  // As this import always has, entries are not counted as documents added.
  EXPECT_EQ(outcome.documents_added, 0u);
}

TEST_F(FixedImport, MissingEntryFormEndsTheImportWithoutALogLine) {
  QueuedFile file = Fixed("e.txt", "AB\r\n", "T=FXD\r\nN=1\r\nNA1=Code\r\nL1=2");
  file.entry_form = "No such form";
  const auto outcome = Import({file});
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.error, 14001u);
  EXPECT_TRUE(outcome.log.empty()) << outcome.log;
  EXPECT_TRUE(Documents().empty());
}

// ---- Real files written by other software ----

TEST_F(FixedImport, CorpusFilesImportLineByLine) {
  const std::filesystem::path corpus = Corpus("fixed");
  if (!std::filesystem::exists(corpus)) GTEST_SKIP() << "no corpus beside the checkout";
  QueuedFile sample{(corpus / "fwf-sample.txt").string(), kFixedWidth};
  const auto outcome = Import({sample, {(corpus / "epa78.txt").string(), kFixedWidth}});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.documents_added, 3u + 20u);
  // How corpus lines are cut into columns is text_corpus_test.cpp's.
}

}  // namespace
