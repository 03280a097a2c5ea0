// Full-text search: results in database order, bad queries, documents that
// are not indexed yet (a reader must still find them) and texts changed after
// indexing.
#include <sys/wait.h>
#include <unistd.h>

#include "engine_test_support.h"

namespace ks::engine::test {
namespace {

using SearchTest = DatabaseTest;
using Ids = std::vector<uint64_t>;

TEST_F(SearchTest, ResultsComeInDatabaseOrderNotIdOrder) {
  uint64_t b = AddDocument(db_, "apple banana");
  uint64_t a = AddDocument(db_, "apple cherry", KSENG_LOC_TOP);
  uint64_t c = AddDocument(db_, "banana only");
  EXPECT_EQ(Search(db_, "apple"), (Ids{a, b}));
  EXPECT_EQ(Search(db_, "banana"), (Ids{b, c}));
  EXPECT_EQ(Search(db_, "ban*"), (Ids{b, c}));
}

TEST_F(SearchTest, CountExceedsCapacityOnlyCapacityIsFilledAndBadQueriesAreRefused) {
  for (int i = 0; i < 5; ++i) AddDocument(db_, "common");
  uint64_t ids[3] = {0, 0, 0};
  EXPECT_EQ(EngSearch(db_, "common", ids, 2), 5);
  EXPECT_NE(ids[1], 0u);
  EXPECT_EQ(ids[2], 0u);
  EXPECT_EQ(EngSearch(db_, "common", nullptr, 0), 5);
  // A query that does not parse is a query error.
  EXPECT_FAILS(EngSearch(db_, "AND (", nullptr, 0), -1, KSENG_ERR_QUERY);
  EXPECT_FAILS(EngSearch(db_, "nocolumn: x", nullptr, 0), -1, KSENG_ERR_QUERY);
  EXPECT_FAILS(EngSearch(db_, nullptr, nullptr, 0), -1, KSENG_ERR_ARGUMENT);
  // The handle is still fine afterwards.
  EXPECT_EQ(Search(db_, "common").size(), 5u);
}

TEST_F(SearchTest, ChangedTextIsFoundByItsNewWordsOnly) {
  const char* fields[] = {"Name"};
  uint64_t form = EngCreateForm(db_, "Person", fields, 1);
  uint64_t entry = 0;
  ASSERT_EQ(EngOp251(db_, form, &entry, 0, nullptr, KSENG_LOC_END, 0), 1);
  ASSERT_EQ(WriteFields(db_, entry, {Field("Name", "Ann")}), 1);
  uint64_t plain = AddDocument(db_, "first words");
  ASSERT_EQ(EngEndAdd(db_, 0, 0, '[', nullptr), 1);  // everything indexed now
  ASSERT_EQ(Search(db_, "ann"), (Ids{entry}));

  ASSERT_EQ(WriteFields(db_, entry, {Field("Name", "Bob")}), 1);
  ASSERT_EQ(EngSetCurrentDocument(db_, plain), 1);
  ASSERT_EQ(AddDocument(db_, " appended", KSENG_LOC_END_OF_CURRENT), plain);
  ASSERT_EQ(EngEndAdd(db_, 0, 0, '[', nullptr), 1);
  EXPECT_TRUE(Search(db_, "ann").empty());
  EXPECT_EQ(Search(db_, "bob"), (Ids{entry}));
  EXPECT_EQ(Search(db_, "appended"), (Ids{plain}));
  EXPECT_EQ(Search(db_, "first"), (Ids{plain}));
}

TEST_F(SearchTest, ReaderFindsCommittedChangesBeforeTheWriterIndexesThem) {
  uint64_t changed = AddDocument(db_, "old words");
  uint64_t first = AddDocument(db_, "first");
  AddDocument(db_, "last");
  ASSERT_EQ(EngEndAdd(db_, 0, 0, '[', nullptr), 1);
  // Keys below the index's watermark: at the top and between two documents.
  uint64_t top = AddDocument(db_, "newcomer at the top", KSENG_LOC_TOP);
  uint64_t middle = AddDocument(db_, "newcomer in the middle", KSENG_LOC_AFTER_CURRENT, first);
  // Committed but not indexed; from now on each document commits on its own.
  EngineTuning tuning;
  tuning.batch.documents = 1;
  ReopenTuned(tuning);
  ASSERT_EQ(EngSetCurrentDocument(db_, changed), 1);
  ASSERT_EQ(AddDocument(db_, " new", KSENG_LOC_END_OF_CURRENT), changed);
  // Fills a batch, which commits the append too.
  uint64_t below = AddDocument(db_, "newcomer below", KSENG_LOC_AFTER_CURRENT, top);
  uint32_t reader = OpenForReading(Path());
  ASSERT_NE(reader, 0u) << LastError();
  EXPECT_EQ(Search(reader, "new"), (Ids{changed}));
  EXPECT_EQ(Search(reader, "old"), (Ids{changed}));
  EXPECT_EQ(Search(reader, "newcomer"), (Ids{top, below, middle}));
  EngCloseDatabase(reader);
  EXPECT_EQ(Search(db_, "newcomer"), (Ids{top, below, middle}));
}

// A writer that stopped between batch commits leaves committed documents that
// are not indexed.  A reader finds them without changing the file, and the
// next writable open indexes them.
TEST_F(SearchTest, UnindexedDocumentsAreFoundOnAReadOnlyHandle) {
  EngCloseDatabase(db_);
  db_ = 0;
  pid_t child = fork();
  if (child == 0) {
    EngineTuning tuning;
    tuning.batch.documents = 10;
    uint32_t db = OpenTuned(Path(), KSENG_ACCESS_READWRITE, tuning);
    for (int i = 0; i < 20; ++i) AddDocument(db, "unindexed word" + std::to_string(i));
    _exit(0);  // no EngEndAdd, no close: two batches committed, nothing indexed
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));

