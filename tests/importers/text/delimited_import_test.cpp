// The delimited-text import (file type 1004), end to end through the
// exported interface into a real database: the document text of each row
// byte for byte, entry-form mode, where the settings come from, and bad
// input that must be reported rather than crash or lose what was imported.
#include "importers/text/delimited_import.h"

#include <gtest/gtest.h>

#include <fstream>

#include "core/message_texts.h"
#include "importers/import_fixture.h"
#include "importers/text/ksi_file_handler.h"

namespace {

using Docs = std::vector<std::string>;
using Fields = std::vector<std::pair<std::string, std::string>>;

constexpr int32_t kDelimited = 1004;
const std::string kNoErrorRecorded = "no error was to be recorded";

// Name, a column the user left out, and a name with a blank in it.
const std::string kContactSettings =
    "T=CSV\r\nN=3\r\nNA1=Name\r\nNA2=Skip\r\nNA3=Home Phone\r\nP1=1\r\nP2=2\r\nP3=3\r\n"
    "D=,\r\nTQ=\"\r\nTC=0";

std::string Settings(const std::string& names_and_more) {
  return "T=CSV\r\n" + names_and_more;
}

const std::string kOneColumn = Settings("N=1\r\nNA1=A\r\nD=,\r\nTC=0");
const std::string kTwoQuoted = Settings("N=2\r\nNA1=A\r\nNA2=B\r\nD=,\r\nTQ=\"\r\nTC=0");

class DelimitedImport : public ImportFixture {
 protected:
  QueuedFile Delimited(const std::string& name, const std::string& content,
                       const std::string& settings) {
    return Source(name, content, kDelimited, settings);
  }
};

// ---- Text mode: the document of a row ----

TEST_F(DelimitedImport, EachRowBecomesADocumentOfFieldLines) {
  const std::string two_lines = "\"a,b\",'c\r\nd'\r\n";
  const auto quoted_by = [](const std::string& qualifier_line) {
    return Settings("N=2\r\nNA1=A\r\nNA2=B\r\nD=,\r\n" + qualifier_line + "TC=0");
  };
  const std::string unqualified_row = "A[ \"a ]\r\nB[ b\" ]\r\n";
  // UTF-16LE with a mark, tabs: what a spreadsheet saves as "Unicode text".
  std::string utf16 = "\xFF\xFE";
  for (const char16_t c : std::u16string(u"Stra\u00DFe\t\u20AC5\r\nx\ty\r\n")) {
    utf16 += static_cast<char>(c & 0xFF);
    utf16 += static_cast<char>(c >> 8);
  }
  const std::vector<SourceCase> cases = {
      {"named columns are trimmed, Skip columns left out",
       "Smith ,x, 555\r\nJones,y,1\r\n",
       kContactSettings,
       {"Name[ Smith ]\r\nHomePhone[ 555 ]\r\n", "Name[ Jones ]\r\nHomePhone[ 1 ]\r\n"}},
      // Names without a value stand with marker and blank only; a row of
      // delimiters has every value empty.
      {"short rows keep their names, extra values are ignored",
       "1\r\n1,2,3,4,5\r\n,,\r\n",
       Settings("N=3\r\nNA1=a\r\nNA2=b\r\nNA3=c\r\nD=,\r\nTC=0"),
       {"a[ 1 ]\r\nb[ c[ ", "a[ 1 ]\r\nb[ 2 ]\r\nc[ 3 ]\r\n", "a[  ]\r\nb[  ]\r\nc[  ]\r\n"}},
      {"Skip in any case and empty names are not written",
       "1,2,3,4,5\r\n",
       Settings("N=5\r\nNA1=skip\r\nNA2=A\r\nNA3=SKIP\r\nNA5=B\r\nD=,\r\nTC=0"),
       {"A[ 2 ]\r\nB[ 5 ]\r\n"}},
      {"qualified values keep delimiters, line breaks and quotes; TC=1 merges delimiters",
       "\"x,y\";\"say \"\"hi\"\"\"\r\n\"two\r\nlines\",,,z\r\n",
       Settings("N=2\r\nNA1=A\r\nNA2=B\r\nD=,;\r\nTQ=\"\r\nTC=1"),
       {"A[ x,y ]\r\nB[ say \"hi\" ]\r\n", "A[ two\r\nlines ]\r\nB[ z ]\r\n"}},
      {"double quote qualifies",
       two_lines,
       quoted_by("TQ=\"\r\n"),
       {"A[ a,b ]\r\nB[ 'c ]\r\n", "A[ d' ]\r\nB[ "}},
      {"apostrophe qualifies: \"c\\r\\nd\" is a third value",
       two_lines,
       quoted_by("TQ='\r\n"),
       {unqualified_row}},
      {"| is no qualifier", two_lines, quoted_by("TQ=|\r\n"), {unqualified_row, "A[ d' ]\r\nB[ "}},
      {"nor is a missing TQ", two_lines, quoted_by(""), {unqualified_row, "A[ d' ]\r\nB[ "}},
      // LF and CR line ends lose no character of the next line.
      {"rows run from the first row to the first blank line",
       "title\r\nheader\nv1\rv2\r\n\r\nnever\r\n",
       Settings("N=1\r\nNA1=A\r\nP1=1\r\nS=3\r\nD=,\r\nTC=0"),
       {"A[ v1 ]\r\n", "A[ v2 ]\r\n"}},
      {"last row without a line end", "lf\nno end", kOneColumn, {"A[ lf ]\r\n", "A[ no end ]\r\n"}},
      {"OEM values are converted, names are not",
       "Stra\xE1"
       "e,\x9C"
       "5\r\n",
       Settings("N=2\r\nNA1=Stra\xC3\x9F"
                "e\r\nNA2=Price\r\nD=,\r\nTC=0"),
       {"Stra\u00DFe[ Stra\u00DFe ]\r\nPrice[ \u00A35 ]\r\n"},
       0},
      {"UTF-16 arrives as UTF-8: the mark outweighs the origin chosen",
       utf16,
       Settings("N=2\r\nNA1=Street\r\nNA2=Price\r\nD=\t\r\nTC=0"),
       {"Street[ Stra\u00DFe ]\r\nPrice[ \u20AC5 ]\r\n", "Street[ x ]\r\nPrice[ y ]\r\n"},
       0},
  };
  ExpectDocuments(kDelimited, cases);
}

TEST_F(DelimitedImport, FieldNamesLoseBlanksAndTheDatabasesMarker) {
  const uint32_t db =
      EngOpenDatabase(database_.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
  ASSERT_NE(db, 0u);
  EXPECT_NE(EngSetFieldMarker(db, '<'), 0);
  EngCloseDatabase(db);
  Import(
      {Delimited("m.csv", "Ann,12,x\r\n",
                 Settings("N=3\r\nNA1= First  Name\r\nNA2=Size<cm>\r\nNA3=a[b\r\nD=,\r\nTC=0"))});
  // The marker comes from the database; "[" is then an ordinary character.
  EXPECT_EQ(Documents(), Docs{"FirstName< Ann ]\r\nSizecm>< 12 ]\r\na[b< x ]\r\n"});
}

// ---- Where the settings come from ----

TEST_F(DelimitedImport, SettingsFileBesideTheSourceOrNamedByTheRecordIsRead) {
  const std::string beside = dir_.file("people.ksi");
  CKSIFileHandler writer;
  ASSERT_TRUE(writer.WriteTypeAndCount(beside, CKSIFileHandler::Layout::kDelimited, 2));
  ASSERT_TRUE(writer.WriteDelimiterSettings(beside, ";", "\"", false));
  ASSERT_TRUE(writer.WriteColumnNames(beside, {"Name", "Town"}));
  QueuedFile people = Source("people.csv", "Ann;Oslo\r\n", kDelimited);
  people.use_stored_settings = 1;  // no path given: the file beside the source
  const std::string named = WriteFile(dir_, "layouts/tabbed.ksi",
                                      "[Type Section]\r\ntype=CSV\r\nNumberOfFields=2\r\n"
                                      "[Delimiter Section]\r\ndelimiter=|\r\n"
                                      "consecutice delimiter=FALSE\r\n"
                                      "[Header Section]\r\nheader1=Key\r\nheader2=Skip\r\n");
  EXPECT_EQ(Import({people, Delimited("data.txt", "k1||x\r\n", named)}).result, 1u);
  // "consecutice delimiter" FALSE: the second "|" ends an empty value.
  EXPECT_EQ(Documents(), (Docs{"Name[ Ann ]\r\nTown[ Oslo ]\r\n", "Key[ k1 ]\r\n"}));
}

TEST_F(DelimitedImport, MissingSettingsFileIsLoggedAndRowsArriveAsText) {
  QueuedFile file = Source("orphan.csv", "a,b\r\nc,d\r\n", kDelimited);
  file.use_stored_settings = 1;
  const auto outcome = Import({file});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.log, "The file " + dir_.file("orphan.ksi") + ", could not be located.\r\n");
  EXPECT_EQ(Documents(), (Docs{"a,b", "c,d"}));
}

TEST_F(DelimitedImport, FailingColumnHeaderStringIsLoggedAndRawRowsImported) {
  // Which string fails with which message is field_header_test.cpp's.
  const QueuedFile file = Delimited("bad.csv", "a, b\r\n\"c,\r\nd\r\n", "T=CSV\r\nN=0\r\nD=,");
  const auto outcome = Import({file});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL) << kNoErrorRecorded;
  EXPECT_EQ(outcome.log, file.path + ": 13003 " + std::string(MessageText(13003)) + "\r\n" +
                             file.path +
                             ": the settings do not apply, so each row is imported as a document "
                             "of its own text.\r\n");
  // No qualifier is left after a failed parse: each line is a row.
  EXPECT_EQ(Documents(), (Docs{"a, b", "\"c,", "d"}));
}

