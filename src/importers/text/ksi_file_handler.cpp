#include "importers/text/ksi_file_handler.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>

#include "core/profile_file.h"
#include "importers/text/column_header_lines.h"
#include "importers/text/field_header.h"

namespace {

using ks::core::ProfileFile;

constexpr std::string_view kTypeSection = "Type Section";
constexpr std::string_view kDelimiterSection = "Delimiter Section";
constexpr std::string_view kHeaderSection = "Header Section";
constexpr std::string_view kFixedFieldSection = "Fixed Field Section";
// Misspelt in every settings file ever saved; must stay so, byte for byte.
constexpr std::string_view kConsecutiveKey = "consecutice delimiter";

// Room the reads have always given the delimiter list.
constexpr size_t kMaxDelimiterLength = 255;

// A settings file of the widest real layout is a few hundred kilobytes; a
// larger file is not one (a data file picked by mistake) and reads as
// unreadable rather than being loaded whole.
constexpr std::uintmax_t kMaxSettingsFileBytes = 16 * 1024 * 1024;

enum class Load { kRead, kMissing, kUnreadable };

Load LoadText(const std::string& path, std::string* text) {
  std::error_code ec;
  if (!std::filesystem::exists(path, ec)) return ec ? Load::kUnreadable : Load::kMissing;
  const std::uintmax_t size = std::filesystem::file_size(path, ec);
  if (ec || size > kMaxSettingsFileBytes) return Load::kUnreadable;
  std::ifstream in(path, std::ios::binary);
  if (!in) return Load::kUnreadable;
  text->assign(static_cast<size_t>(size), '\0');
  in.read(text->data(), static_cast<std::streamsize>(text->size()));
  if (in.bad()) return Load::kUnreadable;
  text->resize(static_cast<size_t>(in.gcount()));
  return Load::kRead;
}

Load LoadProfile(const std::string& path, std::optional<ProfileFile>* profile) {
  std::string text;
  const Load load = LoadText(path, &text);
  if (load != Load::kRead) return load;
  *profile = ProfileFile::Parse(text, ProfileFile::Strictness::kLenient);
  return *profile ? Load::kRead : Load::kUnreadable;
}

// A value as profile readers return it: one pair of enclosing quotes goes.
std::optional<std::string> ReadValue(const ProfileFile& profile, std::string_view section,
                                     std::string_view key) {
  std::optional<std::string> value = profile.Get(section, key);
  if (value && value->size() >= 2 && value->front() == value->back() &&
      (value->front() == '"' || value->front() == '\'')) {
    *value = value->substr(1, value->size() - 2);
  }
  return value;
}

std::string ReadValueOr(const ProfileFile& profile, std::string_view section, std::string_view key,
                        std::string_view fallback) {
  return ReadValue(profile, section, key).value_or(std::string(fallback));
}

// A value written so that ReadValue gives it back: line breaks become blanks
// and quotes go round a value that reading would otherwise change.
std::string WritableValue(std::string_view value) {
  std::string text(value);
  for (char& c : text) {
    if (c == '\r' || c == '\n') c = ' ';
  }
  const auto blank = [](char c) { return c == ' ' || c == '\t'; };
  const bool needs_quotes = !text.empty() && (blank(text.front()) || blank(text.back()) ||
                                              (text.size() >= 2 && text.front() == text.back() &&
                                               (text.front() == '"' || text.front() == '\'')));
  return needs_quotes ? "\"" + text + "\"" : text;
}

std::string Numbered(std::string_view key, size_t number) {
  return std::string(key) + std::to_string(number);
}

// Applies `change` to the file at `path`, keeping every other key.
template <typename Change>
bool UpdateProfile(const std::string& path, Change change) {
  std::optional<ProfileFile> profile;
  switch (LoadProfile(path, &profile)) {
    case Load::kRead:
      break;
    case Load::kMissing:
      profile = ProfileFile::Parse("", ProfileFile::Strictness::kLenient);
      break;
    case Load::kUnreadable:
      return false;
  }
  change(*profile);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << profile->Serialize();
  out.close();
  return static_cast<bool>(out);
}

}  // namespace

std::string CKSIFileHandler::ReadColumnHeader(const std::string& path) {
  std::string text;
  if (LoadText(path, &text) != Load::kRead) text.clear();
  return ColumnHeaderFromText(text);
}

