// CIMPKestroDos: imports the text files that the DOS edition of Kestro wrote
// with its own export file type (file type 1002, "Kestro DOS (*.txt) ").
// NUL bytes mark where documents end; the text between them already holds
// its inline fields and is stored as it stands (converted from the DOS (OEM)
// code page unless the source is marked ANSI).
//
// How documents end is decided once per file, from the byte before the last:
//  - single-NUL mode (that byte is not NUL): every NUL ends a document;
//  - double-NUL mode (the file ends with two NULs): a pair of NULs ends a
//    document, and a NUL standing alone inside a document is a line break,
//    stored as LF.
// Text after the last end mark is stored as the last document; empty
// documents (two end marks in a row) are not stored.
//
// Recognition (CheckFile): an export file ends with a NUL.  A file is taken
// as one when its last two bytes are the export's end mark, two NULs, or
// else when its last byte is NUL; an empty file is not one.
//
// The file is read block by block and cut by DosExportSplitter; a document
// longer than a block reaches the engine in pieces cut after line ends, so
// memory stays at a block and a piece whatever the file holds.
#pragma once

#include <string>

#include "importers/text/record_import_base.h"

class CIMPKestroDos : public CRecordImportBase {
 public:
  // 1 when `file_name` is a DOS export file by its last bytes, else 0.
  int CheckFile(const std::string& file_name) override;

 protected:
  int ImportSource() override;

 private:
  class DocumentSink;
};
