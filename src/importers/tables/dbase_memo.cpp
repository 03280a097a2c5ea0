#include "importers/tables/dbase_memo.h"

#include <algorithm>
#include <cstring>

#include "importers/tables/table_source.h"

namespace ks::tables {
namespace {

// dBase III memos end at a 0x1A (written twice); we read this much at a
// time while looking for it.
constexpr size_t kDbase3Step = 512;

}  // namespace

bool DbfMemoFile::Open(const std::string& path, DbfMemoStyle style) {
  try {
    file_.emplace(path);
  } catch (const TableError&) {
    return false;
  }
  style_ = style;
  char header[32] = {};
  if (file_->ReadUpTo(0, sizeof header, header) != sizeof header) return false;
  if (style == DbfMemoStyle::kFoxPro) {
    block_size_ = static_cast<uint32_t>(BigEndian(header + 6, 2));
  } else if (style == DbfMemoStyle::kDbase4) {
    block_size_ = static_cast<uint32_t>(LittleEndian(header + 20, 2));
  }
  if (block_size_ == 0) block_size_ = 512;
  return true;
}

bool DbfMemoFile::Read(uint32_t block, std::string& out) const {
  out.clear();
  if (block == 0 || !file_) return false;
  const uint64_t offset = uint64_t{block} * block_size_;
  if (offset >= file_->size()) return false;
  char head[8];
  if (style_ == DbfMemoStyle::kFoxPro) {
    // Block type (0 picture, 1 text, 2 object) and length, big-endian.
    if (file_->ReadUpTo(offset, 8, head) != 8) return false;
    const uint64_t length = std::min<uint64_t>(BigEndian(head + 4, 4), file_->size() - offset - 8);
    out.resize(static_cast<size_t>(length));
    file_->ReadAt(offset + 8, out.size(), out.data());
    return true;
  }
  if (style_ == DbfMemoStyle::kDbase4) {
    // FF FF 08 00 and a length that counts these eight bytes too.  A block
    // without that mark is read as dBase III writes them.
    if (file_->ReadUpTo(offset, 8, head) == 8 && std::memcmp(head, "\xff\xff\x08\x00", 4) == 0) {
      const uint64_t stored = LittleEndian(head + 4, 4);
      const uint64_t length = std::min<uint64_t>(stored < 8 ? 0 : stored - 8, file_->size() - offset - 8);
      out.resize(static_cast<size_t>(length));
      file_->ReadAt(offset + 8, out.size(), out.data());
    return true;
    }
  }
  return ReadDbase3(offset, out);
}

bool DbfMemoFile::ReadDbase3(uint64_t offset, std::string& out) const {
  for (;;) {
    const size_t from = out.size();
    out.resize(from + kDbase3Step);
    const size_t n = file_->ReadUpTo(offset + from, kDbase3Step, out.data() + from);
    out.resize(from + n);
    const size_t end = out.find('\x1a', from);
    if (end != std::string::npos) {
      out.resize(end);
      return true;
    }
    if (n == 0) return true;  // the file ends without the mark
  }
}

}  // namespace ks::tables
