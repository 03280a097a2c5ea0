#include "api/import_session.h"

CImportSession::CImportSession() : importer_factory_(CreateImporterFromTable) {}

void CImportSession::AddAttachment(tagIMPORTATTACH attachment) {
  SessionGuard guard(locks_);
  attachments_.push_back(std::move(attachment));
}

void CImportSession::RemoveAttachment(uint32_t import_handle) {
  SessionGuard guard(locks_);
  std::erase_if(attachments_, [import_handle](const tagIMPORTATTACH& attachment) {
    return attachment.import_handle == import_handle;
  });
}

size_t CImportSession::AttachmentCount() {
  SessionGuard guard(locks_);
  return attachments_.size();
}

void CImportSession::DiscardHandle(uint32_t handle) {
  queue_.RemoveAll(handle);
  handles_.Remove(handle);
}
