// FTS5 index segments moved between databases.  An index built elsewhere (a
// private database a worker thread filled) is made part of the database's own
// `fts` index by copying its segment pages and term index rows under segment
// ids the target does not use, and adding the segments to the target's
// structure record.  The two indexes must hold disjoint document ids.
//
// FTS5 keeps the list of segments in one record of its `%_data` table
// (rowid 10): a 4-byte cookie, the number of levels, of segments and the
// write counter, then per level the number of segments being merged and the
// segments, each as id, first page and last page; all numbers are SQLite
// varints.  Pages of segment S are stored at rowids S << 37 and above, and
// nothing inside a page names its segment, so a segment moves by rewriting
// the rowid's top bits.  Rowid 1 holds the totals (documents, then tokens of
// each column) that FTS5 keeps for ranking.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ks::engine {

class Connection;

struct FtsSegment {
  int64_t id = 0;
  int64_t first_page = 0;
  int64_t last_page = 0;
  bool operator==(const FtsSegment&) const = default;
};

struct FtsLevel {
  int64_t merging = 0;  // segments of this level that an unfinished merge reads
  std::vector<FtsSegment> segments;
  bool operator==(const FtsLevel&) const = default;
};

struct FtsStructure {
  uint32_t cookie = 0;
  int64_t write_counter = 0;
  std::vector<FtsLevel> levels;

  size_t SegmentCount() const;
  bool operator==(const FtsStructure&) const = default;
};

// The structure record read exactly; nullopt when it is not one (a count
// that disagrees, bytes left over, a number past the end).
std::optional<FtsStructure> ParseFtsStructure(std::string_view record);
std::string WriteFtsStructure(const FtsStructure& structure);

// Adds the segments of the index `fts` in the main database of `source` to
// the index `fts` of `target`'s main database, inside `target`'s open write
// transaction.  The segments join one level as its newest: the lowest that
// no merge under way writes to and that stays short of a level FTS5 would
// merge whole.  The source must have no unfinished merge.  Throws
// EngineError (KSENG_ERR_INTERNAL when either structure is not understood or
// the target would hold more segments than FTS5 allows); the caller's
// transaction is then to be rolled back.
void GraftFtsSegments(Connection& target, Connection& source);

}  // namespace ks::engine
