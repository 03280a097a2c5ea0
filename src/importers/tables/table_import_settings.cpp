#include "importers/tables/table_import_settings.h"

namespace ks::tables {
namespace {

std::vector<std::string_view> Split(std::string_view text, std::string_view separator) {
  std::vector<std::string_view> parts;
  size_t at = 0;
  while (true) {
    const size_t end = text.find(separator, at);
    parts.push_back(text.substr(at, end == std::string_view::npos ? std::string_view::npos : end - at));
    if (end == std::string_view::npos) return parts;
    at = end + separator.size();
  }
}

}  // namespace

bool ParseTableImportSettings(std::string_view text, TableImportSettings& settings) {
  settings = {};
  const std::vector<std::string_view> elements = Split(text, std::string_view(&kSettingsSeparator, 1));
  if (elements[0].empty()) return false;
  settings.connection = elements[0];
  if (elements.size() > 1) settings.source_path = elements[1];
  if (elements.size() > 2) {
    for (std::string_view token : Split(elements[2], ";")) {
      // The dialogs always end the list with the end word; a list without
      // one, or an empty name between two separators, names no table.
      if (token == kEndOfTables || token.empty()) continue;
      settings.tables.emplace_back(token);
    }
  }
  if (settings.tables.size() == 1) settings.single_table = settings.tables[0];
  if (elements.size() > 3 && !elements[3].empty()) {
    std::string_view names = elements[3];
    if (names.ends_with("\r\n")) names.remove_suffix(2);
    for (std::string_view name : Split(names, "\r\n")) settings.field_names.emplace_back(name);
  }
  return true;
}

std::string TableImportSettingsString(const TableImportSettings& settings) {
  std::string text = settings.connection;
  text += kSettingsSeparator;
  text += settings.source_path;
  text += kSettingsSeparator;
  for (const std::string& table : settings.tables) {
    text += table;
    text += ';';
  }
  text += kEndOfTables;
  text += kSettingsSeparator;
  for (const std::string& name : settings.field_names) {
    text += name;
    text += "\r\n";
  }
  return text;
}

}  // namespace ks::tables
