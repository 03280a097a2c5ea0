// Fuzzes the dBase/FoxPro table reader (importers/tables/dbase_*): the
// header, the records and the memo file beside them.
//
// Input: the .dbf file's bytes, then optionally the marker "\n--memo\n" and
// the memo file's bytes, written as t.fpt for a FoxPro version byte and as
// t.dbt for the others (t.FPT when the memo's first byte is odd, for the
// case-blind search).  A corpus table is thus an input as it stands.
//
// Checks: only TableError escapes; column names and values are valid UTF-8;
// progress stays within 0 to 1 and never goes back; there are never more
// rows than bytes in the table file.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "core/charset_converter.h"
#include "fuzz_input.h"
#include "importers/tables/builtin_drivers.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kMemoMarker = "\n--memo\n";

void Write(const fs::path& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

bool FoxProVersion(uint8_t version) { return version == 0x30 || version == 0x31 || version == 0x32 || version == 0xF5; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const size_t marker = input.find(kMemoMarker);
  const std::string_view table = input.substr(0, marker);
  const fs::path& folder = ks::fuzz::WorkFolder();
  std::error_code ignored;
  for (const char* name : {"t.dbt", "t.fpt", "t.FPT"}) fs::remove(folder / name, ignored);
  Write(folder / "t.dbf", table);
  if (marker != std::string_view::npos) {
    const std::string_view memo = input.substr(marker + kMemoMarker.size());
    const bool foxpro = !table.empty() && FoxProVersion(static_cast<uint8_t>(table[0]));
    const bool capitals = !memo.empty() && (static_cast<uint8_t>(memo[0]) & 1) != 0;
    Write(folder / (foxpro ? (capitals ? "t.FPT" : "t.fpt") : "t.dbt"), memo);
  }

  try {
    const auto connection = ks::tables::MakeFoxProDriver()->Connect(
        ks::tables::ConnectionString("DBQ=" + (folder / "t.dbf").string()), {});
    const auto tables = connection->Tables();
    FUZZ_CHECK(tables.size() == 1 && tables[0].name == "t");
    const auto cursor = connection->OpenTable("t");
    const auto& columns = cursor->ColumnNames();
    for (const std::string& column : columns) FUZZ_CHECK(ks::core::IsValidUtf8(column));
    size_t rows = 0;
    double progress = 0;
    while (cursor->Next()) {
      FUZZ_CHECK(++rows <= table.size());
      for (size_t i = 0; i < columns.size(); ++i) {
        if (const auto value = cursor->Value(i)) FUZZ_CHECK(ks::core::IsValidUtf8(*value));
      }
      const double now = cursor->Progress();
      FUZZ_CHECK(now >= progress && now <= 1);
      progress = now;
    }
  } catch (const ks::tables::TableError&) {
    // A damaged table is refused: that is the expected outcome of most inputs.
  }
  return 0;
}
