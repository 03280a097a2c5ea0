// Character sets of text sources, through the exported interface: the rule
// for ANSI text (valid UTF-8 lines kept, others read in the ANSI code page),
// the OEM code page, a character set the host names (KSIMP_SetSourceCharset)
// or asks to detect, the byte-order mark that outweighs them, and rich text,
// which keeps its markup.  Whatever the source, the database holds valid
// UTF-8 and finds accented words.
#include <iconv.h>

#include <filesystem>
#include <string>
#include <vector>

#include "core/charset_converter.h"
#include "core/config_store.h"
#include "core/scoped_env.h"
#include "importers/import_fixture.h"

namespace {

using namespace std::string_literals;

// `utf8` written in `charset`, as another program would have saved it.
std::string Encoded(const char* charset, const std::string& utf8) {
  const iconv_t to = iconv_open(charset, "UTF-8");
  EXPECT_NE(to, reinterpret_cast<iconv_t>(-1)) << charset;
  std::string out(utf8.size() * 4 + 8, '\0');
  char* in = const_cast<char*>(utf8.data());
  size_t in_left = utf8.size();
  char* at = out.data();
  size_t out_left = out.size();
  EXPECT_NE(iconv(to, &in, &in_left, &at, &out_left), static_cast<size_t>(-1));
  iconv_close(to);
  out.resize(out.size() - out_left);
  return out;
}

class SourceCharset : public ImportFixture {
 protected:
  // Imports `files` with `charset` named for them (nullptr names none).
  ImportOutcome ImportAs(const char* charset, const std::vector<QueuedFile>& files) {
    return Import(files, [&](uint32_t handle, size_t) {
      EXPECT_EQ(KSIMP_SetSourceCharset(handle, charset), 1u) << charset;
    });
  }

