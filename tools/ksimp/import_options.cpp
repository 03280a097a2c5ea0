#include "import_options.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <string_view>
#include <vector>

#include "database.h"
#include "ks_imp.h"

namespace ksimp {
namespace {

struct NamedType {
  std::string name;
  int32_t type = 0;
};

// The short names the library gives its file types; any type may also be
// given by its number.
const std::vector<NamedType>& NamedTypes() {
  static const std::vector<NamedType> names = [] {
    std::vector<NamedType> found;
    char name[256];
    int32_t type = 0;
    for (uint32_t i = 0; KSIMP_GetFileTypeShortName(i, &type, name, sizeof name) != 0; ++i) {
      found.push_back({name, type});
    }
    return found;
  }();
  return names;
}

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
  return s;
}

bool StartsWith(std::string_view s, std::string_view prefix) {
  return s.substr(0, prefix.size()) == prefix;
}

}  // namespace

int32_t ParseFileType(const std::string& text) {
  for (const auto& named : NamedTypes()) {
    if (Lower(text) == named.name) return named.type;
  }
  try {
    size_t used = 0;
    const int value = std::stoi(text, &used);
    if (used == text.size()) return value;
  } catch (const std::exception&) {
  }
  throw HostError(
      fmt::format("unknown file type '{}': give a number or one of {}", text, FileTypeNames()), 2);
}

std::string FileTypeNames() {
  std::string names;
  for (const auto& named : NamedTypes()) {
    names += std::string(names.empty() ? "" : ", ") + named.name;
  }
  return names;
}

std::string FileTypeShortName(int32_t type) {
  for (const auto& named : NamedTypes()) {
    if (named.type == type) return named.name;
  }
  return {};
}

int32_t FileTypeForPath(const std::string& path) {
  // Mail kept one message to a file, which the offered list leaves out: a
  // folder holding cur/ or new/ is a Maildir, an ".eml" file one message.
  std::error_code ec;
  const std::filesystem::path given(path);
  if (std::filesystem::is_directory(given, ec)) {
    if (std::filesystem::is_directory(given / "cur", ec) ||
        std::filesystem::is_directory(given / "new", ec)) {
      return KSIMP_TYPE_MAILDIR;
    }
  }
  std::string extension = Lower(given.extension().string());
  if (!extension.empty()) extension.erase(0, 1);
  // Files the offered list has no extension for, though an importer reads
  // them: a zipped Word document goes to the importer that takes any Word
  // file, as the Word 97 one takes compound documents only.
  static const std::map<std::string, int32_t> unlisted = {
      {"eml", KSIMP_TYPE_EML},           {"mbox", KSIMP_TYPE_MBX},
      {"pst", KSIMP_TYPE_OUTLOOK_FOLDER}, {"ost", KSIMP_TYPE_OUTLOOK_FOLDER},
      {"docx", KSIMP_TYPE_WFW},          {"docm", KSIMP_TYPE_WFW},
      {"wri", KSIMP_TYPE_WIN_THREE},     {"wp", KSIMP_TYPE_WORDPERFECT},
      {"wp5", KSIMP_TYPE_WORDPERFECT},   {"wp6", KSIMP_TYPE_WORDPERFECT},
  };
  if (const auto found = unlisted.find(extension); found != unlisted.end()) return found->second;
  const uint32_t count = KSIMP_GetFileTypeCount();
  for (uint32_t i = 0; i < count; ++i) {
    int32_t type = 0;
    char extensions[1024] = {};
    if (!KSIMP_GetFileTypeInfo(i, &type, nullptr, nullptr, 0, extensions, sizeof extensions,
                               nullptr, 0)) {
      continue;
    }
    std::string_view list = extensions;
    while (!list.empty()) {
      const size_t blank = list.find(' ');
      const std::string_view listed = list.substr(0, blank);
      if (listed != "*" && Lower(std::string(listed)) == extension) return type;
      list.remove_prefix(blank == std::string_view::npos ? list.size() : blank + 1);
    }
  }
  return 0;
}

void ParseDateRange(const std::string& text, std::string& from, std::string& to) {
  const size_t dots = text.find("..");
  if (dots == std::string::npos) {
    throw HostError(fmt::format("'{}': a date range is FROM..TO (either side may be empty)", text),
                    2);
  }
  from = text.substr(0, dots);
  to = text.substr(dots + 2);
}

void ParseSortOrder(const std::string& text, ImportRequest& request) {
  if (text == "asc") {
    request.sort_descending = 0;
  } else if (text == "desc") {
    request.sort_descending = 1;
  } else {
    throw HostError(fmt::format("unknown sort order '{}': use asc or desc", text), 2);
  }
}

void ParseDelimiter(const std::string& text, ImportRequest& request) {
  request.delimiter_flags = KSIMP_DELIM_NONE;
  if (text == "none") return;
  if (text == "pagebreak") {
    request.delimiter_flags = KSIMP_DELIM_PAGE_BREAK;
  } else if (text == "blankline") {
    request.delimiter_flags = KSIMP_DELIM_BLANK_LINE;
  } else if (StartsWith(text, "lines:")) {
    try {
      request.delimiter_lines = std::stoi(text.substr(6));
    } catch (const std::exception&) {
      request.delimiter_lines = 0;
    }
    if (request.delimiter_lines < 1) {
      throw HostError(fmt::format("'{}': the line count must be a number above 0", text), 2);
    }
    request.delimiter_flags = KSIMP_DELIM_EVERY_N_LINES;
  } else if (StartsWith(text, "string:") && text.size() > 7) {
    request.delimiter_flags = KSIMP_DELIM_STRING;
    request.delimiter_string = text.substr(7);
  } else {
    throw HostError(fmt::format("unknown delimiter '{}': use none, pagebreak, blankline, lines:N "
                                "or string:S",
                                text),
                    2);
  }
}

void ParseLocation(const std::string& text, ImportRequest& request) {
  if (text == "end") {
    request.location = KSIMP_LOC_END;
  } else if (text == "after-current") {
    request.location = KSIMP_LOC_AFTER_CURRENT;
  } else if (StartsWith(text, "after:") && text.size() > 6) {
    request.location = KSIMP_LOC_AFTER_NAMED;
    request.named_document = text.substr(6);
  } else if (text == "end-current") {
    request.location = KSIMP_LOC_END_OF_CURRENT;
  } else if (text == "top") {
    request.location = KSIMP_LOC_TOP;
  } else {
    throw HostError(fmt::format("unknown location '{}': use end, top, after-current, end-current "
                                "or after:NAME",
                                text),
                    2);
  }
}

void ParseOrigin(const std::string& text, ImportRequest& request) {
  if (text == "ansi") {
    request.origin_ansi = 1;
  } else if (text == "oem") {
    request.origin_ansi = 0;
  } else {
    throw HostError(fmt::format("unknown origin '{}': use ansi or oem", text), 2);
  }
}

}  // namespace ksimp
