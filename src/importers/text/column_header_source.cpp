#include "importers/text/column_header_source.h"

#include <filesystem>

#include "core/source_file.h"
#include "importers/text/ksi_file_handler.h"

namespace ks::text {

std::string SettingsPathBeside(const std::string& source_path) {
  std::filesystem::path path(source_path);
  path.replace_extension(".ksi");
  return path.string();
}

StoredColumnHeader FindStoredColumnHeader(const SETDATA& options) {
  StoredColumnHeader found;
  if (options.use_stored_settings == 0) return found;

  const std::string& given = options.date_from;
  if (given.find_first_of("\r\n") != std::string::npos) {
    found.text = given;
    return found;
  }
  const std::string path = given.empty() ? SettingsPathBeside(options.file_name) : given;
  // The settings reader gives its defaults for a file it cannot read, which
  // would then fail as a string of no columns; the user is better told that
  // the file itself is missing, in the words every file failure uses.
  SourceFile probe;
  if (!probe.Open(path)) {
    found.problem = probe.ErrorText();
    return found;
  }
  probe.Close();
  CKSIFileHandler settings;
  found.text = settings.ReadColumnHeader(path);
  found.settings_path = path;
  return found;
}

}  // namespace ks::text
