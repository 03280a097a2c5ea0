// Writes and reads small files for a test, making folders as needed.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "temp_dir.h"

inline std::string WriteFile(const std::filesystem::path& file, const std::string& content) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << content;
  return file.string();
}

inline std::string WriteFile(const TempDir& dir, const std::string& name,
                             const std::string& content) {
  return WriteFile(dir.path() / name, content);
}

// A folder or a missing file reads as empty.
inline std::string ReadFile(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}
