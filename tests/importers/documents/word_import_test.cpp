// The Word, WordPerfect, Word for Windows and Write imports through the
// exported interface: real documents through the real Word converter, a
// missing converter, and a stand-in converter for what the real one never
// does (naming a file elsewhere, taking long enough to be aborted).  After
// every import the temporary import folder must hold no converted copy.
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <thread>

#include "core/scoped_env.h"
#include "importers/import_fixture.h"

namespace {

namespace fs = std::filesystem;

std::string Joined(const std::vector<std::string>& documents) {
  std::string all;
  for (const auto& d : documents) all += d;
  return all;
}

class WordImportTest : public ImportFixture {
 protected:
  void SetUp() override {
    ImportFixture::SetUp();
    temp_ = std::make_unique<ScopedEnv>("TMPDIR", dir_.path().string());
    // The real converter, the one this build made, unless the run names
    // another folder.
    const char* modules = std::getenv("KESTRO_MODULE_DIR");
    if (modules == nullptr || *modules == '\0') {
      modules_ = std::make_unique<ScopedEnv>("KESTRO_MODULE_DIR", KS_BUILT_MODULE_DIR);
    }
  }

  // The converted copies still in the temporary import folder.
  std::vector<std::string> LeftoverCopies() const {
    std::vector<std::string> left;
    const fs::path folder = dir_.path() / "KSTmpImp";
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folder, ec)) left.push_back(entry.path().string());
    return left;
  }

  static bool HasCorpus(const std::string& folder) { return fs::is_directory(Corpus(folder)); }

  std::unique_ptr<ScopedEnv> temp_;
  std::unique_ptr<ScopedEnv> modules_;
};

TEST_F(WordImportTest, EveryCorpusDocImportsOrFailsAsNotInstalled) {
  if (!HasCorpus("doc")) GTEST_SKIP() << "no corpus";
  // The converter cannot read these: encrypted, or a damaged container.
  const std::set<std::string> unreadable = {"poi-password_password_cryptoapi.doc",
                                            "poi-password_tika_binaryrc4.doc",
                                            "wx-badfile-01-bad-header.doc"};
  const std::map<std::string, std::string> phrases = {
      {"poi-Word6.doc", "The quick brown fox jumps over the lazy dog"},
      {"poi-Word95.doc", "Has some RED text and some BLUE BOLD text in it."},
      {"wx-test04-unicode-headers.doc", "Les Précieuses ridicules."},
      {"wx-test11-chinese-fastsaved.doc", "这是一个用来测试nodejs解析Word文档"},
      {"wx-test13-footnotes-endnotes.doc", "This is an endnote"},
      {"wx-test01-revisions-unicode.doc", "\xF0\x9F\x98\x80"},  // a character beyond 16 bits
  };
  for (const auto& entry : fs::directory_iterator(Corpus("doc"))) {
    const std::string name = entry.path().filename().string();
    FreshDatabase();
    const ImportOutcome outcome = Import({QueuedFile(entry.path().string(), KSIMP_TYPE_WORD)});
    if (unreadable.count(name) != 0) {
      EXPECT_EQ(outcome.result, 0u) << name;
      EXPECT_EQ(outcome.error, 12007u) << name;
      EXPECT_EQ(outcome.documents_added, 0u) << name;
      EXPECT_NE(outcome.log.find(name), std::string::npos) << name << ": " << outcome.log;
    } else {
      EXPECT_EQ(outcome.result, 1u) << name << ": " << outcome.log;
      EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL) << name;
      // A document without text adds nothing.
      EXPECT_EQ(outcome.documents_added, name == "poi-empty.doc" ? 0u : 1u) << name;
    }
    if (const auto phrase = phrases.find(name); phrase != phrases.end()) {
      EXPECT_NE(Joined(Documents()).find(phrase->second), std::string::npos) << name;
    }
    EXPECT_TRUE(LeftoverCopies().empty()) << name;
  }
  const ImportOutcome encrypted =
      Import({QueuedFile(Corpus("doc/poi-password_tika_binaryrc4.doc").string(), KSIMP_TYPE_WORD)});
  EXPECT_NE(encrypted.log.find("encrypted"), std::string::npos) << encrypted.log;
}

