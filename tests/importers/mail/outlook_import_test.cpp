// The Outlook import end to end through the exported interface: every file
// of the corpus, the folder picked by the queue record, the queued size,
// attachments and their log lines, the date ranges, and damaged files.
//
// OutlookCorpusAgreesWithPffexport holds the import against pffexport, an
// independent reader of the same files (pff-tools): for each file the
// number of messages and their subjects, folder by folder.  Skipped when
// the corpus is absent; the comparison left out when pffexport is.
// Expected differences, each with its reason, are listed there.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "core/error_codes.h"
#include "core/scoped_env.h"
#include "importers/import_fixture.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kPffexport = "/usr/bin/pffexport";

// A message as the import stored it: its folder and subject fields.
struct StoredMessage {
  std::string folder;
  std::string subject;
  bool operator<(const StoredMessage& other) const {
    return std::tie(folder, subject) < std::tie(other.folder, other.subject);
  }
  bool operator==(const StoredMessage&) const = default;
};

std::string FieldValue(const std::string& text, const std::string& name) {
  const std::string opener = name + "[ ";
  size_t at = text.rfind(opener, 0) == 0 ? 0 : std::string::npos;
  for (const std::string_view line_end : {"\r\n", "<br>"}) {
    if (at != std::string::npos) break;
    const size_t found = text.find(std::string(line_end) + opener);
    if (found != std::string::npos) at = found + line_end.size();
  }
  if (at == std::string::npos) return {};
  at += opener.size();
  return text.substr(at, text.find(" ]", at) - at);
}

class OutlookImport : public ImportFixture {
 protected:
  // Imports the Outlook file `path`: the folder named, or every one.
  ImportOutcome ImportOutlook(const std::string& path, const std::string& folder = "",
                              int32_t save_attachments = 0, const std::string& first_day = "") {
    QueuedFile file(path, KSIMP_TYPE_OUTLOOK_FOLDER);
    file.folder = folder;
    file.save_attachments = save_attachments;
    file.message_date_from = first_day;
    return Import({file});
  }

  std::vector<StoredMessage> StoredMessages() const {
    std::vector<StoredMessage> messages;
    for (const std::string& text : Documents()) {
      messages.push_back({FieldValue(text, "Folder"), FieldValue(text, "Subject")});
    }
    std::sort(messages.begin(), messages.end());
    return messages;
  }

  static std::string CorpusFile(const std::string& name) {
    const fs::path path = Corpus("pst") / name;
    return fs::exists(path) ? path.string() : std::string();
  }
};

#define NEED_CORPUS_FILE(path) \
  if ((path).empty()) GTEST_SKIP() << "the corpus file is absent"

// Every file of the corpus is imported whole by OutlookCorpusAgreesWithPffexport.
TEST_F(OutlookImport, ItemsThatAreNoMessagesAreLeftOutAndCounted) {
  const std::string sample = CorpusFile("iped-test_sample.pst");
  NEED_CORPUS_FILE(sample);
  const ImportOutcome outcome = ImportOutlook(sample);
  EXPECT_EQ(outcome.documents_added, 4u);
  EXPECT_NE(outcome.log.find("not imported, as only messages become documents: 1 contact, "
                             "6 appointments, 2 tasks."),
            std::string::npos)
      << outcome.log;
}

TEST_F(OutlookImport, TheQueuedFolderIsTheOneImportedAndSizesTheProgress) {
  const std::string file = CorpusFile("tghanem-user1-password.pst");
  NEED_CORPUS_FILE(file);
  ImportOutcome outcome = ImportOutlook(file, "FolderWithSampleMessages");
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_EQ(outcome.total_bytes, 2u) << "the folder's items, not the file's bytes";
  const std::vector<StoredMessage> picked = StoredMessages();
  ASSERT_EQ(picked.size(), 2u);
  EXPECT_EQ(picked[0].folder, "FolderWithSampleMessages");

  // The full path from the file's root names the same folder.
  FreshDatabase();
  outcome = ImportOutlook(file, "Top of Outlook data file/FolderWithSampleMessages");
  EXPECT_EQ(StoredMessages(), picked);

  // Without a folder, every one: the total is every item of the file.
  FreshDatabase();
  outcome = ImportOutlook(file);
  EXPECT_EQ(outcome.documents_added, 6u);
  EXPECT_GE(outcome.total_bytes, 6u);
  EXPECT_LT(outcome.total_bytes, 100u);
}

TEST_F(OutlookImport, AFolderTheFileDoesNotHoldIsAnErrorThatListsItsFolders) {
  const std::string file = CorpusFile("tika-variousBodyTypes.pst");
  NEED_CORPUS_FILE(file);
  const ImportOutcome outcome = ImportOutlook(file, "Inbox/Nowhere");
  EXPECT_EQ(outcome.total_bytes, 2000u) << "a folder that cannot be counted is sized as always";
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.error, error_code::kCannotOpenFile);
  EXPECT_EQ(outcome.documents_added, 0u);
  EXPECT_NE(outcome.log.find("has no folder \"Inbox/Nowhere\"; its folders are "), std::string::npos)
      << outcome.log;
  EXPECT_NE(outcome.log.find("\"Inbox/tmp\""), std::string::npos) << outcome.log;
}

