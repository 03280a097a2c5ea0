// A profile file: "[section]" headers followed by "key=value" lines, the
// format of the import settings files and of the per-user configuration.
// Sections and keys are matched without regard to ASCII case; their order
// and spelling are kept as first written.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ks::core {

class ProfileFile {
 public:
  // How to treat a line that is neither a header, a "key=value" line, a
  // comment (";" or "#") nor blank.
  enum class Strictness {
    kLenient,  // skip it, as profile readers traditionally do
    kStrict,   // refuse the whole file
  };

  struct ParseError {
    int line = 0;
    std::string text;
  };

  // Parses text; on a strict refusal returns nothing and fills *error.
  static std::optional<ProfileFile> Parse(std::string_view text, Strictness strictness,
                                          ParseError* error = nullptr);

  std::optional<std::string> Get(std::string_view section, std::string_view key) const;
  std::string GetOr(std::string_view section, std::string_view key,
                    std::string_view fallback) const;
  // Sets a value, creating the section and key when missing.
  void Set(std::string_view section, std::string_view key, std::string_view value);
  // Removes a key; true when it was there.
  bool Remove(std::string_view section, std::string_view key);
  bool HasSection(std::string_view section) const;
  std::vector<std::string> Keys(std::string_view section) const;

  // The file's text, CR LF after every line.
  std::string Serialize() const;

 private:
  struct Entry {
    std::string key;
    std::string value;
  };
  struct Section {
    std::string name;
    std::vector<Entry> entries;
    // Lower-cased key -> its place in entries, so that files of many
    // thousand keys (one per column of a wide layout) read in linear time.
    std::unordered_map<std::string, size_t> index;

    const Entry* Find(std::string_view key) const;
    Entry* Find(std::string_view key);
    void Append(std::string_view key, std::string_view value);
  };
  const Section* FindSection(std::string_view name) const;
  Section* FindSection(std::string_view name);

  std::vector<Section> sections_;
};

bool EqualsIgnoreCase(std::string_view a, std::string_view b);

}  // namespace ks::core
