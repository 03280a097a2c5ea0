// FieldLines: composing and parsing "name[ value ]" lines.
#include "engine/field_lines.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace ks::engine {

std::string ComposeFieldLines(const std::vector<FieldValue>& fields, char marker) {
  std::string text;
  for (const FieldValue& field : fields) {
    text += field.name;
    text += marker;
    text += ' ';
    text += field.value.value_or("");
    text += " ]\r\n";
  }
  return text;
}

ParsedFieldLines ParseFieldLines(std::string_view text, char marker) {
  ParsedFieldLines parsed;
  std::unordered_set<std::string_view> seen;
  size_t position = 0;
  while (position < text.size()) {
    size_t line_end = text.find('\n', position);
    if (line_end == std::string_view::npos) break;  // a field line always ends
    size_t content_end = line_end;
    if (content_end > position && text[content_end - 1] == '\r') --content_end;
    std::string_view line = text.substr(position, content_end - position);
    size_t mark = line.find(marker);
    if (mark == 0 || mark == std::string_view::npos) break;
    std::string_view name = line.substr(0, mark);
    std::string_view rest = line.substr(mark + 1);
    if (rest.size() < 3 || rest.front() != ' ' || rest.substr(rest.size() - 2) != " ]") break;
    if (!seen.insert(name).second) break;
    parsed.fields.push_back({std::string(name), std::string(rest.substr(1, rest.size() - 3))});
    position = line_end + 1;
    parsed.end = position;
  }
  return parsed;
}

std::vector<FieldValue> OrderForForm(std::vector<FieldValue> fields,
                                     const std::vector<std::string>& form_fields) {
  std::unordered_map<std::string_view, size_t> rank;
  for (size_t i = 0; i < form_fields.size(); ++i) rank.emplace(form_fields[i], i);
  auto rank_of = [&](const FieldValue& field) {
    auto found = rank.find(field.name);
    return found == rank.end() ? form_fields.size() : found->second;
  };
  std::stable_sort(fields.begin(), fields.end(), [&](const FieldValue& a, const FieldValue& b) {
    return rank_of(a) < rank_of(b);
  });
  return fields;
}

}  // namespace ks::engine