TEST_F(WordImportTest, DocxImportsAsWordForWindowsButNotAsWord97) {
  if (!HasCorpus("docx")) GTEST_SKIP() << "no corpus";
  const std::set<std::string> unreadable = {"poi-bug53475-password-is-pass.docx",  // encrypted
                                            "poi-truncated62886.docx"};            // no zip directory
  for (const auto& entry : fs::directory_iterator(Corpus("docx"))) {
    const std::string name = entry.path().filename().string();
    FreshDatabase();
    const ImportOutcome outcome = Import({QueuedFile(entry.path().string(), KSIMP_TYPE_WFW)});
    if (unreadable.count(name) != 0) {
      EXPECT_EQ(outcome.error, 12007u) << name;
      EXPECT_EQ(outcome.documents_added, 0u) << name;
    } else {
      EXPECT_EQ(outcome.result, 1u) << name << ": " << outcome.log;
      EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL) << name;
    }
    EXPECT_TRUE(LeftoverCopies().empty()) << name;
  }

  FreshDatabase();
  const ImportOutcome tabs = Import({QueuedFile(Corpus("docx/poi-WithTabs.docx").string(), KSIMP_TYPE_WFW)});
  EXPECT_EQ(Documents(), std::vector<std::string>{"a\tb\r\n"});

  // An external entity the document declares stays unread: the converter's
  // DocxDocument test.

  // A Word 2007 package does not start as a compound document.
  FreshDatabase();
  const ImportOutcome refused = Import({QueuedFile(Corpus("docx/poi-WithTabs.docx").string(), KSIMP_TYPE_WORD)});
  EXPECT_EQ(refused.result, 0u);
  EXPECT_EQ(refused.error, KSIMP_ERR_WRONG_FILE_TYPE);
  EXPECT_EQ(refused.documents_added, 0u);
}

TEST_F(WordImportTest, MissingConverterFailsWithNotInstalledAndKeepsEarlierDocuments) {
  const fs::path empty = dir_.path() / "no-modules";
  fs::create_directory(empty);
  const ScopedEnv modules("KESTRO_MODULE_DIR", empty.string());
  const QueuedFile text = Source("first.txt", "imported before\r\n");
  const QueuedFile word = Source("second.doc", std::string("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8) + "rest",
                                 KSIMP_TYPE_WORD);
  const ImportOutcome outcome = Import({text, word});
  EXPECT_EQ(outcome.error, 12007u);
  EXPECT_EQ(Documents(), std::vector<std::string>{"imported before\r\n"});
  EXPECT_NE(outcome.log.find("KSWord"), std::string::npos) << outcome.log;
  // The texts of 12006 and 12007 are message_texts_test.cpp's.

  FreshDatabase();
  const ImportOutcome perfect = Import({Source("letter.wpd", "\xFFWPC any bytes", KSIMP_TYPE_WORDPERFECT)});
  EXPECT_EQ(perfect.result, 0u);
  EXPECT_EQ(perfect.error, 12006u);
  for (const int32_t type : {KSIMP_TYPE_WFW, KSIMP_TYPE_WIN_THREE}) {
    FreshDatabase();
    std::string write(128, '\0');
    write[0] = '\x31';
    write[1] = '\xBE';
    EXPECT_EQ(Import({Source("old.wri", write, type)}).error, 12007u) << type;
  }
}

TEST_F(WordImportTest, ConverterWithoutItsExportFailsAsNotInstalled) {
  // The stand-in exports ConvertWord only: as the WordPerfect converter it
  // lacks KSWp2rtf.
  const fs::path folder = dir_.path() / "modules";
  fs::create_directory(folder);
  fs::copy_file(fs::path(KS_FAKE_MODULE_DIR) / "libKSWord.so", folder / "libKSWordPerfect.so");
  const ScopedEnv modules("KESTRO_MODULE_DIR", folder.string());
  const ImportOutcome outcome = Import({Source("letter.wpd", "\xFFWPC", KSIMP_TYPE_WORDPERFECT)});
  EXPECT_EQ(outcome.error, 12006u);
  EXPECT_NE(outcome.log.find("KSWp2rtf"), std::string::npos) << outcome.log;
}

TEST_F(WordImportTest, ConvertedCopyIsDeletedWhenTheDocumentIsNotSaved) {
  if (!HasCorpus("doc")) GTEST_SKIP() << "no corpus";
  QueuedFile file(Corpus("doc/poi-Word95.doc").string(), KSIMP_TYPE_WORD);
  file.location = KSENG_LOC_AFTER_NAMED;
  file.named_document = "no such document";
  const ImportOutcome outcome = Import({file});
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.error, KSIMP_ERR_SAVE_DOCUMENT);
  EXPECT_TRUE(Documents().empty());
  EXPECT_TRUE(LeftoverCopies().empty());

  // A missing entry form stops the import after the conversion, too.
  FreshDatabase();
  QueuedFile with_form(Corpus("doc/poi-Word95.doc").string(), KSIMP_TYPE_WORD);
  with_form.entry_form = "No Such Form";
  EXPECT_EQ(Import({with_form}).error, 14001u);
  EXPECT_TRUE(LeftoverCopies().empty());
}

