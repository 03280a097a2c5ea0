// CConverterImport: the frame of the importers that do not read their
// format themselves but hand the file to a converter module of the product
// (Word, WordPerfect).  For its one file:
//  1. an import aborted before the file stops at once;
//  2. the file is verified (the importer's CheckFile); a refused file
//     fails with 11020, nothing converted;
//  3. the module converts it (converter_call.h): a missing module, a
//     missing export or a failed conversion records the importer's
//     "not properly installed" error and ends the file;
//  4. the converted copy is read whole as the document's text (rich text
//     when the converter wrote rich text, else text) and handed to the
//     document writer as one document; a refusal records 98;
//  5. the converted copy is deleted, whatever happened after it was made
//     (failure, abort, or an exception through the run), and only when it
//     lies inside the temporary import folder.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/import_base.h"
#include "importers/documents/converted_copy.h"

class CConverterImport : public CIMPImportBase {
 public:
  int Prepare(ImportContext& context) override;
  int Run() override;
  int IntegerProperty() const override { return 0; }

 protected:
  // The converter this importer hands its files to.
  struct Converter {
    const char* module;        // loaded as lib<module>.so from the module folder
    const char* export_name;   // int export(const char* in, char* out_2048)
    uint32_t failure_code;     // recorded when it is missing or fails
  };
  virtual Converter ConverterToUse() const = 0;

  int ImportSource() override;
  int32_t DocumentKind() const override;

 private:
  bool Convert();
  void DeleteCopy();

  bool prepared_ = false;
  std::optional<ks::documents::ConvertedCopy> copy_;
  bool copy_is_rich_text_ = false;
};
