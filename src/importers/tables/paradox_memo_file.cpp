#include "importers/tables/paradox_memo_file.h"

#include "importers/tables/table_source.h"

namespace ks::tables {
namespace {

constexpr uint32_t kUnit = 4096;
constexpr uint8_t kSingleBlob = 2;
constexpr uint8_t kSharedBlobs = 3;
constexpr uint32_t kSingleDataAt = 9;  // after type, units, length, modification number
constexpr uint32_t kSlotTableAt = 12;  // in a shared block
constexpr uint32_t kSlotSize =
    5;  // offset/16, length/16 rounded up, modification number, length%16
constexpr uint32_t kSlots = 64;
constexpr uint8_t kWholeBlock = 0xFF;

uint8_t Byte(const std::string& bytes, size_t at) {
  return static_cast<uint8_t>(bytes[at]);
}

}  // namespace

void ParadoxMemoFile::Read(uint32_t pointer, uint32_t length, std::string& out) const {
  const uint64_t block = pointer & ~uint32_t{0xFF};
  const uint8_t slot = pointer & 0xFF;
  const auto damaged = [this](const char* what) {
    return TableError(TableError::Kind::kDamaged, file_.path() + ": " + what);
  };
  std::string head;
  if (block == 0 || !file_.Holds(block, kSlotTableAt))
    throw damaged("a memo points outside the file");
  file_.ReadAt(block, kSlotTableAt, head);
  const uint64_t block_size =
      uint64_t{static_cast<uint16_t>(Byte(head, 1) | Byte(head, 2) << 8)} * kUnit;

  uint64_t data = 0;
  if (slot == kWholeBlock) {
    if (Byte(head, 0) != kSingleBlob) throw damaged("a memo points at a block of another kind");
    data = block + kSingleDataAt;
  } else {
    if (Byte(head, 0) != kSharedBlobs || slot >= kSlots)
      throw damaged("a memo points at a block of another kind");
    std::string entry;
    file_.ReadAt(block + kSlotTableAt + slot * kSlotSize, kSlotSize, entry);
    const uint32_t rounded_length = uint32_t{Byte(entry, 1)} * 16;
    if (Byte(entry, 0) == 0 || length > rounded_length)
      throw damaged("a memo's slot does not hold it");
    data = block + uint32_t{Byte(entry, 0)} * 16;
  }
  if (data + length > block + block_size) throw damaged("a memo runs past its block");
  file_.ReadAt(data, length, out);
}

}  // namespace ks::tables
