// SettingsStore: the key/value settings table of a database: field marker,
// protection (login group and password hash), display settings and the
// full-text index's watermark.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "engine/database.h"

namespace ks::engine {

class Connection;

// Keys of the settings table.
namespace setting {
inline constexpr const char* kFieldMarker = "field_marker";
inline constexpr const char* kLoginGroup = "login_group";
inline constexpr const char* kPasswordHash = "password_hash";
inline constexpr const char* kIndexedThrough = "fts_indexed_through";  // order key
inline constexpr const char* kDocumentCount = "document_count";
}  // namespace setting

class SettingsStore {
 public:
  explicit SettingsStore(Connection& connection) : connection_(connection) {}

  std::optional<int64_t> Int(const char* key);
  std::optional<std::string> Text(const char* key);
  void SetInt(const char* key, int64_t value);
  void SetText(const char* key, std::string_view value);

  // Writes the settings of a new database: defaults, and the protection when
  // login_group is not empty.
  void Seed(std::string_view login_group, std::string_view password_hash);
  // Display settings, with the defaults of DisplaySettings where a key is
  // missing.
  DisplaySettings Display();

 private:
  Connection& connection_;
};

}  // namespace ks::engine
