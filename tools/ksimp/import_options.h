// The import command's options as the host parses them from its command
// line, turned into the arguments of KSIMP_AddFileToImport.
#pragma once

#include <cstdint>
#include <string>

#include "ks_imp.h"

namespace ksimp {

struct ImportRequest {
  int32_t file_type = 0;  // 0: chosen by each file's extension
  int32_t location = KSIMP_LOC_END;
  std::string named_document;
  int32_t delimiter_flags = 0;
  int32_t delimiter_lines = 0;
  std::string delimiter_string;
  int32_t origin_ansi = 1;
  std::string form;
  bool auto_fields = false;
  std::string date_from, date_to;
  std::string message_date_from, message_date_to;
  int32_t sort_descending = 0;
  bool stored_settings = false;
  bool full_header = false;
  bool save_attachments = false;
  bool import_attachments = false;  // mail: attachments' text into the message's document
  std::string filter;
  bool delete_after = false;
  std::string folder;  // Outlook files: the one folder to import; empty: every folder
};

// File type of a number or short name ("text", "csv", ...); throws
// HostError (usage) for a name it does not know.
int32_t ParseFileType(const std::string& text);
// The short names, for help texts.
std::string FileTypeNames();
// The short name of a type, "" when it has none.
std::string FileTypeShortName(int32_t type);
// A Maildir for a folder holding cur/ or new/; for a file, the type of its
// extension: a few the offered list leaves out (".eml", ".mbox", ".pst",
// ".docx", ".wri", ".wp"...), else the first offered type whose extensions
// hold it.  0 when the extension names no type.
int32_t FileTypeForPath(const std::string& path);
// "FROM..TO" into its two dates (either may be empty).
void ParseDateRange(const std::string& text, std::string& from, std::string& to);
// "asc" or "desc".
void ParseSortOrder(const std::string& text, ImportRequest& request);
// "none", "pagebreak", "blankline", "lines:N" or "string:S".
void ParseDelimiter(const std::string& text, ImportRequest& request);
// "end", "top", "after-current", "end-current" or "after:NAME".
void ParseLocation(const std::string& text, ImportRequest& request);
// "ansi" or "oem".
void ParseOrigin(const std::string& text, ImportRequest& request);

}  // namespace ksimp
