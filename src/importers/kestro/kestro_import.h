// CIMPKestro4: imports another Kestro database (file type 1010, "Kestro 5
// (*.kst)") by copying every one of its documents into the target, in the
// source's order, at the import location: text, kind, name, attachments and,
// for entries, their form and fields (the source's entry forms the target
// lacks are created first).  The engine does the copying; this importer
// opens the source, walks it and keeps count.
//
// A protected source is opened with the credentials the host attached to it
// (KSIMP_SetSourceCredentials); when the engine rejects them the file is
// opened once more without them, and a file still refused for its
// protection goes to the host's password prompt, when it gave one.
//
// A source that will not open is reported with the message that says why
// (kestro_file_check.h) and nothing of it is imported; a copy the engine
// refuses stops the file with 98, keeping the documents copied before it.
// The source is never written: it is opened read-only.
#pragma once

#include <cstdint>
#include <string>

#include "core/import_base.h"

class CIMPKestro4 : public CIMPImportBase {
 public:
  // 1 unless the engine refuses the file without saying why; a file it
  // refuses with a reason is taken and reported when it is imported.
  int CheckFile(const std::string& file_name) override;
  int IntegerProperty() const override { return 0; }

  // Documents copied by every import of another Kestro database in this
  // process: it only grows.
  static uint64_t CopyCount();

 protected:
  int ImportSource() override;

 private:
  // Copies every document of `path`; 0 on failure, with the error recorded.
  int CopyFile(const std::string& path);
  // Whether `path` is the database being imported into (which would copy
  // its own documents without end).
  bool IsTheTarget(const std::string& path) const;
  // Where the first copy goes: after the documents of the files before, or
  // after the named document of location 3; 0 for the location alone.
  // False when the named document does not exist.
  bool FirstAnchor(uint64_t* anchor);
};
