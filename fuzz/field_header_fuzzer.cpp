// Fuzzes CKSFieldHeader::Parse, the column header string (KEY=VALUE lines)
// that a host or a settings file hands the delimited and fixed-width imports.
//
// Input: the whole input is the string.
//
// Checks: the result and the error code agree, and every failure has its
// message; a valid string has as many names and positions as columns, none
// beyond the count, and a width (never negative) per column when fixed-width
// or delimiters when delimited; a second parse of the same string gives the
// same answer (nothing of the first is kept).
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz_input.h"
#include "importers/text/column_header_lines.h"
#include "importers/text/field_header.h"

namespace {

void CheckParsed(const CKSFieldHeader& header, bool valid) {
  FUZZ_CHECK(valid == (header.ErrorCode() == column_header_error::kNone));
  FUZZ_CHECK(valid == header.ErrorText().empty());
  FUZZ_CHECK(header.HeaderRowFlag() == 0);
  FUZZ_CHECK(header.FirstRow() >= 1);
  if (!valid) {
    FUZZ_CHECK(header.ErrorCode() >= column_header_error::kTypeMissing &&
               header.ErrorCode() <= column_header_error::kInvalidString);
    return;
  }
  const auto count = static_cast<size_t>(header.FieldCount());
  FUZZ_CHECK(header.FieldCount() >= 1 && header.FieldCount() <= CKSFieldHeader::kMaxColumns);
  FUZZ_CHECK(header.Names().size() == count);
  FUZZ_CHECK(header.Positions().size() == count);
  for (const int32_t position : header.Positions()) FUZZ_CHECK(position <= header.FieldCount());
  if (header.IsDelimited()) {
    FUZZ_CHECK(!header.Delimiters().empty());
    FUZZ_CHECK(header.ConsecutiveAsOne() == 0 || header.ConsecutiveAsOne() == 1);
    FUZZ_CHECK(header.Widths().empty());
  } else {
    FUZZ_CHECK(header.Widths().size() == count);
    for (const int32_t width : header.Widths()) FUZZ_CHECK(width >= 0);
  }
}

// Whether `text` declares more columns than the checks need but fewer than
// the parser refuses: each costs the parse a few lookups and tests nothing
// that a few columns do not.
bool DeclaresManyColumns(std::string_view text) {
  int32_t count = 0;
  return ks::text::ColumnHeaderLines(text).FindInteger("N", &count) && count > 256 &&
         count <= CKSFieldHeader::kMaxColumns;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (DeclaresManyColumns(text)) return 0;
  CKSFieldHeader header;
  const bool valid = header.Parse(text);
  CheckParsed(header, valid);

  const uint32_t code = header.ErrorCode();
  const auto names = header.Names();
  const auto widths = header.Widths();
  FUZZ_CHECK(header.Parse(text) == valid);
  FUZZ_CHECK(header.ErrorCode() == code);
  FUZZ_CHECK(header.Names() == names);
  FUZZ_CHECK(header.Widths() == widths);
  return 0;
}
