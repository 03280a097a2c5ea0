// The library's temporary import folder, where sources written only to be
// imported (saved attachments, extracted files) live.  A queued file may ask
// to be deleted after its import; only files in this folder ever are.
#pragma once

#include <string>
#include <string_view>

// $TMPDIR (else /tmp) without trailing slashes, followed by "/KSTmpImp/".
std::string TempImportFolder();

// Whether `path` contains the temporary import folder.
bool IsInTempImportFolder(std::string_view path);
