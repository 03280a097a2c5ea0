#include "importers/documents/wordperfect_import.h"

#include "core/error_codes.h"

int CIMPWordPerfectImport::CheckFile(const std::string& file_name) {
  SourceFile probe;
  return probe.Open(file_name) ? 1 : 0;
}

CConverterImport::Converter CIMPWordPerfectImport::ConverterToUse() const {
  return {"KSWordPerfect", "KSWp2rtf", error_code::kWordPerfectMissing};
}
