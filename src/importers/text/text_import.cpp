#include "importers/text/text_import.h"

namespace {

// Large enough to read quickly, small enough that memory stays flat.
constexpr size_t kTextBlockSize = 1 << 20;

}  // namespace

int CIMPTextImport::CheckFile(const std::string&) {
  return 1;
}

int CIMPTextImport::ImportSource() {
  return RunBlockLoop(BlockMode::kSplitByDelimiter, kTextBlockSize);
}
