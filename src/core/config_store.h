// The per-user configuration that stands in for the system registry: one
// profile file whose sections are registry key paths
// ("SOFTWARE\Kestro\Windows\5.0\Kestro\Filters") and whose keys are value
// names.  It lives in $KESTRO_CONFIG_DIR, else $XDG_CONFIG_HOME/kestro, else
// ~/.config/kestro, as "kestro.conf".  Saving is atomic: a crash leaves the
// old file or the new one, never half of either.
#pragma once

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "core/profile_file.h"

namespace ks::core {

// The configuration file cannot be read or is damaged; it is left as it is.
struct ConfigError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class ConfigStore {
 public:
  static std::filesystem::path DefaultPath();

  // Reads the file; a missing file gives an empty store.  Throws ConfigError
  // when the file exists but cannot be read or does not parse.
  static ConfigStore Load(const std::filesystem::path& path = DefaultPath());

  const std::filesystem::path& path() const { return path_; }
  ProfileFile& values() { return values_; }
  const ProfileFile& values() const { return values_; }

  // Writes the store atomically (a temporary file of its own, flushed to
  // disk, renamed over the old one).  Throws ConfigError on failure, leaving
  // the previous file intact.
  void Save() const;

  // Reads the file, applies `change` and saves when the change altered
  // anything, all under an exclusive lock on the file: two processes (two
  // hosts, or a host and its library) updating at once both keep their
  // change.  Throws ConfigError as Load and Save do.
  static void Update(const std::function<void(ProfileFile&)>& change,
                     const std::filesystem::path& path = DefaultPath());

 private:
  std::filesystem::path path_;
  ProfileFile values_;
};

// The key of the import settings: the attachment folders ("AttachmentFolders",
// "|"-separated) and the attachment size limit ("AttachmentMaxBytes").
inline constexpr std::string_view kImportSettingsKey =
    "SOFTWARE\\Kestro\\Windows\\5.0\\Kestro\\Import";

// The key under which per-database settings live: the File Settings key
// followed by the database path with every backslash and slash replaced by
// "*" (a path such as /data/notes.kst gives "...File Settings\*data*notes.kst").
std::string FileSettingsKey(std::string_view database_path);

}  // namespace ks::core
