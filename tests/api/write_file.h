// Writes a small source file for a test, making its folders as needed.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include "temp_dir.h"

inline std::string WriteFile(const TempDir& dir, const std::string& name,
                             const std::string& content) {
  const std::filesystem::path file = dir.path() / name;
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << content;
  return file.string();
}
