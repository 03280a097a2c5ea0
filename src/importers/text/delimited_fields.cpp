#include "importers/text/delimited_fields.h"

#include "importers/text/fixed_width_fields.h"

namespace {

// Fields start with room for this much; they grow without bound beyond it.
constexpr size_t kInitialFieldCapacity = 1024;

}  // namespace

CDelimitedFields::CDelimitedFields() {
  field_.reserve(kInitialFieldCapacity);
}

void CDelimitedFields::LoadSettings(std::string_view column_header) {
  delimiter_table_.fill(0);
  if (!field_header_.Parse(column_header)) {
    // Splitting goes on with the one delimiter there is; the caller sees the
    // error code and treats the records as plain text.
    delimiter_table_[static_cast<unsigned char>(primary_delimiter_)] = 1;
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

bool CDelimitedFields::ScanField(std::string_view record, size_t* at, bool* inside) {
  field_.clear();
  const size_t size = record.size();
  while (*at < size) {
    const char c = record[*at];
    ++*at;
    if (qualifier_ != '\0' && c == qualifier_) {
      if (*inside) {
        // Closes quoted text; a second qualifier right after it is a literal
        // one, and then reopens the quoted text.
        if (*at < size && record[*at] == qualifier_) field_ += c;
        *inside = false;
      } else {
        *inside = true;
      }
    } else if (*inside) {
      field_ += c;
    } else if (c == '\r' || c == '\n') {
      return false;
    } else if (IsDelimiter(c)) {
      if (consecutive_as_one_ != 0) {
        while (*at < size && IsDelimiter(record[*at])) ++*at;
      }
      return true;
    } else {
      field_ += c;
    }
  }
  return false;
}

void CDelimitedFields::Split(std::string_view record) {
  record = record.substr(0, record.find('\0'));
  values_.clear();
  cursor_ = 0;
  bool inside = false;  // quoted text; it belongs to the record and can only stay open at its end
  bool after_delimiter = false;
  size_t at = 0;
  // A field that ended at a delimiter is always followed by one more, even
  // at the end of the record.
  while (at < record.size() || after_delimiter) {
    after_delimiter = ScanField(record, &at, &inside);
    if (at < record.size() && (record[at] == '\r' || record[at] == '\n')) ++at;
    values_.push_back(field_);
  }
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
