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
  int Prepare(uint32_t import_handle, const SETDATA& record) override;
  int Run(uint32_t import_handle) override;
  // The document delimiter the import cuts by.
  int IntegerProperty() const override { return Options().delimiter_flags; }
};

class CIMPHtmlImport : public CIMPTextImport {
 public:
  int IntegerProperty() const override { return 0; }
};

class CIMPRtfImport : public CIMPImportBase {
 public:
  int CheckFile(const std::string& file_name) override;
  int Prepare(uint32_t import_handle, const SETDATA& record) override;
  int Run(uint32_t import_handle) override;
  int IntegerProperty() const override { return 0; }
};
