// What a host asks of import settings files without a wizard: check a column
// header string, save one as a ".ksi" settings file, and read a settings
// file back as the column header string the imports consume.
#pragma once

#include <cstdint>
#include <string>

namespace settings_file_requests {

// 0 when the column header string is valid, else its message number
// (13000-13012).
uint32_t CheckColumnHeader(const std::string& column_header);

// Saves a valid column header string as a settings file (replacing the
// file).  Returns 0 on success, the string's message number when it does
// not parse, or 11009 when the file cannot be written.
uint32_t WriteSettingsFile(const std::string& path, const std::string& column_header);

// The column header string a settings file yields (a missing or unreadable
// file yields the defaults).
std::string ReadSettingsFile(const std::string& path);

}  // namespace settings_file_requests
