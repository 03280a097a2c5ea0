#include "core/profile_file.h"

#include <algorithm>
#include <utility>

namespace ks::core {
namespace {

std::string_view Trim(std::string_view s) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return s;
}

char LowerAscii(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string LowerAscii(std::string_view s) {
  std::string lower(s);
  for (char& c : lower) c = LowerAscii(c);
  return lower;
}

}  // namespace

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return LowerAscii(x) == LowerAscii(y);
         });
}

std::optional<ProfileFile> ProfileFile::Parse(std::string_view text, Strictness strictness,
                                              ParseError* error) {
  ProfileFile file;
  Section* current = nullptr;
  int line_number = 0;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    std::string_view raw = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    ++line_number;
    const std::string_view line = Trim(raw);
    if (line.empty() || line.front() == ';' || line.front() == '#') continue;
    if (line.front() == '[' && line.back() == ']') {
      const std::string_view name = Trim(line.substr(1, line.size() - 2));
      current = file.FindSection(name);
      if (current == nullptr) {
        file.sections_.push_back({std::string(name), {}, {}});
        current = &file.sections_.back();
      }
      continue;
    }
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos || current == nullptr || equals == 0) {
      if (strictness == Strictness::kStrict) {
        if (error != nullptr) *error = {line_number, std::string(line)};
        return std::nullopt;
      }
      continue;
    }
    const std::string_view key = Trim(line.substr(0, equals));
    const std::string_view value = Trim(line.substr(equals + 1));
    // The first occurrence of a key wins, as profile readers do.
    if (current->Find(key) == nullptr) current->Append(key, value);
  }
  return file;
}

const ProfileFile::Entry* ProfileFile::Section::Find(std::string_view key) const {
  const auto it = index.find(LowerAscii(key));
  return it == index.end() ? nullptr : &entries[it->second];
}

ProfileFile::Entry* ProfileFile::Section::Find(std::string_view key) {
  return const_cast<Entry*>(std::as_const(*this).Find(key));
}

void ProfileFile::Section::Append(std::string_view key, std::string_view value) {
  index.emplace(LowerAscii(key), entries.size());
  entries.push_back({std::string(key), std::string(value)});
}

const ProfileFile::Section* ProfileFile::FindSection(std::string_view name) const {
  for (const auto& section : sections_) {
    if (EqualsIgnoreCase(section.name, name)) return &section;
  }
  return nullptr;
}

ProfileFile::Section* ProfileFile::FindSection(std::string_view name) {
  return const_cast<Section*>(std::as_const(*this).FindSection(name));
}

std::optional<std::string> ProfileFile::Get(std::string_view section, std::string_view key) const {
  const Section* s = FindSection(section);
  if (s == nullptr) return std::nullopt;
  const Entry* entry = s->Find(key);
  if (entry == nullptr) return std::nullopt;
  return entry->value;
}

std::string ProfileFile::GetOr(std::string_view section, std::string_view key,
                               std::string_view fallback) const {
  auto value = Get(section, key);
  return value ? *value : std::string(fallback);
}

void ProfileFile::Set(std::string_view section, std::string_view key, std::string_view value) {
  Section* s = FindSection(section);
  if (s == nullptr) {
    sections_.push_back({std::string(section), {}, {}});
    s = &sections_.back();
  }
  if (Entry* entry = s->Find(key)) {
    entry->value = value;
    return;
  }
  s->Append(key, value);
}

bool ProfileFile::Remove(std::string_view section, std::string_view key) {
  Section* s = FindSection(section);
  if (s == nullptr) return false;
  const auto it = std::find_if(s->entries.begin(), s->entries.end(),
                               [&](const Entry& e) { return EqualsIgnoreCase(e.key, key); });
  if (it == s->entries.end()) return false;
  s->entries.erase(it);
  s->index.clear();
  for (size_t i = 0; i < s->entries.size(); ++i) s->index.emplace(LowerAscii(s->entries[i].key), i);
  return true;
}

bool ProfileFile::HasSection(std::string_view section) const {
  return FindSection(section) != nullptr;
}

std::vector<std::string> ProfileFile::Keys(std::string_view section) const {
  std::vector<std::string> keys;
  if (const Section* s = FindSection(section)) {
    for (const auto& entry : s->entries) keys.push_back(entry.key);
  }
  return keys;
}

std::string ProfileFile::Serialize() const {
  std::string out;
  for (const auto& section : sections_) {
    if (!out.empty()) out += "\r\n";
    out += "[" + section.name + "]\r\n";
    for (const auto& entry : section.entries) out += entry.key + "=" + entry.value + "\r\n";
  }
  return out;
}

}  // namespace ks::core
