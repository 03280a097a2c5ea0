// CPDFImport: PDF (file type 1058), one document per file holding the
// file's text, which the PDF text library KS_Pdf (PdfLibrary) extracts.
// The importer only drives the library: it runs the extraction on the
// importing thread while a progress thread (ExtractionWatch) passes the
// library's progress on and turns an abort of the import into the
// library's abort.
//
// Outcomes:
//  - the library succeeded: its text is one document (a PDF without text
//    gives none: an empty document is not stored);
//  - the library failed, whatever its reason (locked, damaged, not a PDF):
//    14049 "Encryped PDF file encountered.  Unable to import the file.",
//    the one message for every library error; the file fails and the files
//    before it stay imported;
//  - the import was aborted during the extraction: the library stops
//    before its next page and reports the stop as an error of its own,
//    which is not shown: the file ends without a document and without an
//    error, as an abort is not a failure anywhere in this library;
//  - the module is not installed (or lacks an operation): 12003 "The file is
//    of an unsupported type.", with the loader's reason in the log.  No
//    message of its own says that the PDF library is missing, and 12003 is
//    what a file type without an importer gets.
#pragma once

#include "core/import_base.h"

class CPDFImport : public CIMPImportBase {
 public:
  // 1 when the module is there and reads the file (IsValidPDFFile).
  int CheckFile(const std::string& file_name) override;
  int IntegerProperty() const override { return 0; }

 protected:
  int ImportSource() override;
};
