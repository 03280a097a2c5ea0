#include "api/file_names.h"

std::vector<std::string> SplitFileNames(std::string_view joined) {
  std::vector<std::string> names;
  size_t start = 0;
  while (true) {
    const size_t bar = joined.find('|', start);
    const std::string_view name =
        joined.substr(start, bar == std::string_view::npos ? std::string_view::npos : bar - start);
    names.emplace_back(name);
    if (bar == std::string_view::npos) break;
    start = joined.find_first_not_of(" \t", bar + 1);
    if (start == std::string_view::npos) start = joined.size();
  }
  return names;
}
