// The index built on several threads and grafted into the database's: it
// must answer every query exactly as one FTS5 table over the same texts
// does, stay sound for FTS5's own check, and take later writes as usual.
#include <algorithm>
#include <random>

#include "engine/fts_segments.h"
#include "engine_test_support.h"

namespace ks::engine::test {
namespace {

using Ids = std::vector<uint64_t>;

const std::vector<std::string> kWords = {
    "apple", "Apple",  "banana", "cherry", "café",   "CAFE",  "naïve", "Müller", "muller",
    "river", "rivers", "stone",  "stones", "ledger", "north", "zebra", "über",   "x1",
};

class ParallelIndexTest : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    EngineTuning tuning;
    tuning.parallel_index_bytes = 1;  // every run of additions
    tuning.index_threads = 3;
    ReopenTuned(tuning);
    ASSERT_EQ(sqlite3_open(":memory:", &reference_), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(reference_, "CREATE VIRTUAL TABLE f USING fts5(body)", nullptr, nullptr,
                           nullptr),
              SQLITE_OK);
  }
  void TearDown() override {
    sqlite3_close(reference_);
    DatabaseTest::TearDown();
  }

  // One run of additions: `appended` documents of random words at `location`,
  // then a chain of `placed` documents after one in the middle of them, so
  // that ids of both kinds are in one build.
  void AddRun(int appended, int placed = 0, int32_t location = KSENG_LOC_END) {
    char marker = '[';
    ASSERT_EQ(EngBeginAdd(db_, &marker), 1);
    Ids ids;
    for (int i = 0; i < appended; ++i) ids.push_back(AddRandomDocument(location, 0));
    uint64_t anchor = ids[ids.size() / 2];
    for (int i = 0; i < placed; ++i) anchor = AddRandomDocument(KSENG_LOC_END, anchor);
    uint32_t added = 0;
    ASSERT_EQ(EngEndAdd(db_, 0, 0, marker, &added), 1) << LastError();
  }

