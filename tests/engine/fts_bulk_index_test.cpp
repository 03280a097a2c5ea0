// The bulk index must leave exactly the pages FTS5 writes itself for the same
// documents, whatever the texts: FTS5 then searches, merges and checks them
// as its own.  Small leaf pages make every way a doclist or position list
// can run over pages, and doclist indexes of several levels, come up with
// few documents.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <unistd.h>

#include <filesystem>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "engine/fts_bulk_index.h"
#include "engine/sqlite_connection.h"

namespace ks::engine::test {
namespace {

using Documents = std::vector<std::pair<int64_t, std::string>>;
using Rows = std::vector<std::pair<std::string, std::string>>;

struct IndexTables {
  Rows data;     // every %_data row but the structure record, keyed by id
  Rows terms;    // every %_idx row
  std::vector<FtsSegment> segments;
};

// A database file of its own: FTS5 notices pages written under it only
// through another connection, so every check opens the file again.
std::string NewPath() {
  static int made = 0;
  const std::string path = ::testing::TempDir() + "fts_bulk_" + std::to_string(getpid()) + "_" +
                           std::to_string(made++) + ".db";
  std::filesystem::remove(path);
  return path;
}

std::unique_ptr<Connection> Open(const std::string& path) {
  return std::make_unique<Connection>(FileUri(path, false) + "c",
                                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
}

std::unique_ptr<Connection> NewIndex(const std::string& path, int page_size) {
  auto connection = Open(path);
  connection->Exec(
      "CREATE VIRTUAL TABLE fts USING fts5(body, content='', columnsize=0);"
      // FTS5 writes out its terms only when a rowid is not above the last,
      // and never merges what it wrote.
      "INSERT INTO fts(fts, rank) VALUES('hashsize', 1073741824);"
      "INSERT INTO fts(fts, rank) VALUES('automerge', 0);"
      "INSERT INTO fts(fts, rank) VALUES('crisismerge', 1999);");
  if (page_size != 0) {
    connection->Exec(("INSERT INTO fts(fts, rank) VALUES('pgsz', " + std::to_string(page_size) +
                      ")").c_str());
  }
  return connection;
}

IndexTables Read(Connection& connection) {
  IndexTables tables;
  sqlite3* db = connection.get();
  sqlite3_stmt* select = nullptr;
  auto text = [&](int column) {
    return std::string(static_cast<const char*>(sqlite3_column_blob(select, column)),
                       static_cast<size_t>(sqlite3_column_bytes(select, column)));
  };
  sqlite3_prepare_v2(db, "SELECT id, block FROM fts_data ORDER BY id", -1, &select, nullptr);
  while (sqlite3_step(select) == SQLITE_ROW) {
    if (sqlite3_column_int64(select, 0) == 10) {
      std::optional<FtsStructure> structure = ParseFtsStructure(text(1));
      EXPECT_TRUE(structure.has_value());
      // FTS5 may move a new segment up a level; which level does not matter.
      for (const FtsLevel& level : structure.value_or(FtsStructure{}).levels) {
        for (const FtsSegment& segment : level.segments) tables.segments.push_back(segment);
      }
      continue;
    }
    tables.data.emplace_back(std::to_string(sqlite3_column_int64(select, 0)), text(1));
  }
  sqlite3_finalize(select);
  sqlite3_prepare_v2(db, "SELECT segid, term, pgno FROM fts_idx ORDER BY segid, term", -1, &select,
                     nullptr);
  while (sqlite3_step(select) == SQLITE_ROW) {
    tables.terms.emplace_back(std::to_string(sqlite3_column_int64(select, 0)) + "/" +
                                  std::to_string(sqlite3_column_int64(select, 2)),
                              text(1));
  }
  sqlite3_finalize(select);
  std::sort(tables.segments.begin(), tables.segments.end(),
            [](const FtsSegment& a, const FtsSegment& b) { return a.id < b.id; });
  return tables;
}

void ExpectIndexSound(const std::string& path) {
  EXPECT_NO_THROW(Open(path)->Exec("INSERT INTO fts(fts) VALUES('integrity-check')"));
}

void ExpectSameIndex(const Documents& documents, int page_size = 0) {
  std::unique_ptr<Connection> fts5 = NewIndex(NewPath(), page_size);
  fts5->Exec("BEGIN");
  for (const auto& [rowid, text] : documents) {
    auto insert = fts5->Prepared("INSERT INTO fts(rowid, body) VALUES(?1, ?2)");
    insert->BindInt(1, rowid);
    insert->BindText(2, text);
    insert->Run();
  }
  fts5->Exec("COMMIT");

  const std::string bulk_path = NewPath();
  std::unique_ptr<Connection> bulk = NewIndex(bulk_path, page_size);
  bulk->Exec("BEGIN");
  FtsBulkIndex index(*bulk, size_t{1} << 30, size_t{1} << 30);
  for (const auto& [rowid, text] : documents) index.Add(rowid, text);
  index.Finish();
  bulk->Exec("COMMIT");

  const IndexTables expected = Read(*fts5);
  const IndexTables actual = Read(*bulk);
  ASSERT_EQ(actual.segments, expected.segments);
  ASSERT_EQ(actual.data.size(), expected.data.size());
  for (size_t i = 0; i < expected.data.size(); ++i) {
    ASSERT_EQ(actual.data[i], expected.data[i]) << "row " << expected.data[i].first;
  }
  EXPECT_EQ(actual.terms, expected.terms);
  ExpectIndexSound(bulk_path);
}

std::string RandomText(std::mt19937& random) {
  static const std::vector<std::string> kWords = {
      "apple", "Apple", "APPLES", "banana", "x1", "2024", "café", "CAFÉ", "naïve", "Müller",
      "straße", "ﬁne", "日本語", "über", "a", "zz", "don't", "e-mail", "\xff\xfe", "ok\xc3",
  };
  static const std::vector<std::string> kGaps = {" ", "\r\n", ", ", "\t", "--", std::string(1, '\0')};
  std::string text;
  const size_t words = random() % 30;
  for (size_t w = 0; w < words; ++w) {
    text += kWords[random() % kWords.size()];
    text += kGaps[random() % kGaps.size()];
  }
  return text;
}

TEST(FtsBulkIndexTest, WritesThePagesFts5WritesForRandomTexts) {
  std::mt19937 random(11);
  Documents documents;
  int64_t rowid = 1;
  for (int i = 0; i < 3000; ++i) {
    rowid += 1 + static_cast<int64_t>(random() % 3);
    std::string text = RandomText(random);
    // Every twentieth text holds no byte above 0x7f.
    if (i % 20 == 0) std::erase_if(text, [](char c) { return (c & 0x80) != 0; });
    documents.emplace_back(rowid, std::move(text));
  }
  ExpectSameIndex(documents);
  ExpectSameIndex(documents, 64);
  ExpectSameIndex(documents, 300);
}

TEST(FtsBulkIndexTest, WritesThePagesFts5WritesForTextsAtTheLimits) {
  Documents documents;
  documents.emplace_back(1, "");
  documents.emplace_back(2, " ,.;\r\n ");
  documents.emplace_back(3, std::string(40000, 'q') + " tail " + std::string(5000, 'W'));
  std::string repeated;
  for (int i = 0; i < 20000; ++i) repeated += i % 9 == 0 ? "same other " : "same ";
  documents.emplace_back(4, repeated);
  documents.emplace_back(5, std::string("nul\0inside", 10) + " Ünïcödé " + std::string(33000, 'e') +
                                "\xc3\xa9");
  // A term in every document, for long doclists with their own indexes.
  int64_t rowid = 10;
  for (int i = 0; i < 4000; ++i) {
    rowid += i % 50 == 0 ? 1000000 : 1;
    documents.emplace_back(rowid, "every doc " + std::to_string(i % 97));
  }
  // Rowids far apart (placed documents' form), then one not above the last:
  // a second segment.
  documents.emplace_back((int64_t{1} << 62) + 5, "placed every");
  documents.emplace_back((int64_t{1} << 62) + 70000, "placed again every");
  documents.emplace_back(7, "after every");
  ExpectSameIndex(documents);
  ExpectSameIndex(documents, 32);
  ExpectSameIndex(documents, 100);
}


// A bulk index of a run larger than its term buffer writes several segments;
// FTS5 must find in them what one FTS5 table of the same texts finds.
TEST(FtsBulkIndexTest, SegmentsWrittenAtTheBufferSizeAnswerAsOneIndex) {
  std::mt19937 random(5);
  const std::string fts5_path = NewPath();
  const std::string bulk_path = NewPath();
  {
    std::unique_ptr<Connection> fts5 = NewIndex(fts5_path, 0);
    std::unique_ptr<Connection> bulk = NewIndex(bulk_path, 0);
    fts5->Exec("BEGIN");
    bulk->Exec("BEGIN");
    // Budgets of a few KB: a segment every few dozen documents, some by the
    // data gathered and some by the memory it takes.
    FtsBulkIndex index(*bulk, 4096, 64 * 1024);
    for (int64_t rowid = 1; rowid <= 2000; ++rowid) {
      const std::string text = RandomText(random);
      index.Add(rowid, text);
      auto insert = fts5->Prepared("INSERT INTO fts(rowid, body) VALUES(?1, ?2)");
      insert->BindInt(1, rowid);
      insert->BindText(2, text);
      insert->Run();
    }
    index.Finish();
    fts5->Exec("COMMIT");
    bulk->Exec("COMMIT");
  }
  std::unique_ptr<Connection> fts5 = Open(fts5_path);
  std::unique_ptr<Connection> bulk = Open(bulk_path);
  EXPECT_GT(Read(*bulk).segments.size(), 20u);
  ExpectIndexSound(bulk_path);
  auto matches = [](Connection& connection, const std::string& query) {
    std::vector<int64_t> rowids;
    auto select = connection.Prepared("SELECT rowid FROM fts WHERE fts MATCH ?1 ORDER BY rowid");
    select->BindText(1, query);
    while (select->Step()) rowids.push_back(select->Int(0));
    return rowids;
  };
  for (const char* query : {"apple", "app*", "\"apple banana\"", "cafe AND naive",
                            "muller OR straße", "x1 NOT 2024", "日本語", "ﬁne"}) {
    const std::vector<int64_t> expected = matches(*fts5, query);
    EXPECT_FALSE(expected.empty()) << query;
    EXPECT_EQ(matches(*bulk, query), expected) << query;
  }
}

}  // namespace
}  // namespace ks::engine::test
