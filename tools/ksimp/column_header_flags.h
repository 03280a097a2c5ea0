// The host's ways of describing the columns of a delimited or fixed-width
// import: a settings file, a column header string, or flags that build one.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

namespace ksimp {

struct ColumnHeaderFlags {
  std::string settings;  // --settings FILE.ksi
  std::string columns;   // --columns STRING
  std::string names;     // --names a,b,c
  std::string delimiters;
  std::string qualifier = "\"";
  bool consecutive = false;
  std::optional<int> first_row;  // --first-row N
  std::string widths;            // --widths 10,5,8
  bool header_row = false;       // --header: each file's first row names its columns

  // Adds the flags to a command; `for_import` adds --settings and --header,
  // which describe the columns of the files imported.
  void AddTo(CLI::App& command, bool for_import);
  // True when any flag describes columns.
  bool Given() const;
  // The column header string the flags describe ("" when none), with CR LF
  // between its lines.  A settings file is read through the library; a first
  // row given as a flag outweighs the one a string or file holds.
  std::string ColumnHeader() const;
  // The column header string of a delimited `file` whose first row names its
  // columns (read through the library with the delimiter flags); throws
  // HostError when the file gives none.
  std::string ColumnHeaderFromFirstRow(const std::string& file, bool origin_ansi) const;

 private:
  // `header` with the first row flag in front of it, when one was given.
  std::string WithFirstRow(std::string header) const;
  // The qualifier flag as it stands in a column header string.
  std::string QualifierText() const;
  // The string the settings file, the typed string or the flags give.
  std::string DescribedColumnHeader() const;
};

// A column header string typed on a command line: "\n" (two characters) or
// any line break between lines becomes CR LF.
std::string NormalizeColumnHeader(const std::string& typed);

// Checks a column header string through the library; throws HostError with
// the message number and text when it does not parse.
void RequireValidColumnHeader(const std::string& column_header);

}  // namespace ksimp
