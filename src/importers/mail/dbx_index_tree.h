// DbxIndexTree: walks the index of an Outlook Express folder file, a B-tree
// whose entries point at the records of the folder's messages, and hands
// out the records' file offsets in the index's order.
//
// A node is 0x18 bytes of header followed by its entries, 12 bytes each:
//   node  +0x00 its own file offset     entry +0 the record's file offset
//         +0x08 its first child (0: none)      +4 its child (0: none)
//         +0x11 the count of its entries       +8 the records under that child
// The records of the first child come first, then each entry's record
// followed by those of its child.
//
// Nothing is trusted: a node must lie inside the file and carry its own
// offset, and no node may be reached twice (a damaged tree can point back at
// itself).  Damage ends the walk (problem()); the records handed out before
// it stand.  The walk keeps one small frame per level and the offsets of the
// nodes seen, so it costs memory by the number of nodes, never by messages.
#pragma once

#include <cstdint>
#include <optional>
#include <unordered_set>
#include <vector>

#include "importers/mail/dbx_bytes.h"

class DbxIndexTree {
 public:
  // `root` is the root node's offset; 0 is a tree without records.
  DbxIndexTree(const DbxBytes& file, uint32_t root);

  // The next record's offset; nothing at the end of the tree or once it was
  // found damaged.
  std::optional<uint32_t> Next();

  // Why the walk ended before the tree's end, if it did.
  const std::optional<DbxProblem>& problem() const { return problem_; }

  static constexpr uint64_t kNodeHeaderSize = 0x18;
  static constexpr uint64_t kEntrySize = 12;

 private:
  struct Frame {
    uint32_t node = 0;     // its file offset
    uint32_t entries = 0;  // its count of entries
    // What comes next: 0 the first child, then for entry i 2i+1 its record
    // and 2i+2 its child.
    uint32_t step = 0;
  };

  // Checks the node at `node` and steps into it; false, with the problem
  // kept, when it cannot be.
  bool Enter(uint32_t node);
  void Stop(DbxProblem problem);

  const DbxBytes& file_;
  std::vector<Frame> path_;            // from the root to the node at hand
  std::unordered_set<uint32_t> seen_;  // every node entered
  std::optional<DbxProblem> problem_;
};
