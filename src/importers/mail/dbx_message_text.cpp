#include "importers/mail/dbx_message_text.h"

#include <fmt/format.h>

namespace {

constexpr uint64_t kBlockHeaderSize = 16;
constexpr uint64_t kBodySizeAt = 4;
constexpr uint64_t kTextLengthAt = 8;
constexpr uint64_t kNextBlockAt = 12;

}  // namespace

bool ReadDbxMessageText(const DbxBytes& file, uint32_t first_block, std::string* text,
                        DbxProblem* problem) {
  text->clear();
  // Brent's cycle finding: `mark` is a block met earlier; it moves to the
  // block at hand each time the steps since it reach a power of two, so a
  // loop brings the chain back to it within twice the loop's length.
  uint32_t mark = first_block;
  uint64_t steps_since_mark = 0;
  uint64_t next_power = 1;
  for (uint32_t block = first_block; block != 0;) {
    if (!file.Holds(block, kBlockHeaderSize)) {
      *problem = {DbxProblem::Kind::kCutShort, block,
                  fmt::format("a block of the message's text at offset {} lies beyond the end of "
                              "the file",
                              block)};
      return false;
    }
    if (*file.U32(block) != block) {
      *problem = {
          DbxProblem::Kind::kDamaged, block,
          fmt::format("the message's text is damaged: no block of it stands at offset {}", block)};
      return false;
    }
    const uint32_t body_size = *file.U32(block + kBodySizeAt);
    const uint32_t length = *file.U32(block + kTextLengthAt);
    if (length > body_size) {
      *problem = {DbxProblem::Kind::kDamaged, block,
                  fmt::format("the message's text is damaged: its block at offset {} claims {} "
                              "bytes in a body of {}",
                              block, length, body_size)};
      return false;
    }
    if (!file.Holds(block + kBlockHeaderSize, length)) {
      *problem = {DbxProblem::Kind::kCutShort, block,
                  fmt::format("the block of the message's text at offset {} is cut short by the "
                              "end of the file",
                              block)};
      return false;
    }
    // No message holds more text than the file: blocks do not overlap.
    if (length > file.size() - text->size()) {
      *problem = {DbxProblem::Kind::kDamaged, block,
                  fmt::format("the message's text is damaged: its blocks, the last at offset {}, "
                              "hold more than the file",
                              block)};
      return false;
    }
    text->append(file.Span(block + kBlockHeaderSize, length));
    const uint32_t next = *file.U32(block + kNextBlockAt);
    if (next != 0 && next == mark) {
      *problem = {DbxProblem::Kind::kDamaged, block,
                  fmt::format("the message's text is damaged: its chain of blocks leads back to "
                              "the block at offset {}",
                              next)};
      return false;
    }
    block = next;
    if (++steps_since_mark == next_power) {
      mark = block;
      steps_since_mark = 0;
      next_power *= 2;
    }
  }
  return true;
}
