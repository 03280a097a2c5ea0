// Fuzzes the bulk full-text index writer (engine/fts_bulk_index.*,
// fts_term_buffer.*, fts_segment_writer.*, fts_tokenizer.*): every imported
// text passes through it, and what it writes FTS5 later reads as its own.
//
// Input: a leaf page size byte (0 gives FTS5's default), then documents
// separated by 0x1e bytes; a document starting with 0x1f takes a rowid
// below the last one's.
//
// Checks: the index tables hold exactly the rows FTS5 writes for the same
// documents, and FTS5's own check accepts them.
#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/fts_bulk_index.h"
#include "engine/sqlite_connection.h"
#include "fuzz_input.h"

namespace {

using ks::engine::Connection;

// Files of their own: FTS5 notices pages written under it only through
// another connection, so the check opens the file again.
std::unique_ptr<Connection> Open(const std::filesystem::path& path) {
  return std::make_unique<Connection>(ks::engine::FileUri(path.string(), false) + "c",
                                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
}

std::unique_ptr<Connection> NewIndex(const std::filesystem::path& path, int page_size) {
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
  auto connection = Open(path);
  connection->Exec(
      "CREATE VIRTUAL TABLE fts USING fts5(body, content='', columnsize=0);"
      // FTS5 writes out its terms only when a rowid is not above the last,
      // and never merges what it wrote.
      "INSERT INTO fts(fts, rank) VALUES('hashsize', 1073741824);"
      "INSERT INTO fts(fts, rank) VALUES('automerge', 0);"
      "INSERT INTO fts(fts, rank) VALUES('crisismerge', 1999);");
  if (page_size != 0) {
    connection->Exec(
        ("INSERT INTO fts(fts, rank) VALUES('pgsz', " + std::to_string(page_size) + ")").c_str());
  }
  return connection;
}

// Every row of both tables but the list of segments, whose levels FTS5 may
// choose otherwise.
std::vector<std::string> Rows(Connection& connection) {
  std::vector<std::string> rows;
  for (const char* sql : {"SELECT id, block FROM fts_data WHERE id <> 10 ORDER BY id",
                          "SELECT segid || '/' || pgno, term FROM fts_idx ORDER BY segid, term"}) {
    sqlite3_stmt* select = nullptr;
    sqlite3_prepare_v2(connection.get(), sql, -1, &select, nullptr);
    while (sqlite3_step(select) == SQLITE_ROW) {
      std::string row = reinterpret_cast<const char*>(sqlite3_column_text(select, 0));
      row += ':';
      row.append(static_cast<const char*>(sqlite3_column_blob(select, 1)),
                 static_cast<size_t>(sqlite3_column_bytes(select, 1)));
      rows.push_back(std::move(row));
    }
    sqlite3_finalize(select);
  }
  return rows;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ks::fuzz::FuzzInput input(data, size);
  const uint8_t page_byte = input.Byte();
  const int page_size = page_byte == 0 ? 0 : 32 + page_byte * 4;
  std::vector<std::pair<int64_t, std::string_view>> documents;
  std::string_view rest = input.Rest();
  int64_t rowid = 1000;
  while (true) {
    const size_t end = rest.find('\x1e');
    std::string_view text = rest.substr(0, end);
    if (!text.empty() && text.front() == '\x1f') {
      rowid -= 3;
      text.remove_prefix(1);
    } else {
      rowid += 1 + static_cast<int64_t>(text.size() % 5);
    }
    documents.emplace_back(rowid, text);
    if (end == std::string_view::npos) break;
    rest.remove_prefix(end + 1);
  }

  const std::filesystem::path fts5_path = ks::fuzz::WorkFolder() / "fts5.db";
  const std::filesystem::path bulk_path = ks::fuzz::WorkFolder() / "bulk.db";
  std::unique_ptr<Connection> fts5 = NewIndex(fts5_path, page_size);
  fts5->Exec("BEGIN");
  for (const auto& [id, text] : documents) {
    auto insert = fts5->Prepared("INSERT INTO fts(rowid, body) VALUES(?1, ?2)");
    insert->BindInt(1, id);
    insert->BindText(2, text);
    insert->Run();
  }
  fts5->Exec("COMMIT");

  std::unique_ptr<Connection> bulk = NewIndex(bulk_path, page_size);
  bulk->Exec("BEGIN");
  {
    ks::engine::FtsBulkIndex index(*bulk, size_t{1} << 30, size_t{1} << 30);
    for (const auto& [id, text] : documents) index.Add(id, text);
    index.Finish();
  }
  bulk->Exec("COMMIT");

  FUZZ_CHECK(Rows(*bulk) == Rows(*fts5));
  bulk.reset();
  FUZZ_CHECK(sqlite3_exec(Open(bulk_path)->get(), "INSERT INTO fts(fts) VALUES('integrity-check')",
                          nullptr, nullptr, nullptr) == SQLITE_OK);
  return 0;
}