// ---- Entry-form mode ----

TEST_F(DelimitedImport, EntryFormRowsBecomeEntriesWithUntrimmedValuesAndTheirBlank) {
  CreateForm("Contact", {"Name", "Home Phone"});
  QueuedFile file = Delimited("e.csv", "Smith ,x, 555\r\nJones\r\n", kContactSettings);
  file.entry_form = "Contact";
  const auto outcome = Import({file});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL) << kNoErrorRecorded;
  EXPECT_EQ(outcome.documents_added, 2u);
  const std::vector<StoredDocument> stored = StoredDocuments();
  ASSERT_EQ(stored.size(), 2u);
  for (const StoredDocument& entry : stored) {
    EXPECT_EQ(entry.kind, KSENG_KIND_ENTRY);
    EXPECT_EQ(entry.form, "Contact");
  }
  // Names as given, "Skip" included; each value followed by one blank.
  EXPECT_EQ(stored[0].fields,
            (Fields{{"Name", "Smith  "}, {"Home Phone", " 555 "}, {"Skip", "x "}}));
  // Columns without a value are left empty.
  EXPECT_EQ(stored[1].fields, (Fields{{"Name", "Jones "}}));
}

TEST_F(DelimitedImport, EntriesFollowOneAnotherAndEarlierFilesInSourceOrder) {
  CreateForm("Row", {"A"});
  Import({Source("old.txt", "old")});
  std::vector<QueuedFile> files{Delimited("1.csv", "1\r\n2\r\n", kOneColumn),
                                Delimited("2.csv", "3\r\n", kOneColumn)};
  for (QueuedFile& file : files) {
    file.entry_form = "Row";
    file.location = 6;
  }
  EXPECT_EQ(Import(files).documents_added, 3u);
  EXPECT_EQ(Documents(), (Docs{"A[ 1  ]\r\n", "A[ 2  ]\r\n", "A[ 3  ]\r\n", "old"}));
}

