#include "importers/tables/access_rows.h"

#include <algorithm>
#include <cstdint>
#include <unordered_set>

#include "importers/tables/access_values.h"

namespace ks::tables::access {
namespace {

// Row offsets carry flags in their top bits.
constexpr int kOffsetMask = 0x1fff;
// The first word of a long value's 12-byte header: the length, and whether
// the value is inline or on one long-value page (else on a chain of them).
constexpr uint32_t kInline = 0x80000000;
constexpr uint32_t kOnePage = 0x40000000;
constexpr uint32_t kFlags = 0xf0000000;
constexpr uint32_t kLengthMask = 0x3fffffff;

uint32_t Word(std::string_view bytes, size_t at) { return static_cast<uint32_t>(LittleEndian(bytes, at, 4)); }

}  // namespace

bool SplitFetchedRow(MdbTableDef* table, std::vector<MdbField>& fields) {
  MdbHandle* mdb = table->entry->mdb;
  for (MdbField& field : fields) {
    field = MdbField{};
    field.colnum = -1;
  }
  int start = 0;
  size_t size = 0;
  const int row = static_cast<int>(table->cur_row) - 1;
  if (fields.size() < table->num_cols || mdb_find_row(mdb, row, &start, &size) != 0) return false;
  return mdb_crack_row(table, start & kOffsetMask, size, fields.data()) >= 0;
}

bool ReadLongValue(MdbHandle* mdb, const AccessHeader& header, std::string_view value,
                   LongValueExtent extent, std::string& bytes) {
  bytes.clear();
  if (value.size() < MDB_MEMO_OVERHEAD) return false;
  const uint32_t first = Word(value, 0);
  if ((first & kInline) != 0) {
    bytes.assign(value.substr(MDB_MEMO_OVERHEAD));
    return true;
  }
  const bool one_page = (first & kOnePage) != 0;
  if (!one_page && (first & kFlags) != 0) return false;
  // A damaged chain may loop or claim more than the file holds: never more
  // than the file's size, and no row twice.
  const uint64_t length = extent == LongValueExtent::kWholeChain
                              ? header.file_size
                              : std::min<uint64_t>(first & kLengthMask, header.file_size);
  std::unordered_set<uint32_t> seen;
  auto page_row = Word(value, 4);
  while (page_row != 0 && bytes.size() < length) {
    const uint32_t page_number = page_row >> 8;
    if (page_number == 0 || page_number >= header.page_count || !seen.insert(page_row).second) return false;
    void* page = nullptr;
    int offset = 0;
    size_t size = 0;
    if (mdb_find_pg_row(mdb, static_cast<int>(page_row), &page, &offset, &size) != 0) return false;
    const std::string_view row(static_cast<const char*>(page) + offset, size);
    if (one_page) {
      bytes.append(row.substr(0, length));
      return true;
    }
    if (row.size() <= 4) return false;
    page_row = Word(row, 0);
    bytes.append(row.substr(4, length - bytes.size()));
  }
  return extent == LongValueExtent::kDeclaredLength || page_row == 0;
}

}  // namespace ks::tables::access
