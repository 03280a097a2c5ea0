// CIMPWFWImport: Word for Windows documents (file type 7): Word 2.0 and
// 6.0/95, and any other document the Word converter reads; any file that can
// be opened is handed to it.
#pragma once

#include "importers/documents/converter_import.h"

class CIMPWFWImport : public CConverterImport {
 public:
  int CheckFile(const std::string& file_name) override;

 protected:
  Converter ConverterToUse() const override;
};
