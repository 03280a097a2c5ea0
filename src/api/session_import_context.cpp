#include "api/session_import_context.h"

#include <string>

#include "api/attachment_import.h"

void SessionImportContext::Log(std::string_view line) {
  std::string text(line);
  text += "\r\n";
  session_.AddLogText(handle_, std::move(text));
}

uint64_t SessionImportContext::LastDocument() {
  const auto record = session_.handles().Find(handle_);
  return record ? static_cast<uint64_t>(record->importer_value64) : 0;
}

void SessionImportContext::SetLastDocument(uint64_t document) {
  session_.handles().Update(handle_, [document](ImportHandleRecord& r) {
    r.importer_value64 = static_cast<int64_t>(document);
  });
}

void SessionImportContext::RecordDocumentSaved(uint64_t document, uint64_t bytes) {
  session_.handles().Update(handle_, [document, bytes](ImportHandleRecord& r) {
    r.importer_value64 = static_cast<int64_t>(document);
    r.documents_added = SaturatingAdd(r.documents_added, 1);
    r.current_bytes = SaturatingAdd(0, bytes);
  });
}

bool SessionImportContext::ImportAttachmentIntoDocument(const std::string& file_name,
                                                        std::string_view content) {
  return ::ImportAttachmentIntoDocument(session_, *this, file_name, content);
}
