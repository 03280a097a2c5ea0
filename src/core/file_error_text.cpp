#include "core/file_error_text.h"

#include <cerrno>
#include <cstdint>
#include <iterator>

#include "core/error_codes.h"
#include "core/message_texts.h"

namespace {

// Message code of each cause, in cause order.
constexpr uint32_t kCauseCodes[] = {
    error_code::kNoError,          error_code::kUnspecified,
    error_code::kFileNotFound,     error_code::kBadPath,
    error_code::kTooManyOpenFiles, error_code::kAccessDenied,
    error_code::kInvalidFile,      error_code::kRemoveCurrentDirectory,
    error_code::kDirectoryFull,    error_code::kBadSeek,
    error_code::kHardwareError,    error_code::kSharingViolation,
    error_code::kLockViolation,    error_code::kDiskFull,
    error_code::kEndOfFile,
};
constexpr int kCauseCount = static_cast<int>(std::size(kCauseCodes));

// Replaces the first "%s" of `text` with `file_name`; a text without one is
// returned as it is.
std::string InsertFileName(std::string_view text, std::string_view file_name) {
  std::string result(text);
  if (auto at = result.find("%s"); at != std::string::npos) result.replace(at, 2, file_name);
  return result;
}

}  // namespace

std::string FileErrorText(int cause, std::string_view file_name) {
  if (cause < 0 || cause >= kCauseCount) return {};
  return InsertFileName(MessageText(kCauseCodes[cause]), file_name);
}

std::string FileErrorText(FileErrorCause cause, std::string_view file_name) {
  return FileErrorText(static_cast<int>(cause), file_name);
}

FileErrorCause FileErrorCauseFromErrno(int error_number) {
  switch (error_number) {
    case 0:
      return FileErrorCause::kNone;
    case ENOENT:
      return FileErrorCause::kFileNotFound;
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
      return FileErrorCause::kBadPath;
    case EMFILE:
    case ENFILE:
      return FileErrorCause::kTooManyOpenFiles;
    case EACCES:
    case EPERM:
    case EROFS:
      return FileErrorCause::kAccessDenied;
    case EISDIR:
    case EBADF:
      return FileErrorCause::kInvalidFile;
    case EBUSY:
      return FileErrorCause::kRemoveCurrentDirectory;
    case ESPIPE:
      return FileErrorCause::kBadSeek;
    case EIO:
      return FileErrorCause::kHardwareError;
    case ETXTBSY:
      return FileErrorCause::kSharingViolation;
    case ENOLCK:
    case EDEADLK:
      return FileErrorCause::kLockViolation;
    case ENOSPC:
    case EDQUOT:
      return FileErrorCause::kDiskFull;
    default:
      return FileErrorCause::kGeneric;
  }
}
