// FtsBulkIndex: documents to terms to segments, and the records that list
// them.
#include "engine/fts_bulk_index.h"

#include "engine/engine_error.h"
#include "engine/fts_varint.h"
#include "engine/sqlite_connection.h"

namespace ks::engine {
namespace {

constexpr int64_t kTotalsRowid = 1;
constexpr int64_t kStructureRowid = 10;

std::string ReadRecord(Connection& connection, int64_t rowid) {
  auto read = connection.Prepared("SELECT block FROM main.fts_data WHERE id = ?1");
  read->BindInt(1, rowid);
  if (!read->Step()) {
    throw EngineError(KSENG_ERR_INTERNAL, "full-text index has no structure record");
  }
  return std::string(read->Bytes(0));
}

void WriteRecord(Connection& connection, int64_t rowid, std::string_view block) {
  auto write = connection.Prepared("INSERT OR REPLACE INTO main.fts_data(id, block) VALUES(?1, ?2)");
  write->BindInt(1, rowid);
  write->BindBlob(2, block);
  write->Run();
}

// The index's leaf page size: FTS5's default unless the table was told
// another.
int PageSizeOf(Connection& connection) {
  auto read = connection.Prepared("SELECT v FROM main.fts_config WHERE k = 'pgsz'");
  return read->Step() ? static_cast<int>(read->Int(0)) : FtsSegmentWriter::kPageSize;
}

}  // namespace

FtsBulkIndex::FtsBulkIndex(Connection& connection, size_t buffer_bytes, size_t memory_bytes)
    : connection_(connection),
      buffer_bytes_(buffer_bytes),
      memory_bytes_(memory_bytes),
      page_size_(PageSizeOf(connection)),
      tokenizer_(connection.get()) {
  std::optional<FtsStructure> structure =
      ParseFtsStructure(ReadRecord(connection_, kStructureRowid));
  if (!structure || structure->SegmentCount() != 0) {
    throw EngineError(KSENG_ERR_INTERNAL, "full-text index to fill in bulk is not empty");
  }
  structure_ = *structure;
  structure_.levels.assign(1, FtsLevel{});
}

void FtsBulkIndex::Add(int64_t rowid, std::string_view text) {
  if (any_document_ && rowid <= last_rowid_) WriteSegment();
  any_document_ = true;
  last_rowid_ = rowid;
  terms_.BeginDocument(rowid);
  tokens_ += tokenizer_.Tokenize(
      text, [this](std::string_view token, uint32_t position) { terms_.Add(token, position); });
  ++documents_;
  if (terms_.DataBytes() >= buffer_bytes_ || terms_.Bytes() >= memory_bytes_) WriteSegment();
}

void FtsBulkIndex::WriteSegment() {
  if (terms_.Empty()) return;
  const int64_t segment = next_segment_++;
  FtsSegmentWriter writer(*this, segment, page_size_);
  terms_.WriteTo(writer);
  const int64_t last_page = writer.Finish();
  structure_.levels[0].segments.push_back({segment, 1, last_page});
}

void FtsBulkIndex::Finish() {
  WriteSegment();
  WriteRecord(connection_, kStructureRowid, WriteFtsStructure(structure_));
  std::string totals;
  fts_varint::Append(totals, static_cast<uint64_t>(documents_));
  fts_varint::Append(totals, static_cast<uint64_t>(tokens_));
  WriteRecord(connection_, kTotalsRowid, totals);
}

void FtsBulkIndex::Page(int64_t rowid, std::string_view block) {
  auto write = connection_.Prepared("INSERT INTO main.fts_data(id, block) VALUES(?1, ?2)");
  write->BindInt(1, rowid);
  write->BindBlob(2, block);
  write->Run();
}

void FtsBulkIndex::TermIndex(int64_t segment, std::string_view term, int64_t page_and_flag) {
  auto write =
      connection_.Prepared("INSERT INTO main.fts_idx(segid, term, pgno) VALUES(?1, ?2, ?3)");
  write->BindInt(1, segment);
  write->BindBlob(2, term);
  write->BindInt(3, page_and_flag);
  write->Run();
}

}  // namespace ks::engine
