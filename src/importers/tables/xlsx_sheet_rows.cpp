#include "importers/tables/xlsx_sheet_rows.h"

#include <charconv>
#include <cmath>
#include <cstring>

#include <fmt/format.h>

#include "importers/tables/table_source.h"
#include "importers/tables/value_text.h"

namespace ks::tables {
namespace {

[[noreturn]] void Damaged(const std::string& what) {
  throw TableError(TableError::Kind::kDamaged, "damaged sheet in the workbook: " + what);
}

// The 0-based column of a reference ("C7" is 2) and its 1-based row (7, or
// 0 when it has none); false when it is no reference.
bool ParseReference(std::string_view reference, size_t& column, uint32_t& row) {
  size_t i = 0;
  size_t number = 0;
  while (i < reference.size() && i < 4) {
    const char c = reference[i];
    const char upper = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    if (upper < 'A' || upper > 'Z') break;
    number = number * 26 + static_cast<size_t>(upper - 'A' + 1);
    ++i;
  }
  if (i == 0 || number > kSheetMostColumns) return false;
  column = number - 1;
  row = 0;
  const std::string_view digits = reference.substr(i);
  if (!digits.empty()) {
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), row);
    if (error != std::errc() || end != digits.data() + digits.size()) return false;
  }
  return true;
}

bool ParseUnsigned(std::string_view text, uint32_t& value) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() && !text.empty();
}

}  // namespace

