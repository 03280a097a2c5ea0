#include "api/attachment_file_name.h"

#include <cctype>

namespace {

constexpr size_t kMaxNameBytes = 200;  // well inside every file system's limit
constexpr std::string_view kReserved = ":*?\"<>|";
constexpr std::string_view kNameless = "attachment";

bool Trimmed(char c) {
  return c == '.' || c == ' ' || c == '\t';
}

}  // namespace

std::string SafeAttachmentFileName(std::string_view name) {
  const size_t slash = name.find_last_of("/\\");
  if (slash != std::string_view::npos) name.remove_prefix(slash + 1);

  std::string safe;
  safe.reserve(name.size());
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    const bool control = byte < 0x20 || byte == 0x7F;
    safe += control || kReserved.find(c) != std::string_view::npos ? '_' : c;
  }
  size_t first = 0;
  while (first < safe.size() && Trimmed(safe[first])) ++first;
  safe.erase(0, first);
  while (!safe.empty() && Trimmed(safe.back())) safe.pop_back();
  if (safe.empty()) return std::string(kNameless);

  if (safe.size() > kMaxNameBytes) {
    // Cut the stem, not the extension: the extension chooses the importer.
    const size_t dot = safe.find_last_of('.');
    const size_t extension = dot == std::string::npos ? 0 : safe.size() - dot;
    if (extension >= kMaxNameBytes / 2) {
      safe.resize(kMaxNameBytes);
    } else {
      safe.erase(kMaxNameBytes - extension, safe.size() - kMaxNameBytes);
    }
    // A cut without an extension to keep may leave a dot or blank at the end.
    while (Trimmed(safe.back())) safe.pop_back();
  }
  return safe;
}

std::string AttachmentExtension(std::string_view safe_name) {
  const size_t dot = safe_name.find_last_of('.');
  if (dot == std::string_view::npos) return {};
  std::string extension(safe_name.substr(dot + 1));
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return extension;
}
