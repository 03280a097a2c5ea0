// The link-or-attach import: one document per file, a field File holding a
// hypertext link to it (or to its attachment), through the exported
// interface into a real database.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <vector>

#include "importers/documents/link_document.h"
#include "importers/documents/machine_typefaces.h"
#include "importers/documents/rich_text_header.h"
#include "importers/documents/rich_text_text.h"
#include "importers/import_fixture.h"

// Under the leak sanitizer: fontconfig 2.14 loses a few hundred bytes once
// per process while it parses its configuration files, the first time a link
// document asks for the machine's typefaces.  Not this library's to free.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libfontconfig.so\n";
}

namespace {

using ks::documents::Hyphens;
using ks::documents::RichText;

class OtherImportTest : public ImportFixture {
 protected:
  QueuedFile AnyFile(const std::string& name, const std::string& content, bool attach = false) {
    QueuedFile file{WriteFile(dir_, name, content), KSIMP_TYPE_ANY_FILE};
    file.save_attachments = attach ? 1 : 0;
    return file;
  }

  // Sets a display setting of the database behind the engine's back.
  void SetStoredSetting(const std::string& key, const std::string& value) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(database_.c_str(), &db), SQLITE_OK);
    const std::string sql =
        "INSERT OR REPLACE INTO settings(key, value) VALUES('" + key + "', '" + value + "')";
    EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(db);
    sqlite3_close(db);
  }

  // The link: what follows the header.
  static std::string Link(const std::string& document) {
    const size_t at = document.find("\\s0\\ri0 ");
    return at == std::string::npos ? document : document.substr(at);
  }
};

// Hyphens, a backslash and braces in the name: the title takes non-breaking
// hyphens, the shown text keeps them, and both double the backslash and
// escape the braces.
TEST_F(OtherImportTest, AFileBecomesOneRichTextDocumentLinkingToIt) {
  const QueuedFile file = AnyFile("a-b\\c{d}.jpg", std::string("\xFF\xD8\xFF\xE0", 4) + "data");
  const ImportOutcome outcome = Import({file});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.documents_added, 1u);
  const std::vector<StoredDocument> stored = StoredDocuments();
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(stored[0].kind, KSENG_KIND_RICHTEXT);
  const std::string& document = stored[0].text;
  EXPECT_EQ(document.rfind("{\\rtf1\\ansi\\ansicpg1252", 0), 0u) << document;
  const std::string folder = dir_.path().string();
  EXPECT_EQ(Link(document), "\\s0\\ri0 File[ {\\*\\hlinkstart {\\type7\\file " + database_ +
                                ";\\title " + RichText(folder, Hyphens::kNonBreaking) +
                                "/a\\_b\\\\c\\{d\\}.jpg;}}" + RichText(folder) +
                                "/a-b\\\\c\\{d\\}.jpg{\\*\\hlinkend}]}");
  EXPECT_EQ(document.find("data"), std::string::npos) << "the file's contents stay out";
  EXPECT_TRUE(Attachments().empty()) << "without the attach option nothing is attached";
  // Nothing in the name closes a group early: the braces balance.
  int depth = 0;
  for (size_t i = 0; i < document.size(); ++i) {
    if (document[i] == '\\') {
      ++i;
      continue;
    }
    if (document[i] == '{') ++depth;
    if (document[i] == '}') --depth;
    ASSERT_GT(depth + (i + 1 == document.size() ? 1 : 0), 0) << "closed early at " << i;
  }
  EXPECT_EQ(depth, 0);
}

