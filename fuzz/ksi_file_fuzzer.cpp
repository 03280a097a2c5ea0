// Fuzzes the reading of ".ksi" settings files: CKSIFileHandler, which turns
// one into a column header string, and ProfileFile, the "[section]" and
// "key=value" parser under it.  A settings file's text goes to the handler
// in memory; the round trip writes files in a folder of this process's own.
//
// Input: a byte of mode, then either the file's text, or (round trip) the
// settings the writers save: layout, column count, names, delimiters,
// qualifier, consecutive switch and widths, each from the bytes that follow.
//
// Checks on a file's text: a lenient parse never refuses; a strict parse
// that accepts gives what the lenient one gives, and one that refuses names
// a line of the text; the column header string is of the kind the handler
// reports and the column header parser reads it whole.
// Checks on the round trip: the writers succeed, and what they saved comes
// back through the reader and the column header parser as it was given (a
// line break in a value saved as a blank, values cut where the readers cut
// them), whatever blanks and quotes it starts or ends with.
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "core/profile_file.h"
#include "fuzz_input.h"
#include "importers/text/column_header_lines.h"
#include "importers/text/delimited_fields.h"
#include "importers/text/field_header.h"
#include "importers/text/ksi_file_handler.h"

namespace {

using ks::core::ProfileFile;
using ks::fuzz::FuzzInput;

constexpr int32_t kMostColumns = 256;

void CheckFileText(std::string_view text) {
  const std::optional<ProfileFile> lenient =
      ProfileFile::Parse(text, ProfileFile::Strictness::kLenient);
  FUZZ_CHECK(lenient.has_value());
  ProfileFile::ParseError error;
  const std::optional<ProfileFile> strict =
      ProfileFile::Parse(text, ProfileFile::Strictness::kStrict, &error);
  if (strict) {
    FUZZ_CHECK(strict->Serialize() == lenient->Serialize());
  } else {
    const auto lines = static_cast<size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    FUZZ_CHECK(error.line >= 1 && static_cast<size_t>(error.line) <= lines);
  }

  // A count of thousands of columns costs the handler a lookup per column
  // and tests nothing that a few columns do not.
  std::optional<std::string> count = lenient->Get("Type Section", "NumberOfFields");
  if (count && count->size() >= 2 && count->front() == count->back() &&
      (count->front() == '"' || count->front() == '\'')) {
    *count = count->substr(1, count->size() - 2);  // as the handler reads a quoted value
  }
  if (count && ks::text::ParseLeadingInteger(*count) > kMostColumns) return;

  CKSIFileHandler handler;
  const std::string column_header = handler.ColumnHeaderFromText(text);
  const bool delimited = handler.Kind() == CKSIFileHandler::kDelimitedKind;
  FUZZ_CHECK(delimited || handler.Kind() == CKSIFileHandler::kFixedWidthKind);
  FUZZ_CHECK(column_header.starts_with(delimited ? "T=CSV\r\nN=" : "T=FXD\r\nN="));

  CKSFieldHeader parsed;
  if (parsed.Parse(column_header)) FUZZ_CHECK(parsed.IsDelimited() == delimited);
  CDelimitedFields fields;
  if (delimited) {
    fields.LoadSettings(column_header);
  } else {
    fields.LoadFixedSettings(column_header);
  }
}

// A value as the writer saves it and a profile reader returns it: line breaks
// become blanks; the column header string then keeps at most `most` bytes.
std::string SavedValue(std::string_view value, size_t most) {
  std::string saved(value.substr(0, most));
  for (char& c : saved) {
    if (c == '\r' || c == '\n') c = ' ';
  }
  return saved;
}

void CheckRoundTrip(FuzzInput& in) {
  const bool delimited = in.Flag();
  const size_t count = 1 + in.Below(6);
  std::vector<std::string> names;
  std::vector<int32_t> widths;
  for (size_t i = 0; i < count; ++i) {
    names.emplace_back(in.ShortText(12));
    widths.push_back(static_cast<int32_t>(in.Below(1000)));
  }
  const std::string delimiters(in.ShortText(4));
  const std::string qualifier(in.ShortText(2));
  const bool consecutive = in.Flag();

  const std::string path = (ks::fuzz::WorkFolder() / "written.ksi").string();
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
  CKSIFileHandler handler;
  const auto layout =
      delimited ? CKSIFileHandler::Layout::kDelimited : CKSIFileHandler::Layout::kFixedWidth;
  FUZZ_CHECK(handler.WriteTypeAndCount(path, layout, static_cast<int32_t>(count)));
  FUZZ_CHECK(handler.WriteColumnNames(path, names));
  if (delimited) {
    FUZZ_CHECK(handler.WriteDelimiterSettings(path, delimiters, qualifier, consecutive));
  } else {
    FUZZ_CHECK(handler.WriteColumnWidths(path, widths));
  }

  const std::string column_header = handler.ReadColumnHeader(path);
  FUZZ_CHECK(handler.Kind() ==
             (delimited ? CKSIFileHandler::kDelimitedKind : CKSIFileHandler::kFixedWidthKind));
  constexpr size_t kMostValue = ks::text::ColumnHeaderLines::kMaxValueLength;
  constexpr size_t kMostDelimiters = 255;  // the room the reader gives the delimiter list
  CKSFieldHeader parsed;
  const bool valid = parsed.Parse(column_header);
  const std::string saved_delimiters = SavedValue(delimiters, kMostDelimiters);
  if (delimited && saved_delimiters.empty()) {
    FUZZ_CHECK(!valid && parsed.ErrorCode() == column_header_error::kDelimitersEmpty);
    return;
  }
  FUZZ_CHECK(valid);
  FUZZ_CHECK(parsed.FieldCount() == static_cast<int32_t>(count));
  for (size_t i = 0; i < count; ++i) {
    FUZZ_CHECK(parsed.Names()[i] == SavedValue(names[i], kMostValue));
  }
  if (delimited) {
    FUZZ_CHECK(parsed.Delimiters() == saved_delimiters);
    FUZZ_CHECK(parsed.Qualifier() == SavedValue(qualifier, kMostValue));
    FUZZ_CHECK(parsed.ConsecutiveAsOne() == (consecutive ? 1 : 0));
  } else {
    FUZZ_CHECK(parsed.Widths() == widths);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  if ((in.Byte() & 1) != 0) {
    CheckRoundTrip(in);
  } else {
    CheckFileText(in.Rest());
  }
  return 0;
}
