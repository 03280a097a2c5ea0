// Fuzzes our own .xlsx parsing: the styles part, the shared strings and a
// sheet's rows (XmlPullScanner beneath the last two), from bytes in memory.
//
// Input: a mode byte (date system, piece seed), two bytes giving the length
// of the styles part and two the length of the shared strings, those parts,
// then the sheet part.
//
// Checks: nothing but TableError escapes; the rows are the same whether the
// parts come whole or a few bytes at a time (the scanner's window may cut
// anything anywhere); row numbers stay below the sheet's limit;
// progress stays within 0..1.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "fuzz_input.h"
#include "importers/tables/table_source.h"
#include "importers/tables/xlsx_sheet_rows.h"

namespace {

using namespace ks::tables;

// The bytes whole, or in pieces whose sizes a seed draws.
class PieceSource : public ByteSource {
 public:
  PieceSource(std::string_view bytes, bool whole, uint32_t seed) : rest_(bytes), whole_(whole), pieces_(seed) {}
  size_t Read(char* into, size_t size) override {
    size_t n = std::min(size, rest_.size());
    if (!whole_) n = std::min(n, pieces_.Next());
    if (n != 0) std::memcpy(into, rest_.data(), n);
    rest_.remove_prefix(n);
    return n;
  }

 private:
  std::string_view rest_;
  bool whole_;
  ks::fuzz::PieceSizes pieces_;
};

// Everything the parsers make of the parts, as one text, or the failure.
std::string Parse(std::string_view styles_xml, std::string_view strings_xml, std::string_view sheet_xml,
                  DateSystem system, bool whole, uint32_t seed) {
  std::string out;
  try {
    const CellStyles styles = CellStyles::Parse(styles_xml);
    PieceSource strings_bytes(strings_xml, whole, seed);
    const SharedStrings strings = SharedStrings::Read(strings_bytes);
    for (size_t i = 0; i < strings.size(); ++i) out.append(strings[i]).push_back('\1');
    PieceSource sheet_bytes(sheet_xml, whole, seed + 1);
    XlsxSheetRows rows(sheet_bytes, sheet_xml.size(), strings, styles, system);
    RowBuffer row;
    uint32_t index = 0;
    while (rows.NextRow(row, index)) {
      FUZZ_CHECK(index < kSheetMostRows);
      const double progress = rows.Progress();
      FUZZ_CHECK(progress >= 0 && progress <= 1);
      out += std::to_string(index) + ":";
      for (size_t c = 0; c < row.Width(); ++c) {
        if (row.Has(c)) out.append(std::to_string(c)).append("=").append(row.Text(c));
        out.push_back('\2');
      }
      out.push_back('\n');
    }
    out += "width " + std::to_string(rows.DeclaredWidth());
  } catch (const TableError& error) {
    out += std::string("error ") + error.what();
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ks::fuzz::FuzzInput input(data, size);
  const uint8_t mode = input.Byte();
  const size_t styles_size = input.Byte() | size_t{input.Byte()} << 8;
  const size_t strings_size = input.Byte() | size_t{input.Byte()} << 8;
  const std::string_view styles = input.Take(styles_size);
  const std::string_view strings = input.Take(strings_size);
  const std::string_view sheet = input.Rest();
  const DateSystem system = (mode & 1) ? DateSystem::k1904 : DateSystem::k1900;
  const std::string whole = Parse(styles, strings, sheet, system, true, mode);
  const std::string pieces = Parse(styles, strings, sheet, system, false, mode);
  FUZZ_CHECK(whole == pieces);
  return 0;
}
