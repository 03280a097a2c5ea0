// The file-type verification: the marks each test looks for, the order in
// which the tests decide, the sharing test, and the exported call.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "api/write_file.h"
#include "ks_eng5.h"
#include "ks_imp.h"
#include "registry/file_signatures.h"
#include "registry/verify_filetype.h"
#include "temp_dir.h"

namespace {

using namespace std::string_literals;
using namespace ks::registry;

// ---- The marks ---------------------------------------------------------------

TEST(FileSignatures, PicturesByTheirMarks) {
  EXPECT_TRUE(IsPictureSignature("GIF89a..."));
  EXPECT_TRUE(IsPictureSignature("GIF87a"));
  EXPECT_FALSE(IsPictureSignature("GIFT shop list")) << "two digits must follow GIF";
  EXPECT_TRUE(IsPictureSignature("\xFF\xD8\xFF\xE0\x00\x10JFIF\x00"s));
  EXPECT_TRUE(IsPictureSignature("xxxxxxjfif")) << "the JFIF mark in any case";
  EXPECT_TRUE(IsPictureSignature("\xFF\xD8\xFF\xE1\x12\x34" "Exif\x00\x00"s));
  EXPECT_TRUE(IsPictureSignature("BM\x36\x00"s));
  EXPECT_TRUE(IsPictureSignature("\x89PNG\r\n\x1A\n"s));
  EXPECT_TRUE(IsPictureSignature("II*\0"s));
  EXPECT_TRUE(IsPictureSignature("MM\0*"s));
  EXPECT_FALSE(IsPictureSignature("Dear John,"));
  EXPECT_FALSE(IsPictureSignature("JFIF at the start is no mark"));
}

TEST(FileSignatures, ArchivesByTheirMarks) {
  EXPECT_TRUE(IsArchiveSignature("PK\3\4rest"s));
  EXPECT_TRUE(IsArchiveSignature("PK\5\6"s));
  EXPECT_TRUE(IsArchiveSignature("\x1F\x8B\x08\x00"s));
  EXPECT_TRUE(IsArchiveSignature("BZh91AY&SY"));
  EXPECT_FALSE(IsArchiveSignature("BZh is how the letters begin")) << "bzip2 needs its block mark";
  EXPECT_TRUE(IsArchiveSignature("7z\xBC\xAF\x27\x1C"s));
  EXPECT_TRUE(IsArchiveSignature("Rar!\x1A\x07\x00"s));
  EXPECT_TRUE(IsArchiveSignature("\xFD" "7zXZ\0"s));
  EXPECT_FALSE(IsArchiveSignature("PK is a name"));
}

TEST(FileSignatures, DocumentAndMailMarks) {
  EXPECT_TRUE(IsRichTextSignature("{\\rtf1\\ansi"));
  EXPECT_TRUE(IsRichTextSignature("{\\RTF1"));
  EXPECT_FALSE(IsRichTextSignature(" {\\rtf1")) << "the mark must open the file";

  EXPECT_TRUE(IsEudoraMailboxSignature("From ???@??? Mon Jan 01"));
  EXPECT_FALSE(IsEudoraMailboxSignature("From joe@example.com Mon"));

  EXPECT_TRUE(IsStandardMailboxSignature("From joe@example.com Mon Jan 1"));
  EXPECT_TRUE(IsStandardMailboxSignature("junk\r\nFrom joe Mon"));
  EXPECT_TRUE(IsStandardMailboxSignature("\xEF\xBB\xBF\r\n\nFrom - Mon"))
      << "a byte-order mark and blank lines before the first separator";
  EXPECT_FALSE(IsStandardMailboxSignature("From: joe@example.com\r\n")) << "a header is no separator";
  EXPECT_FALSE(IsStandardMailboxSignature("text\nFrom here on\n")) << "only CR LF before From counts";

  EXPECT_TRUE(IsPdfSignature("%PDF-1.7"));
  EXPECT_TRUE(IsPdfSignature("%pdf-1.4"));
  EXPECT_FALSE(IsPdfSignature("%PDF1.4"));

  EXPECT_TRUE(IsHtmlSignature("<!DOCTYPE html>\n<HTML><body>"));
  EXPECT_TRUE(IsHtmlSignature("a fragment</html>"));
  EXPECT_FALSE(IsHtmlSignature("<p>a fragment</p>"));
  EXPECT_FALSE(IsHtmlSignature("TPX\0\0\x02 <html>"s)) << "a page of binary data holding markup";

  EXPECT_TRUE(IsWordPerfectSignature("\xFFWPC\x10\x00"s));
  EXPECT_TRUE(IsWordPerfectSignature("\xFFwpc"s));
  EXPECT_FALSE(IsWordPerfectSignature("WPC at the start"));
}

TEST(FileSignatures, PlainTextIsTheFirst256BytesWithoutAZero) {
  EXPECT_TRUE(IsPlainTextSignature("a,b,c\r\n1,2,3\r\n"));
  EXPECT_FALSE(IsPlainTextSignature("a\0b"s));
  EXPECT_FALSE(IsPlainTextSignature(std::string(255, 'x') + '\0'));
  EXPECT_TRUE(IsPlainTextSignature(std::string(256, 'x') + '\0')) << "byte 257 is not looked at";
  EXPECT_FALSE(IsPlainTextSignature(""));
}

TEST(FileSignatures, Utf16TextWithItsMarkIsText) {
  const std::string utf16le = "\xFF\xFE<\0h\0t\0m\0l\0>\0a\0\n\0"s;
  EXPECT_EQ(TextOfOpeningBlock(utf16le), "<html>a\n");
  EXPECT_TRUE(IsPlainTextSignature(utf16le));
  EXPECT_TRUE(IsHtmlSignature(utf16le));
  const std::string utf16be = "\xFE\xFF\0a\0,\0b\x04\x10"s;
  EXPECT_EQ(TextOfOpeningBlock(utf16be), "a,b?");
  EXPECT_FALSE(IsPlainTextSignature("\xFF\xFE" "a\0\0\0"s)) << "a zero character is still binary";
  EXPECT_FALSE(IsPlainTextSignature("a\0b\0"s)) << "without its mark UTF-16 is not taken for text";
}

TEST(FileSignatures, ExportTextAllowsNulsButNoOtherControls) {
  EXPECT_TRUE(IsExportTextSignature("Name[ Joe ]\r\n\0Name[ Ann ]\r\n\0\0"s));
  EXPECT_TRUE(IsExportTextSignature("\x1A\f\t\x1B\x80\xFF"s));
  EXPECT_FALSE(IsExportTextSignature("\x03\x01\x02\x00"s)) << "a database header";
  EXPECT_FALSE(IsExportTextSignature("!BDN\x0E\x02"s)) << "a mail store header";
}

// ---- Files --------------------------------------------------------------------

class VerifyFiletypeTest : public ::testing::Test {
 protected:
  std::string File(const std::string& name, const std::string& content) {
    return WriteFile(dir_, name, content);
  }
  int32_t Detect(const std::string& path) { return verifier_.DetectFileType(path); }

