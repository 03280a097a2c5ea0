#include "importers/mail/email_profile_list.h"

#include <algorithm>

namespace {

constexpr std::string_view kProfileExtension = ".emw";

// Only a file of the profile folder itself: never a path that leads out of
// it, whatever a damaged or hostile list says.
bool IsProfileFileName(std::string_view file) {
  return file.size() > kProfileExtension.size() && file.ends_with(kProfileExtension) &&
         file.find('/') == std::string_view::npos && file.find('\0') == std::string_view::npos;
}

}  // namespace

CProfileList CProfileList::Parse(std::string_view text) {
  CProfileList list;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    while (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty()) continue;
    Entry entry;
    const size_t tab = line.find('\t');
    entry.name = line.substr(0, tab);
    entry.file = tab == std::string_view::npos ? entry.name + std::string(kProfileExtension)
                                               : std::string(line.substr(tab + 1));
    if (entry.name.empty() || !IsProfileFileName(entry.file)) continue;
    list.Add(std::move(entry));
  }
  return list;
}

std::string CProfileList::Serialize() const {
  std::string text;
  for (const Entry& entry : entries_) {
    text += entry.name;
    text += '\t';
    text += entry.file;
    text += '\n';
  }
  return text;
}

const CProfileList::Entry* CProfileList::Find(std::string_view name) const {
  const auto it = std::find_if(entries_.begin(), entries_.end(),
                               [name](const Entry& e) { return e.name == name; });
  return it == entries_.end() ? nullptr : &*it;
}

bool CProfileList::UsesFile(std::string_view file) const {
  return std::any_of(entries_.begin(), entries_.end(),
                     [file](const Entry& e) { return e.file == file; });
}

bool CProfileList::Add(Entry entry) {
  if (Find(entry.name) != nullptr) return false;
  entries_.push_back(std::move(entry));
  return true;
}

bool CProfileList::Remove(std::string_view name) {
  const auto it = std::find_if(entries_.begin(), entries_.end(),
                               [name](const Entry& e) { return e.name == name; });
  if (it == entries_.end()) return false;
  entries_.erase(it);
  return true;
}
