// A write that finds no room: the disk is full, or (as here, where it needs
// no special rights) the file reached the size limit the process runs under.
// The call fails with KSENG_ERR_FULL, a batch that could not be committed is
// lost whole, what was committed stays, and the handle counts and adds
// correctly again once there is room.
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "engine_test_support.h"

namespace ks::engine::test {
namespace {

std::string Numbered(uint32_t n) {
  std::string text = "document " + std::to_string(n) + "\r\n";
  while (text.size() < 10000) text += "filler" + std::to_string(n % 97) + " text\r\n";
  return text;
}

// What the child saw, sent back through a pipe.
struct FullReport {
  uint32_t error = 0;         // EngLastError of the call that failed
  uint32_t committed = 0;     // documents successful EngEndAdd calls reported
  uint64_t counted = 0;       // EngCountDocuments right after the failure
  char marker_committed = 0;  // the field marker of the last run committed
  char marker_after = 0;      // and the one EngBeginAdd gives after the failure
  int32_t end_after = 0;      // EngEndAdd once there is room again
  uint32_t added_after = 0;   // and the documents it reported
};

// The child: under a file size limit of `limit` bytes, adds documents ten to
// a run until a call fails; then lifts the limit and adds one more.
[[noreturn]] void FillUp(const std::string& path, rlim_t limit, int report_fd) {
  signal(SIGXFSZ, SIG_IGN);  // a write past the limit then fails with EFBIG
  rlimit normal{};
  getrlimit(RLIMIT_FSIZE, &normal);
  rlimit small = normal;
  small.rlim_cur = limit;
  if (setrlimit(RLIMIT_FSIZE, &small) != 0) _exit(2);

  FullReport report;
  uint32_t db = EngOpenDatabase(path.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
  if (db == 0) _exit(3);
  for (uint32_t n = 0; report.error == 0 && n < 10000;) {
    char marker = 0;
    if (EngBeginAdd(db, &marker) != 1) _exit(4);
    for (int i = 0; i < 10; ++i, ++n) {
      if (AddDocument(db, Numbered(n)) == 0) {
        report.error = EngLastError(0);
        break;
      }
    }
    uint32_t added = 0;
    // Every run changes the field marker too, which joins its batch.
    char run_marker = "#$%&*"[n / 10 % 5];
    if (report.error == 0 && EngSetFieldMarker(db, run_marker) != 1) _exit(5);
    if (report.error == 0 && EngEndAdd(db, 0, 0, marker, &added) != 1) {
      report.error = EngLastError(0);
    }
    report.committed += added;
    if (report.error == 0) report.marker_committed = run_marker;
  }
  report.counted = EngCountDocuments(db, KSENG_WALK_DOCUMENTS);
  EngBeginAdd(db, &report.marker_after);

  setrlimit(RLIMIT_FSIZE, &normal);
  char marker = 0;
  EngBeginAdd(db, &marker);
  if (AddDocument(db, "after") == 0) _exit(6);
  report.end_after = EngEndAdd(db, 0, 0, marker, &report.added_after);
  EngCloseDatabase(db);
  if (write(report_fd, &report, sizeof report) != sizeof report) _exit(7);
  _exit(0);
}

using FullTest = EngineTest;

TEST_F(FullTest, WriteWithoutRoomFailsAsFullAndLosesOnlyWhatWasNotCommitted) {
  std::string path = Path();
  ASSERT_EQ(EngCreateDatabase(path.c_str(), nullptr, nullptr, 0), 1);
  struct stat info {};
  ASSERT_EQ(stat(path.c_str(), &info), 0);
  int pipe_ends[2];
  ASSERT_EQ(pipe(pipe_ends), 0);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    close(pipe_ends[0]);
    FillUp(path, static_cast<rlim_t>(info.st_size) + 300 * 1024, pipe_ends[1]);
  }
  close(pipe_ends[1]);
  FullReport report;
  ssize_t got = read(pipe_ends[0], &report, sizeof report);
  close(pipe_ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  ASSERT_EQ(got, static_cast<ssize_t>(sizeof report));

  EXPECT_EQ(report.error, static_cast<uint32_t>(KSENG_ERR_FULL));
  EXPECT_GT(report.committed, 0u);
  // A batch that could not be committed is gone from the count at once; a
  // failure after its commit (while indexing) keeps its documents.
  EXPECT_GE(report.counted, report.committed);
  // Nothing the handle remembered of a lost batch outlives it.
  if (report.counted == report.committed) {
    EXPECT_EQ(report.marker_after, report.marker_committed);
  }
  // Documents committed but not yet reported are reported by the next
  // EngEndAdd, and none of those that were lost.
  EXPECT_EQ(report.end_after, 1);
  EXPECT_EQ(report.added_after, 1 + report.counted - report.committed);

  uint32_t db = EngOpenDatabase(path.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
  ASSERT_NE(db, 0u) << LastError();
  std::vector<std::string> texts = WalkTexts(db);
  ASSERT_EQ(texts.size(), report.counted + 1);
  for (uint32_t n = 0; n < report.counted; ++n) ASSERT_EQ(texts[n], Numbered(n)) << n;
  EXPECT_EQ(texts.back(), "after");
  EXPECT_EQ(Search(db, "document").size(), report.counted);
  EXPECT_EQ(QueryFile(path, "PRAGMA quick_check").size(), 1u);
  EngCloseDatabase(db);
}

}  // namespace
}  // namespace ks::engine::test