void AppendSheetNumber(double value, NumberKind kind, DateSystem system, std::string& out) {
  if (kind == NumberKind::kNumber || !std::isfinite(value)) {
    AppendDouble(value, out);
    return;
  }
  if (kind == NumberKind::kDuration && value >= 0 && value < 1e9) {
    // Hours past 24, as Excel shows [h]:mm:ss.
    const auto seconds = static_cast<int64_t>(std::llround(value * 86400.0));
    fmt::format_to(std::back_inserter(out), "{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
    return;
  }
  if (kind == NumberKind::kTime && value >= 0 && value < 1) {
    // A time of day alone, as Excel shows it in a time format.
    const auto seconds = static_cast<int>(std::llround(value * 86400.0));
    if (seconds < 86400) {
      fmt::format_to(std::back_inserter(out), "{:02}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60,
                     seconds % 60);
      return;
    }
  }
  if (system == DateSystem::k1904) {
    value += 1462;  // 1904-01-01 is day 0
  } else if (value > 0 && value < 60) {
    value += 1;  // Excel counts a 1900-02-29 that never was: days before it start a day later
  }
  AppendSerialDateTime(value, kind != NumberKind::kDate, out);
}

XlsxSheetRows::XlsxSheetRows(ByteSource& source, uint64_t total_bytes, const SharedStrings& strings,
                             const CellStyles& styles, DateSystem system)
    : scanner_(source), total_bytes_(total_bytes), strings_(strings), styles_(styles), system_(system) {}

double XlsxSheetRows::Progress() const {
  if (total_bytes_ == 0) return -1;
  const double done = static_cast<double>(scanner_.Consumed()) / static_cast<double>(total_bytes_);
  return done > 1 ? 1 : done;
}

bool XlsxSheetRows::NextRow(RowBuffer& row, uint32_t& index) {
  using Token = XmlPullScanner::Token;
  row.Clear();
  while (!done_) {
    const Token token = scanner_.Next();
    if (token == Token::kEndOfInput) {
      if (in_data_) Damaged("it ends inside its rows");
      done_ = true;
      break;
    }
    if (!in_data_) {
      if (token != Token::kStart) continue;
      if (scanner_.Name() == "dimension") {
        // ref="A1:M3": the last column is the width the sheet declares.
        const std::string_view ref = scanner_.Attribute("ref").value_or("");
        size_t column = 0;
        uint32_t last_row = 0;
        if (ParseReference(ref.substr(ref.find(':') == std::string_view::npos ? 0 : ref.find(':') + 1),
                           column, last_row)) {
          declared_width_ = column + 1;
        }
      } else if (scanner_.Name() == "sheetData") {
        in_data_ = !scanner_.SelfClosing();
        done_ = !in_data_;
      }
      continue;
    }
    if (token == Token::kEnd && scanner_.Name() == "sheetData") {
      in_data_ = false;
      done_ = true;
      break;
    }
    if (token != Token::kStart) continue;
    if (scanner_.Name() != "row") {
      scanner_.SkipElement();
      continue;
    }
    uint32_t number = 0;
    if (const auto r = scanner_.Attribute("r"); r && ParseUnsigned(*r, number) && number >= 1) {
      index = number - 1;
    } else {
      index = next_row_;
    }
    if (index >= kSheetMostRows) Damaged(fmt::format("row {} is beyond the last row a sheet has", index + 1));
    next_row_ = index + 1;
    next_column_ = 0;
    if (scanner_.SelfClosing()) return true;
    for (;;) {
      const Token inner = scanner_.Next();
      if (inner == Token::kEndOfInput) Damaged("it ends inside a row");
      if (inner == Token::kEnd) break;  // </row>
      if (inner != Token::kStart) continue;
      if (scanner_.Name() == "c") {
        ReadCell(row);
      } else {
        scanner_.SkipElement();
      }
    }
    return true;
  }
  return false;
}

void XlsxSheetRows::ReadCell(RowBuffer& row) {
  using Token = XmlPullScanner::Token;
  size_t column = next_column_;
  bool placed = true;  // false for a reference beyond the last column a sheet has: left out
  if (const auto r = scanner_.Attribute("r"); r && !r->empty()) {
    uint32_t ignored_row = 0;
    placed = ParseReference(*r, column, ignored_row);
  }
  next_column_ = column + 1;
  const std::string_view type = scanner_.Attribute("t").value_or("n");
  const size_t type_length = std::min(type.size(), sizeof type_ - 1);
  std::memcpy(type_, type.data(), type_length);
  type_[type_length] = '\0';
  style_ = 0;
  if (const auto s = scanner_.Attribute("s")) ParseUnsigned(*s, style_);
  has_value_ = false;
  if (scanner_.SelfClosing()) return;
  for (;;) {
    const Token token = scanner_.Next();
    if (token == Token::kEndOfInput) Damaged("it ends inside a cell");
    if (token == Token::kEnd) break;  // </c>
    if (token != Token::kStart) continue;
    if (scanner_.Name() == "v" && !scanner_.SelfClosing()) {
      value_.clear();
      for (Token part = scanner_.Next(); part != Token::kEnd; part = scanner_.Next()) {
        if (part == Token::kEndOfInput) Damaged("it ends inside a value");
        if (part == Token::kText) value_ += scanner_.Text();
        if (part == Token::kStart) scanner_.SkipElement();
      }
      has_value_ = true;
    } else if (scanner_.Name() == "is" && !scanner_.SelfClosing()) {
      ReadInlineString();
      has_value_ = true;
    } else {
      scanner_.SkipElement();  // a formula, or what a later version adds
    }
  }
  if (has_value_ && placed && column < kSheetMostColumns) StoreValue(row, column);
}

void XlsxSheetRows::ReadInlineString() {
  using Token = XmlPullScanner::Token;
  value_.clear();
  int depth = 1;        // inside <is>
  int phonetic = 0;     // inside <rPh>, whose text is a reading guide
  bool in_text = false;
  while (depth > 0) {
    switch (scanner_.Next()) {
      case Token::kStart:
        if (scanner_.SelfClosing()) break;
        ++depth;
        if (scanner_.Name() == "rPh") ++phonetic;
        if (scanner_.Name() == "t") in_text = phonetic == 0;
        break;
      case Token::kEnd:
        --depth;
        if (scanner_.Name() == "rPh" && phonetic > 0) --phonetic;
        in_text = false;
        break;
      case Token::kText:
        if (in_text) value_ += scanner_.Text();
        break;
      case Token::kEndOfInput:
        Damaged("it ends inside a string");
    }
  }
  DecodeSpreadsheetEscapes(value_);
}

void XlsxSheetRows::StoreValue(RowBuffer& row, size_t column) {
  const std::string_view type(type_);
  if (type == "s") {
    uint32_t index = 0;
    if (ParseUnsigned(value_, index) && index < strings_.size()) row.Set(column).assign(strings_[index]);
    return;  // a string the table does not have reads as null
  }
  std::string& out = row.Set(column);
  if (type == "b") {
    AppendBoolean(value_ == "1" || value_ == "true", out);
  } else if (type == "e" || type == "str" || type == "inlineStr") {
    out = value_;
  } else if (type == "d") {
    // An ISO 8601 date-time as it is, with a blank for its "T".
    out = value_;
    if (const size_t t = out.find('T'); t != std::string::npos) out[t] = ' ';
  } else {
    std::string_view digits = value_;
    while (!digits.empty() && (digits.front() == ' ' || digits.front() == '+')) digits.remove_prefix(1);
    while (!digits.empty() && digits.back() == ' ') digits.remove_suffix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error == std::errc() && end == digits.data() + digits.size() && !digits.empty()) {
      AppendSheetNumber(number, styles_.Kind(style_), system_, out);
    } else {
      out = value_;  // not a number after all: the text as stored
    }
  }
}

}  // namespace ks::tables
