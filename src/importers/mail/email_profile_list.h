// CProfileList: "Profiles.inf", the user's e-mail profiles in the user's
// order.  One profile a line: its name, a tab and the name of its ".emw"
// file in the same folder.  A line holding a name alone stands for
// "<name>.emw", so a list written by hand reads too.
#pragma once

#include <string>
#include <string_view>
#include <vector>

class CProfileList {
 public:
  struct Entry {
    std::string name;  // the profile's name, as the user gave it
    std::string file;  // its ".emw" file, a name without folders

    bool operator==(const Entry&) const = default;
  };

  static constexpr std::string_view kFileName = "Profiles.inf";

  // Reads the list's text.  Empty lines, second entries of a name, and
  // lines whose file is not a plain ".emw" name in the folder are left out.
  static CProfileList Parse(std::string_view text);
  std::string Serialize() const;

  const std::vector<Entry>& entries() const { return entries_; }
  const Entry* Find(std::string_view name) const;
  bool UsesFile(std::string_view file) const;
  // Appends a profile; false when the list already holds its name.
  bool Add(Entry entry);
  // Takes a profile off the list; false when it was not there.
  bool Remove(std::string_view name);

 private:
  std::vector<Entry> entries_;
};
