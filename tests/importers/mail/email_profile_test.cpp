// E-mail profiles: the ".emw" file as hosts have always read and written it
// (exact bytes, the containment rule of the reader, scrambled passwords),
// the profile folder (list order, file names, file modes) and the
// checkpoints that let "new messages" read only what was appended to a
// mailbox.
#include "importers/mail/email_profile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "api/write_file.h"
#include "core/error_codes.h"
#include "importers/mail/email_profile_list.h"
#include "importers/mail/email_profile_util.h"
#include "importers/mail/email_profiles.h"
#include "importers/mail/mailbox_checkpoints.h"
#include "importers/mail/password_scrambler.h"
#include "temp_dir.h"

namespace {

EmailProfile EudoraProfile() {
  EmailProfile p;
  p.type = mail_application::kEudora;
  p.name = "Work";
  p.database = "/data/mail.kst";
  p.selection = message_selection::kBetweenDates;
  p.date_start = ProfileDate{2024, 1, 5};
  p.date_end = ProfileDate{2024, 2, 29};
  p.date_start_comp = p.date_start;
  p.date_end_comp = p.date_end;
  p.option_location = KSIMP_LOC_TOP;
  p.option_header = 1;
  p.option_attach = 1;
  p.mail_root = "/home/u/Eudora";
  p.folders = {{"Archive.fol", 1, {}}};
  p.mailboxes = {{"In.mbx", 1, {}}, {"/mail/Clients, old.mbx", 7, {}}};
  return p;
}

mode_t ModeOf(const std::filesystem::path& path) {
  struct stat info {};
  EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
  return info.st_mode & 0777;
}

TEST(EmailProfileFile, WritesKeysInOrderWithTheirFormats) {
  EXPECT_EQ(CEmailProfileUtil::Write(EudoraProfile()),
            "TYPE=1403\n"
            "NAME=Work\n"
            "NAME_KESTRO=/data/mail.kst\n"
            "TYPE_MSG=1\n"
            "DATE_START=01/05/2024\n"
            "DATE_END=02/29/2024\n"
            "DATE_START_COMP=\"01/05/2024\"\n"
            "DATE_END_COMP=\"02/29/2024\"\n"
            "OPTION_LOCATION=6\n"
            "OPTION_EFORM=0\n"
            "OPTION_HEADER=1\n"
            "OPTION_ATTACH=1\n"
            "OPTION_IMPORT_ATTACH=0\n"
            "MAILROOT=/home/u/Eudora\n"
            "FOLDER=Archive.fol,1\n"
            "MAILBOX=In.mbx,1\n"
            "MAILBOX=/mail/Clients, old.mbx,7\n");
}

TEST(EmailProfileFile, SelectionDecidesWhichDatesAreWritten) {
  EmailProfile p = EudoraProfile();
  p.selection = message_selection::kNewMessages;
  std::string text = CEmailProfileUtil::Write(p);
  EXPECT_NE(text.find("TYPE_MSG=0\nDATE_START=01/05/2024\nDATE_END=\nOPTION_LOCATION="),
            std::string::npos)
      << text;
  p.selection = 7;  // any other code: every message, no dates
  text = CEmailProfileUtil::Write(p);
  EXPECT_NE(text.find("TYPE_MSG=7\nDATE_START=\nDATE_END=\nOPTION_LOCATION="), std::string::npos)
      << text;
  EXPECT_EQ(text.find("_COMP"), std::string::npos);
}

TEST(EmailProfileFile, AllSelectedReplacesTheListEntries) {
  EmailProfile p = EudoraProfile();
  p.all = true;
  const std::string text = CEmailProfileUtil::Write(p);
  EXPECT_TRUE(text.ends_with("MAILROOT=/home/u/Eudora\nALL=Yes\n")) << text;
  EXPECT_EQ(text.find("MAILBOX="), std::string::npos);
}

TEST(EmailProfileFile, ReadsBackWhatItWrote) {
  const EmailProfile written = EudoraProfile();
  EXPECT_EQ(CEmailProfileUtil::Read(CEmailProfileUtil::Write(written)), written);

  EmailProfile imap;
  imap.type = mail_application::kImap;
  imap.name = "Server";
  imap.database = "/d.kst";
  imap.imap_server = "imap.example.com";
  imap.imap_user = "ann";
  imap.imap_password = "s3cret=\n\x01";
  imap.firewall_type = 2;
  imap.firewall_port = 1080;
  imap.firewall_server = "fw";
  imap.firewall_user = "fwuser";
  imap.firewall_password = "fw-pass";
  imap.firewall_data = "extra";
  EXPECT_EQ(CEmailProfileUtil::Read(CEmailProfileUtil::Write(imap)), imap);
}

TEST(EmailProfileFile, ServerKeysOnlyForImapInTheirPlace) {
  EmailProfile p = EudoraProfile();
  p.imap_server = "imap.example.com";
  EXPECT_EQ(CEmailProfileUtil::Write(p).find("IMAP_"), std::string::npos);
  p.type = mail_application::kImap;
  const std::string text = CEmailProfileUtil::Write(p);
  EXPECT_NE(text.find("NAME_KESTRO=/data/mail.kst\nIMAP_SERVER=imap.example.com\nIMAP_USER=\n"
                      "IMAP_PASSWORD=\nTYPE_FIREWALL=0\nFIREWALL_PORT=0\nFIREWALL_SERVER=\n"
                      "FIREWALL_USER=\nFIREWALL_PASSWORD=\nFIREWALL_DATA=\nTYPE_MSG=1\n"),
            std::string::npos)
      << text;
}

// That a written password is scrambled and never shown is held through the
// exports (email_import_test); its reading back by ReadsBackWhatItWrote.
TEST(EmailProfileFile, PasswordsScrambleWithoutPatternsAndPlainTextIsNone) {
  EmailProfile p;
  p.type = mail_application::kImap;
  p.firewall_password = "hunter2hunter2";
  EXPECT_EQ(CEmailProfileUtil::Write(p).find("hunter2"), std::string::npos);
  // The same password twice does not scramble to a repeated pattern.
  EXPECT_NE(ScramblePassword("aaaa").substr(2, 2), ScramblePassword("aaaa").substr(4, 2));
  // Written by hand, in plain text: not taken as a password.
  EXPECT_EQ(CEmailProfileUtil::Read("TYPE=1405\nIMAP_PASSWORD=plain\n").imap_password, "");
  EXPECT_FALSE(UnscramblePassword("~1abc").has_value());
  EXPECT_FALSE(UnscramblePassword("~1zz").has_value());
}

// A line goes to the first key, in the reader's order, whose text it holds
// anywhere: profile files have always been read this way.
TEST(EmailProfileFile, LineGoesToTheFirstKeyItContains) {
  EmailProfile p = EudoraProfile();
  p.name = "ATYPE=X";
  const EmailProfile read = CEmailProfileUtil::Read(CEmailProfileUtil::Write(p));
  EXPECT_EQ(read.type, 0) << "the NAME line is read as a TYPE line, after the real one";
  EXPECT_EQ(read.name, "");

  p = EudoraProfile();
  p.database = "/data/NAME=x.kst";
  EXPECT_EQ(CEmailProfileUtil::Read(CEmailProfileUtil::Write(p)).name, "x.kst");
  // A later key's text inside a value stays in the value.
  p = EudoraProfile();
  p.name = "My MAILBOX=list";
  EXPECT_EQ(CEmailProfileUtil::Read(CEmailProfileUtil::Write(p)).name, "My MAILBOX=list");
}

TEST(EmailProfileFile, ReaderIsForgiving) {
  const EmailProfile p = CEmailProfileUtil::Read(
      "; a comment\r\n"
      "TYPE= 1402\r\n"
      "NAME=first\r\n"
      "NAME=second\r\n"
      "TYPE_MSG=0\r\n"
      "DATE_START=13/01/2024\r\n"
      "DATE_START_COMP=\"01/02/2024\"\r\n"
      "OPTION_HEADER=yes\r\n"
      "MAILBOX=/m/no number\r\n"
      "MAILBOX=/m/a,b\r\n"
      "FOLDER=/m/f,\r\n");
  EXPECT_EQ(p.type, mail_application::kNetscape);
  EXPECT_EQ(p.name, "second") << "the last line of a key wins";
  EXPECT_FALSE(p.date_start.has_value()) << "month 13 is no date";
  EXPECT_EQ(p.date_start_comp, (ProfileDate{2024, 1, 2}));
  EXPECT_EQ(p.option_header, 0);
  ASSERT_EQ(p.mailboxes.size(), 2u);
  EXPECT_EQ(p.mailboxes[0], (ProfileListEntry{"/m/no number", 1, {}}));
  EXPECT_EQ(p.mailboxes[1], (ProfileListEntry{"/m/a,b", 1, {}})) << "no number after the comma";
  EXPECT_EQ(p.folders, (std::vector<ProfileListEntry>{{"/m/f", 1, {}}}));
}

TEST(EmailProfileFile, OutlookEntriesCarryATextAfterTheName) {
  const EmailProfile p =
      CEmailProfileUtil::Read("MAILBOX=Inbox,Personal Folders\nTYPE=1400\nFOLDER=x\n");
  EXPECT_EQ(p.mailboxes, (std::vector<ProfileListEntry>{{"Inbox", 1, "Personal Folders"}}));
  EXPECT_EQ(CEmailProfileUtil::Read(CEmailProfileUtil::Write(p)), p);
}

TEST(EmailProfileFile, HostKeyValuesMatchKeysExactly) {
  EmailProfile p;
  std::string bad;
  ASSERT_TRUE(CEmailProfileUtil::FromKeyValues(
      "TYPE=1403\r\nNAME=ATYPE=X\nNAME_KESTRO=/d.kst\nMAILBOX=/m/a,b.mbx\nIMAP_PASSWORD=pw\n", &p,
      &bad));
  EXPECT_EQ(p.type, mail_application::kEudora);
  EXPECT_EQ(p.name, "ATYPE=X");
  EXPECT_EQ(p.mailboxes, (std::vector<ProfileListEntry>{{"/m/a,b.mbx", 1, {}}}));
  EXPECT_EQ(p.imap_password, "pw");
  for (const char* text :
       {"TYPE=x\n", "NAMES=a\n", "DATE_START=2024-01-01\n", "no equals\n", "ALL=maybe\n"}) {
    EXPECT_FALSE(CEmailProfileUtil::FromKeyValues(text, &p, &bad)) << text;
  }
  EXPECT_EQ(bad, "ALL=maybe");
}

TEST(EmailProfileDates, ReadByPositionAndCheckedForRealDays) {
  EXPECT_EQ(ParseProfileDate("02/29/2024"), (ProfileDate{2024, 2, 29}));
  EXPECT_FALSE(ParseProfileDate("02/29/2023").has_value());
  EXPECT_FALSE(ParseProfileDate("").has_value());
  EXPECT_FALSE(ParseProfileDate("1/5/2024").has_value()) << "the day is read from characters 4-5";
  EXPECT_EQ(FormatProfileDate({2024, 3, 7}), "03/07/2024");
}

// The selection descriptions are held through the exports (email_import_test,
// email_progress_test) and by ksimp's profile list.
class EmailProfileFolder : public ::testing::Test {
 protected:
  std::filesystem::path folder() const { return dir_.path() / "config" / "profiles"; }
  CEmailProfiles profiles() const { return CEmailProfiles(folder()); }
  uint32_t Save(const std::string& name, bool replace = false) {
    EmailProfile p = EudoraProfile();
    p.name = name;
    std::string why;
    return profiles().Save(p, replace, &why);
  }

