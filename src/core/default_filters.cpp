#include "core/default_filters.h"

#include <utility>

#include "core/option_mask.h"

namespace ks::core {

namespace {

struct DefaultFilterRow {
  std::string_view name;
  std::string_view description;
  std::string_view extensions;
  int32_t file_type;
  uint32_t option_mask;
  bool filter_program_applies;  // the external filter program can read this type
  bool needs_foxpro_driver;     // extensions and file type come from the driver
};

// The list in the order shown.  Texts are kept exactly as users have always
// seen them: misspellings, double blanks and trailing blanks included.
constexpr DefaultFilterRow kDefaultRows[] = {
    {"Text (*.txt)",
     "Standard ASCII text files that do not contain formatting or fielded information.", "txt",
     1000, 1151, true, false},
    {"Kestro DOS (*.txt) ", kKestroDosDescription, "txt", 1002, 123, false, false},
    {"Kestro 5 (*.kst)", "Kestro version 5.x file format", "kst", 1010, 114, false, false},
    {"Eudora Light, Pro (*.mbx)", "These are the mailbox messages from Eudora E-Mail software.",
     "mbx", 1005, 1915, true, false},
    {"Email - PocoMail, Netscape (*.mbx)",
     "These are the E-Mail messages in the standard MBX format. Software that uses this format "
     "include PocoMail, Netscape, etc.",
     "mbx", 1060, 1915, true, false},
    {"Text Delimited (*.csv, *.dat, *.prn *.txt)", kDelimitedTextDescription, "csv dat prn txt",
     1004, 251, true, false},
    {"HTML (*.htm, *.html)",
     "These are files in Hypertext Markup Language.  This format is commonly used in Web Pages.",
     "htm html", 108, 1151, true, false},
    {"Microsoft Word 95, 97, 2000, 2002 (*.doc)",
     "These are Word files. This includes Word for  Windows 95, Word 97, and Word 2000.  ", "doc",
     1056, 1151, false, false},
    {"Corel WordPerfect (*.wpd)", "These are Corel WordPerfect for Windows files.", "wpd", 1057,
     1151, false, false},
    {"Rich Text Format (*.rtf)",
     "Thses are Rich Text Formatted files.  This is a generic word processing format.  These "
     "files could contain formatted text, graphics, tables, etc.",
     "rtf", 19, 1151, true, false},
    {"Microsoft FoxPro, Visual FoxPro (*.dbf, *.dbc)",
     "This are Microsoft FoxPro and Visual FoxPro data base files.", "", 0, 123, false, true},
    {"Adobe Acrobat (*.pdf)", "These are Adobe Acrobat files.", "pdf", 1058, 1231, false, false},
    {"Outlook Express (*.dbx)", "These are Microsoft Outlook Express 5.x mailbox files.", "dbx",
     1059, 1915, false, false},
    {"Any File - Link or Attach Only (*.*)",
     "All other file types.  Allows importing of the file(s) as attachments or provide a "
     "hypertext link to the file(s)",
     "*", 1061, 1130, false, false},
};

ImportFilter MakeFilter(const DefaultFilterRow& row, bool filter_program) {
  uint32_t mask = row.option_mask;
  if (filter_program && row.filter_program_applies) {
    mask |= static_cast<uint32_t>(ImportOption::kUseFilter);
  }
  return {std::string(row.name),
          std::string(row.description),
          std::string(row.extensions),
          row.file_type,
          mask,
          kFilterStoredConstant};
}

}  // namespace

std::vector<ImportFilter> DefaultImportFilters(const InstalledHelpers& installed) {
  std::vector<ImportFilter> filters;
  for (const DefaultFilterRow& row : kDefaultRows) {
    if (!row.needs_foxpro_driver) {
      filters.push_back(MakeFilter(row, installed.filter_program));
      continue;
    }
    if (installed.foxpro_driver == FoxProDriver::kNone) continue;
    ImportFilter foxpro = MakeFilter(row, installed.filter_program);
    const bool visual = installed.foxpro_driver == FoxProDriver::kVisualFoxPro;
    foxpro.extensions = visual ? "dbf dbc" : "dbf";
    foxpro.file_type = visual ? 1114 : 1109;
    filters.push_back(std::move(foxpro));
  }
  return filters;
}

}  // namespace ks::core
