// EngineError: the one exception type of the engine's internals.  It carries
// the KSENG_ERR_* code that the C boundary hands to EngLastError, so a failure
// deep inside a store reaches the caller with the right number.
#pragma once

#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "ks_eng5.h"

namespace ks::engine {

class EngineError : public std::runtime_error {
 public:
  EngineError(uint32_t code, const std::string& what, int sqlite_code = 0)
      : std::runtime_error(what), code_(code), sqlite_code_(sqlite_code) {}

  uint32_t code() const { return code_; }
  int sqlite_code() const { return sqlite_code_; }

 private:
  uint32_t code_;    // a KSENG_ERR_* value, never KSENG_OK
  int sqlite_code_;  // the SQLite result behind it, 0 when SQLite was not involved
};

// Whether a failed write's errno says there is no room: the disk (or the
// user's quota) is full, or the file reached the size limit the process runs
// under.
inline bool IsFullErrno(int error) {
  return error == ENOSPC || error == EFBIG || error == EDQUOT;
}

// The engine's code for a failed file operation's errno: a missing file or
// folder, a refusal (a read-only file system included), a file that exists
// already, no room, memory, and everything else as an input/output failure.
inline uint32_t ErrnoCode(int error) {
  if (IsFullErrno(error)) return KSENG_ERR_FULL;
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return KSENG_ERR_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
      return KSENG_ERR_ACCESS;
    case EEXIST:
      return KSENG_ERR_EXISTS;
    case ENOMEM:
      return KSENG_ERR_MEMORY;
    default:
      return KSENG_ERR_IO;
  }
}

// Throws EngineError(code, what) unless `condition` holds.
inline void Require(bool condition, uint32_t code, const char* what) {
  if (!condition) throw EngineError(code, what);
}

}  // namespace ks::engine
