// Full-text search: results in database order, bad queries, documents that
// are not indexed yet (a reader must still find them) and texts changed after
// indexing.
#include <sys/wait.h>
#include <unistd.h>

#include "engine_test_support.h"

namespace ks::engine::test {
namespace {

class SearchTest : public EngineTest {
 protected:
  void SetUp() override { db_ = CreateAndOpen(Path()); }
  void TearDown() override {
    if (db_ != 0) EngCloseDatabase(db_);
  }

  uint32_t db_ = 0;
};

using Ids = std::vector<uint64_t>;

TEST_F(SearchTest, ResultsComeInDatabaseOrderNotIdOrder) {
  uint64_t b = AddDocument(db_, "apple banana");
  uint64_t a = AddDocument(db_, "apple cherry", KSENG_LOC_TOP);
  uint64_t c = AddDocument(db_, "banana only");
  EXPECT_EQ(Search(db_, "apple"), (Ids{a, b}));
  EXPECT_EQ(Search(db_, "banana"), (Ids{b, c}));
  EXPECT_EQ(Search(db_, "apple AND cherry"), (Ids{a}));
  EXPECT_EQ(Search(db_, "\"apple banana\""), (Ids{b}));
  EXPECT_EQ(Search(db_, "ban*"), (Ids{b, c}));
  EXPECT_TRUE(Search(db_, "durian").empty());
}

TEST_F(SearchTest, CountExceedsCapacityAndOnlyCapacityIsFilled) {
  for (int i = 0; i < 5; ++i) AddDocument(db_, "common");
  uint64_t ids[3] = {0, 0, 0};
  EXPECT_EQ(EngSearch(db_, "common", ids, 2), 5);
  EXPECT_NE(ids[1], 0u);
  EXPECT_EQ(ids[2], 0u);
  EXPECT_EQ(EngSearch(db_, "common", nullptr, 0), 5);
}

TEST_F(SearchTest, QueryThatDoesNotParseIsAQueryError) {
  AddDocument(db_, "text");
  EXPECT_EQ(EngSearch(db_, "AND (", nullptr, 0), -1);
  EXPECT_EQ(EngLastError(0), static_cast<uint32_t>(KSENG_ERR_QUERY));
  EXPECT_EQ(EngSearch(db_, "nocolumn: x", nullptr, 0), -1);
  EXPECT_EQ(EngLastError(0), static_cast<uint32_t>(KSENG_ERR_QUERY));
  EXPECT_EQ(EngSearch(db_, nullptr, nullptr, 0), -1);
  EXPECT_EQ(EngLastError(0), static_cast<uint32_t>(KSENG_ERR_ARGUMENT));
  // The handle is still fine afterwards.
  EXPECT_EQ(Search(db_, "text").size(), 1u);
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

TEST_F(SearchTest, ReaderFindsChangedTextBeforeTheWriterReindexesIt) {
  uint64_t doc = AddDocument(db_, "old words");
  ASSERT_EQ(EngEndAdd(db_, 0, 0, '[', nullptr), 1);
  EngCloseDatabase(db_);
  // Change the text and commit without indexing: batches of one document
  // commit on their own, and the writer is then left open.
  EngineTuning tuning;
  tuning.batch.documents = 1;
  db_ = OpenTuned(Path(), KSENG_ACCESS_READWRITE, tuning);
  ASSERT_EQ(EngSetCurrentDocument(db_, doc), 1);
  ASSERT_EQ(AddDocument(db_, " new", KSENG_LOC_END_OF_CURRENT), doc);
  ASSERT_NE(AddDocument(db_, "another fresh"), 0u);  // fills a batch: commits the append
  uint32_t reader = EngOpenDatabase(Path().c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
  ASSERT_NE(reader, 0u) << LastError();
  EXPECT_EQ(Search(reader, "new"), (Ids{doc}));
  EXPECT_EQ(Search(reader, "old"), (Ids{doc}));
  EXPECT_EQ(Search(reader, "fresh").size(), 1u);
  EngCloseDatabase(reader);
}

TEST_F(SearchTest, DocumentsPlacedAmongIndexedOnesAreFound) {
  uint64_t first = AddDocument(db_, "first");
  AddDocument(db_, "last");
  ASSERT_EQ(EngEndAdd(db_, 0, 0, '[', nullptr), 1);
  // Keys below the index's watermark: at the top and between two documents.
  uint64_t top = AddDocument(db_, "newcomer at the top", KSENG_LOC_TOP);
  uint64_t middle = AddDocument(db_, "newcomer in the middle", KSENG_LOC_AFTER_CURRENT, first);
  // Committed but not indexed: a reader finds them through its scratch index.
  EngCloseDatabase(db_);
  EngineTuning tuning;
  tuning.batch.documents = 1;
  db_ = OpenTuned(Path(), KSENG_ACCESS_READWRITE, tuning);
  uint64_t bottom = AddDocument(db_, "newcomer below", KSENG_LOC_AFTER_CURRENT, top);
  uint32_t reader = EngOpenDatabase(Path().c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
  EXPECT_EQ(Search(reader, "newcomer"), (Ids{top, bottom, middle}));
  EngCloseDatabase(reader);
  EXPECT_EQ(Search(db_, "newcomer"), (Ids{top, bottom, middle}));
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

  std::string before = ReadFileBytes(Path());
  uint32_t reader = EngOpenDatabase(Path().c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
  ASSERT_NE(reader, 0u) << LastError();
  EXPECT_EQ(EngCountDocuments(reader, KSENG_WALK_DOCUMENTS), 20u);
  EXPECT_EQ(Search(reader, "unindexed").size(), 20u);
  EXPECT_EQ(Search(reader, "word7").size(), 1u);
  EXPECT_EQ(Search(reader, "word7 OR word8"), (Ids{WalkIds(reader)[7], WalkIds(reader)[8]}));
  EXPECT_EQ(EngSearch(reader, "AND (", nullptr, 0), -1);
  EXPECT_EQ(EngLastError(0), static_cast<uint32_t>(KSENG_ERR_QUERY));
  EngCloseDatabase(reader);
  EXPECT_EQ(ReadFileBytes(Path()), before);
  EXPECT_EQ(ListFolder(Folder()), std::set<std::string>{"test.kst"});

  // The writable open catches the index up; the reader then needs no scratch.
  db_ = EngOpenDatabase(Path().c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
  ASSERT_NE(db_, 0u) << LastError();
  EngCloseDatabase(db_);
  db_ = 0;
  reader = EngOpenDatabase(Path().c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
  EXPECT_EQ(Search(reader, "unindexed").size(), 20u);
  EngCloseDatabase(reader);
}

}  // namespace
}  // namespace ks::engine::test
