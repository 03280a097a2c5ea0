#include "importers/documents/word8_import.h"

#include <cstring>

#include "core/error_codes.h"

namespace {

constexpr unsigned char kCompoundDocumentStart[] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1};
constexpr unsigned char kWordPerfectStart[] = {0xFF, 'W', 'P', 'C'};

}  // namespace

int CIMPWord8Import::CheckFile(const std::string& file_name) {
  SourceFile probe;
  if (!probe.Open(file_name)) return 0;
  unsigned char start[sizeof kCompoundDocumentStart] = {};
  size_t have = 0;
  while (have < sizeof start) {
    const ssize_t n = probe.Read(reinterpret_cast<char*>(start) + have, sizeof start - have);
    if (n <= 0) break;
    have += static_cast<size_t>(n);
  }
  if (have >= sizeof kCompoundDocumentStart &&
      std::memcmp(start, kCompoundDocumentStart, sizeof kCompoundDocumentStart) == 0) {
    return 1;
  }
  return have >= sizeof kWordPerfectStart &&
                 std::memcmp(start, kWordPerfectStart, sizeof kWordPerfectStart) == 0
             ? 1
             : 0;
}

CConverterImport::Converter CIMPWord8Import::ConverterToUse() const {
  return {"KSWord", "ConvertWord", error_code::kWordMissing};
}
