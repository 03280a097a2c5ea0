// Mail attachments imported into the end of their message's document: a
// stand-in mail importer saves each message and hands its attachments to the
// context, as the mailbox importers do; the attachments go through the real
// importers of their types into a real database.
#include <gtest/gtest.h>
#include <limits.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "api/attachment_file_name.h"
#include "api/attachment_type.h"
#include "api/import_session.h"
#include "api/ks_imp_app.h"
#include "api/stub_importer.h"
#include "core/temp_import_folder.h"
#include "api/write_file.h"
#include "core/error_codes.h"
#include "core/message_texts.h"
#include "core/scoped_env.h"
#include "importers/text/text_import.h"
#include "ks_eng5.h"
#include "ks_imp.h"
#include "temp_dir.h"

namespace {

namespace fs = std::filesystem;

struct MailMessage {
  std::string text;
  std::vector<std::pair<std::string, std::string>> attachments;  // name, content
};

struct MailScript {
  std::vector<MailMessage> messages;
  std::vector<bool> imported;  // what the hook answered, attachment by attachment
  // The mail import's own counters around each call of the hook.
  std::vector<std::pair<uint64_t, uint64_t>> bytes_around_hook;
};

// Saves each message as a document and then hands its attachments to the
// context, the way the mailbox importers do.
class MailStandIn : public CIMPImportBase {
 public:
  explicit MailStandIn(MailScript& script) : script_(script) {}
  int CheckFile(const std::string&) override { return 1; }
  int IntegerProperty() const override { return 0; }

 protected:
  int ImportSource() override {
    uint64_t position = 0;
    for (const MailMessage& message : script_.messages) {
      if (Aborted()) break;
      position += message.text.size();
      if (!SaveDocument(message.text, position)) return Failed() ? 0 : 1;
      for (const auto& [name, content] : message.attachments) {
        const uint64_t before = Context().CurrentBytes();
        script_.imported.push_back(Context().ImportAttachmentIntoDocument(name, content));
        script_.bytes_around_hook.emplace_back(before, Context().CurrentBytes());
      }
    }
    return 1;
  }

 private:
  MailScript& script_;
};

// What the importer of a text attachment saw of the session while it ran.
struct AttachmentSeen {
  std::string file_name;
  uint32_t import_handle = 0;
  bool flag_set = false;
  size_t listed = 0;
  std::string current_file;
  unsigned folder_mode = 0;
};

// The real text importer, with a look at the session first and, when told,
// something done in the middle of the attachment's import.
class ObservedTextImport : public CIMPTextImport {
 public:
  ObservedTextImport(CImportSession& session, uint32_t mail_handle,
                     std::vector<AttachmentSeen>& seen, std::function<void()> meanwhile)
      : session_(session),
        mail_handle_(mail_handle),
        seen_(seen),
        meanwhile_(std::move(meanwhile)) {}

 protected:
  int ImportSource() override {
    AttachmentSeen seen;
    seen.file_name = Options().file_name;
    seen.import_handle = ImportHandle();
    seen.flag_set = session_.IsImportingAttachments();
    seen.listed = session_.AttachmentCount();
    char current[PATH_MAX] = {};
    if (session_.GetCurFile(mail_handle_, current) == 1) seen.current_file = current;
    struct stat info {};
    if (::stat(fs::path(seen.file_name).parent_path().c_str(), &info) == 0) {
      seen.folder_mode = info.st_mode & 07777;
    }
    seen_.push_back(seen);
    if (meanwhile_) meanwhile_();
    return CIMPTextImport::ImportSource();
  }