  uint64_t AddRandomDocument(int32_t location, uint64_t anchor) {
    std::string text;
    const size_t words = 1 + random_() % 40;
    for (size_t w = 0; w < words; ++w) {
      text += kWords[random_() % kWords.size()];
      text += (random_() % 7 == 0) ? "\r\n" : " ";
    }
    const uint64_t id = AddDocument(db_, text, location, anchor);
    EXPECT_NE(id, 0u) << LastError();
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(reference_, "INSERT INTO f(rowid, body) VALUES(?1, ?2)", -1, &insert,
                       nullptr);
    sqlite3_bind_int64(insert, 1, static_cast<int64_t>(id));
    sqlite3_bind_text(insert, 2, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    EXPECT_EQ(sqlite3_step(insert), SQLITE_DONE);
    sqlite3_finalize(insert);
    return id;
  }

  Ids Reference(const std::string& query) {
    Ids ids;
    sqlite3_stmt* select = nullptr;
    sqlite3_prepare_v2(reference_, "SELECT rowid FROM f WHERE f MATCH ?1", -1, &select, nullptr);
    sqlite3_bind_text(select, 1, query.c_str(), -1, SQLITE_TRANSIENT);
    while (sqlite3_step(select) == SQLITE_ROW) {
      ids.push_back(static_cast<uint64_t>(sqlite3_column_int64(select, 0)));
    }
    sqlite3_finalize(select);
    std::sort(ids.begin(), ids.end());
    return ids;
  }

  Ids Engine(const std::string& query) {
    Ids ids = Search(db_, query.c_str());
    std::sort(ids.begin(), ids.end());
    return ids;
  }

  std::vector<std::string> Queries(int count) {
    std::vector<std::string> queries;
    auto word = [&] { return kWords[random_() % kWords.size()]; };
    for (int i = 0; i < count; ++i) {
      const std::string a = word(), b = word();
      switch (i % 6) {
        case 0: queries.push_back(a); break;
        case 1: queries.push_back(a.substr(0, 3) + "*"); break;
        case 2: queries.push_back("\"" + a + " " + b + "\""); break;
        case 3: queries.push_back(a + " AND " + b); break;
        case 4: queries.push_back(a + " OR " + b); break;
        default: queries.push_back(a + " NOT " + b); break;
      }
    }
    return queries;
  }

  void ExpectSameAnswers(int count) {
    for (const std::string& query : Queries(count)) {
      EXPECT_EQ(Engine(query), Reference(query)) << query;
    }
  }

  // The database's own index as FTS5 sees it: its check, and its segments.
  size_t CheckIndexAndCountSegments() {
    sqlite3* file = nullptr;
    EXPECT_EQ(sqlite3_open(Path().c_str(), &file), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(file, "INSERT INTO fts(fts) VALUES('integrity-check')", nullptr,
                           nullptr, nullptr),
              SQLITE_OK)
        << sqlite3_errmsg(file);
    size_t segments = 0;
    sqlite3_stmt* select = nullptr;
    sqlite3_prepare_v2(file, "SELECT block FROM fts_data WHERE id = 10", -1, &select, nullptr);
    if (sqlite3_step(select) == SQLITE_ROW) {
      std::string_view record(static_cast<const char*>(sqlite3_column_blob(select, 0)),
                              static_cast<size_t>(sqlite3_column_bytes(select, 0)));
      std::optional<FtsStructure> structure = ParseFtsStructure(record);
      EXPECT_TRUE(structure.has_value());
      if (structure) {
        segments = structure->SegmentCount();
        EXPECT_EQ(WriteFtsStructure(*structure), record);
      }
    }
    sqlite3_finalize(select);
    sqlite3_close(file);
    return segments;
  }

  sqlite3* reference_ = nullptr;
  std::mt19937 random_{7};
};

TEST_F(ParallelIndexTest, AnswersEveryQueryAsOneFts5TableOverTheSameTexts) {
  AddRun(3000);
  // The workers grafted their segments (a worker that started late may
  // have found no piece left).
  const size_t grafted = CheckIndexAndCountSegments();
  EXPECT_GE(grafted, 1u);
  ExpectSameAnswers(240);

  // A second run joins an index that has segments already.
  AddRun(2000);
  EXPECT_GT(CheckIndexAndCountSegments(), grafted);
  // Documents placed at the top wait below the watermark and are indexed by
  // the writer through FTS5, which then merges the grafted segments.
  AddRun(50, 0, KSENG_LOC_TOP);
  CheckIndexAndCountSegments();
  ExpectSameAnswers(240);

  // The file reopened reads the grafted index as its own.
  Reopen();
  ExpectSameAnswers(60);
}

// Ids of documents added at an end and of documents placed between others
// are indexed in two forms (the first dense); one build holding both must
// still answer as the plain table does, and so must the writer's own index
// of a small run.
TEST_F(ParallelIndexTest, DocumentsPlacedBetweenOthersInTheSameRunAreFoundToo) {
  AddRun(2000, 300);
  CheckIndexAndCountSegments();
  ExpectSameAnswers(240);
  EngineTuning tuning;
  tuning.parallel_index_bytes = 0;  // the writer indexes alone
  ReopenTuned(tuning);
  AddRun(200, 40);
  CheckIndexAndCountSegments();
  ExpectSameAnswers(240);
}

TEST(FtsStructureTest, RefusesRecordsThatDoNotAddUp) {
  FtsStructure structure;
  structure.cookie = 0x01020304;
  structure.write_counter = 300;
  structure.levels = {{0, {{1, 1, 200}, {3, 1, 1}}}, {1, {{2, 5, 70000}}}};
  const std::string record = WriteFtsStructure(structure);
  EXPECT_EQ(ParseFtsStructure(record), structure);
  EXPECT_FALSE(ParseFtsStructure(record.substr(0, record.size() - 1)));
  EXPECT_FALSE(ParseFtsStructure(record + '\0'));
  std::string miscounted = record;
  miscounted[5] = 4;  // four segments announced, three written
  EXPECT_FALSE(ParseFtsStructure(miscounted));
  EXPECT_FALSE(ParseFtsStructure("abc"));
}

}  // namespace
}  // namespace ks::engine::test
