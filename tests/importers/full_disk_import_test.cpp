// An import that fills the disk.  A child process imports under a small file
// size limit, which fills the database (or the engine's scratch file) the way
// a full disk does and needs no special rights.  The import fails cleanly
// (98), the database stays whole, the log names the full disk and the file,
// and the count of documents added that the host reads is what the database
// really holds.
#include <signal.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "importers/import_fixture.h"

namespace {

// Documents separated by blank lines, each `size` bytes or so.
std::string BlankLineDocuments(const std::string& name, int count, size_t size) {
  std::string text;
  for (int n = 0; n < count; ++n) {
    std::string document = name + " document " + std::to_string(n);
    while (document.size() < size) document += " filler" + std::to_string(n % 97);
    text += document + "\r\n\r\n";
  }
  return text;
}

std::string IntegrityCheck(const std::string& path) {
  sqlite3* db = nullptr;
  sqlite3_stmt* statement = nullptr;
  std::string result = "cannot check";
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
      sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &statement, nullptr) == SQLITE_OK &&
      sqlite3_step(statement) == SQLITE_ROW) {
    result = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
  }
  sqlite3_finalize(statement);
  sqlite3_close(db);
  return result;
}

class FullDiskImportTest : public ImportFixture {
 protected:
  // Imports `files` in a child whose files may grow to `room` bytes beyond
  // the database's size now; the child reports what the host saw.
  ImportOutcome ImportWithRoomFor(const std::vector<QueuedFile>& files, off_t room) {
    struct stat info {};
    EXPECT_EQ(stat(database_.c_str(), &info), 0);
    int pipe_ends[2];
    EXPECT_EQ(pipe(pipe_ends), 0);
    const pid_t child = fork();
    if (child == 0) {
      close(pipe_ends[0]);
      signal(SIGXFSZ, SIG_IGN);  // a write past the limit then fails with EFBIG
      rlimit limit{};
      getrlimit(RLIMIT_FSIZE, &limit);
      limit.rlim_cur = static_cast<rlim_t>(info.st_size + room);
      if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(2);
      const ImportOutcome outcome = Import(files);
      const uint32_t numbers[] = {outcome.result, outcome.error, outcome.documents_added};
      bool sent = write(pipe_ends[1], numbers, sizeof numbers) == sizeof numbers &&
                  write(pipe_ends[1], outcome.log.data(), outcome.log.size()) ==
                      static_cast<ssize_t>(outcome.log.size());
      _exit(sent ? 0 : 3);
    }
    close(pipe_ends[1]);
    std::string report;
    char buffer[4096];
    for (ssize_t got; (got = read(pipe_ends[0], buffer, sizeof buffer)) > 0;) {
      report.append(buffer, static_cast<size_t>(got));
    }
    close(pipe_ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    ImportOutcome outcome;
    uint32_t numbers[3] = {};
    if (report.size() >= sizeof numbers) {
      std::memcpy(numbers, report.data(), sizeof numbers);
      outcome.log = report.substr(sizeof numbers);
    }
    outcome.result = numbers[0];
    outcome.error = numbers[1];
    outcome.documents_added = numbers[2];
    return outcome;
  }

  // What every full-disk import must show: a clean failure, a whole
  // database holding what the host was told, and the cause in the log.
  // `refused` is what the log says was refused: a document, or the commit.
  void ExpectTruthfulFailure(const ImportOutcome& outcome, const std::string& source,
                             const std::string& refused, const std::vector<std::string>& kept) {
    EXPECT_EQ(outcome.result, 0u);
    EXPECT_EQ(outcome.error, KSIMP_ERR_SAVE_DOCUMENT);
    EXPECT_EQ(IntegrityCheck(database_), "ok");
    const std::vector<std::string> stored = Documents();
    EXPECT_EQ(outcome.documents_added, stored.size());
    EXPECT_EQ(stored, kept);
    EXPECT_NE(outcome.log.find("The disk is full."), std::string::npos) << outcome.log;
    EXPECT_NE(outcome.log.find(refused), std::string::npos) << outcome.log;
    EXPECT_NE(outcome.log.find(source), std::string::npos) << outcome.log;
    EXPECT_TRUE(Holds(outcome.log, std::filesystem::path(database_).filename().string()));
  }
};

// What a file of blank-line separated documents gives.
std::vector<std::string> Split(const std::string& text) {
  std::vector<std::string> documents;
  for (size_t start = 0, end; (end = text.find("\r\n\r\n", start)) != std::string::npos;
       start = end + 4) {
    documents.push_back(text.substr(start, end - start + 2));
  }
  return documents;
}

TEST_F(FullDiskImportTest, CommitWithoutRoomKeepsTheEarlierFilesAndCountsOnlyThem) {
  const std::string first_text = BlankLineDocuments("first", 20, 200);
  QueuedFile first = Source("first.txt", first_text);
  QueuedFile second = Source("second.txt", BlankLineDocuments("second", 3000, 1000));
  first.delimiter_flags = second.delimiter_flags = KSIMP_DELIM_BLANK_LINE;
  ASSERT_EQ(Split(first_text).size(), 20u);

  // Room for the first file, not for the second.
  const ImportOutcome outcome = ImportWithRoomFor({first, second}, 400 * 1024);
  ExpectTruthfulFailure(outcome, second.path, "could not be saved", Split(first_text));
}

TEST_F(FullDiskImportTest, LargeDocumentWithoutRoomIsRefusedAndTheCountStaysTrue) {
  const std::string first_text = BlankLineDocuments("first", 20, 200);
  QueuedFile first = Source("first.txt", first_text);
  // One document of several megabytes: the engine holds its text outside
  // memory while it arrives, which needs room too.
  QueuedFile large = Source("large.txt", BlankLineDocuments("large", 1, 4 << 20));
  first.delimiter_flags = large.delimiter_flags = KSIMP_DELIM_BLANK_LINE;

  const ImportOutcome outcome = ImportWithRoomFor({first, large}, 400 * 1024);
  ExpectTruthfulFailure(outcome, large.path, "A document of", Split(first_text));
}

TEST_F(FullDiskImportTest, EntryWithoutRoomIsRefusedAndTheCountStaysTrue) {
  // A batch is committed when it holds 50,000 documents: the commit that
  // finds no room is then part of making the entry of the row that filled it.
  CreateForm("Row", {"A"});
  const std::string settings = "T=CSV\r\nN=1\r\nNA1=A\r\nD=,\r\nTC=0";
  QueuedFile first = Source("first.csv", "1\r\n2\r\n", 1004, settings);
  std::string rows;
  for (int n = 0; n < 60000; ++n) rows += std::to_string(n) + "\r\n";
  QueuedFile second = Source("second.csv", rows, 1004, settings);
  first.entry_form = second.entry_form = "Row";

  const ImportOutcome outcome = ImportWithRoomFor({first, second}, 400 * 1024);
  ExpectTruthfulFailure(outcome, second.path, "A document of", {"A[ 1  ]\r\n", "A[ 2  ]\r\n"});
}

}  // namespace
