#include "column_header_flags.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string_view>
#include <vector>

#include "database.h"
#include "ks_imp.h"

namespace ksimp {
namespace {

std::vector<std::string> SplitCommas(const std::string& text) {
  std::vector<std::string> parts;
  if (text.empty()) return parts;
  size_t start = 0;
  while (true) {
    const size_t comma = text.find(',', start);
    parts.push_back(text.substr(start, comma - start));
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  return parts;
}

// "\t" typed as two characters stands for a tab in the delimiter list.
std::string UnescapeDelimiters(const std::string& typed) {
  std::string out;
  for (size_t i = 0; i < typed.size(); ++i) {
    if (typed[i] == '\\' && i + 1 < typed.size() && typed[i + 1] == 't') {
      out += '\t';
      ++i;
    } else {
      out += typed[i];
    }
  }
  return out;
}

// True when a line of the column header string has `key` before its "=",
// compared without regard to case as the library looks keys up.
bool HasKey(const std::string& header, std::string_view key) {
  size_t start = 0;
  while (start < header.size()) {
    size_t end = header.find_first_of("\r\n", start);
    if (end == std::string::npos) end = header.size();
    const std::string_view line(header.data() + start, end - start);
    const size_t equals = line.find('=');
    if (equals == key.size() &&
        std::equal(key.begin(), key.end(), line.begin(), [](char a, char b) {
          return std::tolower(static_cast<unsigned char>(a)) ==
                 std::tolower(static_cast<unsigned char>(b));
        })) {
      return true;
    }
    start = end + 1;
  }
  return false;
}

std::string MessageText(uint32_t code) {
  std::vector<char> text(4096);
  KSIMP_ImportErrorToString(code, text.data(), static_cast<int32_t>(text.size()));
  return text.data();
}

}  // namespace

void ColumnHeaderFlags::AddTo(CLI::App& command, bool for_import) {
  CLI::Option* columns_option =
      command.add_option("--columns", columns,
                         "Column header string (KEY=VALUE lines, separated by line breaks or \\n)");
  CLI::Option* names_option = command.add_option(
      "--names", names, "Column names, separated by commas (Skip leaves one out)");
  CLI::Option* widths_option =
      command.add_option("--widths", widths, "Fixed column widths, separated by commas");
  if (for_import) {
    CLI::Option* settings_option =
        command.add_option("--settings", settings, "Settings file (.ksi) to use");
    command
        .add_flag("--header", header_row,
                  "Each file's first row names its columns; rows are imported from the second")
        ->excludes(settings_option)
        ->excludes(columns_option)
        ->excludes(names_option)
        ->excludes(widths_option);
  }
  command.add_option("--delim", delimiters, "Delimiter characters (\\t for a tab); default ,");
  command.add_option("--qualifier", qualifier, "Text qualifier: '\"', \"'\" or none");
  command.add_flag("--consecutive", consecutive, "Consecutive delimiters count as one");
  command.add_option("--first-row", first_row, "First row to import (1 = the first)");
}

bool ColumnHeaderFlags::Given() const {
  return !settings.empty() || !columns.empty() || !names.empty() || !delimiters.empty() ||
         !widths.empty() || header_row;
}

std::string NormalizeColumnHeader(const std::string& typed) {
  std::string out;
  for (size_t i = 0; i < typed.size(); ++i) {
    const bool escaped_break = typed[i] == '\\' && i + 1 < typed.size() && typed[i + 1] == 'n';
    if (escaped_break || typed[i] == '\n' || typed[i] == '\r') {
      if (escaped_break) ++i;
      if (typed[i] == '\r' && i + 1 < typed.size() && typed[i + 1] == '\n') ++i;
      out += "\r\n";
    } else {
      out += typed[i];
    }
  }
  // The import takes settings without a line break for a settings file's
  // name; a string typed on one line must still arrive as a string.
  if (out.find("\r\n") == std::string::npos) out += "\r\n";
  return out;
}

std::string ColumnHeaderFlags::DescribedColumnHeader() const {
  if (!settings.empty()) {
    // The library reads a missing file as its defaults; a mistyped name must
    // stop the command instead of importing every row as plain text.
    if (!std::filesystem::is_regular_file(settings)) {
      throw HostError(fmt::format("{} is not a settings file that exists", settings));
    }
    std::vector<char> text(1 << 16);
    while (
        !KSIMP_ReadSettingsFile(settings.c_str(), text.data(), static_cast<int32_t>(text.size()))) {
      if (text.size() >= (1u << 28))
        throw HostError("the settings file " + settings + " is too large");
      text.resize(text.size() * 4);
    }
    return text.data();
  }
  if (!columns.empty()) return NormalizeColumnHeader(columns);
  if (names.empty() && delimiters.empty() && widths.empty()) return {};

  const std::vector<std::string> column_names = SplitCommas(names);
  const std::vector<std::string> column_widths = SplitCommas(widths);
  const bool fixed = !column_widths.empty();
  const size_t count = std::max(column_names.size(), column_widths.size());
  std::string header = fmt::format("T={}\r\nN={}\r\n", fixed ? "FXD" : "CSV", count);
  for (size_t i = 0; i < count; ++i) {
    header += fmt::format("NA{}={}\r\n", i + 1, i < column_names.size() ? column_names[i] : "");
    if (fixed) {
      header += fmt::format("L{}={}\r\n", i + 1, i < column_widths.size() ? column_widths[i] : "0");
    } else {
      header += fmt::format("P{}={}\r\n", i + 1, i + 1);
    }
  }
  if (!fixed) {
    header += fmt::format("D={}\r\nTQ={}\r\nTC={}\r\n",
                          delimiters.empty() ? "," : UnescapeDelimiters(delimiters),
                          QualifierText(), consecutive ? 1 : 0);
  }
  return header;
}

std::string ColumnHeaderFlags::QualifierText() const {
  if (qualifier != "\"" && qualifier != "'" && qualifier != "none") {
    throw HostError("--qualifier takes '\"', \"'\" or none", 2);
  }
  return qualifier == "none" ? "" : qualifier;
}

std::string ColumnHeaderFlags::ColumnHeaderFromFirstRow(const std::string& file,
                                                        bool origin_ansi) const {
  const std::string delimiter_list = delimiters.empty() ? "," : UnescapeDelimiters(delimiters);
  const std::string quote = QualifierText();
  std::vector<char> text(1 << 16);
  uint32_t message = 0;
  while (!KSIMP_ColumnHeaderFromFirstRow(file.c_str(), delimiter_list.c_str(),
                                         quote.empty() ? '\0' : quote.front(), consecutive ? 1 : 0,
                                         origin_ansi ? 1 : 0, text.data(),
                                         static_cast<int32_t>(text.size()), &message)) {
    // 11001 is also the answer to a buffer too small: try a larger one.
    if (message != KSIMP_ERR_INTERNAL || text.size() >= (1u << 28)) {
      std::string reason = MessageText(message);
      if (const size_t name = reason.find("%s"); name != std::string::npos) {
        reason.replace(name, 2, file);
      }
      throw HostError(
          fmt::format("cannot take the column names from the first row of {}: message {}: {}", file,
                      message, reason));
    }
    text.resize(text.size() * 4);
  }
  return WithFirstRow(text.data());
}

std::string ColumnHeaderFlags::ColumnHeader() const {
  return WithFirstRow(DescribedColumnHeader());
}

std::string ColumnHeaderFlags::WithFirstRow(std::string header) const {
  if (header.empty() || !first_row) return header;
  // The first occurrence of a key counts, so a leading S line wins.  A
  // column without a position takes the first row as its position (old
  // settings depend on that), which then fails as lying beyond the columns:
  // fixed-width settings carry no positions, so column 1 is given its own.
  std::string lines = fmt::format("S={}\r\n", *first_row);
  if (!HasKey(header, "P1")) lines += "P1=1\r\n";
  return lines + header;
}

void RequireValidColumnHeader(const std::string& column_header) {
  const uint32_t code = KSIMP_CheckColumnHeader(column_header.c_str());
  if (code != 0) {
    throw HostError(fmt::format("the column header string does not parse: message {}: {}", code,
                                MessageText(code)));
  }
}

}  // namespace ksimp
