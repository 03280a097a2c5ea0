// ParadoxMemoFile: the .mb file beside a Paradox table, which holds the
// memo and blob values that do not fit in their records.
//
// The file is a run of blocks counted in 4 KiB units.  A record's blob
// pointer names a block's offset and, in its low byte, either 0xFF (a block
// holding that one blob) or the slot of a block shared by several small
// blobs, whose slot table gives where in the block the blob lies.  Blobs
// are read one at a time, straight from the file.
#pragma once

#include <cstdint>
#include <string>

#include "importers/tables/read_only_file.h"

namespace ks::tables {

class ParadoxMemoFile {
 public:
  // Throws TableError kNotFound when the file cannot be opened.
  explicit ParadoxMemoFile(const std::string& path) : file_(path) {}

  // Reads into `out` the `length` bytes of the blob `pointer` (the offset
  // field of a record's blob pointer) names.  Throws TableError kDamaged
  // when the pointer names nothing the file holds.
  void Read(uint32_t pointer, uint32_t length, std::string& out) const;

 private:
  ReadOnlyFile file_;
};

}  // namespace ks::tables
