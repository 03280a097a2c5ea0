// PendingDocument: memory buffer and temp-table staging of one document.
#include "engine/pending_document.h"

#include "engine/engine_error.h"
#include "engine/sqlite_connection.h"

namespace ks::engine {

const char* PendingDocument::StagedPiecesQuery() {
  return "SELECT data AS piece FROM temp.staged_text ORDER BY n";
}

void PendingDocument::Start(DocumentStart start, std::string_view head) {
  Require(!active_, KSENG_ERR_STATE, "a document is already pending");
  start_ = std::move(start);
  memory_.assign(head);
  head_size_ = head.size();
  staged_bytes_ = 0;
  staged_pieces_ = 0;
  active_ = true;
}

void PendingDocument::Add(std::string_view text) {
  Require(active_, KSENG_ERR_STATE, "no document is pending");
  memory_.append(text);
}

void PendingDocument::Flush() {
  Require(active_, KSENG_ERR_STATE, "no document is pending");
  if (memory_.empty()) return;
  if (!table_made_) {
    connection_.Exec(
        "CREATE TEMP TABLE IF NOT EXISTS staged_text(n INTEGER PRIMARY KEY, data BLOB NOT NULL)");
    table_made_ = true;
  }
  if (stale_rows_) DeleteStaged();
  {
    auto insert = connection_.Prepared("INSERT INTO temp.staged_text(n, data) VALUES(?1, ?2)");
    insert->BindInt(1, static_cast<int64_t>(staged_pieces_)).BindBlob(2, memory_);
    insert->Run();
  }
  ++staged_pieces_;
  staged_bytes_ += memory_.size();
  memory_.clear();
  // A document far over the limit may have grown the buffer a lot; do not
  // keep that much memory for the next one.
  if (memory_.capacity() > 4 * memory_limit_) std::string().swap(memory_);
}

std::string PendingDocument::Head(uint64_t limit) {
  if (!staged()) return memory_.substr(0, limit);
  std::string head;
  ForEachPiece([&](std::string_view piece) {
    if (head.size() < limit) head.append(piece.substr(0, limit - head.size()));
  });
  return head;
}

void PendingDocument::ForEachPiece(const std::function<void(std::string_view)>& sink) {
  if (staged()) {
    auto pieces = connection_.Prepared("SELECT data FROM temp.staged_text ORDER BY n");
    while (pieces->Step()) sink(pieces->Bytes(0));
  }
  sink(memory_);
}

void PendingDocument::DeleteStaged() {
  connection_.Prepared("DELETE FROM temp.staged_text")->Run();
  stale_rows_ = false;
}

void PendingDocument::Clear() noexcept {
  if (staged_pieces_ > 0 || stale_rows_) {
    stale_rows_ = true;
    // Best effort now; Flush retries before it stages again.
    if (sqlite3_exec(connection_.get(), "DELETE FROM temp.staged_text", nullptr, nullptr,
                     nullptr) == SQLITE_OK) {
      stale_rows_ = false;
    }
  }
  active_ = false;
  start_ = DocumentStart{};
  memory_.clear();
  if (memory_.capacity() > 4 * memory_limit_) std::string().swap(memory_);
  head_size_ = 0;
  staged_bytes_ = 0;
  staged_pieces_ = 0;
}

}  // namespace ks::engine