TEST_F(OutlookImport, SavedAttachmentsAreLoggedAndAttachedUnderTheirOwnName) {
  const std::string file = CorpusFile("pstsdk-submessage.pst");
  NEED_CORPUS_FILE(file);
  const ImportOutcome outcome = ImportOutlook(file, "", 1);
  EXPECT_EQ(outcome.result, 1u) << outcome.log;
  EXPECT_NE(outcome.log.find("Opened attachment file \"This is an embedded message.txt\" for "
                             "message \"This is a message which has an embedded message "
                             "attached\"\r\n"),
            std::string::npos)
      << outcome.log;
  const std::vector<StoredAttachment> attached = Attachments();
  ASSERT_EQ(attached.size(), 1u);
  EXPECT_EQ(attached[0].name, "This is an embedded message.txt");
  // The attached message is kept as the document it would have made.
  EXPECT_NE(attached[0].content.find("Subject[ This is an embedded message ]"), std::string::npos)
      << attached[0].content;

  // Without the option nothing is read or logged.
  FreshDatabase();
  EXPECT_EQ(ImportOutlook(file).log.find("Opened attachment file"), std::string::npos);
}

TEST_F(OutlookImport, TheDateRangesSelectByTheDayTheMessageWasSent) {
  const std::string file = CorpusFile("tika-variousBodyTypes.pst");
  NEED_CORPUS_FILE(file);
  ImportOutcome outcome = ImportOutlook(file, "", 0, "08/31/2017");
  EXPECT_EQ(outcome.documents_added, 0u);
  EXPECT_NE(outcome.log.find("4 messages outside the date range were skipped"), std::string::npos)
      << outcome.log;
  FreshDatabase();
  outcome = ImportOutlook(file, "", 0, "08/30/2017");
  EXPECT_EQ(outcome.documents_added, 4u);
}

TEST_F(OutlookImport, AFileThatIsNoOutlookFileIsTheWrongType) {
  const ImportOutcome outcome =
      ImportOutlook(WriteFile(dir_, "notes.pst", std::string(2048, 'x')));
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.error, error_code::kWrongFileType);
  EXPECT_NE(outcome.log.find("it is no Outlook personal folders file"), std::string::npos)
      << outcome.log;
}

TEST_F(OutlookImport, DamagedFilesGiveANumberedErrorAndKeepWhatCouldBeRead) {
  const std::string file = CorpusFile("aspose-passwordprotected.pst");
  NEED_CORPUS_FILE(file);
  const std::string whole = ReadFile(file);

  // Cut in half: the index at the end is gone.
  ImportOutcome outcome = ImportOutlook(WriteFile(dir_, "cut.pst", whole.substr(0, whole.size() / 2)));
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.error, error_code::kEndOfFile);
  EXPECT_NE(outcome.log.find("the file is cut short"), std::string::npos) << outcome.log;

  // Overwritten in the middle, where messages lie: the others are imported,
  // and each one lost is named in the log.
  size_t damaged_runs = 0;
  for (const size_t at : {whole.size() / 4, whole.size() / 3, whole.size() / 2}) {
    std::string broken = whole;
    for (size_t i = at; i < at + 8192 && i < broken.size(); ++i) {
      broken[i] = static_cast<char>(i * 7919);
    }
    FreshDatabase();
    outcome = ImportOutlook(WriteFile(dir_, "broken.pst", broken));
    EXPECT_EQ(outcome.documents_added, Documents().size());
    EXPECT_LE(outcome.documents_added, 18u);
    if (outcome.result == 0) {
      ++damaged_runs;
      EXPECT_EQ(outcome.error, error_code::kCannotOpenFile);
      EXPECT_NE(outcome.log.find("the Outlook file is damaged; "), std::string::npos)
          << outcome.log;
    }
  }
  EXPECT_GT(damaged_runs, 0u) << "no overwrite reached anything the import reads";
}

// pffexport's view of a file: each exported message's folder path (from
// the root) and subject.
std::vector<StoredMessage> PffexportMessages(const fs::path& file, const fs::path& work) {
  const fs::path target = work / file.stem();
  const std::string command = std::string(kPffexport) + " -q -m items -t '" + target.string() +
                              "' '" + file.string() + "' >/dev/null 2>&1";
  const int status = std::system(command.c_str());
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << command;
  std::vector<StoredMessage> messages;
  const fs::path root = target.string() + ".export";
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (!entry.is_directory() || !entry.path().filename().string().starts_with("Message")) continue;
    // Messages attached to messages lie in their message's Attachments.
    if (entry.path().parent_path().filename() == "Attachments" ||
        entry.path().string().find("/Attachments/") != std::string::npos) {
      continue;
    }
    StoredMessage message;
    message.folder = fs::relative(entry.path().parent_path(), root).string();
    std::ifstream headers(entry.path() / "OutlookHeaders.txt");
    for (std::string line; std::getline(headers, line);) {
      if (line.starts_with("Subject:")) {
        message.subject = line.substr(line.find_first_not_of('\t', 8));
        break;
      }
    }
    messages.push_back(message);
  }
  return messages;
}

