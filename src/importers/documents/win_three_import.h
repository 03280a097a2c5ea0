// CIMPWinThree: Windows 3.x Write documents (file type 1009, .wri),
// through the Word converter; the file must start with a Write header.
#pragma once

#include "importers/documents/converter_import.h"

class CIMPWinThree : public CConverterImport {
 public:
  int CheckFile(const std::string& file_name) override;

 protected:
  Converter ConverterToUse() const override;
};
