// Fuzzes the Paradox driver (importers/tables/paradox_*.cpp): the header,
// the chain of data blocks, the values of every field type and the memo
// file, read as the import reads them, through a connection to a folder.
//
// Input: a .db file, then optionally its .mb file: the .db part is as long
// as its own header says (header size plus file blocks times block size),
// and whatever follows is the .mb.  A corpus .db file is thus a seed as it
// is, and a .db and its .mb one after the other make one too.
//
// Checks: the folder holds the one table T; a table either reads or fails
// with a TableError; every name and value is valid UTF-8; the binary
// columns are columns of the table; progress stays within 0 to 1 and is 1
// at the end.
#include <algorithm>
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
using ks::core::IsValidUtf8;

void WriteFile(const fs::path& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  FUZZ_CHECK(out.good());
}

size_t Word(std::string_view bytes, size_t at) {
  return static_cast<uint8_t>(bytes[at]) | static_cast<size_t>(static_cast<uint8_t>(bytes[at + 1]))
                                               << 8;
}

// Where the .db part ends: as far as its header says, or the whole input.
size_t TableSize(std::string_view input) {
  if (input.size() < 0x10) return input.size();
  const size_t header = Word(input, 0x02);
  const size_t block = static_cast<uint8_t>(input[0x05]) * size_t{1024};
  return std::min(input.size(), header + Word(input, 0x0C) * block);
}

void ReadEverything(const fs::path& folder) {
  const auto connection = ks::tables::MakeParadoxDriver()->Connect(
      ks::tables::ConnectionString("DBQ=" + folder.string()), {});
  const auto tables = connection->Tables();
  FUZZ_CHECK(tables.size() == 1 && tables[0].name == "T" && tables[0].type == "TABLE");
  const auto columns = connection->Columns("T");
  const auto cursor = connection->OpenTable("t");
  FUZZ_CHECK(cursor->ColumnNames() == columns);
  for (const std::string& name : columns) FUZZ_CHECK(IsValidUtf8(name));
  for (const std::string& name : cursor->BinaryColumns()) {
    FUZZ_CHECK(std::find(columns.begin(), columns.end(), name) != columns.end());
  }
  while (cursor->Next()) {
    const double progress = cursor->Progress();
    FUZZ_CHECK(progress >= 0 && progress <= 1);
    for (size_t i = 0; i < columns.size(); ++i) {
      const auto value = cursor->Value(i);
      if (value) FUZZ_CHECK(IsValidUtf8(*value));
    }
  }
  FUZZ_CHECK(cursor->Progress() == 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const fs::path folder = ks::fuzz::WorkFolder() / "paradox";
  std::error_code ignored;
  fs::remove_all(folder, ignored);
  fs::create_directories(folder);
  const size_t table_size = TableSize(input);
  WriteFile(folder / "T.DB", input.substr(0, table_size));
  if (table_size < input.size()) WriteFile(folder / "T.mb", input.substr(table_size));
  try {
    ReadEverything(folder);
  } catch (const ks::tables::TableError&) {
    // A table that cannot be read says so; that is all it must do.
  }
  return 0;
}