 private:
  CImportSession& session_;
  uint32_t mail_handle_;
  std::vector<AttachmentSeen>& seen_;
  std::function<void()> meanwhile_;
};

// Fails as a refused document would.
class RefusingImport : public CIMPTextImport {
 protected:
  int ImportSource() override {
    Fail(error_code::kCannotSaveDocument);
    return 0;
  }
};

class AttachmentImportTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string path = dir_.file("target.kst");
    ASSERT_NE(EngCreateDatabase(path.c_str(), nullptr, nullptr, 0), 0);
    database_ = EngOpenDatabase(path.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
    ASSERT_NE(database_, 0u);
    fs::create_directories(dir_.path() / "tmp");
    handle_ = session_.InitImportUsingFileHandle(database_);
    session_.SetImporterFactory([this](int32_t type) {
      CreatedImporter created;
      created.outcome = CreatedImporter::Outcome::kCreated;
      if (type == KSIMP_TYPE_MBX) {
        created.importer = std::make_unique<MailStandIn>(mail_);
      } else if (type == KSIMP_TYPE_TEXT && refuse_text_) {
        created.importer = std::make_unique<RefusingImport>();
      } else if (type == KSIMP_TYPE_TEXT) {
        created.importer =
            std::make_unique<ObservedTextImport>(session_, handle_, seen_, meanwhile_);
      } else {
        return CreateImporterFromTable(type);
      }
      return created;
    });
  }
  // Whatever became of the import, nothing of its attachments is left:
  // files, folders, the list, the flag.
  void TearDown() override {
    EXPECT_TRUE(TempFolderEntries().empty());
    EXPECT_EQ(session_.AttachmentCount(), 0u);
    EXPECT_FALSE(session_.IsImportingAttachments());
    EngCloseDatabase(database_);
  }

  // Imports the mail script's mailbox; returns the documents added.
  uint32_t ImportMail() {
    const std::string mailbox = WriteFile(dir_, "In.mbx", "stands in for a mailbox");
    EXPECT_TRUE(session_.queue().Append(QueuedFile(handle_, mailbox, KSIMP_TYPE_MBX)));
    uint32_t added = 0;
    result_ = session_.Import(handle_, 0, 0, nullptr, &added);
    return added;
  }

  std::vector<std::string> Documents() {
    std::vector<std::string> texts;
    for (uint64_t id = EngFirstDocument(database_, KSENG_WALK_DOCUMENTS); id != 0;
         id = EngNextDocument(database_, id, KSENG_WALK_DOCUMENTS)) {
      uint64_t length = 0;
      EngGetDocumentText(database_, id, nullptr, 0, &length);
      std::string text(length + 1, '\0');
      EngGetDocumentText(database_, id, text.data(), text.size(), &length);
      text.resize(length);
      texts.push_back(text);
    }
    return texts;
  }

  std::vector<std::string> LogLines() {
    std::vector<std::string> lines;
    char line[4096];
    while (session_.GetLogData(handle_, line, sizeof line) == 1) lines.emplace_back(line);
    std::reverse(lines.begin(), lines.end());  // read newest first
    return lines;
  }

  // Every file and folder the temporary import folder holds.
  std::vector<std::string> TempFolderEntries() const {
    std::vector<std::string> entries;
    const fs::path folder = dir_.path() / "tmp" / "KSTmpImp";
    if (!fs::exists(folder)) return entries;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      entries.push_back(entry.path().string());
    }
    return entries;
  }

  TempDir dir_;
  ScopedEnv tmpdir_{"TMPDIR", (dir_.path() / "tmp").string()};
  CImportSession session_;
  uint32_t database_ = 0;
  uint32_t handle_ = 0;
  uint32_t result_ = 0;
  MailScript mail_;
  std::vector<AttachmentSeen> seen_;
  std::function<void()> meanwhile_;
  bool refuse_text_ = false;
};

