// Fuzzes CDelimitedFields: loading the settings of a delimited or fixed-width
// import from a column header string, then cutting records into values.
//
// Input: one byte of mode, the settings (option bytes, or a column header
// string of the fuzzer's own), then the text cut into records.
//
// Checks: the splitter's values equal those of a plain character-by-character
// reading of its documented rules (the splitter skips runs of ordinary bytes
// through tables, which this reading does not); a failed load leaves the
// primary delimiter alone; fixed-width values put back together give the
// line; NextValue hands out Values() in order.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_input.h"
#include "importers/text/column_header_lines.h"
#include "importers/text/delimited_fields.h"

namespace {

using ks::fuzz::FuzzInput;

bool IsLineEnd(char c) {
  return c == '\r' || c == '\n';
}

// The values of `record` by the rules of delimited_fields.h, one character at
// a time, with the settings `fields` holds.  Beyond the documented rules, a
// CR or LF right after the end of a field is passed over, as the splitter
// does (records from the reader never hold one outside quoted text).
std::vector<std::string> ExpectedValues(std::string_view record, const CDelimitedFields& fields) {
  record = record.substr(0, record.find('\0'));
  const char qualifier = fields.Qualifier();
  std::vector<std::string> values;
  size_t i = 0;
  bool inside = false;
  bool delimiter_ended = false;
  while (i < record.size() || delimiter_ended) {
    std::string& value = values.emplace_back();
    delimiter_ended = false;
    while (i < record.size()) {
      const char c = record[i++];
      if (inside) {
        if (c != qualifier) {
          value += c;
        } else if (i < record.size() && record[i] == qualifier) {
          value += qualifier;  // doubled inside quoted text: one literal qualifier
          ++i;
        } else {
          inside = false;
        }
        continue;
      }
      if (qualifier != '\0' && c == qualifier) {
        inside = true;
      } else if (IsLineEnd(c)) {
        break;
      } else if (fields.IsDelimiter(c)) {
        if (fields.ConsecutiveAsOne()) {
          while (i < record.size() && fields.IsDelimiter(record[i])) ++i;
        }
        delimiter_ended = true;
        break;
      } else {
        value += c;
      }
    }
    if (i < record.size() && IsLineEnd(record[i])) ++i;
  }
  return values;
}

// Whether a column header string declares more columns than splitting needs.
// Such strings cost the parse milliseconds and test nothing here that the
// column header target does not (field_header_fuzzer.cpp).
bool DeclaresManyColumns(std::string_view header) {
  int32_t count = 0;
  return ks::text::ColumnHeaderLines(header).FindInteger("N", &count) && count > 64;
}

// A valid column header string for a delimited import, from option bytes.
// Whatever bytes they are (a line end in the delimiters, say), the checks
// read the settings back from the splitter rather than trusting these.
std::string DelimitedHeader(FuzzInput& in) {
  static constexpr std::string_view kQualifiers[] = {"", "\"", "'", "\"'", "x"};
  std::string delimiters(in.ShortText(3));
  if (delimiters.empty()) delimiters = ",";
  const std::string_view qualifier = kQualifiers[in.Below(std::size(kQualifiers))];
  const bool consecutive = in.Flag();
  return "T=CSV\r\nN=" + std::to_string(1 + in.Below(8)) + "\r\nD=" + delimiters +
         "\r\nTQ=" + std::string(qualifier) + "\r\nTC=" + (consecutive ? "1" : "0");
}

// A column header string for a fixed-width import: up to eight widths, some
// of them missing (a missing width repeats the one before).
std::string FixedHeader(FuzzInput& in) {
  const size_t count = 1 + in.Below(8);
  std::string header = "T=FXD\r\nN=" + std::to_string(count);
  for (size_t column = 1; column <= count; ++column) {
    const uint8_t width = in.Byte();
    if (width != 0xFF)
      header += "\r\nL" + std::to_string(column) + "=" + std::to_string(width % 24);
  }
  return header;
}

void CheckSplit(CDelimitedFields& fields, std::string_view record) {
  fields.Split(record);
  FUZZ_CHECK(fields.Values() == ExpectedValues(record, fields));
  std::string value;
  for (const std::string& expected : fields.Values()) {
    FUZZ_CHECK(fields.NextValue(&value));
    FUZZ_CHECK(value == expected);
  }
  FUZZ_CHECK(!fields.NextValue(&value));
}

// Characters as fixed-width columns count them: a UTF-8 lead byte and the
// continuation bytes after it; a value's first byte starts one whatever it is.
size_t Characters(std::string_view value) {
  size_t count = value.empty() ? 0 : 1;
  for (size_t i = 1; i < value.size(); ++i) {
    if ((static_cast<unsigned char>(value[i]) & 0xC0) != 0x80) ++count;
  }
  return count;
}

void CheckFixedWidth(CDelimitedFields& fields, std::string_view line) {
  const std::vector<std::string> before = fields.Values();
  fields.CutFixedWidth(line);
  const std::vector<int32_t>& widths = fields.Widths();
  if (widths.empty()) {
    FUZZ_CHECK(fields.Values() == before);
    return;
  }
  const std::vector<std::string>& values = fields.Values();
  FUZZ_CHECK(values.size() == widths.size() || values.size() == widths.size() + 1);
  std::string joined;
  for (size_t i = 0; i < values.size(); ++i) {
    if (i < widths.size()) {
      FUZZ_CHECK(Characters(values[i]) <= static_cast<size_t>(std::max(widths[i], 0)));
    }
    joined += values[i];
  }
  FUZZ_CHECK(joined == line);
}

void CheckLoadedDelimiters(const CDelimitedFields& fields, char primary_before) {
  if (fields.FieldHeader().ErrorCode() != 0) {
    // The one delimiter left is the primary one the splitter had.
    FUZZ_CHECK(fields.PrimaryDelimiter() == primary_before);
    for (int c = 0; c < 256; ++c) {
      FUZZ_CHECK(fields.IsDelimiter(static_cast<char>(c)) ==
                 (static_cast<char>(c) == primary_before));
    }
    return;
  }
  const std::string& delimiters = fields.FieldHeader().Delimiters();
  for (int c = 0; c < 256; ++c) {
    FUZZ_CHECK(fields.IsDelimiter(static_cast<char>(c)) ==
               (delimiters.find(static_cast<char>(c)) != std::string::npos));
  }
  const char q = fields.Qualifier();
  FUZZ_CHECK(q == '\0' || q == '"' || q == '\'');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  const uint8_t mode = in.Byte();
  const bool fixed = (mode & 1) != 0;
  const bool own_header = (mode & 2) != 0;  // the fuzzer writes the column header string
  const int loads = 1 + ((mode >> 2) & 1);  // a second load sees what the first left
  ks::fuzz::PieceSizes pieces(mode >> 3);

  CDelimitedFields fields;
  for (int load = 0; load < loads; ++load) {
    const std::string header = own_header ? std::string(in.ShortText(200))
                               : fixed    ? FixedHeader(in)
                                          : DelimitedHeader(in);
    if (DeclaresManyColumns(header)) return 0;
    if (fixed) {
      fields.LoadFixedSettings(header);
    } else {
      const char primary = fields.PrimaryDelimiter();
      fields.LoadSettings(header);
      CheckLoadedDelimiters(fields, primary);
    }
  }

  // The whole text as one record, then cut into pieces, each a record: the
  // values are refilled from one record to the next.
  std::string_view text = in.Rest();
  for (bool whole = true; whole || !text.empty(); whole = false) {
    const std::string_view record = whole ? text : text.substr(0, pieces.Next());
    if (!whole) text.remove_prefix(record.size());
    if (fixed) {
      CheckFixedWidth(fields, record);
    } else {
      CheckSplit(fields, record);
    }
  }
  return 0;
}