std::string CKSIFileHandler::ColumnHeaderFromText(std::string_view text) {
  // A lenient parse takes any text.
  const ProfileFile profile = *ProfileFile::Parse(text, ProfileFile::Strictness::kLenient);

  const std::string type = ReadValueOr(profile, kTypeSection, "type", "");
  // Read as profile integers are: leading digits, and 0 for a negative count.
  const int32_t count = std::max(
      0, ks::text::ParseLeadingInteger(ReadValueOr(profile, kTypeSection, "NumberOfFields", "0")));
  // A count the parser will refuse anyway gets no column lines.
  const int32_t columns = count <= CKSFieldHeader::kMaxColumns ? count : 0;

  std::vector<std::string> lines;
  if (ks::core::EqualsIgnoreCase(type, "CSV")) {
    kind_ = kDelimitedKind;
    lines.push_back("T=CSV");
    lines.push_back("N=" + std::to_string(count));
    lines.push_back(
        "D=" +
        ReadValueOr(profile, kDelimiterSection, "delimiter", ",").substr(0, kMaxDelimiterLength));
    lines.push_back("TQ=" + ReadValueOr(profile, kDelimiterSection, "text qualifier", ""));
    const std::string consecutive =
        ReadValueOr(profile, kDelimiterSection, kConsecutiveKey, "true");
    lines.push_back(ks::core::EqualsIgnoreCase(consecutive, "true") ? "TC=1" : "TC=0");
    for (int32_t column = 1; column <= columns; ++column) {
      lines.push_back(Numbered("NA", column) + "=" +
                      ReadValueOr(profile, kHeaderSection, Numbered("header", column), ""));
      // A delimited column stands at its own number.
      lines.push_back(Numbered("P", column) + "=" + std::to_string(column));
    }
  } else {
    kind_ = kFixedWidthKind;
    lines.push_back("T=FXD");
    lines.push_back("N=" + std::to_string(count));
    for (int32_t column = 1; column <= columns; ++column) {
      lines.push_back(Numbered("NA", column) + "=" +
                      ReadValueOr(profile, kHeaderSection, Numbered("Header", column), ""));
      lines.push_back(Numbered("L", column) + "=" +
                      ReadValueOr(profile, kFixedFieldSection, Numbered("Field", column), "0"));
    }
  }

  std::string column_header;
  for (const std::string& line : lines) {
    if (!column_header.empty()) column_header += "\r\n";
    column_header += line;
  }
  return column_header;
}

bool CKSIFileHandler::WriteTypeAndCount(const std::string& path, Layout layout, int32_t count) {
  return UpdateProfile(path, [&](ProfileFile& profile) {
    profile.Set(kTypeSection, "type", layout == Layout::kDelimited ? "CSV" : "FXD");
    profile.Set(kTypeSection, "NumberOfFields", std::to_string(count));
  });
}

bool CKSIFileHandler::WriteDelimiterSettings(const std::string& path, std::string_view delimiters,
                                             std::string_view qualifier, bool consecutive_as_one) {
  return UpdateProfile(path, [&](ProfileFile& profile) {
    profile.Set(kDelimiterSection, "delimiter length", std::to_string(delimiters.size()));
    profile.Set(kDelimiterSection, "delimiter", WritableValue(delimiters));
    profile.Set(kDelimiterSection, "text qualifier", WritableValue(qualifier));
    profile.Set(kDelimiterSection, kConsecutiveKey, consecutive_as_one ? "TRUE" : "FALSE");
  });
}

bool CKSIFileHandler::WriteColumnNames(const std::string& path,
                                       const std::vector<std::string>& names) {
  return UpdateProfile(path, [&](ProfileFile& profile) {
    for (size_t i = 0; i < names.size(); ++i) {
      profile.Set(kHeaderSection, Numbered("header", i + 1), WritableValue(names[i]));
    }
  });
}

bool CKSIFileHandler::WriteColumnWidths(const std::string& path,
                                        const std::vector<int32_t>& widths) {
  return UpdateProfile(path, [&](ProfileFile& profile) {
    for (size_t i = 0; i < widths.size(); ++i) {
      profile.Set(kFixedFieldSection, Numbered("field", i + 1), std::to_string(widths[i]));
    }
  });
}
