// FileProbe: tells from a file's first bytes whether it is one of our
// databases, without handing it to SQLite, so that a refused open neither
// recovers a journal nor touches the file in any other way.
#pragma once

#include <cstdint>
#include <string>

namespace ks::engine {

// Checks that `path` names a readable database of ours and returns its
// schema version (which may be newer than this engine's).  Throws
// EngineError: KSENG_ERR_NOT_FOUND, KSENG_ERR_ACCESS, KSENG_ERR_NOT_DATABASE
// (a directory, too short, or not SQLite) or KSENG_ERR_FOREIGN (SQLite, but
// another application's or in a journal mode we never use).
uint32_t ProbeDatabaseFile(const std::string& path);

}  // namespace ks::engine
