#include "core/installed_helpers.h"

#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

namespace ks::core {
namespace fs = std::filesystem;
namespace {

// The driver names as the ODBC configuration spells them; the second one
// is misspelt in the installations that carry it, so it is matched as is.
constexpr std::string_view kVisualFoxProDriver = "Visual FoxPro";
constexpr std::string_view kFoxProDriver = "Micosoft FoxPro";

std::optional<ProfileFile> ReadProfile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  std::stringstream text;
  text << in.rdbuf();
  // ODBC files are edited by hand and by installers; odd lines are skipped.
  return ProfileFile::Parse(text.str(), ProfileFile::Strictness::kLenient);
}

}  // namespace

bool FilterProgramInstalled(const ProfileFile& configuration) {
  const auto folder = configuration.Get(kFilterProgramKey, kFilterProgramFolderValue);
  if (!folder || folder->empty()) return false;
  std::error_code ec;
  return fs::is_regular_file(fs::path(*folder) / kFilterProgramFile, ec);
}

fs::path OdbcConfigFolder() {
  const char* folder = std::getenv("ODBCSYSINI");
  return (folder != nullptr && *folder != '\0') ? fs::path(folder) : fs::path("/etc");
}

FoxProDriver FindFoxProDriver(const fs::path& odbc_folder) {
  std::error_code ec;
  fs::path file = odbc_folder / "odbc.ini";
  if (!fs::exists(file, ec)) file = odbc_folder / "odbcinst.ini";
  const std::optional<ProfileFile> drivers = ReadProfile(file);
  if (!drivers) return FoxProDriver::kNone;
  if (drivers->HasSection(kVisualFoxProDriver)) return FoxProDriver::kVisualFoxPro;
  if (drivers->HasSection(kFoxProDriver)) return FoxProDriver::kFoxPro;
  return FoxProDriver::kNone;
}

InstalledHelpers FindInstalledHelpers(const ProfileFile& configuration,
                                      const fs::path& odbc_folder) {
  return {FilterProgramInstalled(configuration), FindFoxProDriver(odbc_folder)};
}

}  // namespace ks::core