  TempDir dir_;
};

TEST_F(EmailProfileFolder, FilesReadableByTheirOwnerOnly) {
  ASSERT_EQ(Save("Work"), 0u);
  EXPECT_EQ(ModeOf(folder()), 0700u);
  EXPECT_EQ(ModeOf(folder() / "Work.emw"), 0600u);
  EXPECT_EQ(ModeOf(folder() / "Profiles.inf"), 0600u);
  EXPECT_EQ(ReadFile(folder() / "Work.emw"), CEmailProfileUtil::Write(EudoraProfile()));
}

TEST_F(EmailProfileFolder, ListKeepsTheUsersOrder) {
  for (const char* name : {"b", "a", "c"}) ASSERT_EQ(Save(name), 0u) << name;
  ASSERT_EQ(Save("a", /*replace=*/true), 0u);
  EXPECT_EQ(ReadFile(folder() / "Profiles.inf"), "b\tb.emw\na\ta.emw\nc\tc.emw\n");
  std::string why;
  ASSERT_TRUE(profiles().Delete("a", &why)) << why;
  EXPECT_FALSE(std::filesystem::exists(folder() / "a.emw"));
  EXPECT_EQ(ReadFile(folder() / "Profiles.inf"), "b\tb.emw\nc\tc.emw\n");
}

TEST_F(EmailProfileFolder, FileOfAnotherProfileGetsANumberedName) {
  WriteFile(folder() / "Work.emw", "left behind");
  WriteFile(folder() / "Work(1).emw", "left behind too");
  ASSERT_EQ(Save("Work"), 0u);
  EXPECT_EQ(profiles().FileOf("Work"), folder() / "Work(2).emw");
  EXPECT_EQ(profiles().StateFileOf("Work"), folder() / "Work(2).state");
  EXPECT_EQ(ReadFile(folder() / "Work.emw"), "left behind");
}

TEST_F(EmailProfileFolder, RefusesBadNamesAndIncompleteProfiles) {
  for (const char* name : {"a/b", "a:b", "tab\there", "q?", "pipe|"}) {
    EXPECT_EQ(Save(name), error_code::kProfileNameCharacters) << name;
  }
  for (const std::string& name :
       std::vector<std::string>{"", ".", "..", " lead", "trail ", std::string(201, 'x')}) {
    EXPECT_EQ(Save(name), error_code::kProfileNameInvalid) << name;
  }
  EXPECT_EQ(Save("ATYPE=X"), 0u) << "\"=\" may be in a name";

  EmailProfile p = EudoraProfile();
  std::string why;
  p.mailboxes.clear();
  p.folders.clear();
  EXPECT_EQ(profiles().Save(p, false, &why), error_code::kProfileIncomplete);
  p = EudoraProfile();
  p.date_end.reset();
  EXPECT_EQ(profiles().Save(p, false, &why), error_code::kProfileIncomplete);
  EXPECT_FALSE(std::filesystem::exists(folder() / "Work.emw"));
}

TEST_F(EmailProfileFolder, ListNeverLeadsOutOfTheFolder) {
  const CProfileList list = CProfileList::Parse(
      "ok\tok.emw\nescape\t../../etc/passwd.emw\nnot a "
      "profile\tnotes.txt\nbare\n\nok\tother.emw\n");
  EXPECT_EQ(list.entries(),
            (std::vector<CProfileList::Entry>{{"ok", "ok.emw"}, {"bare", "bare.emw"}}));
}

TEST_F(EmailProfileFolder, StartDateStoredOnlyForNewMessages) {
  EmailProfile p = EudoraProfile();
  p.selection = message_selection::kNewMessages;
  std::string why;
  ASSERT_EQ(profiles().Save(p, false, &why), 0u);
  ASSERT_TRUE(profiles().StoreStartDate("Work", {2025, 6, 30}, &why)) << why;
  EXPECT_EQ(profiles().Load("Work", &why)->date_start, (ProfileDate{2025, 6, 30}));
  EXPECT_EQ(ModeOf(folder() / "Work.emw"), 0600u);

  p.name = "Range";
  p.selection = message_selection::kBetweenDates;
  ASSERT_EQ(profiles().Save(p, false, &why), 0u);
  ASSERT_TRUE(profiles().StoreStartDate("Range", {2025, 6, 30}, &why));
  EXPECT_EQ(profiles().Load("Range", &why)->date_start, p.date_start);
}

class MailboxCheckpointTest : public ::testing::Test {
 protected:
  // The checkpoints of the mailbox holding `content` now.
  MailboxCheckpoints TakenOf(const std::string& content) {
    WriteFile(mailbox_, content);
    MailboxCheckpoints checkpoints;
    checkpoints.Set(*MailboxCheckpoints::Take(mailbox_));
    return checkpoints;
  }

