// Why another Kestro database is not imported, in the words a user reads in
// the import log, and the error code the host reads: chosen from the
// engine's error when the source would not open.
//
//  - not a database, or another program's database: 130, "File: "%1" is not
//    an Kestro 5 file, and will not be imported.";
//  - protected, and no right login group and password were given:
//    11026 (the code a host tests for a protected source), logged as 131
//    with what was wrong;
//  - anything else (missing, unreadable, a newer version, busy, ...): 131,
//    "Error: %1 in file %2, this file will not be imported.", %1 the cause
//    in words.
// An older file that would need converting first (14039, 14040, 14042) is
// never met: every file this engine reads is of its own version or newer.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ks::kestro {

struct KestroFileRefusal {
  uint32_t error_code = 0;  // recorded against the import
  std::string log_line;     // the message with the file put in
};

// `engine_error` is the engine's error of the open that failed;
// `credentials_rejected` says that the login group or password given was
// wrong (rather than none given).
KestroFileRefusal RefusalOfSource(std::string_view path, uint32_t engine_error,
                                  bool credentials_rejected);

// Message 131 for `path` with `cause` for %1.
std::string KestroFileErrorText(std::string_view path, std::string_view cause);

// The cause of an engine error in words, for message 131.
std::string EngineErrorWords(uint32_t engine_error);

}  // namespace ks::kestro
