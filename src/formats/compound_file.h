// CompoundFile: a read-only reader of OLE2 compound files, the container of
// .xls workbooks and .doc documents.  It reads the header, the FAT (with its
// DIFAT), the directory and the mini stream, and hands out one stream by
// name.  Every sector index, chain and size is checked against the file: a
// chain that loops or leaves the file, or a stream larger than the file, is a
// damaged file (CompoundFileError kDamaged), never a read outside it.
#pragma once

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <stdexcept>

#include "formats/stream_bytes.h"

namespace ks::formats {

// Why a compound file cannot be read.
class CompoundFileError : public std::runtime_error {
 public:
  enum class Kind {
    kCannotOpen,  // the file is not there or cannot be read
    kDamaged,     // the bytes do not make a compound file
  };
  CompoundFileError(Kind kind, const std::string& message) : std::runtime_error(message), kind_(kind) {}
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};


class CompoundFile {
 public:
  // Opens the file and reads its FAT and directory.  Throws CompoundFileError:
  // kCannotOpen when the file cannot be opened, kDamaged when it is no sound
  // compound file.
  explicit CompoundFile(const std::string& path);

  // The stream named `name` (ASCII, any case) among the root storage's
  // children; null when there is none.  The stream reads through the file,
  // which stays open as long as a stream of it does.
  std::unique_ptr<StreamBytes> OpenStream(std::string_view name) const;

 private:
  struct Entry {
    std::string name;  // ASCII letters lowered; other characters as '?'
    uint8_t type = 0;  // 1 storage, 2 stream, 5 root
    uint32_t left = 0, right = 0, child = 0;
    uint32_t start = 0;
    uint64_t size = 0;
  };
  // The sectors of the chain from `start` that hold `size` bytes.
  std::vector<uint32_t> Chain(const std::vector<uint32_t>& table, uint32_t start, uint64_t size,
                              uint64_t limit) const;
  void ReadSector(uint32_t sector, std::vector<unsigned char>& into) const;

  std::shared_ptr<std::ifstream> file_;
  uint64_t file_size_ = 0;
  uint32_t sector_size_ = 512;
  uint64_t sector_count_ = 0;  // whole or partial sectors after the header
  std::vector<uint32_t> fat_;
  std::vector<uint32_t> mini_fat_;
  std::vector<Entry> entries_;
};

}  // namespace ks::formats
