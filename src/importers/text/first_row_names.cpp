#include "importers/text/first_row_names.h"

#include <fmt/format.h>

#include <optional>

#include "core/error_codes.h"
#include "core/source_decoding.h"
#include "core/source_file.h"
#include "importers/text/byte_source.h"
#include "importers/text/delimited_fields.h"
#include "importers/text/field_header.h"
#include "importers/text/record_reader.h"

namespace ks::text {
namespace {

// A name stands on one line of the column header string and on one line of
// every document: line breaks, tabs and other control characters inside a
// quoted header cell become blanks, and blanks around it go.
std::string AsColumnName(std::string name) {
  for (char& c : name) {
    if (static_cast<unsigned char>(c) < 0x20 || c == '\x7F') c = ' ';
  }
  const size_t first = name.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return name.substr(first, name.find_last_not_of(' ') - first + 1);
}

}  // namespace

uint32_t ColumnHeaderFromFirstRow(const std::string& path, const FirstRowLayout& layout,
                                  std::string* column_header) {
  const std::string qualifier = layout.qualifier != '\0' ? std::string(1, layout.qualifier) : "";
  const std::string delimiter_lines = fmt::format("D={}\r\nTQ={}\r\nTC={}\r\n", layout.delimiters,
                                                  qualifier, layout.consecutive ? 1 : 0);
  CDelimitedFields fields;
  fields.LoadSettings("T=CSV\r\nN=1\r\n" + delimiter_lines);
  if (const uint32_t code = fields.FieldHeader().ErrorCode(); code != 0) return code;

  SourceFile file;
  if (!file.Open(path)) return error_code::kCannotOpenFile;
  // The names become field names in documents: read as the import reads
  // the rows.
  SETDATA origin;
  origin.file_origin_ansi = layout.origin_ansi ? 1 : 0;
  file.DecodeWith(ks::core::ChooseSourceDecoding(ks::core::SourceTextKind::kText, origin,
                                                 layout.code_pages, file)
                      .decoding.MakeDecoder());
  SourceFileBytes bytes(file);
  RecordReader reader(bytes);
  std::string record;
  if (reader.Read(fields.Qualifier(), &record) != RecordReader::Outcome::kRecord) {
    return error_code::kEndOfFile;
  }
  fields.Split(record);

  std::string header = fmt::format("T=CSV\r\nN={}\r\nS=2\r\n", fields.ValueCount());
  for (size_t i = 0; i < fields.ValueCount(); ++i) {
    const std::string& value = fields.Values()[i];
    header += fmt::format("NA{}={}\r\nP{}={}\r\n", i + 1, AsColumnName(value), i + 1, i + 1);
  }
  header += delimiter_lines;
  CKSFieldHeader check;
  if (!check.Parse(header)) return check.ErrorCode();
  *column_header = std::move(header);
  return 0;
}

}  // namespace ks::text
