#include "importers/documents/wfw_import.h"

#include "core/error_codes.h"

int CIMPWFWImport::CheckFile(const std::string& file_name) {
  SourceFile probe;
  return probe.Open(file_name) ? 1 : 0;
}

CConverterImport::Converter CIMPWFWImport::ConverterToUse() const {
  return {"KSWord", "ConvertWord", error_code::kWordMissing};
}
