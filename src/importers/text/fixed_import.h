// CIMPFixedImport: imports fixed-width text (file type 9999), one database
// document or entry per line.
//
// The column names and widths come from a column header string of type FXD
// that the queued record selects (column_header_source.h says how a record
// names its settings).  Column 1 starts at the first character of a line and
// each column starts where the one before it ends; text after the last
// column is one more value that belongs to no column.  Lines end at CR, LF or
// NUL; reading stops at the first blank line; lines before the first row (S)
// are skipped.  A DOS (OEM) source is converted value by value after the
// cutting, so that widths count the file's own characters.
//
// Text mode: each line becomes a document of inline fields, one named column
// to a line, with two blanks between the marker and the value
// ("Name[  Smith ]") where the delimited import writes one.  That difference
// is the fixed-width import's own and is kept (FieldLineComposer).
// Entry-form mode: each line becomes a new entry of the form with the values
// as they stand, untrimmed and without the delimited import's trailing blank;
// the value beyond the last column is left out.  As this import always has,
// it reports no count of documents for entries, and a form the database
// lacks ends the import with 14001 recorded but nothing logged.
//
// Without stored settings each line's text is the document.  Settings that
// do not validate are reported in the import log with their message number
// and text; the lines then make empty documents, which are not stored, and
// the import still succeeds.  The same holds, with its own log line, for a
// settings file that cannot be read and for settings of delimited text
// (which have no widths).
#pragma once

#include <string>
#include <vector>

#include "importers/text/delimited_fields.h"
#include "importers/text/record_import_base.h"

class CIMPFixedImport : public CRecordImportBase {
 protected:
  int ImportSource() override;
  bool LogsMissingEntryForm() const override { return false; }

 private:
  CDelimitedFields fields_;
};
