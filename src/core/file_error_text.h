// The text of a failed file operation, by its cause.  Importers keep it as
// their last error text and the session adds it to the import log, so a host
// can tell the user which file failed and why.
#pragma once

#include <string>
#include <string_view>

// Causes of a failed file operation; the numbers are stable.
enum class FileErrorCause : int {
  kNone = 0,
  kGeneric = 1,
  kFileNotFound = 2,
  kBadPath = 3,
  kTooManyOpenFiles = 4,
  kAccessDenied = 5,
  kInvalidFile = 6,
  kRemoveCurrentDirectory = 7,
  kDirectoryFull = 8,
  kBadSeek = 9,
  kHardwareError = 10,
  kSharingViolation = 11,
  kLockViolation = 12,
  kDiskFull = 13,
  kEndOfFile = 14,
};

// The message text of `cause` with `file_name` put where the text names the
// file.  Causes outside 0..14 give an empty text.
std::string FileErrorText(int cause, std::string_view file_name);
std::string FileErrorText(FileErrorCause cause, std::string_view file_name);

// The cause that best describes a failed call's errno value.
FileErrorCause FileErrorCauseFromErrno(int error_number);