  TempDir dir_;
  CVerifyFiletype verifier_;
};

// A file that two tests would take is the earlier test's.
TEST_F(VerifyFiletypeTest, TheEarlierTestDecides) {
  struct Case {
    const char* name;
    std::string content;
    int32_t expected;
  };
  const std::vector<Case> cases = {
      {"a GIF whose bytes are all text", "GIF89a is what it says", 0},
      {"an archive mark before text", "PK\3\4 and text after", 0},
      {"rich text is text too", "{\\rtf1 hello}", KSIMP_TYPE_RTF},
      {"a Eudora separator is a standard one too", "From ???@??? Mon Jan  1 00:00:00 2001\r\n",
       KSIMP_TYPE_EUDORA},
      {"a mailbox holding HTML", "From joe Mon Jan 1\r\n\r\n<html></html>", KSIMP_TYPE_MBX},
      {"a PDF whose opening is text", "%PDF-1.4\n<html>", KSIMP_TYPE_PDF},
      {"HTML is text too", "<html><body>hi</body></html>", KSIMP_TYPE_HTML},
      {"a WordPerfect mark without zero bytes is text", "\xFFWPC text goes on", KSIMP_TYPE_TEXT},
      {"delimited text is plain text", "name,town\r\nAnn,Bern\r\n", KSIMP_TYPE_TEXT},
      {"WordPerfect", "\xFFWPC\x10\0\0\0\x01\x0A"s, KSIMP_TYPE_WORDPERFECT},
      {"DOS export text: a zero early and one last", "Name[ Ann ]\r\n\0Name[ Joe ]\r\n\0"s,
       KSIMP_TYPE_KESTRO_DOS},
      {"binary bytes that end with a zero are no export", "\x01\x02\x03\0\x05\0"s, 0},
      {"binary bytes", "\x01\x02\x03\0\x05\x06"s, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Detect(File("case", c.content)), c.expected) << c.name;
  }
}

TEST_F(VerifyFiletypeTest, NothingToReadIsNoType) {
  EXPECT_EQ(Detect(File("empty", "")), 0);
  EXPECT_EQ(Detect(dir_.file("missing")), 0);
  EXPECT_EQ(Detect(dir_.path().string()), 0) << "a folder";
  EXPECT_EQ(Detect("/dev/null"), 0);
  const std::string fifo = dir_.file("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(Detect(fifo), 0) << "a FIFO is never read, so never waited on";
  EXPECT_FALSE(verifier_.SharingFailed());
}

TEST_F(VerifyFiletypeTest, AKestroDatabaseIsFoundThroughTheEngine) {
  const std::string open = dir_.file("open.kst");
  ASSERT_NE(EngCreateDatabase(open.c_str(), nullptr, nullptr, 0), 0);
  EXPECT_EQ(Detect(open), KSIMP_TYPE_KESTRO);
  EXPECT_EQ(verifier_.IsKestroDatabase(open), 1);

  const std::string protected_db = dir_.file("protected.kst");
  ASSERT_NE(EngCreateDatabase(protected_db.c_str(), "staff", "secret", 0), 0);
  EXPECT_EQ(verifier_.IsKestroDatabase(protected_db), 0) << "it does not open without its login";
  EXPECT_EQ(verifier_.IsKestroDatabaseByEngineRefusal(protected_db), 1);
  EXPECT_EQ(Detect(protected_db), KSIMP_TYPE_KESTRO);

  const std::string foreign = dir_.file("foreign.sqlite");
  File("foreign.sqlite", "SQLite format 3\0"s + std::string(100, '\x01'));
  EXPECT_EQ(verifier_.IsKestroDatabaseByEngineRefusal(foreign), 0);
}

TEST_F(VerifyFiletypeTest, ATableFileNeedsItsDriverToOpenIt) {
  // A folder of tables opens for any file in it: the file itself must be a
  // table the driver reads.
  const std::string not_a_table = File("notes.dbf", "\x03\x01\x02\x03garbage"s);
  EXPECT_EQ(verifier_.IsDbase(not_a_table), 0);
  const std::string beside = File("beside.bin", "\x01\x02\x03\0"s);
  EXPECT_EQ(verifier_.IsDbase(beside), 0);
  EXPECT_EQ(verifier_.IsParadox(beside), 0);
  EXPECT_EQ(verifier_.IsAccess(beside), 0);
}

// ---- Sharing --------------------------------------------------------------------

class HeldFile {
 public:
  explicit HeldFile(const std::string& path) : fd_(::open(path.c_str(), O_RDWR | O_CLOEXEC)) {}
  ~HeldFile() {
    if (fd_ >= 0) ::close(fd_);
  }
  int fd() const { return fd_; }

 private:
  int fd_;
};

TEST_F(VerifyFiletypeTest, AFileAnotherProgramLocksIsNoTypeAndSaysSo) {
  const std::string path = File("held.txt", "plain text\r\n");
  std::vector<std::string> shown;
  CVerifyFiletype showing(true, [&](const std::string& caption, const std::string& text) {
    shown.push_back(caption + "|" + text);
  });
  // Without messages it is refused all the same, and nothing is shown.
  CVerifyFiletype quiet(false, [&](const std::string& caption, const std::string&) {
    shown.push_back("quiet: " + caption);
  });
  {
    HeldFile holder(path);
    ASSERT_EQ(::flock(holder.fd(), LOCK_SH), 0);
    EXPECT_EQ(showing.DetectFileType(path), 0);
    EXPECT_TRUE(showing.SharingFailed());
    EXPECT_EQ(quiet.DetectFileType(path), 0);
    EXPECT_TRUE(quiet.SharingFailed());
  }
  ASSERT_EQ(shown.size(), 1u) << "the first test refuses it and the others are not asked";
  EXPECT_EQ(shown[0], "File sharing error|Please ensure another application does not have " + path +
                          " opened");
  EXPECT_EQ(showing.DetectFileType(path), KSIMP_TYPE_TEXT) << "once it is let go";
  EXPECT_FALSE(showing.SharingFailed());
}

TEST_F(VerifyFiletypeTest, ARecordLockCountsAsHoldingTheFile) {
  const std::string path = File("record.txt", "plain text\r\n");
  HeldFile holder(path);
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = 0;
  lock.l_len = 1;  // one byte is enough to keep others out
  ASSERT_EQ(::fcntl(holder.fd(), F_OFD_SETLK, &lock), 0);
  EXPECT_EQ(Detect(path), 0);
  EXPECT_TRUE(verifier_.SharingFailed());
  EXPECT_EQ(verifier_.IsPlainText(path), 0) << "every test runs the sharing test";
}

// ---- The exported call -------------------------------------------------------

TEST_F(VerifyFiletypeTest, TheExportAnswersAsTheVerifier) {
  const std::string text = File("a.csv", "a,b\r\n");
  char message[512] = "left over";
  EXPECT_EQ(KSIMP_DetectFileType(text.c_str(), message, sizeof message), KSIMP_TYPE_TEXT);
  EXPECT_STREQ(message, "");
  EXPECT_EQ(KSIMP_DetectFileType(nullptr, message, sizeof message), 0);
  EXPECT_EQ(KSIMP_DetectFileType(text.c_str(), nullptr, 0), KSIMP_TYPE_TEXT);

  HeldFile holder(text);
  ASSERT_EQ(::flock(holder.fd(), LOCK_EX), 0);
  EXPECT_EQ(KSIMP_DetectFileType(text.c_str(), message, sizeof message), 0);
  EXPECT_EQ(std::string(message),
            "Please ensure another application does not have " + text + " opened");
  char small[8] = "same";
  EXPECT_EQ(KSIMP_DetectFileType(text.c_str(), small, sizeof small), 0);
  EXPECT_STREQ(small, "same") << "a message that does not fit leaves the buffer alone";
}

}  // namespace
