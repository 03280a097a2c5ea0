#include "importers/tables/paradox_cursor.h"

#include <fmt/format.h>

#include <algorithm>

#include "importers/tables/paradox_values.h"

namespace ks::tables {
namespace {

constexpr size_t kBlockHeadSize = 6;  // next block, previous block, offset of the last record

bool IsBinary(ParadoxType type) {
  return type == ParadoxType::kBlob || type == ParadoxType::kOle || type == ParadoxType::kGraphic ||
         type == ParadoxType::kBytes;
}

bool IsMemo(ParadoxType type) {
  return type == ParadoxType::kMemo || type == ParadoxType::kFormattedMemo;
}

// The iconv name of a code page number the header gives; "" for none.
std::string CharsetOf(uint16_t code_page) {
  if (code_page == 0) return {};
  if (code_page >= 1250 && code_page <= 1258) return fmt::format("WINDOWS-{}", code_page);
  return fmt::format("CP{}", code_page);
}

ParadoxHeader ReadHeader(const ReadOnlyFile& file) {
  std::string bytes;
  file.ReadAt(0, static_cast<size_t>(std::min<uint64_t>(file.size(), kParadoxFixedHeaderSize)),
              bytes);
  const size_t size = std::max<size_t>(ParadoxHeaderSize(bytes), kParadoxFixedHeaderSize);
  file.ReadAt(0, static_cast<size_t>(std::min<uint64_t>(file.size(), size)), bytes);
  return ParseParadoxHeader(bytes, file.size());
}

}  // namespace

ParadoxCursor::ParadoxCursor(const std::filesystem::path& table_path,
                             std::filesystem::path memo_path, const TableReadOptions& options)
    : file_(table_path.string()),
      header_(ReadHeader(file_)),
      memo_path_(std::move(memo_path)),
      fallback_code_page_(options.code_page) {
  charset_ = CharsetOf(header_.code_page);
  if (!charset_.empty() && !converter_.Knows(charset_)) charset_.clear();
  for (const ParadoxField& field : header_.fields) {
    columns_.emplace_back();
    AppendText(field.name, columns_.back());
  }
  blocks_in_file_ = header_.BlocksIn(file_.size());
  next_block_ = header_.first_block;
  values_.resize(columns_.size());
  present_.resize(columns_.size());
}

std::vector<std::string> ParadoxCursor::BinaryColumns() const {
  std::vector<std::string> names;
  for (size_t i = 0; i < columns_.size(); ++i) {
    if (IsBinary(header_.fields[i].type)) names.push_back(columns_[i]);
  }
  return names;
}

double ParadoxCursor::Progress() const {
  // Free blocks are not in the chain: the end of it is the end of the table.
  if (finished_ || blocks_in_file_ == 0) return 1;
  return std::min(1.0, static_cast<double>(blocks_read_) / static_cast<double>(blocks_in_file_));
}

bool ParadoxCursor::NextBlock() {
  while (next_block_ != 0) {
    const auto damaged = [this](const std::string& what) {
      return TableError(TableError::Kind::kDamaged, fmt::format("{}: {}", file_.path(), what));
    };
    if (next_block_ > blocks_in_file_)
      throw damaged(fmt::format("data block {} lies beyond the file", next_block_));
    // Every block is read at most once in a sound chain; this bound ends
    // the walk whatever the back links say.
    if (blocks_read_ >= blocks_in_file_) throw damaged("the chain of data blocks loops");
    file_.ReadAt(header_.header_size + uint64_t{next_block_ - 1} * header_.block_size,
                 header_.block_size, block_);
    ++blocks_read_;
    if (ParadoxWord(block_, 2) != block_number_) {
      throw damaged(
          fmt::format("data block {} is not linked back to block {}", next_block_, block_number_));
    }
    block_number_ = next_block_;
    next_block_ = ParadoxWord(block_, 0);
    const auto last_record = static_cast<int16_t>(ParadoxWord(block_, 4));
    records_in_block_ =
        last_record < 0 ? 0 : static_cast<size_t>(last_record) / header_.record_size + 1;
    next_record_ = 0;
    if (kBlockHeadSize + records_in_block_ * header_.record_size > header_.block_size) {
      throw damaged(fmt::format("data block {} claims more records than it holds", block_number_));
    }
    if (records_in_block_ != 0) return true;
  }
  finished_ = true;
  return false;
}

bool ParadoxCursor::Next() {
  if (next_record_ >= records_in_block_ && !NextBlock()) return false;
  const std::string_view record = std::string_view(block_).substr(
      kBlockHeadSize + next_record_ * header_.record_size, header_.record_size);
  ++next_record_;
  DecodeRecord(record);
  return true;
}

std::optional<std::string_view> ParadoxCursor::Value(size_t column) {
  if (column >= values_.size() || !present_[column]) return std::nullopt;
  return values_[column];
}

void ParadoxCursor::DecodeRecord(std::string_view record) {
  for (size_t i = 0; i < header_.fields.size(); ++i) {
    const ParadoxField& field = header_.fields[i];
    const std::string_view bytes = record.substr(field.offset, field.width);
    std::string& value = values_[i];
    value.clear();
    if (field.type == ParadoxType::kAlpha) {
      const std::string_view text = bytes.substr(0, bytes.find('\0'));
      AppendText(text, value);
      present_[i] = !text.empty();  // Paradox keeps no empty text apart from null
    } else if (IsMemo(field.type)) {
      present_[i] = ReadMemo(field, bytes, value);
    } else if (IsBinary(field.type)) {
      present_[i] = false;
    } else {
      present_[i] = AppendParadoxValue(field, bytes, value);
    }
  }
}

bool ParadoxCursor::ReadMemo(const ParadoxField& field, std::string_view bytes, std::string& out) {
  const size_t leader_size = field.width - kBlobPointerSize;
  const std::string_view leader = bytes.substr(0, leader_size);
  const uint32_t pointer = ParadoxLong(bytes, leader_size);
  const uint32_t length = ParadoxLong(bytes, leader_size + 4);
  if (length == 0) return false;
  std::string_view text;
  if (pointer == 0) {
    // A value short enough for the leader is kept there alone.
    text = leader.substr(0, length);
  } else if (memo_path_.empty()) {
    // Without its .mb file (tables are often copied without it) a memo
    // still has its first bytes: better those than nothing.
    text = leader.substr(0, length);
  } else {
    if (!memo_) memo_ = std::make_unique<ParadoxMemoFile>(memo_path_.string());
    memo_->Read(pointer, length, memo_bytes_);
    text = memo_bytes_;
  }
  // Text ends at its first NUL: a formatted memo's formatting follows it,
  // and a memo may be padded with NULs.
  text = text.substr(0, text.find('\0'));
  AppendText(text, out);
  return !text.empty();
}

void ParadoxCursor::AppendText(std::string_view bytes, std::string& out) {
  converter_.AppendText(charset_, bytes, out, fallback_code_page_);
}

}  // namespace ks::tables