  int64_t Matches(const std::string& query) const {
    const uint32_t db = EngOpenDatabase(database_.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
    const int64_t found = EngSearch(db, query.c_str(), nullptr, 0);
    EngCloseDatabase(db);
    return found;
  }

  QueuedFile Lines(const std::string& name, const std::string& content) {
    QueuedFile file = Source(name, content);
    file.delimiter_flags = KSIMP_DELIM_EVERY_N_LINES;
    file.delimiter_lines = 1;
    return file;
  }
};

TEST_F(SourceCharset, AnsiKeepsUtf8LinesAndReadsTheOthersAsWindows1252) {
  Import({Lines("mixed.txt",
                "na\xC3\xAFve \xF0\x9F\x98\x80\r\nCaf\xE9 in Z\xFCrich \x80\r\nplain\r\n")});
  EXPECT_EQ(Documents(), (std::vector<std::string>{"na\xC3\xAFve \xF0\x9F\x98\x80\r\n",
                                                   "Caf\xC3\xA9 in Z\xC3\xBCrich \xE2\x82\xAC\r\n",
                                                   "plain\r\n"}));
  EXPECT_EQ(Matches("café"), 1);
  EXPECT_EQ(Matches("zürich"), 1);
}

// Lines and characters cut by the read blocks are the text import's test.

TEST_F(SourceCharset, TheConfigurationNamesTheAnsiAndOemCodePages) {
  const TempDir config;
  const ScopedEnv config_dir("KESTRO_CONFIG_DIR", config.path().string());
  ks::core::ConfigStore::Update([](ks::core::ProfileFile& values) {
    values.Set(ks::core::kImportSettingsKey, "ansi_codepage", "WINDOWS-1251");
    values.Set(ks::core::kImportSettingsKey, "oem_codepage", "CP866");
  });
  QueuedFile oem = Source("oem.txt", "\x8F\xE0\xA8\xA2\xA5\xE2");  // Привет in CP866
  oem.origin_ansi = 0;
  // Mail reads its undeclared text in the ANSI code page too.
  const QueuedFile mail =
      Source("box.mbx",
             "From a@example.org Mon Jan  1 00:00:00 2024\r\nFrom: a@example.org\r\n"
             "Subject: hi\r\n\r\n\xCF\xF0\xE8\xE2\xE5\xF2\r\n",
             KSIMP_TYPE_MBX);
  Import({Source("ansi.txt", "\xCF\xF0\xE8\xE2\xE5\xF2"), oem, mail});
  const std::string hello = "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82";
  const std::vector<std::string> documents = Documents();
  ASSERT_EQ(documents.size(), 3u);
  EXPECT_EQ(documents[0], hello);
  EXPECT_EQ(documents[1], hello);
  EXPECT_NE(documents[2].find(hello), std::string::npos) << documents[2];

  // A code page nobody knows is replaced by the default, and says so.
  ks::core::ConfigStore::Update([](ks::core::ProfileFile& values) {
    values.Set(ks::core::kImportSettingsKey, "ansi_codepage", "NO-SUCH-PAGE");
  });
  FreshDatabase();
  const ImportOutcome outcome = Import({Source("ansi2.txt", "caf\xE9")});
  EXPECT_EQ(Documents(), (std::vector<std::string>{"caf\xC3\xA9"}));
  EXPECT_NE(outcome.log.find("\"NO-SUCH-PAGE\" of the configuration (ansi_codepage)"),
            std::string::npos)
      << outcome.log;
}

TEST_F(SourceCharset, ANamedCharacterSetReadsTheFilesQueuedAfterItAndAnUnknownOneIsRefused) {
  const std::string russian = "Привет, мир";
  const uint32_t handle = KSIMP_InitImportUsingFileName(database_.c_str());
  // An unknown name is refused with its number (whose text is
  // message_texts_test.cpp's) and logged; the sources queued afterwards keep
  // the rule of their origin.
  EXPECT_EQ(KSIMP_SetSourceCharset(handle, "no-such-charset"), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(handle), KSIMP_ERR_UNKNOWN_CHARSET);
  char log[1024] = {};
  ASSERT_NE(KSIMP_GetLogData(handle, log, sizeof log), 0u);
  EXPECT_NE(std::string(log).find("\"no-such-charset\""), std::string::npos) << log;
  EXPECT_EQ(KSIMP_SetSourceCharset(0xFFFFFFFFu, "koi8-r"), 0u) << "an unknown handle";
  EXPECT_EQ(Queue(handle, Source("before.txt", "caf\xE9")), 1u);
  EXPECT_EQ(KSIMP_SetSourceCharset(handle, "koi8-r"), 1u);
  EXPECT_EQ(Queue(handle, Source("koi8.txt", Encoded("KOI8-R", russian))), 1u);
  EXPECT_EQ(KSIMP_SetSourceCharset(handle, nullptr), 1u);
  EXPECT_EQ(Queue(handle, Source("after.txt", "caf\xE9")), 1u);
  EXPECT_EQ(KSIMP_Import(handle, 0, 0, nullptr, nullptr), 1u);
  EXPECT_EQ(Documents(), (std::vector<std::string>{"caf\xC3\xA9", russian, "caf\xC3\xA9"}));
}

TEST_F(SourceCharset, DelimitersAreFoundInTheDecodedText) {
  // In Shift_JIS the second byte of "ポ" is "|" and of "ソ" is "\"; in
  // UTF-16 every comma is two bytes.
  const std::string settings =
      "T=CSV\r\nN=2\r\nNA1=Name\r\nNA2=Note\r\nP1=1\r\nP2=2\r\nD=|\r\nTQ=\"";
  const std::string row = "ポイント|ソース\r\n";
  ImportAs("Shift_JIS",
           {Source("sjis.csv", Encoded("SHIFT_JIS", row), KSIMP_TYPE_DELIMITED, settings)});
  EXPECT_EQ(Documents(), (std::vector<std::string>{"Name[ ポイント ]\r\nNote[ ソース ]\r\n"}));

  FreshDatabase();
  ImportAs("UTF-16LE",
           {Source("utf16.csv", Encoded("UTF-16LE", "a,b\r\nc,d\r\n"), KSIMP_TYPE_DELIMITED)});
  EXPECT_EQ(Documents(), (std::vector<std::string>{"a,b", "c,d"}));
}

TEST_F(SourceCharset, AutoDetectsEachFileAndLogsWhatItFound) {
  std::string russian;
  std::string japanese;
  for (int i = 0; i < 4; ++i) {
    russian += "Съешь же ещё этих мягких французских булок, да выпей чаю.\n";
    japanese += "私はガラスを食べられます。それは私を傷つけません。\n";
  }
  const ImportOutcome outcome = ImportAs("auto", {Source("ru.txt", Encoded("KOI8-R", russian)),
                                                  Source("ja.txt", Encoded("SHIFT_JIS", japanese)),
                                                  Source("utf8.txt", "na\xC3\xAFve")});
  EXPECT_EQ(Documents(), (std::vector<std::string>{russian, japanese, "na\xC3\xAFve"}));
  EXPECT_NE(outcome.log.find("ru.txt: character set detected: KOI8-R."), std::string::npos)
      << outcome.log;
  EXPECT_NE(outcome.log.find("ja.txt: character set detected: SHIFT_JIS."), std::string::npos);
}

TEST_F(SourceCharset, AByteOrderMarkOutweighsANamedCharacterSet) {
  ImportAs("KOI8-R", {Source("bom8.txt",
                             "\xEF\xBB\xBF"
                             "caf\xC3\xA9 \xE9"),
                      Source("bom16.txt",
                             "\xFF\xFE"
                             "a\0\xE9\0"s)});
  EXPECT_EQ(Documents(), (std::vector<std::string>{"caf\xC3\xA9 \xEF\xBF\xBD", "a\xC3\xA9"}));
}

TEST_F(SourceCharset, EveryCorpusTextFileGivesValidUtf8) {
  if (!std::filesystem::is_directory(Corpus("csv"))) GTEST_SKIP() << "no shared corpus";
  const std::vector<std::pair<std::string, int32_t>> folders = {{"csv", KSIMP_TYPE_DELIMITED},
                                                                {"fixed", KSIMP_TYPE_TEXT},
                                                                {"html", KSIMP_TYPE_HTML},
                                                                {"rtf", KSIMP_TYPE_RTF}};
  std::vector<QueuedFile> files;
  for (const auto& [folder, type] : folders) {
    for (const auto& entry : std::filesystem::directory_iterator(Corpus(folder))) {
      if (entry.is_regular_file()) files.emplace_back(entry.path().string(), type);
    }
  }
  ASSERT_FALSE(files.empty());
  for (const QueuedFile& file : files) {
    FreshDatabase();
    Import({file});
    for (const std::string& text : Documents()) {
      EXPECT_TRUE(ks::core::IsValidUtf8(text)) << file.path;
    }
  }
  // latin1.csv keeps its Windows-1252 copyright sign, as a character.
  FreshDatabase();
  Import({QueuedFile((Corpus("csv") / "latin1.csv").string(), KSIMP_TYPE_DELIMITED)});
  EXPECT_EQ(Documents(), (std::vector<std::string>{"a,b,c", "1,2,3", "4,5,\xC2\xA9"}));
}

}  // namespace
