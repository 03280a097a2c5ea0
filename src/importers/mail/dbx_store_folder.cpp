#include "importers/mail/dbx_store_folder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

namespace {

// Enough of the header to tell the kinds of file apart.
constexpr size_t kKindBytes = 8;

bool HasDbxExtension(const fs::path& path) {
  std::string extension = path.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension == ".dbx";
}

}  // namespace

std::vector<std::string> DbxFilesIn(const std::string& folder) {
  std::vector<std::string> files;
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    std::error_code type_error;
    if (it->is_regular_file(type_error) && HasDbxExtension(it->path())) {
      files.push_back(it->path().string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

DbxFileKind DbxKindOfFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  char first[kKindBytes] = {};
  in.read(first, sizeof first);
  return ReadDbxFileHeader(std::string_view(first, static_cast<size_t>(in.gcount()))).kind;
}
