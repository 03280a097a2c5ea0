// What the first page of an Access file says before libmdb sees it: the
// format (Jet 3, Jet 4, ACE) and its page size.  libmdb trusts the header
// and prints to stderr on the way to failing, so a file that is no Access
// database is refused here, quietly.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ks::tables::access {

struct AccessHeader {
  uint32_t version = 0;    // 0 Jet 3, 1 Jet 4, 2 and up ACE (Access 2007 on)
  uint32_t page_size = 0;  // 2048 for Jet 3, 4096 after
  uint64_t file_size = 0;
  uint64_t page_count = 0;  // whole pages in the file
};

// Reads the header of `bytes`, the start of a file of `file_size` bytes
// (at least its first 32 bytes).  Throws TableError kDamaged when it is not
// an Access database libmdb can open.
AccessHeader ParseAccessHeader(std::string_view bytes, uint64_t file_size);

// The same for the file at `path`; TableError kNotFound when it is missing.
AccessHeader ReadAccessHeader(const std::string& path);

}  // namespace ks::tables::access
