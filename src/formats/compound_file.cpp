#include "formats/compound_file.h"

#include <algorithm>
#include <cctype>

namespace ks::formats {
namespace {

constexpr unsigned char kMagic[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr uint32_t kEndOfChain = 0xFFFFFFFE;
constexpr uint32_t kFree = 0xFFFFFFFF;
constexpr uint32_t kNoEntry = 0xFFFFFFFF;
constexpr uint32_t kMiniSectorSize = 64;
// Streams below this size live in the mini stream.  The header repeats it;
// the format fixes it, and a hostile header could otherwise have a large
// stream read whole into memory.
constexpr uint64_t kMiniStreamCutoff = 4096;
// More directory entries than any workbook has: a directory this long is a
// damaged one, and bounds what it costs.
constexpr size_t kMostEntries = 1u << 16;

uint32_t Le32(const unsigned char* at) {
  return static_cast<uint32_t>(at[0]) | static_cast<uint32_t>(at[1]) << 8 | static_cast<uint32_t>(at[2]) << 16 |
         static_cast<uint32_t>(at[3]) << 24;
}

[[noreturn]] void Damaged(const std::string& what) {
  throw CompoundFileError(CompoundFileError::Kind::kDamaged, "a damaged compound file: " + what);
}

// A stream stored in whole sectors of the file, in chain order.
class SectorStream : public StreamBytes {
 public:
  SectorStream(std::shared_ptr<std::ifstream> file, std::vector<uint32_t> sectors, uint32_t sector_size,
               uint64_t size)
      : file_(std::move(file)), sectors_(std::move(sectors)), sector_size_(sector_size), size_(size) {}
  uint64_t Size() const override { return size_; }
  bool ReadAt(uint64_t offset, void* into, size_t size) override {
    if (offset > size_ || size > size_ - offset) return false;
    auto* out = static_cast<char*>(into);
    while (size > 0) {
      const uint64_t index = offset / sector_size_;
      const uint64_t within = offset % sector_size_;
      const size_t chunk = static_cast<size_t>(std::min<uint64_t>(size, sector_size_ - within));
      file_->clear();
      file_->seekg(static_cast<std::streamoff>((uint64_t{sectors_[index]} + 1) * sector_size_ + within));
      if (!file_->read(out, static_cast<std::streamsize>(chunk))) return false;
      out += chunk;
      offset += chunk;
      size -= chunk;
    }
    return true;
  }

 private:
  std::shared_ptr<std::ifstream> file_;
  std::vector<uint32_t> sectors_;
  uint32_t sector_size_;
  uint64_t size_;
};

}  // namespace

CompoundFile::CompoundFile(const std::string& path) {
  file_ = std::make_shared<std::ifstream>(path, std::ios::binary | std::ios::ate);
  if (!*file_) throw CompoundFileError(CompoundFileError::Kind::kCannotOpen, path + ": cannot open the file");
  file_size_ = static_cast<uint64_t>(file_->tellg());
  file_->seekg(0);
  unsigned char header[512];
  if (!file_->read(reinterpret_cast<char*>(header), sizeof header)) Damaged("its header is cut short");
  if (!std::equal(std::begin(kMagic), std::end(kMagic), header)) Damaged("it does not start as one");
  const unsigned shift = header[30] | header[31] << 8;
  if (shift != 9 && shift != 12) Damaged("its sector size is not 512 or 4096");
  sector_size_ = 1u << shift;
  sector_count_ = file_size_ <= sector_size_ ? 0 : (file_size_ - sector_size_ + sector_size_ - 1) / sector_size_;
  const uint32_t per_sector = sector_size_ / 4;

  // The FAT: the sectors the header lists, then those of the DIFAT chain.
  std::vector<uint32_t> fat_sectors;
  for (int i = 0; i < 109; ++i) {
    const uint32_t sector = Le32(header + 76 + 4 * i);
    if (sector < kEndOfChain) fat_sectors.push_back(sector);
  }
  std::vector<unsigned char> buffer;
  uint32_t difat = Le32(header + 68);
  uint64_t steps = 0;
  for (uint32_t left = Le32(header + 72); left > 0 && difat < kEndOfChain; --left) {
    if (++steps > sector_count_) Damaged("its DIFAT chain loops");
    ReadSector(difat, buffer);
    for (uint32_t i = 0; i + 1 < per_sector; ++i) {
      const uint32_t sector = Le32(buffer.data() + 4 * i);
      if (sector < kEndOfChain) fat_sectors.push_back(sector);
    }
    if (fat_sectors.size() > sector_count_) Damaged("its FAT has more sectors than the file");
    difat = Le32(buffer.data() + 4 * (per_sector - 1));
  }
  for (const uint32_t sector : fat_sectors) {
    if (fat_.size() >= sector_count_) break;  // entries past the file's last sector lead nowhere
    ReadSector(sector, buffer);
    for (uint32_t i = 0; i < per_sector; ++i) fat_.push_back(Le32(buffer.data() + 4 * i));
  }

  // The directory, as long as its chain.
  const std::vector<uint32_t> directory =
      Chain(fat_, Le32(header + 48), UINT64_MAX, kMostEntries * 128 / sector_size_);
  for (const uint32_t sector : directory) {
    ReadSector(sector, buffer);
    for (uint32_t at = 0; at < sector_size_; at += 128) {
      const unsigned char* raw = buffer.data() + at;
      Entry entry;
      entry.type = raw[66];
      const unsigned name_bytes = std::min<unsigned>(raw[64] | raw[65] << 8, 64);
      for (unsigned i = 0; i + 1 < name_bytes; i += 2) {
        const unsigned unit = raw[i] | raw[i + 1] << 8;
        if (unit == 0) break;
        entry.name += unit < 0x80 ? static_cast<char>(std::tolower(static_cast<int>(unit))) : '?';
      }
      entry.left = Le32(raw + 68);
      entry.right = Le32(raw + 72);
      entry.child = Le32(raw + 76);
      entry.start = Le32(raw + 116);
      entry.size = Le32(raw + 120);  // version 3 files leave the high half undefined; no stream here needs it
      entries_.push_back(std::move(entry));
    }
  }
  if (entries_.empty() || entries_[0].type != 5) Damaged("it has no root entry");
  if (entries_[0].size > file_size_) Damaged("its mini stream is larger than the file");

  // The mini FAT, for streams below the cutoff.
  const uint32_t mini_fat_sectors = Le32(header + 64);
  if (mini_fat_sectors > sector_count_) Damaged("its mini FAT is larger than the file");
  for (const uint32_t sector :
       Chain(fat_, Le32(header + 60), uint64_t{mini_fat_sectors} * sector_size_, sector_count_)) {
    ReadSector(sector, buffer);
    for (uint32_t i = 0; i < per_sector; ++i) mini_fat_.push_back(Le32(buffer.data() + 4 * i));
  }
}

void CompoundFile::ReadSector(uint32_t sector, std::vector<unsigned char>& into) const {
  if (sector >= sector_count_) Damaged("a sector number leads outside the file");
  into.assign(sector_size_, 0);
  file_->clear();
  file_->seekg(static_cast<std::streamoff>((uint64_t{sector} + 1) * sector_size_));
  file_->read(reinterpret_cast<char*>(into.data()), sector_size_);
  // A last sector cut short reads zeros past the file's end.
  if (file_->gcount() <= 0) Damaged("a sector cannot be read");
}

std::vector<uint32_t> CompoundFile::Chain(const std::vector<uint32_t>& table, uint32_t start, uint64_t size,
                                          uint64_t limit) const {
  const uint64_t unit = &table == &fat_ ? sector_size_ : kMiniSectorSize;
  std::vector<uint32_t> chain;
  std::vector<bool> seen(table.size(), false);
  uint32_t sector = start;
  while (size == UINT64_MAX ? sector != kEndOfChain : chain.size() * unit < size) {
    if (chain.size() >= limit) Damaged("a sector chain is longer than the file");
    if (sector >= table.size()) {
      Damaged(sector == kEndOfChain || sector == kFree ? "a stream is longer than its sector chain"
                                                        : "a sector chain leaves its table");
    }
    if (seen[sector]) Damaged("a sector chain loops");
    seen[sector] = true;
    chain.push_back(sector);
    sector = table[sector];
  }
  return chain;
}

std::unique_ptr<StreamBytes> CompoundFile::OpenStream(std::string_view name) const {
  // The root's children form a tree by their left, right and child links;
  // each entry is looked at once, so a link that loops ends the walk.
  std::vector<uint8_t> seen(entries_.size(), 0);
  std::vector<uint32_t> pending = {entries_[0].child};
  const Entry* found = nullptr;
  while (!pending.empty() && !found) {
    const uint32_t index = pending.back();
    pending.pop_back();
    if (index == kNoEntry || index >= entries_.size() || seen[index]) continue;
    seen[index] = 1;
    const Entry& entry = entries_[index];
    if (entry.type == 2 && entry.name.size() == name.size() &&
        std::equal(name.begin(), name.end(), entry.name.begin(),
                   [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; })) {
      found = &entry;
    }
    pending.push_back(entry.left);
    pending.push_back(entry.right);
  }
  if (!found) return nullptr;
  if (found->size > file_size_) Damaged("a stream is larger than the file");
  if (found->size >= kMiniStreamCutoff) {
    return std::make_unique<SectorStream>(file_, Chain(fat_, found->start, found->size, sector_count_),
                                          sector_size_, found->size);
  }
  // A small stream lives in the mini stream: read it whole.
  const Entry& root = entries_[0];
  SectorStream mini(file_, Chain(fat_, root.start, root.size, sector_count_), sector_size_, root.size);
  std::string bytes(static_cast<size_t>(found->size), '\0');
  size_t done = 0;
  for (const uint32_t sector : Chain(mini_fat_, found->start, found->size, mini_fat_.size())) {
    const size_t chunk = std::min<size_t>(kMiniSectorSize, bytes.size() - done);
    if (!mini.ReadAt(uint64_t{sector} * kMiniSectorSize, bytes.data() + done, chunk)) {
      Damaged("a small stream lies outside the mini stream");
    }
    done += chunk;
  }
  return std::make_unique<MemoryStreamBytes>(std::move(bytes));
}

}  // namespace ks::formats
