// Whether another program holds a file open in a way that keeps others out.
//
// Windows answers this with share modes: an open for exclusive reading
// fails while anyone else has the file open.  Linux has no share modes, so
// the closest real mechanism stands in for them: the locks programs take to
// keep a file to themselves.  A word processor, a database engine or a mail
// program that guards a file holds a flock() lock or a POSIX / open file
// description record lock on it; the probe asks for both kinds, whole-file
// and exclusive, without waiting and without keeping them:
//  - flock(LOCK_EX | LOCK_NB), released at once when granted;
//  - fcntl(F_OFD_GETLK) for a write lock over the whole file, which reports
//    any record lock another open file description holds (a process's own
//    POSIX locks included, as they belong to another description).
// A program that opens a file without locking it is not seen; nor does the
// probe ever stop another program from opening the file.
#pragma once

#include <string>

namespace ks::core {

enum class FileSharing {
  kFree,            // the file opens for reading and nobody holds a lock on it
  kHeldByAnother,   // it opens, but another program holds a lock on it
  kCannotOpen,      // it does not open for reading (missing, no permission)
};

// Probes `path` as described above.  Never blocks: a FIFO or device is
// opened without waiting for a writer.
FileSharing ProbeExclusiveReading(const std::string& path);

}  // namespace ks::core
