#include "importers/text/rtf_import.h"

#include "ks_eng5.h"

namespace {

// A rich-text file is one document as long as it fits one block; the block is
// large so that real files are never cut (a cut would split the markup).
constexpr size_t kRichTextBlockSize = 64 << 20;

}  // namespace

int CIMPRtfImport::CheckFile(const std::string& file_name) {
  SourceFile probe;
  return probe.Open(file_name) ? 1 : 0;
}

int32_t CIMPRtfImport::DocumentKind() const {
  return KSENG_KIND_RICHTEXT;
}

int CIMPRtfImport::ImportSource() {
  return RunBlockLoop(BlockMode::kWholeBlockIsDocument, kRichTextBlockSize);
}
