// Reading and writing the FTS5 structure record, and moving segments.
#include "engine/fts_segments.h"

#include <set>

#include "engine/engine_error.h"
#include "engine/fts_varint.h"
#include "engine/sqlite_connection.h"

namespace ks::engine {
namespace {

constexpr int64_t kStructureRowid = 10;
constexpr int64_t kTotalsRowid = 1;
// FTS5 refuses a structure of more segments than this.
constexpr int64_t kMostSegments = 2000;
// FTS5 merges a level of this many segments whole at its next write (its
// "crisismerge" default); grafts keep every level shorter.
constexpr size_t kLongestLevel = 15;
// A page's rowid: the segment id above these bits, the page (and, for
// doclist index pages, their height and flag) below.
constexpr int kSegmentShift = 37;

// SQLite's varint: up to eight bytes of seven bits, high bit set on all but
// the last; a ninth byte gives eight bits.
bool GetVarint(std::string_view bytes, size_t& at, int64_t& value) {
  uint64_t v = 0;
  for (int i = 0; i < 8; ++i) {
    if (at >= bytes.size()) return false;
    const auto byte = static_cast<uint8_t>(bytes[at++]);
    v = (v << 7) | (byte & 0x7f);
    if ((byte & 0x80) == 0) {
      value = static_cast<int64_t>(v);
      return true;
    }
  }
  if (at >= bytes.size()) return false;
  v = (v << 8) | static_cast<uint8_t>(bytes[at++]);
  value = static_cast<int64_t>(v);
  return true;
}

void PutVarint(int64_t value, std::string& out) {
  fts_varint::Append(out, static_cast<uint64_t>(value));
}

std::optional<std::vector<int64_t>> ParseNumbers(std::string_view record) {
  std::vector<int64_t> numbers;
  size_t at = 0;
  while (at < record.size()) {
    int64_t value = 0;
    if (!GetVarint(record, at, value)) return std::nullopt;
    numbers.push_back(value);
  }
  return numbers;
}

std::optional<std::string> ReadRecord(Connection& connection, int64_t rowid) {
  auto read = connection.Prepared("SELECT block FROM main.fts_data WHERE id = ?1");
  read->BindInt(1, rowid);
  if (!read->Step()) return std::nullopt;
  return std::string(read->Bytes(0));
}

void WriteRecord(Connection& connection, int64_t rowid, const std::string& block) {
  auto write = connection.Prepared("INSERT OR REPLACE INTO main.fts_data(id, block) VALUES(?1, ?2)");
  write->BindInt(1, rowid);
  write->BindBlob(2, block);
  write->Run();
}

FtsStructure ReadStructure(Connection& connection, const char* which) {
  std::optional<std::string> record = ReadRecord(connection, kStructureRowid);
  std::optional<FtsStructure> structure;
  if (record) structure = ParseFtsStructure(*record);
  if (!structure) {
    throw EngineError(KSENG_ERR_INTERNAL,
                      std::string("full-text index structure not understood in the ") + which);
  }
  return *structure;
}

// Segment ids in use in `structure` or by any page of the target's table.
bool SegmentIdFree(Connection& target, const std::set<int64_t>& used, int64_t id) {
  if (used.count(id) != 0) return false;
  auto pages = target.Prepared("SELECT 1 FROM main.fts_data WHERE id >= ?1 AND id < ?2 LIMIT 1");
  pages->BindInt(1, id << kSegmentShift);
  pages->BindInt(2, (id + 1) << kSegmentShift);
  return !pages->Step();
}

void CopySegment(Connection& target, Connection& source, int64_t from, int64_t to) {
  const int64_t low_bits = (int64_t{1} << kSegmentShift) - 1;
  auto read = source.Prepared("SELECT id, block FROM main.fts_data WHERE id >= ?1 AND id < ?2");
  read->BindInt(1, from << kSegmentShift);
  read->BindInt(2, (from + 1) << kSegmentShift);
  auto write = target.Prepared("INSERT INTO main.fts_data(id, block) VALUES(?1, ?2)");
  while (read->Step()) {
    write->BindInt(1, (to << kSegmentShift) | (read->Int(0) & low_bits));
    write->BindBlob(2, read->Bytes(1));
    write->Run();
    write->Reset();
  }
  auto terms = source.Prepared("SELECT term, pgno FROM main.fts_idx WHERE segid = ?1");
  terms->BindInt(1, from);
  auto add = target.Prepared("INSERT INTO main.fts_idx(segid, term, pgno) VALUES(?1, ?2, ?3)");
  while (terms->Step()) {
    add->BindInt(1, to);
    add->BindBlob(2, terms->Bytes(0));
    add->BindInt(3, terms->Int(1));
    add->Run();
    add->Reset();
  }
}

// The totals are per-document and per-token sums: the union's are the sums.
void AddTotals(Connection& target, Connection& source) {
  std::optional<std::string> theirs = ReadRecord(source, kTotalsRowid);
  if (!theirs) return;
  std::optional<std::string> ours = ReadRecord(target, kTotalsRowid);
  std::optional<std::vector<int64_t>> add = ParseNumbers(*theirs);
  std::optional<std::vector<int64_t>> sums =
      ours ? ParseNumbers(*ours) : std::optional<std::vector<int64_t>>(std::vector<int64_t>{});
  if (!add || !sums) {
    throw EngineError(KSENG_ERR_INTERNAL, "full-text index totals not understood");
  }
  if (sums->size() < add->size()) sums->resize(add->size(), 0);
  for (size_t i = 0; i < add->size(); ++i) (*sums)[i] += (*add)[i];
  std::string record;
  for (int64_t value : *sums) PutVarint(value, record);
  WriteRecord(target, kTotalsRowid, record);
}

// The level that takes `count` new segments as its newest.  A level whose
// level below has a merge under way is refused: that merge appends its
// output to it and takes its last segment for that output.  Of the others the
// lowest that stays short enough is taken, so that FTS5 does not find a level
// long enough to merge all at once on its next write; else a new level on
// top (the top level is never a merge's output).
size_t LevelFor(const FtsStructure& structure, size_t count) {
  for (size_t level = 0; level < structure.levels.size(); ++level) {
    if (level > 0 && structure.levels[level - 1].merging != 0) continue;
    if (structure.levels[level].segments.size() + count <= kLongestLevel) return level;
  }
  return structure.levels.size();
}

}  // namespace

size_t FtsStructure::SegmentCount() const {
  size_t count = 0;
  for (const FtsLevel& level : levels) count += level.segments.size();
  return count;
}

std::optional<FtsStructure> ParseFtsStructure(std::string_view record) {
  if (record.size() < 4) return std::nullopt;
  FtsStructure structure;
  for (int i = 0; i < 4; ++i) {
    structure.cookie = (structure.cookie << 8) | static_cast<uint8_t>(record[static_cast<size_t>(i)]);
  }
  size_t at = 4;
  int64_t levels = 0;
  int64_t segments = 0;
  if (!GetVarint(record, at, levels) || !GetVarint(record, at, segments) ||
      !GetVarint(record, at, structure.write_counter)) {
    return std::nullopt;
  }
  // Each level takes two bytes at least and each segment three: a count
  // beyond what the record could hold is not believed.
  if (levels < 0 || segments < 0 || levels > static_cast<int64_t>(record.size()) ||
      segments > static_cast<int64_t>(record.size())) {
    return std::nullopt;
  }
  int64_t seen = 0;
  for (int64_t l = 0; l < levels; ++l) {
    FtsLevel level;
    int64_t count = 0;
    if (!GetVarint(record, at, level.merging) || !GetVarint(record, at, count)) return std::nullopt;
    if (count < 0 || count > segments - seen || level.merging < 0 || level.merging > count) {
      return std::nullopt;
    }
    for (int64_t s = 0; s < count; ++s) {
      FtsSegment segment;
      if (!GetVarint(record, at, segment.id) || !GetVarint(record, at, segment.first_page) ||
          !GetVarint(record, at, segment.last_page)) {
        return std::nullopt;
      }
      level.segments.push_back(segment);
    }
    seen += count;
    structure.levels.push_back(std::move(level));
  }
  if (seen != segments || at != record.size()) return std::nullopt;
  return structure;
}

std::string WriteFtsStructure(const FtsStructure& structure) {
  std::string record;
  for (int shift = 24; shift >= 0; shift -= 8) {
    record.push_back(static_cast<char>((structure.cookie >> shift) & 0xff));
  }
  PutVarint(static_cast<int64_t>(structure.levels.size()), record);
  PutVarint(static_cast<int64_t>(structure.SegmentCount()), record);
  PutVarint(structure.write_counter, record);
  for (const FtsLevel& level : structure.levels) {
    PutVarint(level.merging, record);
    PutVarint(static_cast<int64_t>(level.segments.size()), record);
    for (const FtsSegment& segment : level.segments) {
      PutVarint(segment.id, record);
      PutVarint(segment.first_page, record);
      PutVarint(segment.last_page, record);
    }
  }
  return record;
}

void GraftFtsSegments(Connection& target, Connection& source) {
  FtsStructure ours = ReadStructure(target, "database");
  const FtsStructure theirs = ReadStructure(source, "index built apart");
  if (theirs.SegmentCount() == 0) return;
  for (const FtsLevel& level : theirs.levels) {
    if (level.merging != 0) {
      throw EngineError(KSENG_ERR_INTERNAL, "index built apart is in the middle of a merge");
    }
  }
  if (static_cast<int64_t>(ours.SegmentCount() + theirs.SegmentCount()) > kMostSegments / 2) {
    throw EngineError(KSENG_ERR_INTERNAL, "full-text index has too many segments to add more");
  }
  std::set<int64_t> used;
  for (const FtsLevel& level : ours.levels) {
    for (const FtsSegment& segment : level.segments) used.insert(segment.id);
  }
  const size_t level = LevelFor(ours, theirs.SegmentCount());
  if (level == ours.levels.size()) ours.levels.emplace_back();
  int64_t next_id = 1;
  for (const FtsLevel& their_level : theirs.levels) {
    for (const FtsSegment& segment : their_level.segments) {
      while (!SegmentIdFree(target, used, next_id)) ++next_id;
      if (next_id > kMostSegments) {
        throw EngineError(KSENG_ERR_INTERNAL, "no free full-text segment id");
      }
      CopySegment(target, source, segment.id, next_id);
      used.insert(next_id);
      ours.levels[level].segments.push_back({next_id, segment.first_page, segment.last_page});
    }
  }
  ours.write_counter += theirs.write_counter;
  WriteRecord(target, kStructureRowid, WriteFtsStructure(ours));
  AddTotals(target, source);
}

}  // namespace ks::engine
