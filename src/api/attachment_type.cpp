#include "api/attachment_type.h"

#include "ks_imp.h"
#include "registry/file_type_table.h"

namespace {

// Whether `extension` is one of the blank-separated `extensions`.
bool ListHolds(std::string_view extensions, std::string_view extension) {
  while (!extensions.empty()) {
    const size_t blank = extensions.find(' ');
    if (extensions.substr(0, blank) == extension) return true;
    if (blank == std::string_view::npos) break;
    extensions.remove_prefix(blank + 1);
  }
  return false;
}

}  // namespace

int32_t AttachmentFileType(std::string_view extension) {
  if (extension.empty()) return 0;
  for (const ks::registry::FileTypeRow& row : ks::registry::FileTypeRows()) {
    // The types whose file is one document's text are exactly those that
    // may be cut by a document delimiter; records, mailboxes and databases
    // never are.
    if (row.offered != ks::registry::Offered::kYes) continue;
    if ((row.option_mask & KSIMP_OPT_DOCUMENT_DELIMITER) == 0) continue;
    if (ListHolds(row.extensions, extension)) return row.number;
  }
  return 0;
}
