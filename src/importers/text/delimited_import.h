// CDelimitedImport: imports delimited text (file type 1004, "Text Delimited
// (*.csv, *.dat, *.prn *.txt)"), one database document or entry per row.
//
// The column names, delimiters, qualifier and first row come from the
// column header string that the queued record selects (column_header_source.h
// says how a record names its settings).  Rows are read and split by the
// delimited text reader (RecordReader, CDelimitedFields).  Reading stops at
// the first blank line.
//
// Text mode (the default): each row becomes a document of inline fields, one
// named column to a line ("Name[ Smith ]", FieldLineComposer); rows before
// the first row (S) are skipped.
// Entry-form mode (the import names an entry form): each row becomes a new
// entry of that form with the row's values in its fields, each value
// followed by one blank as the import has always stored it (EntryFormRows).
// A form the database lacks is reported as 14001 "Could not open entry form."
// (recorded and logged) and imports nothing.
//
// Without a column header string, and when the string does not validate,
// each row's text becomes a document as it stands.  A string that does not
// validate is reported in the import log with its message number and text;
// the import still succeeds.
#pragma once

#include <string>
#include <vector>

#include "importers/text/delimited_fields.h"
#include "importers/text/record_import_base.h"

class CDelimitedImport : public CRecordImportBase {
 protected:
  int ImportSource() override;

 private:
  CDelimitedFields fields_;
};
