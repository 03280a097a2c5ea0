// CellStyles: what a workbook's styles part (xl/styles.xml) says about the
// number format of each cell style, reduced to the one question the reader
// asks: is a number in this style a date, a time, a date and time, or a
// number?  Excel stores dates as serial numbers; only the format tells.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace ks::tables {

// kDuration: an elapsed time ([h]:mm:ss), shown as hours past 24.
enum class NumberKind : uint8_t { kNumber, kDate, kTime, kDateTime, kDuration };

// The kind of a number format: a built-in format number (14 to 22 and 45
// to 47 are dates and times) or a format code, whose day, month, year,
// hour and second letters outside quotes and brackets make it a date.
NumberKind KindOfBuiltInFormat(uint32_t id);
NumberKind KindOfFormatCode(std::string_view code);

class CellStyles {
 public:
  CellStyles() = default;
  // Reads the styles part.  Damaged XML throws TableError kDamaged.
  static CellStyles Parse(std::string_view styles_xml);

  // The kind of style number `style` (the "s" of a cell); an unknown style
  // is a plain number.
  NumberKind Kind(uint32_t style) const {
    return style < kinds_.size() ? kinds_[style] : NumberKind::kNumber;
  }

 private:
  std::vector<NumberKind> kinds_;  // by cellXfs index
};

}  // namespace ks::tables
