// tagIMPORTATTACH: a file saved from a message so that it can be imported as
// an attachment, and the import handle created to import it.  The session
// keeps them until they are imported or the import is aborted (which deletes
// the files).
#pragma once

#include <cstdint>
#include <string>

struct tagIMPORTATTACH {
  std::string path;            // the saved file; deleted on abort
  std::string file_name;       // the attachment's own name in its message
  int32_t kind = 0;            // how the mail importer stores it
  uint32_t import_handle = 0;  // released on abort
};
