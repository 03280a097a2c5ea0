// CIMPTextImport: plain text (file type 1000), read block by block through
// the frame's block loop and cut into documents by the import's document
// delimiter.
#pragma once

#include "core/import_base.h"

class CIMPTextImport : public CIMPImportBase {
 public:
  int CheckFile(const std::string& file_name) override;
  // The document delimiter the import cuts by.
  int IntegerProperty() const override { return Options().delimiter_flags; }

 protected:
  int ImportSource() override;
  // Text importers never wrote a missing entry form to the log.
  bool LogsMissingEntryForm() const override { return false; }
  ks::core::SourceTextKind SourceText() const override { return ks::core::SourceTextKind::kText; }
};
