#include "import_options.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string_view>

#include "database.h"

namespace ksimp {
namespace {

struct NamedType {
  const char* name;
  int32_t type;
  const char* extensions;  // blank-separated, lower case
};

// The file types the host can name; any other type is given by its number.
const NamedType kNamedTypes[] = {
    {"text", 1000, "txt text asc log"},
    {"html", 108, "htm html"},
    {"rtf", 19, "rtf"},
};

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
  return s;
}

bool StartsWith(std::string_view s, std::string_view prefix) {
  return s.substr(0, prefix.size()) == prefix;
}

}  // namespace

int32_t ParseFileType(const std::string& text) {
  for (const auto& named : kNamedTypes) {
    if (Lower(text) == named.name) return named.type;
  }
  try {
    size_t used = 0;
    const int value = std::stoi(text, &used);
    if (used == text.size()) return value;
  } catch (const std::exception&) {
  }
  std::string names;
  for (const auto& named : kNamedTypes)
    names += std::string(names.empty() ? "" : ", ") + named.name;
  throw HostError(fmt::format("unknown file type '{}': give a number or one of {}", text, names),
                  2);
}

int32_t FileTypeForPath(const std::string& path) {
  std::string extension = Lower(std::filesystem::path(path).extension().string());
  if (!extension.empty()) extension.erase(0, 1);
  for (const auto& named : kNamedTypes) {
    std::string_view list = named.extensions;
    while (!list.empty()) {
      const size_t blank = list.find(' ');
      if (list.substr(0, blank) == extension) return named.type;
      list.remove_prefix(blank == std::string_view::npos ? list.size() : blank + 1);
    }
  }
  return 1000;
}

void ParseDelimiter(const std::string& text, ImportRequest& request) {
  request.delimiter_flags = 0;
  if (text == "none") return;
  if (text == "pagebreak") {
    request.delimiter_flags = 2;
  } else if (text == "blankline") {
    request.delimiter_flags = 1;
  } else if (StartsWith(text, "lines:")) {
    try {
      request.delimiter_lines = std::stoi(text.substr(6));
    } catch (const std::exception&) {
      request.delimiter_lines = 0;
    }
    if (request.delimiter_lines < 1) {
      throw HostError(fmt::format("'{}': the line count must be a number above 0", text), 2);
    }
    request.delimiter_flags = 4;
  } else if (StartsWith(text, "string:") && text.size() > 7) {
    request.delimiter_flags = 8;
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
    request.location = 1;
  } else if (text == "after-current") {
    request.location = 2;
  } else if (StartsWith(text, "after:") && text.size() > 6) {
    request.location = 3;
    request.named_document = text.substr(6);
  } else if (text == "end-current") {
    request.location = 4;
  } else if (text == "top") {
    request.location = 6;
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
