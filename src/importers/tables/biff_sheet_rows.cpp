#include "importers/tables/biff_sheet_rows.h"

#include <cstring>

#include "importers/tables/table_source.h"
#include "importers/tables/value_text.h"

namespace ks::tables {
namespace {

constexpr uint16_t kDimensions = 0x0200;
constexpr uint16_t kNumber = 0x0203;
constexpr uint16_t kRk = 0x027E;
constexpr uint16_t kMulRk = 0x00BD;
constexpr uint16_t kLabel = 0x0204;
constexpr uint16_t kLabelSst = 0x00FD;
constexpr uint16_t kRString = 0x00D6;
constexpr uint16_t kBoolErr = 0x0205;
constexpr uint16_t kFormula = 0x0006;
constexpr uint16_t kFormulaBiff4 = 0x0406;
constexpr uint16_t kString = 0x0207;
constexpr uint16_t kSharedFormula = 0x04BC;
constexpr uint16_t kArray = 0x0221;
constexpr uint16_t kTable = 0x0236;

double Le64Double(std::string_view data, size_t at) {
  uint64_t bits = 0;
  for (int i = 7; i >= 0; --i) bits = bits << 8 | static_cast<uint8_t>(data[at + static_cast<size_t>(i)]);
  double value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

// An RK number: a 30-bit integer or the top 30 bits of a double, perhaps
// to be divided by 100.
double RkValue(uint32_t rk) {
  double value = 0;
  if (rk & 0x02) {
    value = static_cast<double>(static_cast<int32_t>(rk) >> 2);
  } else {
    const uint64_t bits = static_cast<uint64_t>(rk & 0xFFFFFFFCu) << 32;
    std::memcpy(&value, &bits, sizeof value);
  }
  return (rk & 0x01) ? value / 100 : value;
}

bool IsCell(uint16_t type) {
  switch (type) {
    case kNumber:
    case kRk:
    case kMulRk:
    case kLabel:
    case kLabelSst:
    case kRString:
    case kBoolErr:
    case kFormula:
    case kFormulaBiff4:
      return true;
    default:
      return false;
  }
}

// An error cell's code as Excel shows it; empty for a code it has not.
std::string_view ErrorText(uint8_t code) {
  switch (code) {
    case 0x00: return "#NULL!";
    case 0x07: return "#DIV/0!";
    case 0x0F: return "#VALUE!";
    case 0x17: return "#REF!";
    case 0x1D: return "#NAME?";
    case 0x24: return "#NUM!";
    case 0x2A: return "#N/A";
    default: return {};
  }
}

void SetBoolOrError(RowBuffer& row, uint16_t column, bool is_error, uint8_t value) {
  if (!is_error) {
    AppendBoolean(value != 0, row.Set(column));
    return;
  }
  const std::string_view text = ErrorText(value);
  if (!text.empty()) row.Set(column) = text;
}

}  // namespace

BiffSheetRows::BiffSheetRows(std::shared_ptr<StreamBytes> stream, std::shared_ptr<const BiffWorkbook> book,
                             uint64_t offset)
    : stream_(std::move(stream)), book_(std::move(book)), records_(*stream_, offset) {
  if (!records_.Next() || records_.Type() != biff::kBof) ThrowDamagedBiff("a sheet does not start where the workbook says");
}

bool BiffSheetRows::NextRow(RowBuffer& row, uint32_t& index) {
  row.Clear();
  int64_t current = -1;
  while (!done_) {
    if (!records_.Next()) {
      done_ = true;  // a sheet without its EOF ends with the stream
      break;
    }
    const uint16_t type = records_.Type();
    const std::string_view data = records_.Data();
    if (type == biff::kBof) {
      ++depth_;
    } else if (type == biff::kEof) {
      if (depth_ == 0) done_ = true;
      depth_ = std::max(depth_ - 1, 0);
    } else if (depth_ > 0) {
      continue;
    } else if (type == kDimensions) {
      // BIFF8: rows as 32-bit numbers, then columns; BIFF5: all 16-bit.
      const size_t at = book_->biff8 ? 10 : 6;
      if (data.size() >= at + 2) width_ = std::min<size_t>(BiffLe16(data, at), kSheetMostColumns);
    } else if (IsCell(type)) {
      if (data.size() < 6) ThrowDamagedBiff("a cell record is too short");
      const uint16_t number = BiffLe16(data, 0);
      if (current >= 0 && number != current) {
        if (number < current) ThrowDamagedBiff("the cells of a sheet are not in row order");
        records_.Unread();  // the first cell of the next row
        break;
      }
      if (number <= last_row_) ThrowDamagedBiff("the cells of a sheet are not in row order");
      current = number;
      ReadCell(data, row);
    }
  }
  if (current < 0) return false;
  last_row_ = current;
  index = static_cast<uint32_t>(current);
  return true;
}

void BiffSheetRows::ReadCell(std::string_view data, RowBuffer& row) {
  const uint16_t type = records_.Type();
  const uint16_t column = BiffLe16(data, 2);
  if (column >= kSheetMostColumns) ThrowDamagedBiff("a cell stands past the last column a sheet has");
  const auto need = [&](size_t size) {
    if (data.size() < size) ThrowDamagedBiff("a cell record is too short");
  };
  const auto number = [&](uint16_t xf, double value) {
    AppendSheetNumber(value, book_->KindOfStyle(xf), book_->system, row.Set(column));
  };
  switch (type) {
    case kNumber:
      need(14);
      number(BiffLe16(data, 4), Le64Double(data, 6));
      break;
    case kRk:
      need(10);
      number(BiffLe16(data, 4), RkValue(BiffLe32(data, 6)));
      break;
    case kMulRk:
      // Column, then style and RK number for each cell, then the last column.
      for (size_t at = 4, c = column; at + 6 + 2 <= data.size() && c < kSheetMostColumns; at += 6, ++c) {
        AppendSheetNumber(RkValue(BiffLe32(data, at + 2)), book_->KindOfStyle(BiffLe16(data, at)), book_->system,
                          row.Set(c));
      }
      break;
    case kLabelSst: {
      need(10);
      const uint32_t string = BiffLe32(data, 6);
      if (string >= book_->strings.size()) ThrowDamagedBiff("a cell names a shared string the workbook does not have");
      row.Set(column) = book_->strings[string];
      break;
    }
    case kLabel:
    case kRString: {
      BiffData fields(records_, book_->biff8, book_->code_page);
      fields.Skip(6);
      fields.String(false, row.Set(column));
      break;
    }
    case kBoolErr:
      need(8);
      SetBoolOrError(row, column, data[7] != 0, static_cast<uint8_t>(data[6]));
      break;
    case kFormula:
    case kFormulaBiff4: {
      need(14);
      if (BiffLe16(data, 12) != 0xFFFF) {
        number(BiffLe16(data, 4), Le64Double(data, 6));
        break;
      }
      switch (data[6]) {
        case 0: {  // text, in the STRING record that follows
          std::string text;
          if (ReadFormulaString(text)) row.Set(column) = std::move(text);
          break;
        }
        case 1:
          SetBoolOrError(row, column, false, static_cast<uint8_t>(data[8]));
          break;
        case 2:
          SetBoolOrError(row, column, true, static_cast<uint8_t>(data[8]));
          break;
        case 3:
          row.Set(column);  // an empty text
          break;
        default:
          break;
      }
      break;
    }
    default:
      break;
  }
}

bool BiffSheetRows::ReadFormulaString(std::string& out) {
  while (records_.Next()) {
    const uint16_t type = records_.Type();
    if (type == kString) {
      BiffData fields(records_, book_->biff8, book_->code_page);
      fields.String(false, out);
      return true;
    }
    if (type != kSharedFormula && type != kArray && type != kTable) {
      records_.Unread();
      return false;
    }
  }
  return false;
}

}  // namespace ks::tables