TEST_F(OtherImportTest, TheAttachOptionStoresTheFileAndLinksToTheAttachment) {
  // The link's field marker is the database's own.
  const uint32_t db = EngOpenDatabase(database_.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
  ASSERT_NE(db, 0u);
  ASSERT_NE(EngSetFieldMarker(db, '~'), 0);
  EngCloseDatabase(db);
  const std::string content("binary\0bytes\xFF", 13);
  const QueuedFile file = AnyFile("report-2024.bin", content, /*attach=*/true);
  ASSERT_EQ(Import({file}).result, 1u);
  const std::vector<StoredAttachment> attached = Attachments();
  ASSERT_EQ(attached.size(), 1u);
  EXPECT_EQ(attached[0].name, "report-2024.bin");
  EXPECT_EQ(attached[0].kind, KSENG_ATTACH_FILE);
  EXPECT_EQ(attached[0].content, content);
  EXPECT_EQ(Link(Documents().at(0)),
            "\\s0\\ri0 File~ {\\*\\hlinkstart {\\type23\\file " + database_ +
                ";\\title report\\_2024.bin;}}" + RichText(file.path) + "{\\*\\hlinkend}]}");
}

TEST_F(OtherImportTest, ALongFileNameIsLinkedWholeAndCutInTheAttachment) {
  // Linux takes 255 bytes for one name: the longest name, in a folder that
  // makes the path over 300 characters.
  const std::string name = std::string(251, 'n') + ".txt";
  const std::string path = WriteFile(dir_.path() / std::string(60, 'f') / name, "long");
  ASSERT_GT(path.size(), 300u);
  QueuedFile file{path, KSIMP_TYPE_ANY_FILE};
  file.save_attachments = 1;
  const ImportOutcome outcome = Import({file});
  ASSERT_EQ(outcome.result, 1u) << outcome.log;
  const std::vector<StoredAttachment> attached = Attachments();
  ASSERT_EQ(attached.size(), 1u);
  EXPECT_EQ(attached[0].name, name.substr(0, 254)) << "cut to what an attachment record holds";
  EXPECT_EQ(attached[0].content, "long");
  const std::string link = Link(Documents().at(0));
  EXPECT_NE(link.find(";\\title " + name.substr(0, 254) + ";}}"), std::string::npos) << link;
  EXPECT_NE(link.find(";}}" + path + "{\\*\\hlinkend}]}"), std::string::npos) << "shown whole";
}

TEST_F(OtherImportTest, WithoutRichTextThePlainFieldLineStandsIn) {
  // A body font the header cannot take: no rich-text document can be started.
  SetStoredSetting("body_font", std::string(300, 'F'));
  const QueuedFile file = AnyFile("plain-one.txt", "x");
  const ImportOutcome outcome = Import({file});
  EXPECT_EQ(outcome.result, 1u);
  const std::vector<StoredDocument> stored = StoredDocuments();
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(stored[0].kind, KSENG_KIND_TEXT);
  EXPECT_EQ(stored[0].text, "File[ " + file.path + "]") << "the kept text has no blank before ]";
}

TEST_F(OtherImportTest, AnEntryFormGetsThePathInItsField) {
  CreateForm("Files", {"File"});
  QueuedFile file = AnyFile("form.txt", "x");
  file.entry_form = "Files";
  ASSERT_EQ(Import({file}).result, 1u);
  const std::vector<StoredDocument> stored = StoredDocuments();
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(stored[0].form, "Files");
  ASSERT_EQ(stored[0].fields.size(), 1u);
  EXPECT_EQ(stored[0].fields[0].second, file.path);
}

TEST_F(OtherImportTest, EachFileOfARecordGetsItsDocumentAndAMissingOneStopsThere) {
  const QueuedFile first = AnyFile("one.txt", "1");
  const QueuedFile missing{dir_.file("gone.txt"), KSIMP_TYPE_ANY_FILE};
  const ImportOutcome outcome = Import({first, missing});
  EXPECT_EQ(outcome.documents_added, 1u) << "what came before stays";
  EXPECT_EQ(outcome.error, KSIMP_ERR_OPEN_FILE);
}

// ---- The parts, alone --------------------------------------------------------

TEST(RichTextText, EscapesMarkupAndWritesUnicodeAsAscii) {
  EXPECT_EQ(RichText("C:\\a\\b.txt"), "C:\\\\a\\\\b.txt");
  EXPECT_EQ(RichText("{x}"), "\\{x\\}");
  EXPECT_EQ(RichText("a-b"), "a-b");
  EXPECT_EQ(RichText("a-b", Hyphens::kNonBreaking), "a\\_b");
  EXPECT_EQ(RichText("\\-", Hyphens::kNonBreaking), "\\\\\\_") << "the hyphen's backslash is not doubled";
  EXPECT_EQ(RichText("K\xC3\xB6ln"), "K\\u246?ln");
  EXPECT_EQ(RichText("\xE2\x82\xAC"), "\\u8364?");
  EXPECT_EQ(RichText("\xF0\x9F\x98\x80"), "\\u-10179?\\u-8704?") << "a surrogate pair";
  EXPECT_EQ(RichText("\xC3"), "\\'c3") << "a cut sequence stays a byte";
  EXPECT_EQ(RichText("a\tb"), "a\\'09b");
}

TEST(LinkDocument, AttachmentNamesAreCutAtACharacterBoundary) {
  EXPECT_EQ(ks::documents::AttachmentNameOf("/x/y/name.txt", 254), "name.txt");
  EXPECT_EQ(ks::documents::AttachmentNameOf("name.txt", 4), "name");
  EXPECT_EQ(ks::documents::AttachmentNameOf("/x/a\xC3\xB6", 2), "a") << "never half of an ö";
}

TEST(LinkDocument, KeptTextsAreFilledInOnce) {
  EXPECT_EQ(ks::documents::FillLinkText("File%c %s]", '[', "/a %s b"), "File[ /a %s b]");
  EXPECT_EQ(ks::documents::ComposePlainLinkDocument('[', "/files/x"), "File[ /files/x]");
}

TEST(RichTextHeader, FontsTheMachineLacksCarryTheirStandIn) {
  ks::documents::DocumentLook look;
  look.body_font = "Times New Roman";
  look.field_name_font = "Courier {Mono}";
  const ks::documents::MachineTypefaces machine({{"Courier {Mono}", true}}, "DejaVu Serif");
  const std::string header = ks::documents::BuildRichTextHeader(look, machine, "Normal");
  EXPECT_NE(header.find("{\\f0\\fnil\\fprq2\\fcharset0 Times New Roman{\\*\\falt DejaVu Serif};}"),
            std::string::npos)
      << header;
  EXPECT_NE(header.find("{\\f1\\fmodern\\fprq1\\fcharset0 Courier \\{Mono\\};}"), std::string::npos)
      << header;
  EXPECT_NE(header.find("{\\s0\\f0\\fs24\\cf1\\sb0\\sa0\\sl0 Normal;}"), std::string::npos);
  EXPECT_NE(header.find("\\paperw12240\\margl1440\\margr1440\\margt1440\\margb1440\\deftab720"),
            std::string::npos);
}

}  // namespace
