// The names offered for the entry-form choice of an import: "No" (no entry
// form) and then the entry forms of the database, read from the file.  A
// protected database is opened through the password prompt; one that stays
// closed offers "No" alone.
#pragma once

#include <string>
#include <vector>

#include "core/protected_database.h"

// The notice shown before the password prompt, with the database's path.
std::string EntryFormPasswordNotice(const std::string& path);

// "No", then the names of the entry forms of the database at `path` in the
// order they were made.
std::vector<std::string> EntryFormNames(const std::string& path, ks::core::PasswordPrompt* prompt);
