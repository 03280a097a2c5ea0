// A process killed in the middle of a large import: the database opens
// afterwards, holds every document committed before the kill (EngEndAdd had
// returned for it) and no document in part.
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "engine_test_support.h"

namespace ks::engine::test {
namespace {

// Document n's text: its number at both ends and a body whose length varies,
// every 40th document several megabytes, added in pieces.
std::string DocumentNumber(uint32_t n) {
  size_t size = (n % 40 == 39) ? 3 * 1024 * 1024 + n : 200 + (n * 7919) % 20000;
  std::string text = "begin " + std::to_string(n) + "\r\n";
  while (text.size() < size) text += "filler" + std::to_string(n % 97) + " text\r\n";
  text.resize(size);
  return text + "\r\nend " + std::to_string(n) + "\r\n";
}

// The child: imports runs of documents forever, reporting the number of
// documents committed after each EngEndAdd.  Small batches commit on their
// own in between, so the kill may land mid-batch, mid-document, mid-commit or
// while the run is indexed.
[[noreturn]] void ImportUntilKilled(const std::string& path, int report) {
  EngineTuning tuning;
  tuning.batch.documents = 7;
  tuning.batch.bytes = 1 << 20;
  tuning.cache_kib = 512;  // big documents spill into the file before their commit
  // Every run is indexed on two threads and grafted, so the kill may also
  // land in a build or in the graft's commit.
  tuning.parallel_index_bytes = 1;
  tuning.index_threads = 2;
  uint32_t db = OpenTuned(path, KSENG_ACCESS_READWRITE, tuning);
  uint32_t committed = 0;
  for (uint32_t n = 0;;) {
    char marker;
    if (EngBeginAdd(db, &marker) != 1) _exit(2);
    for (int i = 0; i < 25; ++i, ++n) {
      if (AddDocument(db, DocumentNumber(n), KSENG_LOC_END, 0, nullptr, KSENG_KIND_TEXT,
                      256 * 1024) == 0) {
        _exit(3);
      }
    }
    uint32_t added = 0;
    if (EngEndAdd(db, 0, 0, marker, &added) != 1) _exit(4);
    committed += added;
    if (write(report, &committed, sizeof committed) != sizeof committed) _exit(5);
  }
}

// Reads every report the child wrote; returns the last one.
uint32_t LastReport(int report, uint32_t last, int timeout_ms) {
  pollfd wait{report, POLLIN, 0};
  while (poll(&wait, 1, timeout_ms) > 0) {
    uint32_t value;
    if (read(report, &value, sizeof value) != sizeof value) break;
    last = value;
  }
  return last;
}

void KillMidImportAndCheck(const std::string& path, int delay_ms) {
  ASSERT_EQ(EngCreateDatabase(path.c_str(), nullptr, nullptr, 0), 1);
  int pipe_ends[2];
  ASSERT_EQ(pipe(pipe_ends), 0);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    close(pipe_ends[0]);
    ImportUntilKilled(path, pipe_ends[1]);
  }
  close(pipe_ends[1]);
  // Let a few runs commit, then kill at an arbitrary moment of the next.
  uint32_t reported = 0;
  for (int tries = 0; tries < 600 && reported < 50; ++tries) {
    reported = LastReport(pipe_ends[0], reported, 100);
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(delay_ms));
  kill(child, SIGKILL);
  int status = 0;
  waitpid(child, &status, 0);
  reported = LastReport(pipe_ends[0], reported, 0);
  close(pipe_ends[0]);
  ASSERT_TRUE(WIFSIGNALED(status)) << "the importer stopped by itself: " << WEXITSTATUS(status);
  ASSERT_GE(reported, 50u);

  // A reader opens it whatever the kill interrupted (rolling back a hot
  // journal first) and sees what was committed.
  uint32_t reader = OpenForReading(path);
  ASSERT_NE(reader, 0u) << LastError();
  std::vector<uint64_t> read_ids = WalkIds(reader);
  EXPECT_EQ(EngCloseDatabase(reader), 1);

