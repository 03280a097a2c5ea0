#include "importers/documents/win_three_import.h"

#include "core/error_codes.h"

namespace {

// A Write file starts with 31 BE (32 BE when it holds objects) and 00 00.
bool StartsAsWrite(const unsigned char* start) {
  return (start[0] == 0x31 || start[0] == 0x32) && start[1] == 0xBE && start[2] == 0 && start[3] == 0;
}

}  // namespace

int CIMPWinThree::CheckFile(const std::string& file_name) {
  SourceFile probe;
  if (!probe.Open(file_name)) return 0;
  unsigned char start[4] = {};
  size_t have = 0;
  while (have < sizeof start) {
    const ssize_t n = probe.Read(reinterpret_cast<char*>(start) + have, sizeof start - have);
    if (n <= 0) break;
    have += static_cast<size_t>(n);
  }
  return have == sizeof start && StartsAsWrite(start) ? 1 : 0;
}

CConverterImport::Converter CIMPWinThree::ConverterToUse() const {
  return {"KSWord", "ConvertWord", error_code::kWordMissing};
}
