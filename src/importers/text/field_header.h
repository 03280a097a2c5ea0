// CKSFieldHeader: the parsed and validated column header string, the
// KEY=VALUE list that tells the delimited and fixed-width imports what their
// columns are called, where they are and how they are separated.
//
// Keys: T (type, "CSV" or "FXD"), N (column count), S (first row), NA<i>
// (names), P<i> (positions), L<i> (fixed widths), D (delimiter characters),
// TQ (qualifier), TC (consecutive delimiters count as one), i from 1 to N.
// A string that does not validate is data, not a fault: Parse() returns
// false and the error code is the number of the message that says why.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Message numbers a parse can leave as its error code.  13004, 13006 and
// 13010 have texts but no parse raises them.
namespace column_header_error {
inline constexpr uint32_t kNone = 0;
inline constexpr uint32_t kTypeMissing = 13000;
inline constexpr uint32_t kTypeNotCsvOrFxd = 13001;
inline constexpr uint32_t kCountMissing = 13002;
inline constexpr uint32_t kCountTooSmall = 13003;
inline constexpr uint32_t kNameLength = 13004;
inline constexpr uint32_t kPositionTooLarge = 13005;
inline constexpr uint32_t kPositionMissing = 13006;
inline constexpr uint32_t kDelimitersEmpty = 13007;
inline constexpr uint32_t kDelimitersMissing = 13008;
inline constexpr uint32_t kConsecutiveNotZeroOrOne = 13009;
inline constexpr uint32_t kWidthTooSmall = 13010;
inline constexpr uint32_t kWidthNegative = 13011;
inline constexpr uint32_t kInvalidString = 13012;
}  // namespace column_header_error

class CKSFieldHeader {
 public:
  // The most columns a string may declare.  Far beyond any real layout, it
  // keeps a wrong N from costing gigabytes; more is refused as an invalid
  // string (13012), which is also what running out of memory used to give.
  static constexpr int32_t kMaxColumns = 100000;

  CKSFieldHeader() = default;
  virtual ~CKSFieldHeader() = default;

  // Parses and validates `column_header`; true when it is valid.  Every
  // earlier result is dropped first.  The first failure ends the parse:
  // what was read before it stays readable through the getters.
  bool Parse(std::string_view column_header);

  // 0 when the last parse succeeded, else the number of its message.
  uint32_t ErrorCode() const { return error_code_; }
  // The text of that message; empty for 0.
  std::string_view ErrorText() const;

  // Always 0 after a parse; importers add it to the rows they skip.
  int32_t HeaderRowFlag() const { return header_row_flag_; }
  const std::vector<int32_t>& Widths() const { return widths_; }
  const std::vector<int32_t>& Positions() const { return positions_; }
  const std::vector<std::string>& Names() const { return names_; }
  int32_t FieldCount() const { return field_count_; }
  int32_t ConsecutiveAsOne() const { return consecutive_as_one_; }
  const std::string& Qualifier() const { return qualifier_; }
  const std::string& Delimiters() const { return delimiters_; }
  const std::string& Type() const { return type_; }
  int32_t FirstRow() const { return first_row_; }

  // Whether the string is read as delimited: only a type of exactly "CSV".
  // "csv" passes validation but is read as fixed-width, as it always was.
  bool IsDelimited() const { return type_ == "CSV"; }

 private:
  void Reset();
  bool Fail(uint32_t code);

  // In the order the layout has always declared them.
  int32_t header_row_flag_ = 0;
  uint32_t error_code_ = column_header_error::kNone;
  std::vector<int32_t> widths_;     // L<i>, fixed-width only
  std::vector<int32_t> positions_;  // P<i>
  std::vector<std::string> names_;  // NA<i>, empty where missing
  int32_t field_count_ = 0;         // N
  int32_t consecutive_as_one_ = 0;  // TC, delimited only
  std::string qualifier_;           // TQ as written, delimited only
  std::string delimiters_;          // D, delimited only
  std::string type_;                // T as written
  int32_t first_row_ = 1;           // S, counting from 1
};
