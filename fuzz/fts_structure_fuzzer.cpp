// Fuzzes the reading of FTS5's structure record (engine/fts_segments.*), the
// list of an index's segments that the engine reads from a database file
// before it grafts segments built apart into it.  A database file can come
// from anyone, so the record is untrusted.
//
// Input: the record.
//
// Checks: a record read is written back to one that reads the same; a
// record of the canonical form (what FTS5 writes) is written back byte for
// byte; counts agree with what was read.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "engine/fts_segments.h"
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using ks::engine::FtsStructure;
  const std::string_view record(reinterpret_cast<const char*>(data), size);
  const std::optional<FtsStructure> structure = ks::engine::ParseFtsStructure(record);
  if (!structure) return 0;
  size_t counted = 0;
  for (const auto& level : structure->levels) {
    FUZZ_CHECK(level.merging >= 0 &&
               level.merging <= static_cast<int64_t>(level.segments.size()));
    counted += level.segments.size();
  }
  FUZZ_CHECK(counted == structure->SegmentCount());
  const std::string written = ks::engine::WriteFtsStructure(*structure);
  const std::optional<FtsStructure> again = ks::engine::ParseFtsStructure(written);
  FUZZ_CHECK(again && *again == *structure);
  FUZZ_CHECK(ks::engine::WriteFtsStructure(*again) == written);
  return 0;
}
