// The import command's options as the host parses them from its command
// line, turned into the arguments of KSIMP_AddFileToImport.
#pragma once

#include <cstdint>
#include <string>

namespace ksimp {

struct ImportRequest {
  int32_t file_type = 0;  // 0: chosen by each file's extension
  int32_t location = 1;
  std::string named_document;
  int32_t delimiter_flags = 0;
  int32_t delimiter_lines = 0;
  std::string delimiter_string;
  int32_t origin_ansi = 1;
};

// File type of a number or short name ("text", "html", "rtf"); throws
// HostError (usage) for a name it does not know.
int32_t ParseFileType(const std::string& text);
// The type a file's extension suggests (text when nothing else fits).
int32_t FileTypeForPath(const std::string& path);
// "none", "pagebreak", "blankline", "lines:N" or "string:S".
void ParseDelimiter(const std::string& text, ImportRequest& request);
// "end", "top", "after-current", "end-current" or "after:NAME".
void ParseLocation(const std::string& text, ImportRequest& request);
// "ansi" or "oem".
void ParseOrigin(const std::string& text, ImportRequest& request);

}  // namespace ksimp