TEST_F(AttachmentImportTest, TextAndHtmlAttachmentsEndTheirMessagesDocument) {
  const std::string first = "Subject[ minutes ]\r\nMessage[ see the notes ]\r\n";
  const std::string second = "Subject[ no attachment ]\r\nMessage[ plain ]\r\n";
  const std::string notes = "Notes of the meeting\r\nsecond line\r\n";
  const std::string page = "<html><body><p>The page</p></body></html>\r\n";
  mail_.messages = {{first, {{"notes.txt", notes}, {"page.html", page}}}, {second, {}}};

  // An attachment appended to a document adds no document.
  EXPECT_EQ(ImportMail(), 2u);
  EXPECT_EQ(result_, 1u);
  EXPECT_EQ(mail_.imported, (std::vector<bool>{true, true}));
  EXPECT_EQ(Documents(), (std::vector<std::string>{first + notes + page, second}));
  EXPECT_TRUE(LogLines().empty());

  // The mail import's progress is its own: an attachment moves only its own.
  for (const auto& [before, after] : mail_.bytes_around_hook) EXPECT_EQ(after, before);

  // While it was read, each attachment was a private file of the temporary
  // import folder, listed with a handle of its own, and the host saw the
  // attachment text as the current file.
  ASSERT_EQ(seen_.size(), 1u);  // the HTML importer is the table's
  EXPECT_EQ(fs::path(seen_[0].file_name).filename(), "notes.txt");
  EXPECT_EQ(fs::path(seen_[0].file_name).parent_path().parent_path().string() + "/",
            TempImportFolder());
  EXPECT_EQ(seen_[0].folder_mode, 0700u);
  EXPECT_NE(seen_[0].import_handle, handle_);
  EXPECT_TRUE(seen_[0].flag_set);
  EXPECT_EQ(seen_[0].listed, 1u);
  EXPECT_EQ(seen_[0].current_file, "Importing Attachment(s)");

  // Afterwards its handle is gone too.
  EXPECT_FALSE(session_.handles().Exists(seen_[0].import_handle));
}

TEST_F(AttachmentImportTest, NamesFromTheMessageNeverLeadOutOfThePrivateFolder) {
  const std::string outside = WriteFile(dir_, "outside/abs.txt", "original");
  const std::string message = "Message[ names ]\r\n";
  mail_.messages = {{message,
                     {{"../../escape.txt", "climbed\r\n"},
                      {outside, "absolute\r\n"},
                      {"..\\..\\windows.txt", "backslashes\r\n"},
                      {"..", "no name\r\n"}}}};

  EXPECT_EQ(ImportMail(), 1u);
  ASSERT_EQ(seen_.size(), 3u);
  const std::vector<std::string> names = {"escape.txt", "abs.txt", "windows.txt"};
  for (size_t i = 0; i < seen_.size(); ++i) {
    EXPECT_EQ(fs::path(seen_[i].file_name).filename(), names[i]);
    EXPECT_EQ(fs::path(seen_[i].file_name).parent_path().parent_path().string() + "/",
              TempImportFolder());
  }
  // ".." leaves no name, hence no type: logged, and nothing written for it.
  EXPECT_EQ(mail_.imported, (std::vector<bool>{true, true, true, false}));
  EXPECT_EQ(Documents(),
            (std::vector<std::string>{message + "climbed\r\nabsolute\r\nbackslashes\r\n"}));
  EXPECT_EQ(LogLines(), (std::vector<std::string>{
                            "The attachment \"attachment\" was not imported into its message's "
                            "document: no importer reads files of its type.\r\n"}));

  // Nothing was written anywhere else: the file named by its absolute path
  // is as it was, and no file of those names is left in the test's folder.
  EXPECT_EQ(ReadFile(outside), "original");
  for (const auto& entry : fs::recursive_directory_iterator(dir_.path())) {
    const std::string name = entry.path().filename().string();
    EXPECT_TRUE(name != "escape.txt" && name != "windows.txt" && name != "attachment" &&
                (name != "abs.txt" || entry.path() == outside))
        << entry.path();
  }
}

