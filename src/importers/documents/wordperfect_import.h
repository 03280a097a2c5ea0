// CIMPWordPerfectImport: WordPerfect documents (file type 1057), through
// the WordPerfect converter; any file that can be opened is handed to it.
#pragma once

#include "importers/documents/converter_import.h"

class CIMPWordPerfectImport : public CConverterImport {
 public:
  int CheckFile(const std::string& file_name) override;

 protected:
  Converter ConverterToUse() const override;
};
