// DocumentCopier: copying between two open databases through the Database
// interface alone, so either side may be any implementation.
#pragma once

#include <cstdint>

#include "engine/database.h"

namespace ks::engine {

// Creates in `target` every entry form of `source` that `target` has no form
// of the same name for (with the source form's fields).  Forms already there
// are left as they are.  On failure the forms created so far stay.
void PrepareCopy(Database& source, Database& target);

// Copies document `id` of `source` (text, kind, name, attachments and, for an
// entry, its form by name and its fields) into `target` at `placement`;
// returns the new document's id in `target`.
uint64_t CopyDocument(Database& source, uint64_t id, Database& target, const Placement& placement);

}  // namespace ks::engine