// An attachment of a type no importer reads is the mailbox import test's
// (and the ".." name's above); here, attachments whose importer fails.
TEST_F(AttachmentImportTest, AnAttachmentNotImportedIsLoggedAndTheMailImportGoesOn) {
  const std::string first = "Message[ one ]\r\n";
  const std::string second = "Message[ two ]\r\n";
  mail_.messages = {{first, {{"report.pdf", "not a PDF at all"}}},
                    {second, {{"inbox.mbx", "From ???@??? Mon Jan 01 00:00:00 2001\r\n"}}}};

  EXPECT_EQ(ImportMail(), 2u);
  EXPECT_EQ(result_, 1u);
  EXPECT_EQ(mail_.imported, (std::vector<bool>{false, false}));
  EXPECT_EQ(Documents(), (std::vector<std::string>{first, second}));
  const std::vector<std::string> log = LogLines();
  ASSERT_EQ(log.size(), 2u) << "one line for each";
  EXPECT_NE(log[0].find("\"report.pdf\""), std::string::npos) << log[0];
  EXPECT_NE(log[1].find("\"inbox.mbx\""), std::string::npos) << log[1];
  EXPECT_NE(session_.GetLastImportError(handle_), KSIMP_ERR_SAVE_DOCUMENT);
}

TEST_F(AttachmentImportTest, AFailedImportLeavesTheMailImportsErrorAndCounters) {
  refuse_text_ = true;
  const std::string message = "Message[ one ]\r\n";
  mail_.messages = {{message, {{"notes.txt", "refused\r\n"}}}, {"Message[ two ]\r\n", {}}};

  EXPECT_EQ(ImportMail(), 2u);
  EXPECT_EQ(result_, 1u);
  EXPECT_EQ(mail_.imported, (std::vector<bool>{false}));
  EXPECT_EQ(Documents().front(), message);
  EXPECT_EQ(LogLines(),
            (std::vector<std::string>{
                "The attachment \"notes.txt\" was not imported into its message's document: " +
                std::string(ErrorText(KSIMP_ERR_SAVE_DOCUMENT)) + "\r\n"}));
  EXPECT_NE(session_.GetLastImportError(handle_), KSIMP_ERR_SAVE_DOCUMENT);
}

TEST_F(AttachmentImportTest, AbortDuringAnAttachmentRemovesItsFileAndHandle) {
  bool existed = false, exists_after = true, handle_after = true;
  size_t listed_after = 1;
  meanwhile_ = [&] {
    const std::string file = seen_.back().file_name;
    existed = fs::exists(file);
    EXPECT_EQ(session_.Abort(handle_), 1u);
    exists_after = fs::exists(file);
    listed_after = session_.AttachmentCount();
    handle_after = session_.handles().Exists(seen_.back().import_handle);
  };
  const std::string message = "Message[ one ]\r\n";
  mail_.messages = {{message, {{"notes.txt", "never stored\r\n"}, {"more.txt", "nor this\r\n"}}},
                    {"Message[ two ]\r\n", {}}};

  EXPECT_EQ(ImportMail(), 1u);
  EXPECT_TRUE(existed);
  EXPECT_FALSE(exists_after);
  EXPECT_EQ(listed_after, 0u);
  EXPECT_FALSE(handle_after);
  // The aborted attachment is not stored and not logged; the next one and
  // the next message are not begun.
  EXPECT_EQ(mail_.imported, (std::vector<bool>{false, false}));
  EXPECT_EQ(seen_.size(), 1u);
  EXPECT_EQ(Documents(), (std::vector<std::string>{message}));
  EXPECT_TRUE(LogLines().empty());
}

// The host's thread polls and aborts while attachments are imported (the
// test to run under ThreadSanitizer): wherever the abort falls, no file is
// left and no attachment is stored in part.
TEST_F(AttachmentImportTest, AnAbortFromTheHostsThreadLeavesNoFileAndNoHalfAttachment) {
  const std::string attachment = std::string(200, 'a') + "\r\n" + std::string(200, 'b') + "\r\n";
  for (int i = 0; i < 40; ++i) {
    mail_.messages.push_back(
        {"Message[ " + std::to_string(i) + " ]\r\n", {{"part.txt", attachment}}});
  }
  std::atomic<bool> done{false};
  std::thread host([&] {
    char name[PATH_MAX];
    int attachments_begun = 0;
    bool was_importing = false;
    while (!done.load()) {
      const bool importing =
          session_.GetCurFile(handle_, name) == 1 && std::string(name) == "Importing Attachment(s)";
      if (importing && !was_importing && ++attachments_begun == 5) session_.Abort(handle_);
      was_importing = importing;
      session_.AttachmentCount();
    }
  });
  ImportMail();
  done.store(true);
  host.join();

  for (const std::string& text : Documents()) {
    const size_t end = text.find(" ]\r\n") + 4;
    EXPECT_TRUE(text.size() == end || text.substr(end) == attachment) << text;
  }
}

