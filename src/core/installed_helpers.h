// Finds the outside programs that decide parts of the file-type list: the
// external text-filter program (which adds the "Use Filter" option) and the
// ODBC driver that reads FoxPro tables (which decides whether FoxPro is
// offered, and as which file type).
#pragma once

#include <filesystem>
#include <string_view>

#include "core/profile_file.h"

namespace ks::core {

enum class FoxProDriver {
  kNone,
  kVisualFoxPro,  // driver "Visual FoxPro": tables and databases, file type 1114
  kFoxPro,        // driver "Micosoft FoxPro": tables only, file type 1109
};

struct InstalledHelpers {
  bool filter_program = false;
  FoxProDriver foxpro_driver = FoxProDriver::kNone;
};

// Where the filter program records its installation folder in the
// configuration, and the program file looked for in that folder.
inline constexpr std::string_view kFilterProgramKey = "SOFTWARE\\Crystal Software\\TextPipe";
inline constexpr std::string_view kFilterProgramFolderValue = "Path";
inline constexpr std::string_view kFilterProgramFile = "TextPipe.exe";

// True when the configuration names the filter program's folder and the
// program file is there.
bool FilterProgramInstalled(const ProfileFile& configuration);

// The system's ODBC configuration folder: $ODBCSYSINI, else /etc.
std::filesystem::path OdbcConfigFolder();

// Looks for a FoxPro driver section in "odbc.ini" of the folder, or, only
// when that file does not exist, in "odbcinst.ini".  "Visual FoxPro" wins
// over the other name.  A file that cannot be read lists no driver.
FoxProDriver FindFoxProDriver(const std::filesystem::path& odbc_folder);

InstalledHelpers FindInstalledHelpers(const ProfileFile& configuration,
                                      const std::filesystem::path& odbc_folder);

}  // namespace ks::core
