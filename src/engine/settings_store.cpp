// SettingsStore: typed access to the settings table.
#include "engine/settings_store.h"

#include <type_traits>

#include "engine/sqlite_connection.h"

namespace ks::engine {
namespace {

constexpr const char* kSelect = "SELECT value FROM settings WHERE key = ?1";
constexpr const char* kUpsert =
    "INSERT INTO settings(key, value) VALUES(?1, ?2) "
    "ON CONFLICT(key) DO UPDATE SET value = excluded.value";

// The display settings' keys beside the members that hold them, so that
// seeding and reading walk the same list.
template <typename Visitor>
void VisitDisplay(DisplaySettings& s, Visitor&& visit) {
  visit("body_font", s.body_font);
  visit("body_font_size", s.body_font_size);
  visit("text_colour", s.text_colour);
  visit("background_colour", s.background_colour);
  visit("margin_left", s.margin_left);
  visit("margin_right", s.margin_right);
  visit("margin_top", s.margin_top);
  visit("margin_bottom", s.margin_bottom);
  visit("tab_width", s.tab_width);
  visit("space_before", s.space_before);
  visit("space_after", s.space_after);
  visit("line_spacing", s.line_spacing);
  visit("field_name_colour", s.field_name_colour);
  visit("field_value_colour", s.field_value_colour);
  visit("field_name_font", s.field_name_font);
  visit("field_name_font_size", s.field_name_font_size);
  visit("field_name_bold", s.field_name_bold);
  visit("paragraph_style", s.paragraph_style);
  visit("hyperlink_colour", s.hyperlink_colour);
  visit("code_page", s.code_page);
  visit("language", s.language);
  visit("page_width", s.page_width);
}

}  // namespace

std::optional<int64_t> SettingsStore::Int(const char* key) {
  auto query = connection_.Prepared(kSelect);
  query->BindText(1, key);
  if (!query->Step() || query->IsNull(0)) return std::nullopt;
  return query->Int(0);
}

std::optional<std::string> SettingsStore::Text(const char* key) {
  auto query = connection_.Prepared(kSelect);
  query->BindText(1, key);
  if (!query->Step() || query->IsNull(0)) return std::nullopt;
  return std::string(query->Bytes(0));
}

void SettingsStore::SetInt(const char* key, int64_t value) {
  auto update = connection_.Prepared(kUpsert);
  update->BindText(1, key).BindInt(2, value);
  update->Run();
}

void SettingsStore::SetText(const char* key, std::string_view value) {
  auto update = connection_.Prepared(kUpsert);
  update->BindText(1, key).BindText(2, value);
  update->Run();
}

void SettingsStore::Seed(std::string_view login_group, std::string_view password_hash) {
  SetInt(setting::kFieldMarker, '[');
  SetInt(setting::kIndexedThrough, 0);
  SetInt(setting::kDocumentCount, 0);
  DisplaySettings defaults;
  VisitDisplay(defaults, [this](const char* key, auto& value) {
    if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::string>) {
      SetText(key, value);
    } else {
      SetInt(key, static_cast<int64_t>(value));
    }
  });
  if (!login_group.empty()) {
    SetText(setting::kLoginGroup, login_group);
    SetText(setting::kPasswordHash, password_hash);
  }
}

DisplaySettings SettingsStore::Display() {
  DisplaySettings settings;
  VisitDisplay(settings, [this](const char* key, auto& value) {
    using Value = std::decay_t<decltype(value)>;
    if constexpr (std::is_same_v<Value, std::string>) {
      if (auto stored = Text(key)) value = *stored;
    } else {
      if (auto stored = Int(key)) value = static_cast<Value>(*stored);
    }
  });
  return settings;
}

}  // namespace ks::engine
