#include "type_check.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <initializer_list>
#include <vector>

#include "import_options.h"
#include "import_report.h"
#include "ks_imp.h"

namespace ksimp {
namespace {

// One number per family of table types: aliases and the dBase and FoxPro
// types read the same files.
int32_t TableFamily(int32_t type) {
  switch (type) {
    case KSIMP_TYPE_DBASE_ALIAS:
    case KSIMP_TYPE_DBASE:
    case KSIMP_TYPE_FOXPRO:
    case KSIMP_TYPE_VISUAL_FOXPRO:
      return KSIMP_TYPE_VISUAL_FOXPRO;
    case KSIMP_TYPE_EXCEL_ALIAS:
      return KSIMP_TYPE_EXCEL;
    case KSIMP_TYPE_PARADOX_ALIAS:
      return KSIMP_TYPE_PARADOX;
    default:
      return type;
  }
}

bool OneOf(int32_t type, std::initializer_list<int32_t> types) {
  return std::find(types.begin(), types.end(), type) != types.end();
}

std::string LowerExtension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

bool IsRegularFile(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

}  // namespace

DetectedType DetectFileType(const std::string& path) {
  DetectedType detected;
  std::vector<char> message(path.size() + 1024);
  detected.type = KSIMP_DetectFileType(path.c_str(), message.data(), static_cast<int32_t>(message.size()));
  detected.sharing_message = message.data();
  return detected;
}

std::string DescribeType(int32_t type) {
  if (type == 0) return "0 (no importable type)";
  const std::string name = FileTypeShortName(type);
  return name.empty() ? fmt::format("{}", type) : fmt::format("{} ({})", type, name);
}

namespace {

// The types the library's check has a test for; what it finds of any
// other is 0 (a Word 2.0 document, which the importer of any Word file
// reads, is no compound document to it).
bool Recognised(int32_t type) {
  return OneOf(TableFamily(type),
               {KSIMP_TYPE_RTF, KSIMP_TYPE_EUDORA, KSIMP_TYPE_MBX, KSIMP_TYPE_PDF, KSIMP_TYPE_HTML,
                KSIMP_TYPE_TEXT, KSIMP_TYPE_WORDPERFECT, KSIMP_TYPE_WORD, KSIMP_TYPE_KESTRO,
                KSIMP_TYPE_EXCEL, KSIMP_TYPE_ACCESS, KSIMP_TYPE_PARADOX, KSIMP_TYPE_KESTRO_DOS,
                KSIMP_TYPE_VISUAL_FOXPRO, KSIMP_TYPE_DELIMITED, KSIMP_TYPE_FIXED_WIDTH});
}

// What the check's answer means for this file: the zipped Word and Excel
// files are archives to it, and their extension says which.
int32_t FoundByContentOrExtension(int32_t found, const std::string& path) {
  if (found != 0) return found;
  const std::string extension = LowerExtension(path);
  if (extension == ".xlsx" || extension == ".xlsm") return KSIMP_TYPE_EXCEL;
  if (extension == ".docx" || extension == ".docm") return KSIMP_TYPE_WFW;
  return 0;
}

}  // namespace

bool TypeFits(int32_t chosen, int32_t found, const std::string& path) {
  found = FoundByContentOrExtension(found, path);
  if (chosen == KSIMP_TYPE_ANY_FILE) return true;
  if (TableFamily(chosen) == TableFamily(found)) return true;
  switch (found) {
    case 0:
      return !Recognised(chosen);
    case KSIMP_TYPE_TEXT:
      return OneOf(chosen, {KSIMP_TYPE_DELIMITED, KSIMP_TYPE_FIXED_WIDTH, KSIMP_TYPE_KESTRO_DOS,
                            KSIMP_TYPE_HTML, KSIMP_TYPE_EML});
    case KSIMP_TYPE_HTML:
      return chosen == KSIMP_TYPE_TEXT;
    case KSIMP_TYPE_EUDORA:
      return OneOf(chosen, {KSIMP_TYPE_MBX, KSIMP_TYPE_EML});
    case KSIMP_TYPE_MBX:
      return chosen == KSIMP_TYPE_EML;
    case KSIMP_TYPE_WORD:
      return chosen == KSIMP_TYPE_WFW;
    case KSIMP_TYPE_WORDPERFECT:
      return chosen == KSIMP_TYPE_WORD;
    default:
      return false;
  }
}

ChosenType ChooseFileType(const std::string& path) {
  ChosenType chosen;
  chosen.type = FileTypeForPath(path);
  if (chosen.type != 0 || !IsRegularFile(path)) {
    if (chosen.type == 0) chosen.type = KSIMP_TYPE_TEXT;
    return chosen;
  }
  const DetectedType detected = DetectFileType(path);
  const int32_t found = FoundByContentOrExtension(detected.type, path);
  std::error_code ec;
  if (found != 0 || !detected.sharing_message.empty() || std::filesystem::file_size(path, ec) == 0) {
    chosen.type = found != 0 ? found : KSIMP_TYPE_TEXT;
    return chosen;
  }
  chosen.refusal = fmt::format(
      "not imported: error {}: {}  Neither its name nor what it holds is of a type the library "
      "imports (a picture or an archive, say); --type any links or attaches it",
      KSIMP_ERR_WRONG_FILE_TYPE, ImportErrorText(KSIMP_ERR_WRONG_FILE_TYPE));
  return chosen;
}

std::string WrongTypeWarning(const std::string& path, int32_t chosen) {
  if (!IsRegularFile(path)) return {};
  const DetectedType detected = DetectFileType(path);
  if (!detected.sharing_message.empty()) return fmt::format("warning: {}", detected.sharing_message);
  if (TypeFits(chosen, detected.type, path)) return {};
  const std::string text = fmt::format("warning: {}: message {}: {}\n         It is queued as file type {}",
                                       path, KSIMP_ERR_WRONG_FILE_TYPE,
                                       ImportErrorText(KSIMP_ERR_WRONG_FILE_TYPE), DescribeType(chosen));
  const int32_t found = FoundByContentOrExtension(detected.type, path);
  if (found == 0) return text + "; no importer reads what it holds.";
  const std::string name = FileTypeShortName(found);
  return fmt::format("{}; it looks like file type {}: try --type {}.", text, DescribeType(found),
                     name.empty() ? fmt::format("{}", found) : name);
}

}  // namespace ksimp
