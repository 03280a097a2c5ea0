#include "importers/mail/dbx_index_tree.h"

#include <fmt/format.h>

namespace {

constexpr uint64_t kFirstChildAt = 0x08;
constexpr uint64_t kEntryCountAt = 0x11;
constexpr uint64_t kEntryChildAt = 4;

}  // namespace

DbxIndexTree::DbxIndexTree(const DbxBytes& file, uint32_t root) : file_(file) {
  if (root != 0) Enter(root);
}

void DbxIndexTree::Stop(DbxProblem problem) {
  problem_ = std::move(problem);
  path_.clear();
}

bool DbxIndexTree::Enter(uint32_t node) {
  if (!file_.Holds(node, kNodeHeaderSize)) {
    Stop({DbxProblem::Kind::kCutShort, node,
          fmt::format("a node of the message index at offset {} lies beyond the end of the file",
                      node)});
    return false;
  }
  if (*file_.U32(node) != node) {
    Stop({DbxProblem::Kind::kDamaged, node,
          fmt::format("the message index is damaged: no node of it stands at offset {}", node)});
    return false;
  }
  const uint32_t entries = *file_.U8(node + kEntryCountAt);
  if (!file_.Holds(node, kNodeHeaderSize + entries * kEntrySize)) {
    Stop({DbxProblem::Kind::kCutShort, node,
          fmt::format("the node of the message index at offset {} is cut short by the end of "
                      "the file",
                      node)});
    return false;
  }
  if (!seen_.insert(node).second) {
    Stop({DbxProblem::Kind::kDamaged, node,
          fmt::format("the message index is damaged: it leads back to its node at offset {}",
                      node)});
    return false;
  }
  path_.push_back({node, entries, 0});
  return true;
}

std::optional<uint32_t> DbxIndexTree::Next() {
  while (!path_.empty()) {
    Frame& frame = path_.back();
    if (frame.step > 2 * frame.entries) {
      path_.pop_back();
      continue;
    }
    const uint32_t step = frame.step++;
    const uint64_t entry =
        frame.node + kNodeHeaderSize + (step == 0 ? 0 : (step - 1) / 2) * kEntrySize;
    if (step % 2 == 1) {
      const uint32_t record = *file_.U32(entry);
      if (record != 0) return record;
      continue;  // an empty slot: nothing to hand out
    }
    const uint32_t child =
        *file_.U32(step == 0 ? frame.node + kFirstChildAt : entry + kEntryChildAt);
    // `frame` is not used past this point: entering may move the path.
    if (child != 0 && !Enter(child)) return std::nullopt;
  }
  return std::nullopt;
}
