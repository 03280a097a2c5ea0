// Fuzzes the Excel driver on whole files: a zip package (our .xlsx reader
// over libzip) or a compound file (our compound file and BIFF readers),
// written to a temporary file as the driver reads only files.
//
// Input: the file's bytes.
//
// Checks: nothing but TableError escapes; every table lists and reads to
// its end, and every value of a row has the row's column count.
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

#include "fuzz_input.h"
#include "importers/tables/builtin_drivers.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace ks::tables;
  static const std::string path = (ks::fuzz::WorkFolder() / "book").string();
  {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  static const std::unique_ptr<TableDriver> driver = MakeExcelDriver();
  try {
    const auto connection = driver->Connect(ConnectionString("DRIVER={x};DBQ=" + ConnectionString::Quote(path)), {});
    for (const TableEntry& table : connection->Tables()) {
      const auto cursor = connection->OpenTable(table.name);
      const size_t width = cursor->ColumnNames().size();
      FUZZ_CHECK(connection->Columns(table.name).size() == width);
      size_t rows = 0;
      while (cursor->Next() && ++rows < 2000000) {
        for (size_t c = 0; c < width; ++c) (void)cursor->Value(c);
        FUZZ_CHECK(!cursor->Value(width).has_value());
      }
    }
  } catch (const TableError&) {
  }
  return 0;
}