TEST_F(DelimitedImport, MissingEntryFormIsReportedAndNothingIsImported) {
  QueuedFile file = Delimited("e.csv", "Smith,x,1\r\n", kContactSettings);
  file.entry_form = "No such form";
  const auto outcome = Import({file});
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.error, 14001u);
  EXPECT_EQ(outcome.log, std::string(MessageText(14001)) + "\r\n");
  EXPECT_EQ(outcome.documents_added, 0u);
  EXPECT_TRUE(Documents().empty());
}

TEST_F(DelimitedImport, MissingNamedDocumentForEntriesStopsWithError98) {
  CreateForm("Row", {"A"});
  QueuedFile file = Delimited("e.csv", "1\r\n", kOneColumn);
  file.entry_form = "Row";
  file.location = 3;
  file.named_document = "Nowhere";
  const auto outcome = Import({file});
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.error, KSIMP_ERR_SAVE_DOCUMENT);
  EXPECT_TRUE(Documents().empty());
}

// ---- Bad input ----

TEST_F(DelimitedImport, LaterFailuresKeepWhatEarlierFilesImported) {
  QueuedFile no_form = Delimited("f.csv", "2\r\n", kOneColumn);
  no_form.entry_form = "No such form";
  const auto outcome = Import({Delimited("good.csv", "1\r\n", kOneColumn),
                               {dir_.file("missing.csv"), kDelimited},
                               no_form,
                               Delimited("late.csv", "3\r\n", kOneColumn)});
  EXPECT_EQ(outcome.error, KSIMP_ERR_OPEN_FILE);
  EXPECT_NE(outcome.log.find("could not be located."), std::string::npos) << outcome.log;
  EXPECT_NE(outcome.log.find("Could not open entry form."), std::string::npos) << outcome.log;
  EXPECT_EQ(Documents(), (Docs{"A[ 1 ]\r\n", "A[ 3 ]\r\n"}));
}