TEST_F(WordImportTest, ConvertedCopyIsDeletedWhenTheImportIsAbortedDuringConversion) {
  const ScopedEnv modules("KESTRO_MODULE_DIR", KS_FAKE_MODULE_DIR);
  const ScopedEnv mode("KS_FAKE_CONVERTER", "wait:" + dir_.path().string());
  const uint32_t handle = KSIMP_InitImportUsingFileName(database_.c_str());
  ASSERT_EQ(Queue(handle, Source("slow.doc", "any", KSIMP_TYPE_WFW)), 1u);
  std::thread aborter([&] {
    for (int i = 0; i < 1000 && !fs::exists(dir_.path() / "converting"); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    KSIMP_Abort(handle);
    std::ofstream(dir_.file("go")) << "";
  });
  uint32_t added = 0;
  EXPECT_EQ(KSIMP_Import(handle, 0, 0, nullptr, &added), 1u) << "an abort is not a failure";
  aborter.join();
  EXPECT_EQ(added, 0u);
  EXPECT_TRUE(Documents().empty());
  EXPECT_TRUE(LeftoverCopies().empty());
}

TEST_F(WordImportTest, ConverterNamingAFileElsewhereNeverHasItDeleted) {
  const std::string victim = WriteFile(dir_, "precious.txt", "the user's own text\r\n");
  const ScopedEnv modules("KESTRO_MODULE_DIR", KS_FAKE_MODULE_DIR);
  {
    const ScopedEnv mode("KS_FAKE_CONVERTER", "name:" + victim);
    const ImportOutcome outcome = Import({Source("any.doc", "x", KSIMP_TYPE_WFW)});
    EXPECT_EQ(outcome.result, 1u);
    EXPECT_TRUE(fs::exists(victim));
    EXPECT_NE(outcome.log.find("was kept"), std::string::npos) << outcome.log;
  }
  {
    // Climbing out of the folder by ".." is elsewhere too.
    const ScopedEnv mode("KS_FAKE_CONVERTER", "name:" + (dir_.path() / "KSTmpImp" / ".." / "precious.txt").string());
    fs::create_directories(dir_.path() / "KSTmpImp");
    Import({Source("any.doc", "x", KSIMP_TYPE_WFW)});
    EXPECT_TRUE(fs::exists(victim));
  }
  {
    const ScopedEnv mode("KS_FAKE_CONVERTER", "copy:text the converter wrote");
    FreshDatabase();
    const ImportOutcome outcome = Import({Source("any.doc", "x", KSIMP_TYPE_WFW)});
    EXPECT_EQ(Documents(), std::vector<std::string>{"text the converter wrote"});
    EXPECT_TRUE(LeftoverCopies().empty());
  }
  {
    const ScopedEnv mode("KS_FAKE_CONVERTER", "fail");
    EXPECT_EQ(Import({Source("any.doc", "x", KSIMP_TYPE_WFW)}).error, 12007u);
  }
}

TEST_F(WordImportTest, LongFileNameImports) {
  if (!HasCorpus("doc")) GTEST_SKIP() << "no corpus";
  const fs::path folder = dir_.path() / std::string(150, 'f');
  fs::create_directory(folder);
  const fs::path file = folder / (std::string(150, 'n') + ".doc");
  fs::copy_file(Corpus("doc/poi-Word6.doc"), file);
  ASSERT_GE(file.string().size(), 300u);
  const ImportOutcome outcome = Import({QueuedFile(file.string(), KSIMP_TYPE_WORD)});
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_EQ(Documents(), std::vector<std::string>{"The quick brown fox jumps over the lazy dog\r\n"});
}

TEST_F(WordImportTest, WriteDocumentImportsAsWinThreeAndOtherFilesAreRefused) {
  std::string write(128, '\0');
  const std::string text = "Dear reader,\r\nthis is Write.\r\n";
  write[0] = '\x31';
  write[1] = '\xBE';
  write[5] = '\xAB';
  const uint32_t fc_mac = 128 + static_cast<uint32_t>(text.size());
  write[14] = static_cast<char>(fc_mac);
  write += text;
  write.resize(256, '\0');
  write[18] = 2;  // paragraph pages start after the text: none here
  write[20] = 2;
  const ImportOutcome outcome = Import({Source("letter.wri", write, KSIMP_TYPE_WIN_THREE)});
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_EQ(Documents(), std::vector<std::string>{"Dear reader,\r\nthis is Write.\r\n"});

  FreshDatabase();
  const ImportOutcome refused = Import({Source("letter.doc", "plain words", KSIMP_TYPE_WIN_THREE)});
  EXPECT_EQ(refused.error, KSIMP_ERR_WRONG_FILE_TYPE);
  EXPECT_TRUE(LeftoverCopies().empty());
}

}  // namespace