  TempDir dir_;
  std::string mailbox_ = dir_.file("In");
};

TEST_F(MailboxCheckpointTest, ResumesAtTheFirstMessageAppended) {
  const MailboxCheckpoints checkpoints = TakenOf("From a\nFirst\n\n");
  EXPECT_EQ(checkpoints.ResumeAt(mailbox_, false).kind, ResumePoint::Kind::kNothingNew);

  const std::string first = ReadFile(mailbox_);
  std::ofstream(mailbox_, std::ios::app) << "\nA body line saying From here\nFrom b\nSecond\n";
  const ResumePoint resume = checkpoints.ResumeAt(mailbox_, false);
  EXPECT_EQ(resume.kind, ResumePoint::Kind::kFromOffset);
  EXPECT_EQ(ReadFile(mailbox_).substr(resume.offset), "From b\nSecond\n");
  // That the checkpoint survives being written to the profile's state and
  // read back: EmailImportTest.NewMessagesImportsOnlyWhatArrivedSinceTheLastRun.
}

TEST_F(MailboxCheckpointTest, RewrittenMailboxIsReadFromItsStart) {
  const MailboxCheckpoints checkpoints = TakenOf("From a\nFirst\nFrom b\nSecond\n");
  // Compacted: the first message deleted, a new one appended, same size.
  std::ofstream(mailbox_, std::ios::trunc) << "From b\nSecond\nFrom c\nThird!\n";
  EXPECT_EQ(checkpoints.ResumeAt(mailbox_, false).kind, ResumePoint::Kind::kFromStart);
  // Cut short.
  std::ofstream(mailbox_, std::ios::trunc) << "From a\n";
  EXPECT_EQ(checkpoints.ResumeAt(mailbox_, false).kind, ResumePoint::Kind::kFromStart);
  // Replaced by another file (another inode) holding the same bytes.
  WriteFile(dir_, "copy", "From a\nFirst\nFrom b\nSecond\n");
  std::filesystem::rename(dir_.file("copy"), mailbox_);
  EXPECT_EQ(checkpoints.ResumeAt(mailbox_, false).kind, ResumePoint::Kind::kFromStart);
  EXPECT_EQ(checkpoints.ResumeAt(dir_.file("never seen"), false).kind,
            ResumePoint::Kind::kFromStart);
}

TEST_F(MailboxCheckpointTest, EudoraSeparatorNeedNotStartALine) {
  const MailboxCheckpoints checkpoints = TakenOf("From ???@??? Mon\r\nOne\r\n");
  std::ofstream(mailbox_, std::ios::app) << "From me\r\nFrom ???@??? Tue\r\nTwo\r\n";
  const ResumePoint resume = checkpoints.ResumeAt(mailbox_, true);
  ASSERT_EQ(resume.kind, ResumePoint::Kind::kFromOffset);
  EXPECT_EQ(ReadFile(mailbox_).substr(resume.offset), "From ???@??? Tue\r\nTwo\r\n");
}

TEST_F(MailboxCheckpointTest, DamagedStateLinesAreLeftOut) {
  const MailboxCheckpoints read =
      MailboxCheckpoints::Parse("12 1 2 ff /m/In\nx 1 2 3 /m/bad\n5 1 2 zz /m/bad\n7 1 2 a\n");
  ASSERT_EQ(read.checkpoints().size(), 1u);
  EXPECT_EQ(read.checkpoints()[0], (MailboxCheckpoint{"/m/In", 12, 1, 2, 0xff}));
}

}  // namespace
