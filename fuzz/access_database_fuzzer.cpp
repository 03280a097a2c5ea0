// Fuzzes the built-in Access driver: a file handed to libmdb after the
// driver's own checks of its header and catalog page, then every table read
// to the end.  libmdb reads a file by name, so the input goes through a
// temporary file.
//
// Input: the bytes of an .mdb/.accdb file.
//
// Checks: the driver answers with tables and rows or a TableError, never
// anything else; every name and value is valid UTF-8; a row has a value
// slot for each column.
#include <stdlib.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

#include "core/charset_converter.h"
#include "fuzz_input.h"
#include "importers/tables/builtin_drivers.h"

namespace {

using ks::tables::TableError;

// One file for the whole run, in a folder of its own.
const std::string& InputPath() {
  static const std::string path = [] {
    std::string folder = std::filesystem::temp_directory_path().string() + "/ks-fuzz-access.XXXXXX";
    FUZZ_CHECK(mkdtemp(folder.data()) != nullptr);
    return folder + "/input.mdb";
  }();
  return path;
}

void ReadEverything(ks::tables::TableConnection& connection) {
  for (const ks::tables::TableEntry& table : connection.Tables()) {
    FUZZ_CHECK(ks::core::IsValidUtf8(table.name));
    if (table.type.find("TABLE") == std::string::npos) continue;
    const auto cursor = connection.OpenTable(table.name);
    const size_t columns = cursor->ColumnNames().size();
    for (const std::string& name : cursor->ColumnNames()) FUZZ_CHECK(ks::core::IsValidUtf8(name));
    while (cursor->Next()) {
      for (size_t i = 0; i < columns; ++i) {
        if (const auto value = cursor->Value(i)) FUZZ_CHECK(ks::core::IsValidUtf8(*value));
      }
      FUZZ_CHECK(!cursor->Value(columns));
    }
  }
}

}  // namespace

// libmdb 0.9 leaks the property names it reads from a damaged catalog entry
// (mdb_kkd_to_props gives up and drops what it had copied), found by this
// target.  libmdb allocates through glib, built without frame pointers, so
// the fuzzer's fast stacks end in g_malloc and name nothing of libmdb:
// glib's allocations are passed over as a whole, and so are those of the C
// library's vasprintf, which glib's formatted strings come from and whose
// stacks end there the same way.  Nothing of ours allocates through either;
// that the driver closes what it opens is checked by its tests under the
// address sanitizer, on whole files, with the leak check on.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libglib-2.0.so\nleak:__vasprintf_internal\n";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  {
    std::ofstream file(InputPath(), std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    FUZZ_CHECK(file.good());
  }
  try {
    const auto driver = ks::tables::MakeAccessDriver();
    const auto connection =
        driver->Connect(ks::tables::ConnectionString("DBQ=" + InputPath()), ks::tables::TableReadOptions{});
    ReadEverything(*connection);
  } catch (const TableError&) {
    // A refusal is an answer.
  }
  return 0;
}