// Each file imports without an error; with pffexport installed, its
// messages are held against pffexport's.
TEST_F(OutlookImport, OutlookCorpusAgreesWithPffexport) {
  if (!fs::is_directory(Corpus("pst"))) GTEST_SKIP() << "no pst corpus";
  // Messages the import takes and pffexport leaves out: pffexport skips
  // items of the class IPM.Post ("Skipped item ... of type: IPM.Post"),
  // which are messages posted to a folder, with sender, subject and text.
  const std::map<std::string, std::vector<std::string>> only_imported = {
      {"pstsdk-test_ansi-password.pst", {"Post"}},
  };
  for (const auto& entry : fs::directory_iterator(Corpus("pst"))) {
    const std::string name = entry.path().filename().string();
    FreshDatabase();
    const ImportOutcome outcome = ImportOutlook(entry.path().string());
    EXPECT_EQ(outcome.result, 1u) << name << "\n" << outcome.log;
    EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL) << name << "\n" << outcome.log;
    std::vector<StoredMessage> ours = StoredMessages();
    EXPECT_EQ(outcome.documents_added, ours.size()) << name;
    if (!fs::exists(kPffexport)) continue;
    std::vector<StoredMessage> theirs = PffexportMessages(entry.path(), dir_.path());
    // Our folder names drop the top of the personal folders; pffexport's
    // start at the root.
    for (StoredMessage& message : theirs) {
      const auto match = std::find_if(ours.begin(), ours.end(), [&](const StoredMessage& m) {
        return m.subject == message.subject &&
               (m.folder == message.folder || message.folder.ends_with("/" + m.folder));
      });
      if (match != ours.end()) message.folder = match->folder;
    }
    std::sort(theirs.begin(), theirs.end());
    std::vector<std::string> extra;
    for (const StoredMessage& message : ours) {
      if (std::find(theirs.begin(), theirs.end(), message) == theirs.end()) {
        extra.push_back(message.subject);
      }
    }
    const auto expected = only_imported.find(name);
    EXPECT_EQ(extra, expected == only_imported.end() ? std::vector<std::string>{} : expected->second)
        << name;
    for (const StoredMessage& message : theirs) {
      EXPECT_NE(std::find(ours.begin(), ours.end(), message), ours.end())
          << name << ": pffexport's message \"" << message.subject << "\" in \"" << message.folder
          << "\" was not imported";
    }
  }
}

}  // namespace

// Outlook profiles: the personal folders file is the profile's mail root,
// its folders the FOLDER entries (or every one with ALL).
class OutlookProfile : public OutlookImport {
 protected:
  TempDir config_;
  ScopedEnv config_env_{"KESTRO_CONFIG_DIR", config_.path().string()};
};

TEST_F(OutlookProfile, AProfileImportsItsFoldersOfTheFileAndKeepsThemInItsFile) {
  const std::string file = CorpusFile("tghanem-user1-password.pst");
  NEED_CORPUS_FILE(file);
  const std::string text = "TYPE=1400\nNAME=Archive\nNAME_KESTRO=" + database_ + "\nMAILROOT=" +
                           file + "\nFOLDER=FolderWithSampleMessages\nFOLDER=FolderWithSingleMessage\n";
  ASSERT_EQ(KSIMP_SaveEmailProfile(text.c_str(), 0), 0u);
  const std::string written = ReadFile(config_.path() / "profiles" / "Archive.emw");
  // Outlook's list entries are a name and a text.
  EXPECT_NE(written.find("FOLDER=FolderWithSampleMessages,\n"), std::string::npos) << written;

  ImportOutcome run = RunEmailProfiles({"Archive"});
  EXPECT_EQ(run.result, 1u) << run.log;
  EXPECT_EQ(run.documents_added, 3u) << run.log;
  const std::vector<StoredMessage> stored = StoredMessages();
  ASSERT_EQ(stored.size(), 3u);
  EXPECT_EQ(stored[0].folder, "FolderWithSampleMessages");
  EXPECT_EQ(stored[2].folder, "FolderWithSingleMessage");

  FreshDatabase();
  const std::string all = "TYPE=1400\nNAME=Whole\nNAME_KESTRO=" + database_ + "\nMAILROOT=" + file +
                          "\nALL=Yes\nTYPE_MSG=0\n";
  ASSERT_EQ(KSIMP_SaveEmailProfile(all.c_str(), 0), 0u);
  run = RunEmailProfiles({"Whole"});
  EXPECT_EQ(run.documents_added, 6u) << run.log;
  // New messages since the run: the file's messages are all older.
  run = RunEmailProfiles({"Whole"});
  EXPECT_EQ(run.documents_added, 0u) << run.log;
}
