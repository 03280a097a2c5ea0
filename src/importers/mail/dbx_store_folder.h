// The folder files of an Outlook Express store folder (the folder where the
// program keeps a user's ".dbx" files), and what kind of file each one is,
// for the import of a whole store and for the profiles that name one.
#pragma once

#include <string>
#include <vector>

#include "importers/mail/dbx_file_header.h"

// The ".dbx" files of `folder` (not of its subfolders), sorted by name;
// nothing when it cannot be listed.  Links are not followed into
// directories, but a link to a file is listed as the file it names.
std::vector<std::string> DbxFilesIn(const std::string& folder);

// The kind of the file at `path`, read from its first bytes; kNotDbx when
// it cannot be read.
DbxFileKind DbxKindOfFile(const std::string& path);
