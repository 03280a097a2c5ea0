// ConnectionString: the KEY=VALUE pairs of an ODBC-style connection string
// ("driver={Microsoft Access Driver (*.mdb)};dbq=/data/db.mdb").  Keys are
// matched without regard to case; a value in braces may hold ";" and "=",
// and "}}" inside braces stands for "}".  An element without "=" (the
// leading "ODBC" of a FoxPro string) is kept as a key with no value.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ks::tables {

class ConnectionString {
 public:
  ConnectionString() = default;
  explicit ConnectionString(std::string_view text);

  // The value of `key`, braces removed; nullopt when the string lacks it.
  std::optional<std::string> Get(std::string_view key) const;
  std::string GetOr(std::string_view key, std::string_view fallback) const;

  // The pairs, in order, keys as written.
  const std::vector<std::pair<std::string, std::string>>& pairs() const { return pairs_; }
  const std::string& text() const { return text_; }
  // The string for a message or the log: a password (PWD, PASSWORD) is
  // shown as "***".
  std::string Displayed() const;

  // `value` as it may stand after "KEY=": in braces when it holds a
  // character that would end or split it.
  static std::string Quote(std::string_view value);

 private:
  std::string text_;
  std::vector<std::pair<std::string, std::string>> pairs_;
};

}  // namespace ks::tables
