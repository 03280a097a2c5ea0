#include "api/settings_file_requests.h"

#include <unistd.h>

#include "core/error_codes.h"
#include "importers/text/field_header.h"
#include "importers/text/ksi_file_handler.h"

namespace settings_file_requests {

uint32_t CheckColumnHeader(const std::string& column_header) {
  CKSFieldHeader header;
  header.Parse(column_header);
  return header.ErrorCode();
}

uint32_t WriteSettingsFile(const std::string& path, const std::string& column_header) {
  CKSFieldHeader header;
  if (!header.Parse(column_header)) return header.ErrorCode();
  // Each write below changes only its own keys, so a file written afresh
  // holds no keys of an older layout.
  ::unlink(path.c_str());
  CKSIFileHandler file;
  const bool delimited = header.IsDelimited();
  bool written = file.WriteTypeAndCount(
      path, delimited ? CKSIFileHandler::Layout::kDelimited : CKSIFileHandler::Layout::kFixedWidth,
      header.FieldCount());
  if (delimited) {
    written = written && file.WriteDelimiterSettings(path, header.Delimiters(), header.Qualifier(),
                                                     header.ConsecutiveAsOne() != 0);
  } else {
    written = written && file.WriteColumnWidths(path, header.Widths());
  }
  written = written && file.WriteColumnNames(path, header.Names());
  return written ? 0 : error_code::kAccessDenied;
}

std::string ReadSettingsFile(const std::string& path) {
  CKSIFileHandler file;
  return file.ReadColumnHeader(path);
}

}  // namespace settings_file_requests