  // A writable open indexes what needs it.
  uint32_t db = EngOpenDatabase(path.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
  ASSERT_NE(db, 0u) << LastError();
  std::vector<uint64_t> ids = WalkIds(db);
  EXPECT_EQ(ids, read_ids);
  EXPECT_GE(ids.size(), reported);
  for (uint32_t n = 0; n < ids.size(); ++n) {
    // Documents are whole and in import order: a prefix of what was imported.
    ASSERT_EQ(DocumentText(db, ids[n]), DocumentNumber(n)) << "document " << n;
  }
  EXPECT_EQ(Search(db, "begin").size(), ids.size());
  // And the database takes new documents afterwards.
  EXPECT_NE(AddDocument(db, "after the crash"), 0u);
  EXPECT_EQ(EngCloseDatabase(db), 1);
}

using CrashTest = EngineTest;

TEST_F(CrashTest, KilledImportLosesNoCommittedDocumentAndLeavesNoHalfDocument) {
  // Different delays land the kill at different points of a run.
  for (int delay_ms : {0, 37, 173}) {
    SCOPED_TRACE(delay_ms);
    KillMidImportAndCheck(Path("crash" + std::to_string(delay_ms) + ".kst"), delay_ms);
  }
}

// A new database, and a child that commits `committed` to it, then is killed
// inside a batch larger than its cache: pages of the batch are in the file,
// and the journal that holds what they replaced is left behind (a hot
// journal).
void KillInsideALargeBatch(const std::string& path, const std::vector<std::string>& committed) {
  ASSERT_EQ(EngCreateDatabase(path.c_str(), nullptr, nullptr, 0), 1);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    EngineTuning tuning;
    tuning.cache_kib = 256;
    uint32_t db = OpenTuned(path, KSENG_ACCESS_READWRITE, tuning);
    for (const std::string& text : committed) {
      if (AddDocument(db, text) == 0) _exit(2);
    }
    if (EngEndAdd(db, 0, 0, '[', nullptr) != 1) _exit(3);
    for (int i = 0; i < 20; ++i) {
      if (AddDocument(db, "uncommitted " + std::string(100000, 'x')) == 0) _exit(4);
    }
    kill(getpid(), SIGKILL);
    _exit(5);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status)) << "the importer stopped by itself: " << WEXITSTATUS(status);
  ASSERT_EQ(access((path + "-journal").c_str(), F_OK), 0) << "expected a hot journal";
}

TEST_F(CrashTest, ReadOnlyOpenRollsBackAWriteKilledInsideABatch) {
  std::string path = Path();
  const std::vector<std::string> committed{"committed one", "committed two", "committed three"};
  KillInsideALargeBatch(path, committed);

  uint32_t reader = OpenForReading(path);
  ASSERT_NE(reader, 0u) << LastError();
  EXPECT_EQ(WalkTexts(reader), committed);
  EXPECT_EQ(EngCountDocuments(reader, KSENG_WALK_DOCUMENTS), committed.size());
  EXPECT_EQ(Search(reader, "committed").size(), committed.size());
  EXPECT_TRUE(Search(reader, "uncommitted").empty());
  EXPECT_EQ(EngCloseDatabase(reader), 1);
  // The rollback's connection is closed and its journal gone.
  EXPECT_EQ(ListFolder(Folder()), std::set<std::string>{"test.kst"});

  // The recovered file is an ordinary one again: reading leaves it as it is.
  std::string recovered = ReadFile(path);
  reader = OpenForReading(path);
  ASSERT_NE(reader, 0u) << LastError();
  EXPECT_EQ(WalkTexts(reader), committed);
  EngCloseDatabase(reader);
  EXPECT_EQ(ReadFile(path), recovered);
}

TEST_F(CrashTest, ReaderThatMayNotWriteSaysHowToRecoverAndChangesNothing) {
  std::string path = Path();
  KillInsideALargeBatch(path, {"committed"});
  std::string journal = path + "-journal";
  // Readable by anyone, writable by nobody but the owner, in a folder that
  // only its owner may write.
  ASSERT_EQ(chmod(path.c_str(), 0644), 0);
  ASSERT_EQ(chmod(journal.c_str(), 0644), 0);
  ASSERT_EQ(chmod(Folder().c_str(), 0555), 0);
  std::string before = ReadFile(path);
  std::string journal_before = ReadFile(journal);
  EXPECT_TRUE(AsOrdinaryUser(Folder(), [&] {
    return OpenForReading(path) == 0 && EngLastError(0) == KSENG_ERR_INTERRUPTED;
  }));
  ASSERT_EQ(chmod(Folder().c_str(), 0700), 0);
  EXPECT_EQ(ReadFile(path), before);
  EXPECT_EQ(ReadFile(journal), journal_before);

  // Once its owner has opened it for writing, anyone may read it.
  uint32_t writer = EngOpenDatabase(path.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READ);
  ASSERT_NE(writer, 0u) << LastError();
  EngCloseDatabase(writer);
  EXPECT_TRUE(AsOrdinaryUser(Folder(), [&] {
    uint32_t reader = OpenForReading(path);
    bool ok = reader != 0 && WalkTexts(reader) == std::vector<std::string>{"committed"};
    EngCloseDatabase(reader);
    return ok;
  }));
}

}  // namespace
}  // namespace ks::engine::test
