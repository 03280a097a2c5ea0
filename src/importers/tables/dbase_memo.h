// DbfMemoFile: the memo file beside a dBase or FoxPro table (.dbt, .fpt),
// from which a record's memo fields take their text by block number.
// Reads one memo at a time at its offset; a memo never reaches past the
// file's end, whatever its header claims.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "importers/tables/dbase_layout.h"
#include "importers/tables/read_only_file.h"

namespace ks::tables {

class DbfMemoFile {
 public:
  // Opens `path` as a memo file of `style`; false when it cannot be read
  // (the table's memos are then null).
  bool Open(const std::string& path, DbfMemoStyle style);

  // Replaces `out` with the bytes of the memo starting at `block`; false
  // (and `out` empty) when there is no memo there.
  bool Read(uint32_t block, std::string& out) const;

 private:
  bool ReadDbase3(uint64_t offset, std::string& out) const;

  std::optional<ReadOnlyFile> file_;
  DbfMemoStyle style_ = DbfMemoStyle::kNone;
  uint32_t block_size_ = 512;
};

}  // namespace ks::tables
