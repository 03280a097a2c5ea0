#include "importers/text/field_header.h"

#include <string>

#include "core/message_texts.h"
#include "core/profile_file.h"
#include "importers/text/column_header_lines.h"

namespace {

std::string NumberedKey(std::string_view prefix, int32_t column) {
  return std::string(prefix) + std::to_string(column);
}

}  // namespace

std::string_view CKSFieldHeader::ErrorText() const {
  if (error_code_ == column_header_error::kNone) return {};
  return MessageText(error_code_);
}

void CKSFieldHeader::Reset() {
  header_row_flag_ = 0;
  error_code_ = column_header_error::kNone;
  widths_.clear();
  positions_.clear();
  names_.clear();
  field_count_ = 0;
  consecutive_as_one_ = 0;
  qualifier_.clear();
  delimiters_.clear();
  type_.clear();
  first_row_ = 1;
}

bool CKSFieldHeader::Fail(uint32_t code) {
  error_code_ = code;
  return false;
}

bool CKSFieldHeader::Parse(std::string_view column_header) {
  namespace err = column_header_error;
  Reset();
  if (column_header.empty()) return Fail(err::kInvalidString);
  const ks::text::ColumnHeaderLines lines(column_header);

  const auto type = lines.Find("T");
  if (!type) return Fail(err::kTypeMissing);
  type_ = *type;
  if (!ks::core::EqualsIgnoreCase(type_, "CSV") && !ks::core::EqualsIgnoreCase(type_, "FXD")) {
    return Fail(err::kTypeNotCsvOrFxd);
  }

  if (!lines.FindInteger("N", &field_count_)) return Fail(err::kCountMissing);
  // The message for this one speaks of zero, yet zero is refused too.
  if (field_count_ < 1) return Fail(err::kCountTooSmall);
  if (field_count_ > kMaxColumns) return Fail(err::kInvalidString);
  const int32_t count = field_count_;

  // One number is read into and kept between the S and P lookups: a missing
  // P key repeats the number read last (for column 1, S as written).
  int32_t number = 0;
  lines.FindInteger("S", &number);
  first_row_ = number >= 1 ? number : 1;

  names_.reserve(count);
  for (int32_t column = 1; column <= count; ++column) {
    names_.emplace_back(lines.Find(NumberedKey("NA", column)).value_or(std::string_view{}));
  }

  // Only positions beyond the last column are refused; negative ones pass.
  positions_.reserve(count);
  for (int32_t column = 1; column <= count; ++column) {
    lines.FindInteger(NumberedKey("P", column), &number);
    positions_.push_back(number);
    if (number > count) return Fail(err::kPositionTooLarge);
  }

  if (!IsDelimited()) {
    // A missing L key repeats the width read last, starting from 0.
    int32_t width = 0;
    widths_.reserve(count);
    for (int32_t column = 1; column <= count; ++column) {
      lines.FindInteger(NumberedKey("L", column), &width);
      widths_.push_back(width);
      if (width < 0) return Fail(err::kWidthNegative);
    }
    return true;
  }

  const auto delimiters = lines.Find("D");
  if (!delimiters) return Fail(err::kDelimitersMissing);
  if (delimiters->empty()) return Fail(err::kDelimitersEmpty);
  delimiters_ = *delimiters;
  qualifier_ = lines.Find("TQ").value_or(std::string_view{});
  int32_t consecutive = 1;
  lines.FindInteger("TC", &consecutive);
  if (consecutive != 0 && consecutive != 1) return Fail(err::kConsecutiveNotZeroOrOne);
  consecutive_as_one_ = consecutive;
  return true;
}