TEST_F(AttachmentImportTest, ATempImportFolderThatIsALinkIsNotWrittenThrough) {
  const fs::path elsewhere = dir_.path() / "elsewhere";
  fs::create_directories(elsewhere);
  fs::create_directory_symlink(elsewhere, dir_.path() / "tmp" / "KSTmpImp");
  const std::string message = "Message[ one ]\r\n";
  mail_.messages = {{message, {{"notes.txt", "text\r\n"}}}};

  EXPECT_EQ(ImportMail(), 1u);
  EXPECT_EQ(mail_.imported, (std::vector<bool>{false}));
  EXPECT_TRUE(fs::is_empty(elsewhere));
  EXPECT_EQ(Documents(), (std::vector<std::string>{message}));
  const std::vector<std::string> log = LogLines();
  ASSERT_EQ(log.size(), 1u);
  EXPECT_NE(log[0].find("is not a folder of this user's own"), std::string::npos) << log[0];
}

TEST(AttachmentFileNameTest, KeepsOnlyASafeBaseName) {
  EXPECT_EQ(SafeAttachmentFileName("notes.txt"), "notes.txt");
  EXPECT_EQ(SafeAttachmentFileName("/etc/cron.d/job.txt"), "job.txt");
  EXPECT_EQ(SafeAttachmentFileName("C:\\Eudora\\Attach\\report.rtf"), "report.rtf");
  EXPECT_EQ(SafeAttachmentFileName("dir/.."), "attachment");
  EXPECT_EQ(SafeAttachmentFileName("..."), "attachment");
  EXPECT_EQ(SafeAttachmentFileName(""), "attachment");
  EXPECT_EQ(SafeAttachmentFileName("dir/"), "attachment");
  EXPECT_EQ(SafeAttachmentFileName(".profile"), "profile");
  EXPECT_EQ(SafeAttachmentFileName(" a.txt. "), "a.txt");
  EXPECT_EQ(SafeAttachmentFileName(std::string("a\0b\r\n:c?.txt", 12)), "a_b___c_.txt");

  const std::string longest = SafeAttachmentFileName(std::string(300, 'n') + ".html");
  EXPECT_EQ(longest.size(), 200u);
  EXPECT_EQ(AttachmentExtension(longest), "html");
  // Cut without an extension to keep, a name does not end in a blank.
  EXPECT_EQ(SafeAttachmentFileName(std::string(199, 'n') + "  " + std::string(150, 'x')),
            std::string(199, 'n'));
  EXPECT_EQ(SafeAttachmentFileName(std::string(199, 'n') + " .x" + std::string(150, 'x')),
            std::string(199, 'n'));
}

TEST(AttachmentCurrentFileTest, TheEmailImportShowsItsOwnItemWhileAttachmentsAreRead) {
  CImportSession& session = CKS_ImpApp::Instance().Session();
  const uint32_t handle = KSIMP_InitImportUsingFileHandle(4242);
  session.queue().Append(QueuedFile(handle, "box.mbx"));
  session.SetImportingAttachments(true);
  session.SetEmailMode(true);
  char name[PATH_MAX] = {};
  KSIMP_GetCurFile(handle, name);
  EXPECT_STRNE(name, "Importing Attachment(s)");
  session.SetEmailMode(false);
  session.SetImportingAttachments(false);
  session.ReleaseHandle(handle);
}

}  // namespace
