// Sources that end early or are not files: the log says what was left out,
// a source not imported whole is never deleted, and nothing hangs.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "core/scoped_env.h"
#include "importers/import_fixture.h"

namespace {

using Docs = std::vector<std::string>;

class IncompleteSources : public ImportFixture {
 protected:
  // A source written into the temp import folder ($TMPDIR points into the
  // test's folder), to be deleted after its import.
  QueuedFile Deletable(const std::string& name, const std::string& content, int32_t type) {
    QueuedFile file = Source("tmp/KSTmpImp/" + name, content, type);
    file.delete_after = 1;
    return file;
  }

  ScopedEnv tmpdir_{"TMPDIR", dir_.file("tmp")};
};

TEST_F(IncompleteSources, ABlankLineThatLeavesRowsOutIsLoggedAndKeepsTheSource) {
  const QueuedFile cut = Deletable("cut.csv", "a\r\nb\r\n\r\nc\r\nd\r\n\r\n", KSIMP_TYPE_DELIMITED);
  const auto outcome = Import({cut});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(Documents(), (Docs{"a", "b"}));
  EXPECT_TRUE(Holds(outcome.log, cut.path + ": a blank line (or a NUL) at byte 6, after record 2, "
                                            "ends the file; the 2 line(s) after it were not "
                                            "imported.\r\n"));
  EXPECT_TRUE(Holds(outcome.log, cut.path + " was not imported whole and is kept."));
  EXPECT_TRUE(std::filesystem::exists(cut.path));

  // Blank lines alone at the end leave nothing out: the source goes.
  FreshDatabase();
  const QueuedFile whole = Deletable("whole.csv", "a\r\nb\r\n\r\n\r\n", KSIMP_TYPE_DELIMITED);
  const auto done = Import({whole});
  EXPECT_EQ(done.log, "");
  EXPECT_FALSE(std::filesystem::exists(whole.path));
}

TEST_F(IncompleteSources, AMailboxWithNoMessageIsLoggedAndKept) {
  const QueuedFile empty = Deletable("empty.mbx", "no message here\r\n", KSIMP_TYPE_EUDORA);
  const auto outcome = Import({empty});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_TRUE(Holds(outcome.log, empty.path + ": no message was found in the mailbox."));
  EXPECT_TRUE(std::filesystem::exists(empty.path));
}

TEST_F(IncompleteSources, SettingsThatNameNoColumnSaySoInTheLog) {
  const QueuedFile skipped =
      Source("s.csv", "a,b\r\n", KSIMP_TYPE_DELIMITED, "T=CSV\r\nN=2\r\nNA1=Skip\r\nNA2=\r\nD=,");
  const auto outcome = Import({skipped});
  EXPECT_TRUE(Documents().empty());
  EXPECT_TRUE(Holds(outcome.log, "the settings name no column to import"));
}

TEST_F(IncompleteSources, AFifoIsRefusedWithoutWaitingForAWriter) {
  const std::string fifo = dir_.file("pipe.txt");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const auto outcome = Import({Source("a.txt", "kept"), QueuedFile(fifo)});
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.error, KSIMP_ERR_OPEN_FILE);
  EXPECT_TRUE(Holds(outcome.log, fifo + " is not a regular file."));
  EXPECT_EQ(Documents(), Docs{"kept"});
}

}  // namespace
