// FtsRowids: the full-text index's rowid for a document id, and back.
// FTS5 stores each term's documents as differences between rowids, so the
// size of those differences is paid in every posting.  Documents added at an
// end take ids 2^16 apart (the room the order keeps for later placements),
// which would cost three bytes a posting where one does.  Ids that are
// multiples of 2^16 are therefore indexed divided by it, densely; any other
// id (a document placed between two others) is indexed as itself plus 2^62,
// where neighbours lie as close as their ids do.  Ids are below 2^62, so both
// ranges are one-to-one and never meet.  Files of schema version 1 index the
// ids themselves.
#pragma once

#include <cstdint>

namespace ks::engine {

namespace fts_rowids {

inline constexpr int64_t kPlacedBase = int64_t{1} << 62;
inline constexpr int kEndGapBits = 16;

// The rowid of document `id` in an index of the current format.
constexpr int64_t RowidOf(uint64_t id) {
  return (id & ((uint64_t{1} << kEndGapBits) - 1)) == 0
             ? static_cast<int64_t>(id >> kEndGapBits)
             : static_cast<int64_t>(id) + kPlacedBase;
}

}  // namespace fts_rowids

}  // namespace ks::engine

// The mapping in SQL, as string literals: prepared statements are cached by
// the address of their text.  KS_FTS_ROWID_OF(id) is RowidOf of the SQL
// expression `id`; KS_FTS_ID_OF(rowid) is its inverse for files of schema
// version 2 on (version 1 indexes the ids themselves).
#define KS_FTS_ROWID_OF(id) \
  "(CASE WHEN (" id ") & 65535 = 0 THEN (" id ") >> 16 ELSE (" id ") + 4611686018427387904 END)"
#define KS_FTS_ID_OF(rowid) \
  "(CASE WHEN (" rowid ") >= 4611686018427387904 THEN (" rowid ") - 4611686018427387904 " \
  "ELSE (" rowid ") << 16 END)"
// FTS5 writes out what it gathered whenever a rowid is not above the last
// one, so a run is indexed in two passes, each in rising rowid order: the
// ids of documents added at an end first, then the others.
#define KS_FTS_END_IDS(id) "(" id ") & 65535 = 0"
#define KS_FTS_PLACED_IDS(id) "(" id ") & 65535 <> 0"

static_assert(ks::engine::fts_rowids::kPlacedBase == 4611686018427387904);
static_assert(ks::engine::fts_rowids::kEndGapBits == 16);