TEST_F(DelimitedImport, BinaryBytesImportUpToTheirFirstNulWithoutAFault) {
  // Every byte but NUL and the line ends, qualifiers and delimiters among
  // them, then a NUL that ends the record; what follows is a blank line.
  std::string bytes;
  for (int i = 0; i < 1 << 16; ++i) {
    const char c = static_cast<char>(i % 255 + 1);
    if (c != '\r' && c != '\n') bytes += c;
  }
  const auto outcome =
      Import({Delimited("bin.csv", "x,y\r\n" + bytes + '\0' + "\r\nnever,read\r\n", kTwoQuoted)});
  EXPECT_EQ(outcome.result, 1u);
  const Docs docs = Documents();
  ASSERT_EQ(docs.size(), 2u);
  EXPECT_EQ(docs[0], "A[ x ]\r\nB[ y ]\r\n");
  EXPECT_EQ(docs[1].rfind("A[ ", 0), 0u);
}

TEST_F(DelimitedImport, AFiftyMegabyteFieldArrivesWhole) {
  const std::string big(50u << 20, 'x');
  const auto outcome = Import({Delimited("big.csv", "1,\"" + big + "\"\r\n2,z\r\n", kTwoQuoted)});
  EXPECT_EQ(outcome.result, 1u);
  const Docs docs = Documents();
  ASSERT_EQ(docs.size(), 2u);
  EXPECT_TRUE(docs[0] == "A[ 1 ]\r\nB[ " + big + " ]\r\n") << "size " << docs[0].size();
  EXPECT_EQ(docs[1], "A[ 2 ]\r\nB[ z ]\r\n");
}

TEST_F(DelimitedImport, UnclosedQuoteInALargeFileIsLoggedAndEarlierRowsKept) {
  // The quote runs on past the longest record the reader holds.
  const std::string path = dir_.file("open.csv");
  {
    std::ofstream out(path, std::ios::binary);
    out << "1,ok\r\n2,\"never closed\r\n";
    const std::string line(1 << 20, 'y');
    for (int i = 0; i < 70; ++i) out << line << "\r\n";
  }
  QueuedFile file{path, kDelimited};
  file.use_stored_settings = 1;
  file.date_from = kTwoQuoted;
  const auto outcome = Import({file});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.log, "Record 2 of " + path +
                             " (from byte 6) is longer than 64 MB; it and the rest of the file "
                             "were not imported.\r\n");
  EXPECT_EQ(Documents(), Docs{"A[ 1 ]\r\nB[ ok ]\r\n"});
}

// ---- A long import: progress and abort ----

TEST_F(DelimitedImport, AbortFromAnotherThreadStopsBetweenRows) {
  std::string source;
  for (int i = 0; i < 200000; ++i) source += std::to_string(i) + ",v\r\n";
  const auto run = ImportAbortingAfter(Delimited("many.csv", source, kOneColumn), 1000, 200000);
  EXPECT_GT(run.highest_bytes, 0u) << "no progress was seen";
  EXPECT_LT(run.highest_bytes, run.total_bytes);
  for (size_t i = 0; i < run.documents.size(); ++i) {
    ASSERT_EQ(run.documents[i], "A[ " + std::to_string(i) + " ]\r\n") << "document " << i;
  }
}

// ---- Real files written by other software ----

}  // namespace
