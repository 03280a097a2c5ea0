// CIMPWord8Import: Word documents (file type 1056): Word 97 to 2003, and
// Word 6.0/95, which are compound documents too.  The file must start as a
// compound document or as a WordPerfect document: a WordPerfect file offered
// as Word goes to the Word converter deliberately (which then refuses it).
#pragma once

#include "importers/documents/converter_import.h"

class CIMPWord8Import : public CConverterImport {
 public:
  int CheckFile(const std::string& file_name) override;

 protected:
  Converter ConverterToUse() const override;
};
