// PstHeader: the first bytes of an Outlook personal folders file (.pst, and
// the offline folders of an .ost), read and judged before libpff is given
// the file.  libpff trusts the header's offsets as it finds them; a file cut
// short or overwritten at its start is refused here with a reason a user
// can act on, instead of being handed to libpff to fail somewhere deeper.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct PstHeader {
  // Bytes of the header that hold everything judged here: the Unicode
  // header is the longer one, and its encryption byte is its last.
  static constexpr size_t kBytesRead = 514;

  bool unicode = false;        // 64-bit offsets (version 23 and later) or 32-bit (ANSI)
  uint16_t version = 0;        // the file format version
  uint64_t end_of_file = 0;    // the file's length as the header states it
  uint64_t node_tree = 0;      // where the root page of the node B-tree lies
  uint64_t block_tree = 0;     // where the root page of the block B-tree lies
  uint8_t encryption = 0;      // 0 none, 1 compressible, 2 high

  // The header of `first_bytes` (the start of the file); none when they do
  // not begin with the signature of a personal folders file.
  static std::optional<PstHeader> Read(std::string_view first_bytes);

  // Why a file of `file_size` bytes with this header cannot be read, in
  // words for the log; none when it can be handed to libpff.
  std::optional<std::string> Problem(uint64_t file_size) const;

  // Whether the file is shorter than its header says: it was cut.
  bool IsCut(uint64_t file_size) const { return end_of_file > file_size; }
};
