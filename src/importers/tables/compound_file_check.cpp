#include "importers/tables/compound_file_check.h"

#include <cstdint>
#include <fstream>
#include <vector>

namespace ks::tables {
namespace {

constexpr uint32_t kEndOfChain = 0xFFFFFFFE;
constexpr uint32_t kFree = 0xFFFFFFFF;

uint32_t Le32(const unsigned char* at) {
  return static_cast<uint32_t>(at[0]) | static_cast<uint32_t>(at[1]) << 8 | static_cast<uint32_t>(at[2]) << 16 |
         static_cast<uint32_t>(at[3]) << 24;
}

// The file's sectors, read one at a time.
class Sectors {
 public:
  Sectors(std::ifstream& file, uint32_t size, uint64_t file_size)
      : file_(file), size_(size), count_(file_size / size == 0 ? 0 : file_size / size - 1) {}
  uint64_t count() const { return count_; }
  uint32_t size() const { return size_; }
  // Sector `index` (the header is sector -1); false when it is not in the file.
  bool Read(uint32_t index, std::vector<unsigned char>& into) {
    if (index >= count_) return false;
    into.resize(size_);
    file_.clear();
    file_.seekg(static_cast<std::streamoff>((uint64_t{index} + 1) * size_));
    return static_cast<bool>(file_.read(reinterpret_cast<char*>(into.data()), size_));
  }

 private:
  std::ifstream& file_;
  uint32_t size_;
  uint64_t count_;
};

}  // namespace

std::string CompoundDirectoryFault(const std::string& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const auto file_size = static_cast<uint64_t>(file.tellg());
  file.seekg(0);
  unsigned char header[512];
  if (!file.read(reinterpret_cast<char*>(header), sizeof header)) return "the compound file's header is cut short";
  const unsigned shift = header[30] | header[31] << 8;
  if (shift != 9 && shift != 12) return "the compound file's sector size is not 512 or 4096";
  Sectors sectors(file, 1u << shift, file_size);
  const uint32_t per_sector = sectors.size() / 4;

  // The FAT: the sectors the header lists, then those of the DIFAT chain.
  std::vector<uint32_t> fat_sectors;
  for (int i = 0; i < 109; ++i) {
    const uint32_t sector = Le32(header + 76 + 4 * i);
    if (sector != kFree) fat_sectors.push_back(sector);
  }
  std::vector<unsigned char> buffer;
  uint32_t difat = Le32(header + 68);
  uint64_t steps = 0;
  for (uint32_t left = Le32(header + 72); left > 0 && difat < kEndOfChain; --left) {
    if (++steps > sectors.count() || fat_sectors.size() > sectors.count()) return "the compound file's DIFAT chain loops";
    if (!sectors.Read(difat, buffer)) return "the compound file's DIFAT leads outside the file";
    for (uint32_t i = 0; i + 1 < per_sector; ++i) {
      const uint32_t sector = Le32(buffer.data() + 4 * i);
      if (sector != kFree) fat_sectors.push_back(sector);
    }
    difat = Le32(buffer.data() + 4 * (per_sector - 1));
  }
  std::vector<uint32_t> fat;
  for (const uint32_t sector : fat_sectors) {
    if (!sectors.Read(sector, buffer)) return "the compound file's FAT leads outside the file";
    for (uint32_t i = 0; i < per_sector; ++i) fat.push_back(Le32(buffer.data() + 4 * i));
  }

  // The directory chain: every entry's name fits its 64 bytes.
  uint32_t sector = Le32(header + 48);
  for (steps = 0; sector != kEndOfChain; ++steps) {
    if (steps > sectors.count()) return "the compound file's directory chain loops";
    if (!sectors.Read(sector, buffer)) return "the compound file's directory leads outside the file";
    for (uint32_t entry = 0; entry < sectors.size(); entry += 128) {
      const unsigned name_size = buffer[entry + 64] | buffer[entry + 65] << 8;
      if (name_size > 64) return "a directory entry of the compound file has a name longer than its field";
      // freexl allocates what an entry says its stream holds before it reads it.
      if (Le32(buffer.data() + entry + 120) > file_size) {
        return "a stream of the compound file is larger than the file";
      }
    }
    if (sector >= fat.size()) return "the compound file's directory chain leaves the FAT";
    sector = fat[sector];
  }
  return {};
}

bool HasFilePassRecord(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  unsigned char block[64];
  while (file.read(reinterpret_cast<char*>(block), sizeof block)) {
    const auto word = [&](size_t at) { return static_cast<unsigned>(block[at] | block[at + 1] << 8); };
    const unsigned length = word(2);
    // BOF (0x0809) of BIFF5 or BIFF8, of the workbook globals (type 5).
    if (word(0) != 0x0809 || (length != 8 && length != 16) || word(6) != 0x0005) continue;
    if (word(4 + length) == 0x002F) return true;
  }
  return false;
}

}  // namespace ks::tables
