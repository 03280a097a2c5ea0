// SearchIndex: bulk indexing, the to-do list and searching.
#include "engine/search_index.h"

#include <sqlite3.h>

#include "engine/document_store.h"
#include "engine/engine_error.h"
#include "engine/fts_rowids.h"
#include "engine/settings_store.h"
#include "engine/sqlite_connection.h"

namespace ks::engine {

int64_t SearchIndex::Watermark() {
  if (!watermark_) watermark_ = settings_.Int(setting::kIndexedThrough).value_or(0);
  return *watermark_;
}

void SearchIndex::SetWatermark(int64_t seq) {
  settings_.SetInt(setting::kIndexedThrough, seq);
  watermark_ = seq;
}

int64_t SearchIndex::LastKey() {
  documents_.Flush();
  auto query = connection_.Prepared("SELECT coalesce(max(seq), 0) FROM documents");
  query->Step();
  return query->Int(0);
}

void SearchIndex::AfterInsert(uint64_t id, int64_t seq) {
  if (seq > Watermark()) return;  // the watermark covers it
  auto todo = connection_.Prepared("INSERT OR IGNORE INTO fts_todo(id) VALUES(?1)");
  todo->BindInt(1, static_cast<int64_t>(id));
  todo->Run();
}

void SearchIndex::BeforeTextChange(uint64_t id) {
  std::optional<int64_t> seq = documents_.Seq(id);
  if (!seq || *seq > Watermark()) return;  // not indexed yet
  {
    auto todo = connection_.Prepared("SELECT 1 FROM fts_todo WHERE id = ?1");
    todo->BindInt(1, static_cast<int64_t>(id));
    if (todo->Step()) return;  // not indexed, or its terms are out already
  }
  // The index holds no text, so it must be told the exact old text to forget.
  {
    auto forget = connection_.Prepared(
        "INSERT INTO fts(fts, rowid, body) SELECT 'delete', " KS_FTS_ROWID_OF("id")
        ", CAST(body AS TEXT) FROM documents WHERE seq = ?1");
    forget->BindInt(1, *seq);
    forget->Run();
  }
  auto todo = connection_.Prepared("INSERT INTO fts_todo(id) VALUES(?1)");
  todo->BindInt(1, static_cast<int64_t>(id));
  todo->Run();
}

void SearchIndex::CatchUp() {
  // Bodies are BLOBs; every statement hands them to FTS5 cast to TEXT.  The
  // bytes (and so the terms) are the same, but FTS5 takes a TEXT value as it
  // is, where a BLOB is first converted: the index is built about a fifth
  // faster.  Forgetting a text must use the same cast as indexing it.
  documents_.Flush();
  int64_t watermark = Watermark();
  for (const char* sql :
       {"INSERT INTO fts(rowid, body) SELECT " KS_FTS_ROWID_OF("id") ", CAST(body AS TEXT) "
        "FROM documents WHERE seq > ?1 AND " KS_FTS_END_IDS("id"),
        "INSERT INTO fts(rowid, body) SELECT " KS_FTS_ROWID_OF("id") ", CAST(body AS TEXT) "
        "FROM documents WHERE seq > ?1 AND " KS_FTS_PLACED_IDS("id")}) {
    auto add = connection_.Prepared(sql);
    add->BindInt(1, watermark);
    add->Run();
  }
  bool any_todo;
  {
    auto todo = connection_.Prepared("SELECT EXISTS(SELECT 1 FROM fts_todo)");
    todo->Step();
    any_todo = todo->Int(0) != 0;
  }
  if (any_todo) {
    auto add = connection_.Prepared(
        "INSERT INTO fts(rowid, body) SELECT " KS_FTS_ROWID_OF("d.id")
        ", CAST(d.body AS TEXT) FROM fts_todo t JOIN documents d "
        "ON d.seq = coalesce((SELECT seq FROM moved WHERE id = t.id), t.id) AND d.id = t.id "
        "WHERE d.seq <= ?1");
    add->BindInt(1, watermark);
    add->Run();
    connection_.Prepared("DELETE FROM fts_todo")->Run();
  }
  int64_t last = LastKey();
  if (last > watermark) SetWatermark(last);
}

void SearchIndex::AfterReorder() {
  SetWatermark(LastKey());
}

void SearchIndex::RefreshScratch(int64_t watermark) {
  int64_t version;
  {
    auto query = connection_.Prepared("PRAGMA data_version");
    query->Step();
    version = query->Int(0);
  }
  if (scratch_ready_ && version == scratch_version_ && watermark == scratch_watermark_) return;
  connection_.Exec(
      "CREATE VIRTUAL TABLE IF NOT EXISTS temp.fts_scratch USING fts5(body, content='', "
      "columnsize=0)");
  scratch_ready_ = false;  // until the fill below has completed
  connection_.Prepared("INSERT INTO fts_scratch(fts_scratch) VALUES('delete-all')")->Run();
  auto fill = connection_.Prepared(
      "INSERT INTO fts_scratch(rowid, body) SELECT id, CAST(body AS TEXT) FROM documents "
      "WHERE seq > ?1 "
      "UNION ALL SELECT d.id, CAST(d.body AS TEXT) FROM fts_todo t JOIN documents d "
      "ON d.seq = coalesce((SELECT seq FROM moved WHERE id = t.id), t.id) AND d.id = t.id "
      "WHERE d.seq <= ?1");
  fill->BindInt(1, watermark);
  fill->Run();
  scratch_ready_ = true;
  scratch_version_ = version;
  scratch_watermark_ = watermark;
}

std::vector<uint64_t> SearchIndex::Search(std::string_view query, bool include_unindexed) {
  documents_.Flush();
  std::vector<uint64_t> ids;
  try {
    if (include_unindexed) {
      watermark_.reset();  // a reader sees what writers committed since
      RefreshScratch(Watermark());
    }
    // Matches come by id; each is looked up in the table to sort by key.
    // The file's version says how its index keeps ids (another process may
    // have upgraded it since this one opened it); the scratch index keeps
    // them as they are.
    int64_t version;
    {
      auto read_version = connection_.Prepared("PRAGMA user_version");
      read_version->Step();
      version = read_version->Int(0);
    }
#define KS_SEARCH_JOIN                                                                       \
  ") m JOIN documents d ON d.seq = coalesce((SELECT seq FROM moved WHERE id = m.id), m.id) " \
  "AND d.id = m.id ORDER BY d.seq"
#define KS_SCRATCH_MATCHES " UNION SELECT rowid FROM fts_scratch WHERE fts_scratch MATCH ?1"
    const char* sql;
    if (version >= 2) {
      sql = include_unindexed
                ? "SELECT d.id FROM (SELECT " KS_FTS_ID_OF("rowid") " AS id FROM fts WHERE fts "
                  "MATCH ?1" KS_SCRATCH_MATCHES KS_SEARCH_JOIN
                : "SELECT d.id FROM (SELECT " KS_FTS_ID_OF("rowid") " AS id FROM fts WHERE fts "
                  "MATCH ?1" KS_SEARCH_JOIN;
    } else {
      sql = include_unindexed ? "SELECT d.id FROM (SELECT rowid AS id FROM fts WHERE fts "
                                "MATCH ?1" KS_SCRATCH_MATCHES KS_SEARCH_JOIN
                              : "SELECT d.id FROM (SELECT rowid AS id FROM fts WHERE fts "
                                "MATCH ?1" KS_SEARCH_JOIN;
    }
#undef KS_SCRATCH_MATCHES
#undef KS_SEARCH_JOIN
    auto search = connection_.Prepared(sql);
    search->BindText(1, query);
    while (search->Step()) ids.push_back(static_cast<uint64_t>(search->Int(0)));
  } catch (const EngineError& error) {
    // FTS5 reports a query it cannot parse (or a column it does not know) as
    // a plain SQLITE_ERROR; anything else is a real failure.
    if (error.sqlite_code() == SQLITE_ERROR) {
      throw EngineError(KSENG_ERR_QUERY, error.what(), error.sqlite_code());
    }
    throw;
  }
  return ids;
}

}  // namespace ks::engine
