// COtherImport: imports any file, whatever its format, as one document that
// links to it: a field "File" whose value is a hypertext link to the file,
// in rich text that looks like the database's own documents.  With the
// import's attach option ("Save Attachments") the file itself goes with the
// document as its attachment, and the link points at the attachment.
//
// The document never holds the file's contents.  Where no rich-text
// document can be started (the database's display settings cannot be read)
// the plain field line "File[ PATH]" stands in.  An import into an entry
// form makes an entry whose field File holds the path.
//
// An attachment larger than the import's attachment size limit, or one
// that cannot be read or held in memory, is left out with a log line; the
// link document is written all the same.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/import_base.h"
#include "core/import_context.h"

class COtherImport : public CIMPImportBase {
 public:
  // Any file that opens is taken.
  int CheckFile(const std::string& file_name) override;
  int IntegerProperty() const override { return 0; }
  // Opens the file (the frame) and starts the rich-text header from the
  // database's display settings and the machine's typefaces.
  int Prepare(ImportContext& context) override;

 protected:
  int ImportSource() override;
  // Rich text for the link document; plain text for the fallback and for
  // entries of an entry form.
  int32_t DocumentKind() const override;

 private:
  bool IntoEntryForm() const;
  // Reads the file whole as the document's attachment; false, with a log
  // line, when it is left out.
  bool AttachSourceFile(const std::string& path, const std::string& name);

  std::optional<std::string> header_;  // the rich-text header, when one was started
};
