// CDelimitedFields: cuts the records of a delimited (or fixed-width) import
// into field values and hands them out one by one.  One object serves a
// whole import run: created with the defaults, loaded once from the column
// header string, then used for every record of every file.
//
// Splitting rules, beyond the usual ones for quoted text:
//  - the delimiter setting is a set of characters, any one of which ends a
//    field (",;" splits on commas and on semicolons alike);
//  - the qualifier may open quoted text anywhere in a field; a qualifier
//    followed by anything but a second one closes it and the field goes on
//    to the next delimiter (ab"cd",e gives abcd and e); a doubled qualifier
//    inside quoted text is one literal qualifier, outside it is nothing;
//  - with consecutive-as-one, delimiters right after the one that ended a
//    field are skipped, but a record that starts with a delimiter still has
//    an empty first value;
//  - a delimiter at the end of a record gives one more, empty, value (one
//    only, with consecutive-as-one);
//  - quoted text left open runs to the end of the record;
//  - values are not trimmed, and their count is not checked against the
//    column count: callers get what the record holds.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "importers/text/field_header.h"

class CDelimitedFields {
 public:
  CDelimitedFields();

  // Takes the settings of a delimited import from `column_header`.  Never
  // fails: when the string does not validate (see FieldHeader()), the only
  // delimiter is the current primary one ("," unless an earlier load changed
  // it) and the qualifier and consecutive switch stay as they were.
  void LoadSettings(std::string_view column_header);

  // Takes the settings of a fixed-width import: the column widths.  Never
  // fails: when the string does not validate there are no widths and
  // CutFixedWidth() cuts nothing.
  void LoadFixedSettings(std::string_view column_header);

  // Replaces the values with those of `record` (which ends at its first NUL,
  // if it has one) and puts the cursor before the first.
  void Split(std::string_view record);

  // Replaces the values with the columns of a fixed-width line and puts the
  // cursor before the first; with no widths the values stay as they were.
  void CutFixedWidth(std::string_view line);

  // The next value of the record into *value; false once all were taken.
  bool NextValue(std::string* value);
  size_t ValueCount() const { return values_.size(); }
  const std::vector<std::string>& Values() const { return values_; }

  char Qualifier() const { return qualifier_; }  // 0: no quoted text
  char PrimaryDelimiter() const { return primary_delimiter_; }
  bool ConsecutiveAsOne() const { return consecutive_as_one_ != 0; }
  bool IsDelimiter(char c) const { return delimiter_table_[static_cast<unsigned char>(c)] != 0; }
  const std::vector<int32_t>& Widths() const { return widths_; }
  // The parsed column header string and the error code of its last load.
  const CKSFieldHeader& FieldHeader() const { return field_header_; }

 private:
  // Collects one field starting at record[*at] into *field; leaves *at after
  // it and says whether a delimiter ended it.
  bool ScanField(std::string_view record, size_t* at, bool* inside, std::string* field) const;
  // The characters that end a run of ordinary ones outside quoted text:
  // delimiters, line ends and the qualifier.
  void RebuildStopTable();

  std::array<uint8_t, 256> delimiter_table_{};  // 1 marks a delimiter, per character code
  std::array<uint8_t, 256> stop_table_{};
  char primary_delimiter_ = ',';  // the one delimiter left when a load fails
  char qualifier_ = '"';
  uint32_t consecutive_as_one_ = 0;
  std::vector<std::string> values_;
  size_t cursor_ = 0;            // index of the value NextValue() hands out next
  std::vector<int32_t> widths_;  // fixed-width columns, when loaded that way
  CKSFieldHeader field_header_;
};
