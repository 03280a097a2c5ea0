#include "importers/text/delimited_fields.h"

#include <cstring>

#include "importers/text/fixed_width_fields.h"

CDelimitedFields::CDelimitedFields() {
  RebuildStopTable();
}

void CDelimitedFields::LoadSettings(std::string_view column_header) {
  delimiter_table_.fill(0);
  if (!field_header_.Parse(column_header)) {
    // Splitting goes on with the one delimiter there is; the caller sees the
    // error code and treats the records as plain text.
    delimiter_table_[static_cast<unsigned char>(primary_delimiter_)] = 1;
    RebuildStopTable();
    return;
  }
  // Only the two quote characters can qualify text; anything else (or
  // nothing) means there is no quoted text at all.
  const std::string& qualifier = field_header_.Qualifier();
  const char first = qualifier.empty() ? '\0' : qualifier.front();
  qualifier_ = (first == '"' || first == '\'') ? first : '\0';
  consecutive_as_one_ = static_cast<uint32_t>(field_header_.ConsecutiveAsOne());
  const std::string& delimiters = field_header_.Delimiters();
  primary_delimiter_ = delimiters.empty() ? '\0' : delimiters.front();
  for (const char c : delimiters) delimiter_table_[static_cast<unsigned char>(c)] = 1;
  RebuildStopTable();
  values_.reserve(static_cast<size_t>(field_header_.FieldCount()));
}

void CDelimitedFields::LoadFixedSettings(std::string_view column_header) {
  if (field_header_.Parse(column_header)) {
    widths_ = field_header_.Widths();
    values_.reserve(static_cast<size_t>(field_header_.FieldCount()) + 1);
  } else {
    widths_.clear();
  }
}

void CDelimitedFields::RebuildStopTable() {
  stop_table_ = delimiter_table_;
  stop_table_[static_cast<unsigned char>('\r')] = 1;
  stop_table_[static_cast<unsigned char>('\n')] = 1;
  if (qualifier_ != '\0') stop_table_[static_cast<unsigned char>(qualifier_)] = 1;
}

bool CDelimitedFields::ScanField(std::string_view record, size_t* at, bool* inside,
                                 std::string* field) const {
  // Ordinary characters are taken a run at a time: outside quoted text up to
  // the next character that means something there (stop_table_), inside it
  // up to the next qualifier.
  field->clear();
  const char* const data = record.data();
  const size_t size = record.size();
  size_t i = *at;
  while (i < size) {
    if (*inside) {
      const void* found = std::memchr(data + i, qualifier_, size - i);
      const size_t end =
          found != nullptr ? static_cast<size_t>(static_cast<const char*>(found) - data) : size;
      field->append(data + i, end - i);
      i = end;
      if (i == size) break;
      ++i;
      // Closes quoted text; a second qualifier right after it is a literal
      // one, and then reopens the quoted text.
      if (i < size && data[i] == qualifier_) field->push_back(qualifier_);
      *inside = false;
      continue;
    }
    size_t end = i;
    while (end < size && stop_table_[static_cast<unsigned char>(data[end])] == 0) ++end;
    field->append(data + i, end - i);
    i = end;
    if (i == size) break;
    const char c = data[i++];
    if (qualifier_ != '\0' && c == qualifier_) {
      *inside = true;
    } else if (c == '\r' || c == '\n') {
      *at = i;
      return false;
    } else {  // a delimiter
      if (consecutive_as_one_ != 0) {
        while (i < size && IsDelimiter(data[i])) ++i;
      }
      *at = i;
      return true;
    }
  }
  *at = i;
  return false;
}

void CDelimitedFields::Split(std::string_view record) {
  record = record.substr(0, record.find('\0'));
  cursor_ = 0;
  bool inside = false;  // quoted text; it belongs to the record and can only stay open at its end
  bool after_delimiter = false;
  size_t at = 0;
  size_t count = 0;
  // The value strings are kept between records and refilled, so a record of
  // the usual shape allocates nothing.
  // A field that ended at a delimiter is always followed by one more, even
  // at the end of the record.
  while (at < record.size() || after_delimiter) {
    if (count == values_.size()) values_.emplace_back();
    after_delimiter = ScanField(record, &at, &inside, &values_[count]);
    ++count;
    if (at < record.size() && (record[at] == '\r' || record[at] == '\n')) ++at;
  }
  values_.resize(count);
}

void CDelimitedFields::CutFixedWidth(std::string_view line) {
  if (widths_.empty()) return;
  ks::text::CutFixedWidthLine(line, widths_, &values_);
  cursor_ = 0;
}

bool CDelimitedFields::NextValue(std::string* value) {
  if (cursor_ >= values_.size()) return false;
  *value = values_[cursor_++];
  return true;
}
