#include "api/temp_import_folder.h"

#include <cstdlib>

std::string TempImportFolder() {
  const char* tmpdir = std::getenv("TMPDIR");
  std::string folder = (tmpdir != nullptr && *tmpdir != '\0') ? tmpdir : "/tmp";
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  if (folder == "/") folder.clear();
  return folder + "/KSTmpImp/";
}

bool IsInTempImportFolder(std::string_view path) {
  return path.find(TempImportFolder()) != std::string_view::npos;
}
