#include "importers/tables/access_header.h"

#include <filesystem>
#include <fstream>

#include "importers/tables/table_source.h"

namespace ks::tables::access {
namespace {

constexpr size_t kHeaderBytes = 0x18;
constexpr uint32_t kNewestVersion = 6;  // Access 2019 (ACE 17)
// libmdb reads the catalog from page 2 and the file's header from page 0.
constexpr uint64_t kFewestPages = 3;

[[noreturn]] void NotAccess(const std::string& why) {
  throw TableError(TableError::Kind::kDamaged, "not an Access database: " + why);
}

}  // namespace

AccessHeader ParseAccessHeader(std::string_view bytes, uint64_t file_size) {
  if (bytes.size() < kHeaderBytes) NotAccess("the file is too short");
  if (bytes.substr(0, 4) != std::string_view("\0\1\0\0", 4)) NotAccess("no Jet signature");
  const std::string_view engine = bytes.substr(4, 16);
  if (engine != std::string_view("Standard Jet DB\0", 16) && engine != std::string_view("Standard ACE DB\0", 16)) {
    NotAccess("no Jet or ACE engine name");
  }
  AccessHeader header;
  header.version = static_cast<unsigned char>(bytes[0x14]);  // the bytes after it vary
  if (header.version > kNewestVersion) NotAccess("unknown format version " + std::to_string(header.version));
  header.page_size = header.version == 0 ? 2048 : 4096;
  header.file_size = file_size;
  header.page_count = file_size / header.page_size;
  if (header.page_count < kFewestPages) NotAccess("the file is too short");
  return header;
}

AccessHeader ReadAccessHeader(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    throw TableError(TableError::Kind::kNotFound, "no database file " + path);
  }
  std::ifstream file(path, std::ios::binary);
  const uint64_t size = std::filesystem::file_size(path, error);
  if (!file || error) throw TableError(TableError::Kind::kNotFound, "cannot open " + path);
  std::string bytes(kHeaderBytes, '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<size_t>(file.gcount()));
  return ParseAccessHeader(bytes, size);
}

}  // namespace ks::tables::access
