// SearchIndex: the full-text index (an FTS5 table keyed by document id that
// keeps no copy of the text).  It is filled in bulk, which is several times
// cheaper than a trigger per row: documents whose order key is above a
// watermark are not indexed yet, and the writer indexes them at its commit
// points (CatchUp).  Documents placed below the watermark since, and indexed
// documents whose text changed (their old terms are removed at once), wait
// in a to-do list.  Searches also look at what is not indexed yet, so a
// reader finds every committed document.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "engine/document_order.h"

namespace ks::engine {

class Connection;
class DocumentStore;
class SettingsStore;

class SearchIndex : public ReorderObserver {
 public:
  SearchIndex(Connection& connection, DocumentStore& documents, SettingsStore& settings)
      : connection_(connection), documents_(documents), settings_(settings) {}

  // Forgets the cached watermark: call when a transaction begins or is lost.
  void Forget() { watermark_.reset(); }

  // Call inside the write transaction after document `id` was stored at key
  // `seq`, and before a document's text changes.
  void AfterInsert(uint64_t id, int64_t seq);
  void BeforeTextChange(uint64_t id);
  // Indexes everything not indexed, inside the caller's write transaction.
  void CatchUp();
  // Moving documents would carry them across the watermark: index everything
  // first, then everything is below the new watermark.
  void BeforeReorder() override { CatchUp(); }
  void AfterReorder() override;

  // Ids of documents matching the FTS5 `query`, in database order.  With
  // `include_unindexed`, documents not yet indexed are searched through a
  // temporary in-memory index built for them (a reader cannot index);
  // otherwise the caller has run CatchUp.  KSENG_ERR_QUERY when the query
  // does not parse.
  std::vector<uint64_t> Search(std::string_view query, bool include_unindexed);

 private:
  int64_t Watermark();
  void SetWatermark(int64_t seq);
  int64_t LastKey();
  void RefreshScratch(int64_t watermark);

  Connection& connection_;
  DocumentStore& documents_;
  SettingsStore& settings_;
  std::optional<int64_t> watermark_;  // cached within one write transaction
  bool scratch_ready_ = false;        // temp.fts_scratch exists and is filled
  int64_t scratch_version_ = -1;      // PRAGMA data_version it was filled at
  int64_t scratch_watermark_ = -1;    // watermark it was filled for
};

}  // namespace ks::engine
