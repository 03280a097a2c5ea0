// The library's temporary import folder, where sources written only to be
// imported (saved attachments, extracted files) live.  A queued file may ask
// to be deleted after its import; only regular files really inside this
// folder ever are.
#pragma once

#include <string>

// $TMPDIR (else /tmp) without trailing slashes, followed by "/KSTmpImp/".
std::string TempImportFolder();

// Why a file may or may not be deleted after its import.
enum class TempFileVerdict {
  kDeletable,  // a regular file whose real path lies inside the real folder
  kOutside,    // its real path (after "..", symbolic links) lies elsewhere
  kLink,       // the name itself is a symbolic link
  kNotAFile,   // missing, or not a regular file
};

// Decides on the resolved real paths of `path` and of the folder, so that
// neither "..", a linked folder inside the folder nor a path that merely
// contains the folder's name reaches a file elsewhere.
TempFileVerdict CheckTempImportFile(const std::string& path);

// Deletes `path` when CheckTempImportFile allows it; otherwise returns the
// log line that says why it was kept ("" when it was deleted).
std::string DeleteTempImportFile(const std::string& path);
