// The importers of plain text, HTML and rich text.  They read their source
// block by block through the importer base: plain text and HTML are cut into
// documents by the import's document delimiter (HTML is kept as its markup);
// rich text becomes one rich-text document per block, which for any usual
// file is the whole file.
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
};

class CIMPHtmlImport : public CIMPTextImport {
 public:
  int IntegerProperty() const override { return 0; }
};

class CIMPRtfImport : public CIMPImportBase {
 public:
  int CheckFile(const std::string& file_name) override;
  int IntegerProperty() const override { return 0; }

 protected:
  int ImportSource() override;
  int32_t DocumentKind() const override;
  bool LogsMissingEntryForm() const override { return false; }
};
