#include "importers/tables/connection_string.h"

#include <algorithm>
#include <cctype>

namespace ks::tables {
namespace {

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
  return text;
}

bool SameKey(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

}  // namespace

ConnectionString::ConnectionString(std::string_view text) : text_(text) {
  size_t at = 0;
  while (at < text.size()) {
    const size_t element_end = [&] {
      // The element runs to the next ";" outside braces.
      size_t i = text.find_first_of("=;", at);
      if (i == std::string_view::npos || text[i] == ';') return i;
      ++i;
      while (i < text.size() && text[i] == ' ') ++i;
      if (i < text.size() && text[i] == '{') {
        ++i;
        while (i < text.size()) {
          if (text[i] == '}') {
            if (i + 1 < text.size() && text[i + 1] == '}') {
              i += 2;
              continue;
            }
            break;
          }
          ++i;
        }
      }
      return text.find(';', i);
    }();
    const std::string_view element =
        text.substr(at, element_end == std::string_view::npos ? std::string_view::npos : element_end - at);
    at = element_end == std::string_view::npos ? text.size() : element_end + 1;
    const size_t equals = element.find('=');
    const std::string_view key = Trimmed(element.substr(0, equals));
    if (key.empty()) continue;
    std::string value;
    if (equals != std::string_view::npos) {
      std::string_view raw = Trimmed(element.substr(equals + 1));
      if (raw.size() >= 2 && raw.front() == '{' && raw.back() == '}') {
        raw = raw.substr(1, raw.size() - 2);
        for (size_t i = 0; i < raw.size(); ++i) {
          value += raw[i];
          if (raw[i] == '}' && i + 1 < raw.size() && raw[i + 1] == '}') ++i;
        }
      } else {
        value = raw;
      }
    }
    pairs_.emplace_back(std::string(key), std::move(value));
  }
}

std::optional<std::string> ConnectionString::Get(std::string_view key) const {
  for (const auto& [name, value] : pairs_) {
    if (SameKey(name, key)) return value;
  }
  return std::nullopt;
}

std::string ConnectionString::GetOr(std::string_view key, std::string_view fallback) const {
  std::optional<std::string> value = Get(key);
  return value ? *value : std::string(fallback);
}

std::string ConnectionString::Displayed() const {
  std::string text;
  for (const auto& [key, value] : pairs_) {
    if (!text.empty()) text += ';';
    text += key;
    if (value.empty()) continue;  // a bare element ("ODBC;")
    const bool secret = SameKey(key, "PWD") || SameKey(key, "PASSWORD");
    text += '=';
    text += secret ? "***" : Quote(value);
  }
  return text;
}

std::string ConnectionString::Quote(std::string_view value) {
  if (value.find_first_of(";{}= ") == std::string_view::npos) return std::string(value);
  std::string quoted = "{";
  for (char c : value) {
    quoted += c;
    if (c == '}') quoted += '}';
  }
  quoted += '}';
  return quoted;
}

}  // namespace ks::tables
