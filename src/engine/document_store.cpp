// DocumentStore: SQL over the documents, moved and names tables.
#include "engine/document_store.h"

#include <cstring>
#include <limits>

#include "engine/engine_error.h"
#include "engine/sqlite_connection.h"

namespace ks::engine {
namespace {

// The row of the document whose id is ?1: at the key it was stored at unless
// it was moved.  The id check tells it from another document that took the
// key later.  (A macro so that every statement stays one string literal,
// which the statement cache keys by address.)
#define KS_ROW_OF_ID " seq = coalesce((SELECT seq FROM moved WHERE id = ?1), ?1) AND id = ?1 "

int64_t Id(uint64_t id) {
  return static_cast<int64_t>(id);
}

void RequireChanged(Connection& connection) {
  Require(sqlite3_changes(connection.get()) > 0, KSENG_ERR_NO_DOCUMENT, "no such document");
}

// Queue limits: rows per grouped statement, and the text held before the
// queue is written anyway.  Larger documents skip the queue: copying them
// would cost more than the statement saves.
constexpr size_t kGroupRows = 64;
constexpr size_t kQueueBytes = 1 << 20;
constexpr size_t kQueuedDocumentLimit = 16 * 1024;

// "INSERT ... VALUES (?,?,?,?), ..." with kGroupRows rows, built once.
const char* GroupInsertSql() {
  static const std::string sql = [] {
    std::string text = "INSERT INTO documents(seq, id, kind, body) VALUES ";
    for (size_t i = 0; i < kGroupRows; ++i) text += i == 0 ? "(?,?,?,?)" : ",(?,?,?,?)";
    return text;
  }();
  return sql.c_str();
}

}  // namespace

uint64_t DocumentStore::Insert(int64_t seq, int32_t kind, std::string_view body) {
  if (body.size() > kQueuedDocumentLimit) {
    Flush();
    InsertRow(seq, kind, body);
    return static_cast<uint64_t>(seq);
  }
  queued_.push_back({seq, kind, queued_text_.size(), body.size()});
  queued_text_.append(body);
  if (queued_.size() >= kGroupRows || queued_text_.size() >= kQueueBytes) Flush();
  return static_cast<uint64_t>(seq);
}

uint64_t DocumentStore::InsertNow(int64_t seq, int32_t kind, std::string_view body) {
  Flush();
  InsertRow(seq, kind, body);
  return static_cast<uint64_t>(seq);
}

void DocumentStore::InsertRow(int64_t seq, int32_t kind, std::string_view body) {
  auto insert =
      connection_.Prepared("INSERT INTO documents(seq, id, kind, body) VALUES(?1, ?1, ?2, ?3)");
  insert->BindInt(1, seq).BindInt(2, kind).BindBlob(3, body);
  insert->Run();
}

void DocumentStore::Flush() {
  if (queued_.empty()) return;
  size_t done = 0;
  if (queued_.size() == kGroupRows) {
    auto insert = connection_.Prepared(GroupInsertSql());
    int parameter = 0;
    for (const QueuedRow& row : queued_) {
      insert->BindInt(parameter + 1, row.seq);
      insert->BindInt(parameter + 2, row.seq);
      insert->BindInt(parameter + 3, row.kind);
      insert->BindBlob(parameter + 4, std::string_view(queued_text_).substr(row.offset, row.size));
      parameter += 4;
    }
    insert->Run();
    done = kGroupRows;
  }
  for (; done < queued_.size(); ++done) {
    const QueuedRow& row = queued_[done];
    InsertRow(row.seq, row.kind, std::string_view(queued_text_).substr(row.offset, row.size));
  }
  queued_.clear();
  queued_text_.clear();
}

void DocumentStore::DropQueued() noexcept {
  queued_.clear();
  queued_text_.clear();
}

uint64_t DocumentStore::InsertSized(int64_t seq, int32_t kind, uint64_t size) {
  Flush();
  auto insert =
      connection_.Prepared("INSERT INTO documents(seq, id, kind, body) VALUES(?1, ?1, ?2, ?3)");
  insert->BindInt(1, seq).BindInt(2, kind).BindZeroBlob(3, size);
  insert->Run();
  return static_cast<uint64_t>(seq);
}

void DocumentStore::Append(uint64_t id, std::string_view more) {
  Flush();
  auto update = connection_.Prepared(
      "UPDATE documents SET body = CAST(body || ?2 AS BLOB) WHERE" KS_ROW_OF_ID);
  update->BindInt(1, Id(id)).BindBlob(2, more);
  update->Run();
  RequireChanged(connection_);
}

void DocumentStore::AppendConcatenation(uint64_t id, const char* pieces_query,
                                        std::string_view tail) {
  Flush();
  // pieces_query is one of our own constant queries, prepared on each use:
  // this path only serves appends of texts too large for memory.  An
  // aggregate over an ordered subquery takes the rows in that order.
  std::string sql = std::string(
                        "UPDATE documents SET body = CAST(body || coalesce((SELECT "
                        "group_concat(piece, '') FROM (") +
                    pieces_query + ")), '') || ?2 AS BLOB) WHERE" KS_ROW_OF_ID;
  Statement update(connection_.get(), sql);
  update.BindInt(1, Id(id)).BindBlob(2, tail);
  update.Run();
  RequireChanged(connection_);
}

void DocumentStore::SetBody(uint64_t id, std::string_view body) {
  Flush();
  auto update = connection_.Prepared("UPDATE documents SET body = ?2 WHERE" KS_ROW_OF_ID);
  update->BindInt(1, Id(id)).BindBlob(2, body);
  update->Run();
  RequireChanged(connection_);
}

void DocumentStore::SetKind(uint64_t id, int32_t kind) {
  Flush();
  auto update = connection_.Prepared("UPDATE documents SET kind = ?2 WHERE" KS_ROW_OF_ID);
  update->BindInt(1, Id(id)).BindInt(2, kind);
  update->Run();
  RequireChanged(connection_);
}

std::optional<int64_t> DocumentStore::Seq(uint64_t id) {
  Flush();
  auto query = connection_.Prepared("SELECT seq FROM documents WHERE" KS_ROW_OF_ID);
  query->BindInt(1, Id(id));
  if (!query->Step()) return std::nullopt;
  return query->Int(0);
}

int32_t DocumentStore::Kind(uint64_t id) {
  Flush();
  auto query = connection_.Prepared("SELECT kind FROM documents WHERE" KS_ROW_OF_ID);
  query->BindInt(1, Id(id));
  return query->Step() ? static_cast<int32_t>(query->Int(0)) : 0;
}

uint64_t DocumentStore::Length(uint64_t id) {
  Flush();
  auto query = connection_.Prepared("SELECT length(body) FROM documents WHERE" KS_ROW_OF_ID);
  query->BindInt(1, Id(id));
  Require(query->Step(), KSENG_ERR_NO_DOCUMENT, "no such document");
  return static_cast<uint64_t>(query->Int(0));
}

uint64_t DocumentStore::ReadBody(uint64_t id, char* buffer, uint64_t size) {
  // The length first, so a buffer that is too small costs no read of the text.
  uint64_t length = Length(id);
  if (buffer == nullptr || length >= size) return length;
  auto query = connection_.Prepared("SELECT body FROM documents WHERE" KS_ROW_OF_ID);
  query->BindInt(1, Id(id));
  Require(query->Step(), KSENG_ERR_NO_DOCUMENT, "no such document");
  std::string_view body = query->Bytes(0);
  if (!body.empty()) std::memcpy(buffer, body.data(), body.size());
  buffer[body.size()] = '\0';
  return body.size();
}

std::string DocumentStore::Body(uint64_t id) {
  Flush();
  auto query = connection_.Prepared("SELECT body FROM documents WHERE" KS_ROW_OF_ID);
  query->BindInt(1, Id(id));
  Require(query->Step(), KSENG_ERR_NO_DOCUMENT, "no such document");
  return std::string(query->Bytes(0));
}

std::string DocumentStore::BodyHead(uint64_t id, uint64_t limit) {
  Flush();
  auto query = connection_.Prepared("SELECT substr(body, 1, ?2) FROM documents WHERE" KS_ROW_OF_ID);
  query->BindInt(1, Id(id)).BindInt(2, static_cast<int64_t>(limit));
  Require(query->Step(), KSENG_ERR_NO_DOCUMENT, "no such document");
  return std::string(query->Bytes(0));
}

std::string DocumentStore::Name(uint64_t id) {
  Require(Exists(id), KSENG_ERR_NO_DOCUMENT, "no such document");
  auto query = connection_.Prepared("SELECT name FROM names WHERE id = ?1");
  query->BindInt(1, Id(id));
  return query->Step() ? std::string(query->Bytes(0)) : std::string();
}

void DocumentStore::SetName(uint64_t id, std::string_view name) {
  Require(Exists(id), KSENG_ERR_NO_DOCUMENT, "no such document");
  if (name.empty()) {
    auto remove = connection_.Prepared("DELETE FROM names WHERE id = ?1");
    remove->BindInt(1, Id(id));
    remove->Run();
    return;
  }
  auto upsert = connection_.Prepared(
      "INSERT INTO names(id, name) VALUES(?1, ?2) "
      "ON CONFLICT(id) DO UPDATE SET name = excluded.name");
  upsert->BindInt(1, Id(id)).BindText(2, name);
  upsert->Run();
}

uint64_t DocumentStore::FindNamed(std::string_view name) {
  Flush();
  auto query = connection_.Prepared(
      "SELECT d.id FROM names n JOIN documents d "
      "ON d.seq = coalesce((SELECT seq FROM moved WHERE id = n.id), n.id) AND d.id = n.id "
      "WHERE n.name = ?1 ORDER BY d.seq LIMIT 1");
  query->BindText(1, name);
  return query->Step() ? static_cast<uint64_t>(query->Int(0)) : 0;
}

uint64_t DocumentStore::First() {
  Flush();
  auto query = connection_.Prepared("SELECT id FROM documents ORDER BY seq LIMIT 1");
  return query->Step() ? static_cast<uint64_t>(query->Int(0)) : 0;
}

uint64_t DocumentStore::Next(uint64_t current) {
  std::optional<int64_t> key = Seq(current);
  Require(key.has_value(), KSENG_ERR_NO_DOCUMENT, "document is not in the walk");
  auto query = connection_.Prepared("SELECT id FROM documents WHERE seq > ?1 ORDER BY seq LIMIT 1");
  query->BindInt(1, *key);
  return query->Step() ? static_cast<uint64_t>(query->Int(0)) : 0;
}

void DocumentStore::Move(int64_t from, int64_t to) {
  Flush();
  {
    auto move = connection_.Prepared("UPDATE documents SET seq = ?2 WHERE seq = ?1");
    move->BindInt(1, from).BindInt(2, to);
    move->Run();
  }
  // Keep the way from id to row: listed while the key differs from the id.
  auto note = connection_.Prepared(
      "INSERT INTO moved(id, seq) SELECT id, seq FROM documents WHERE seq = ?1 AND id != seq "
      "ON CONFLICT(id) DO UPDATE SET seq = excluded.seq");
  note->BindInt(1, to);
  note->Run();
  auto forget = connection_.Prepared(
      "DELETE FROM moved WHERE id = (SELECT id FROM documents WHERE seq = ?1 AND id = seq)");
  forget->BindInt(1, to);
  forget->Run();
}

bool DocumentStore::AnyMoved() {
  auto query = connection_.Prepared("SELECT EXISTS(SELECT 1 FROM moved)");
  query->Step();
  return query->Int(0) != 0;
}

int64_t DocumentStore::FreeIdUpFrom(int64_t key) {
  // `key` itself, or the key just after the run of taken ids that holds it.
  auto query = connection_.Prepared(
      "SELECT ?1 WHERE NOT EXISTS (SELECT 1 FROM moved WHERE id = ?1) "
      "UNION ALL SELECT m.id + 1 FROM moved m WHERE m.id >= ?1 "
      "AND NOT EXISTS (SELECT 1 FROM moved WHERE id = m.id + 1) ORDER BY 1 LIMIT 1");
  query->BindInt(1, key);
  query->Step();
  return query->Int(0);
}

int64_t DocumentStore::FreeIdDownFrom(int64_t key) {
  auto query = connection_.Prepared(
      "SELECT ?1 WHERE NOT EXISTS (SELECT 1 FROM moved WHERE id = ?1) "
      "UNION ALL SELECT m.id - 1 FROM moved m WHERE m.id <= ?1 "
      "AND NOT EXISTS (SELECT 1 FROM moved WHERE id = m.id - 1) ORDER BY 1 DESC LIMIT 1");
  query->BindInt(1, key);
  query->Step();
  return query->Int(0);
}

BodyWriter::BodyWriter(Connection& connection, int64_t seq) : connection_(connection) {
  int rc = sqlite3_blob_open(connection_.get(), "main", "documents", "body", seq, 1, &blob_);
  if (rc != SQLITE_OK) {
    sqlite3_blob_close(blob_);
    blob_ = nullptr;
    ThrowSqlite(connection_.get(), rc, "open document text for writing");
  }
}

BodyWriter::~BodyWriter() {
  sqlite3_blob_close(blob_);
}

void BodyWriter::Write(std::string_view bytes) {
  if (bytes.empty()) return;
  Require(offset_ + bytes.size() <= static_cast<uint64_t>(std::numeric_limits<int>::max()),
          KSENG_ERR_ARGUMENT, "document too large");
  int rc = sqlite3_blob_write(blob_, bytes.data(), static_cast<int>(bytes.size()),
                              static_cast<int>(offset_));
  if (rc != SQLITE_OK) ThrowSqlite(connection_.get(), rc, "write document text");
  offset_ += bytes.size();
}

}  // namespace ks::engine
