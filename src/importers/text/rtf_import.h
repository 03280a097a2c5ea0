// CIMPRtfImport: rich text (file type 19).  Each block of the source becomes
// one rich-text document, which for any usual file is the whole file; the
// file is accepted only when it can be opened.
#pragma once

#include "core/import_base.h"

class CIMPRtfImport : public CIMPImportBase {
 public:
  int CheckFile(const std::string& file_name) override;
  int IntegerProperty() const override { return 0; }

 protected:
  int ImportSource() override;
  int32_t DocumentKind() const override;
  bool LogsMissingEntryForm() const override { return false; }
  // The markup is kept; its raw 8-bit bytes become the format's escapes.
  ks::core::SourceTextKind SourceText() const override {
    return ks::core::SourceTextKind::kRichText;
  }
};
