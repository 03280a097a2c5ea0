#include "importers/tables/sheet_cursor.h"

#include <algorithm>
#include <utility>

namespace ks::tables {
namespace {

bool HasValueWithin(const RowBuffer& row, size_t width) {
  const size_t end = std::min(row.Width(), width);
  for (size_t c = 0; c < end; ++c) {
    if (row.Has(c)) return true;
  }
  return false;
}

}  // namespace

void RowBuffer::Clear() {
  std::fill(present_.begin(), present_.begin() + static_cast<std::ptrdiff_t>(width_), 0);
  width_ = 0;
}

std::string& RowBuffer::Set(size_t column) {
  if (column >= values_.size()) {
    const size_t size = std::min(kSheetMostColumns, std::max(column + 1, values_.size() * 2));
    values_.resize(size);
    present_.resize(size);
  }
  present_[column] = 1;
  width_ = std::max(width_, column + 1);
  values_[column].clear();
  return values_[column];
}

SheetCursor::SheetCursor(std::unique_ptr<SheetRowSource> source) : source_(std::move(source)) {
  uint32_t index = 0;
  while (source_->NextRow(current_, index)) {
    if (current_.Width() == 0) continue;
    const size_t width = std::max(current_.Width(), std::min(source_->DeclaredWidth(), kSheetMostColumns));
    columns_.reserve(width);
    for (size_t c = 0; c < width; ++c) {
      if (current_.Has(c) && !current_.Text(c).empty()) {
        columns_.emplace_back(current_.Text(c));
      } else {
        std::string name = "F";  // (built in two steps: g++ 12 warns wrongly on "F" + ...)
        name += std::to_string(c + 1);
        columns_.push_back(std::move(name));
      }
    }
    next_index_ = index + 1;
    break;
  }
  current_.Clear();
}

bool SheetCursor::Next() {
  if (owed_empty_ > 0) {
    --owed_empty_;
    current_empty_ = true;
    return true;
  }
  if (has_ahead_) {
    std::swap(current_, ahead_);
    has_ahead_ = false;
    current_empty_ = false;
    return true;
  }
  if (columns_.empty()) return false;
  uint32_t index = 0;
  while (source_->NextRow(ahead_, index)) {
    const uint64_t skipped = index > next_index_ ? index - next_index_ : 0;
    next_index_ = std::max(next_index_, index + 1);
    if (!HasValueWithin(ahead_, columns_.size())) {
      owed_empty_ += skipped + 1;
      continue;
    }
    owed_empty_ += skipped;
    if (owed_empty_ > 0) {
      has_ahead_ = true;
      --owed_empty_;
      current_empty_ = true;
      return true;
    }
    std::swap(current_, ahead_);
    current_empty_ = false;
    return true;
  }
  owed_empty_ = 0;  // the empty rows were trailing ones
  return false;
}

std::optional<std::string_view> SheetCursor::Value(size_t column) {
  if (current_empty_ || column >= columns_.size() || !current_.Has(column)) return std::nullopt;
  return current_.Text(column);
}

}  // namespace ks::tables