  std::string before = ReadFile(Path());
  uint32_t reader = OpenForReading(Path());
  ASSERT_NE(reader, 0u) << LastError();
  EXPECT_EQ(EngCountDocuments(reader, KSENG_WALK_DOCUMENTS), 20u);
  EXPECT_EQ(Search(reader, "unindexed").size(), 20u);
  EXPECT_EQ(Search(reader, "word7").size(), 1u);
  EXPECT_EQ(Search(reader, "word7 OR word8"), (Ids{WalkIds(reader)[7], WalkIds(reader)[8]}));
  EXPECT_FAILS(EngSearch(reader, "AND (", nullptr, 0), -1, KSENG_ERR_QUERY);
  EngCloseDatabase(reader);
  EXPECT_EQ(ReadFile(Path()), before);
  EXPECT_EQ(ListFolder(Folder()), std::set<std::string>{"test.kst"});

  // The writable open catches the index up; the reader then needs no scratch.
  db_ = EngOpenDatabase(Path().c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
  ASSERT_NE(db_, 0u) << LastError();
  EngCloseDatabase(db_);
  db_ = 0;
  reader = OpenForReading(Path());
  EXPECT_EQ(Search(reader, "unindexed").size(), 20u);
  EngCloseDatabase(reader);
}

// Files of the first format key their index by the ids themselves: a reader
// searches them as they are, and a writable open rebuilds the index in the
// dense form of today's files, with the same answers.
TEST_F(SearchTest, AnIndexOfTheFirstFormatIsReadAndThenRebuilt) {
  const uint64_t b = AddDocument(db_, "apple banana");
  const uint64_t a = AddDocument(db_, "apple cherry", KSENG_LOC_TOP);
  const uint64_t placed = AddDocument(db_, "cherry pie", KSENG_LOC_END, a);
  EngCloseDatabase(db_);
  db_ = 0;
  sqlite3* file = nullptr;
  ASSERT_EQ(sqlite3_open(Path().c_str(), &file), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(file,
                         "INSERT INTO fts(fts) VALUES('delete-all');"
                         "INSERT INTO fts(rowid, body) SELECT id, CAST(body AS TEXT) FROM documents;"
                         "PRAGMA user_version = 1;",
                         nullptr, nullptr, nullptr),
            SQLITE_OK)
      << sqlite3_errmsg(file);
  sqlite3_close(file);

  const auto expect_answers = [&](uint32_t db) {
    EXPECT_EQ(Search(db, "apple"), (Ids{a, b}));
    EXPECT_EQ(Search(db, "cherry"), (Ids{a, placed}));
    EXPECT_EQ(Search(db, "pie OR banana"), (Ids{placed, b}));
  };
  const uint32_t reader = OpenForReading(Path());
  ASSERT_NE(reader, 0u) << LastError();
  expect_answers(reader);
  EngCloseDatabase(reader);
  EXPECT_EQ(QueryFile(Path(), "PRAGMA user_version"), (std::vector<std::vector<int64_t>>{{1}}));

  db_ = EngOpenDatabase(Path().c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
  ASSERT_NE(db_, 0u) << LastError();
  expect_answers(db_);
  EXPECT_EQ(QueryFile(Path(), "PRAGMA user_version"), (std::vector<std::vector<int64_t>>{{2}}));
  EXPECT_EQ(QueryFile(Path(), "SELECT rowid FROM fts WHERE fts MATCH 'banana'"),
            (std::vector<std::vector<int64_t>>{{static_cast<int64_t>(b >> 16)}}));
}

}  // namespace
}  // namespace ks::engine::test
