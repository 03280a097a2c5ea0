// CKSIFileHandler: reads and writes the ".ksi" import settings files that
// the delimited import wizard saves, and turns one into the column header
// string that the delimited and fixed-width imports consume.
//
// A settings file is a profile file:
//   [Type Section]         type=CSV|FXD, NumberOfFields=<n>
//   [Delimiter Section]    delimiter length, delimiter, text qualifier,
//                          consecutice delimiter=TRUE|FALSE
//   [Header Section]       header1=<name> ... header<n>=<name>
//   [Fixed Field Section]  field1=<width> ... field<n>=<width>
// "consecutice" is misspelt in every file ever saved, so it stays misspelt.
//
// Values are read as profile readers have always read them: trimmed of
// blanks, and with one pair of enclosing quotes (double or single) dropped.
// So that a value survives that (a tab or blank delimiter, a name in quotes),
// the writer encloses it in double quotes when it needs them; any profile
// reader gets the value back as it was.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ks_imp.h"

class CKSIFileHandler {
 public:
  // The file type an import of the settings' kind runs as.
  static constexpr int32_t kDelimitedKind = KSIMP_TYPE_DELIMITED;
  static constexpr int32_t kFixedWidthKind = KSIMP_TYPE_FIXED_WIDTH;
  // The name the wizard saves for a column the user left out; importers skip
  // columns of this name (without regard to case).
  static constexpr std::string_view kSkippedColumnName = "Skip";

  enum class Layout { kDelimited, kFixedWidth };

  // Reads the settings file at `path` and builds its column header string
  // (lines joined by CR LF); Kind() then tells which import it is for.  A
  // file that is missing or cannot be read gives the defaults: an empty type
  // and so a fixed-width string of no columns ("T=FXD", "N=0").
  std::string ReadColumnHeader(const std::string& path);
  // The same from the text of a settings file.
  std::string ColumnHeaderFromText(std::string_view text);
  int32_t Kind() const { return kind_; }

  // Each write changes only its own keys of the file at `path` (creating the
  // file when missing) and returns false when the file cannot be written.
  bool WriteTypeAndCount(const std::string& path, Layout layout, int32_t count);
  // `qualifier` is the qualifier character, or empty for none.
  bool WriteDelimiterSettings(const std::string& path, std::string_view delimiters,
                              std::string_view qualifier, bool consecutive_as_one);
  // header1..header<n>; a line break in a name is saved as a blank, since a
  // profile line cannot hold one.
  bool WriteColumnNames(const std::string& path, const std::vector<std::string>& names);
  // field1..field<n>.
  bool WriteColumnWidths(const std::string& path, const std::vector<int32_t>& widths);

 private:
  int32_t kind_ = kFixedWidthKind;
};
