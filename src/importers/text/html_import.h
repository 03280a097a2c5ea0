// CIMPHtmlImport: HTML (file type 108), imported as plain text is: cut by the
// document delimiter, each document kept as its markup.
#pragma once

#include "importers/text/text_import.h"

class CIMPHtmlImport : public CIMPTextImport {
 public:
  int IntegerProperty() const override { return 0; }
};
