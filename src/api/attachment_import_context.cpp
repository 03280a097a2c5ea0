#include "api/attachment_import_context.h"

bool AttachmentImportContext::IsAborted() {
  if (message_import_.IsAborted()) return true;
  bool aborted = false;
  const bool live = session_.handles().Update(
      handle_, [&aborted](const ImportHandleRecord& r) { aborted = r.aborted; });
  return !live || aborted;
}

void AttachmentImportContext::RecordDocumentSaved(uint64_t document, uint64_t bytes) {
  last_document_ = document;
  session_.handles().Update(handle_, [bytes](ImportHandleRecord& r) {
    r.documents_added = SaturatingAdd(r.documents_added, 1);
    r.current_bytes = SaturatingAdd(0, bytes);
  });
}
