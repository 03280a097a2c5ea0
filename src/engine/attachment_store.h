// AttachmentStore: files stored with a document, numbered from 0 in the
// order they were stored.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/database.h"

namespace ks::engine {

class Connection;

class AttachmentStore {
 public:
  explicit AttachmentStore(Connection& connection) : connection_(connection) {}

  // Stores `attachments` after the document's existing ones.
  void Add(uint64_t doc, const std::vector<AttachmentData>& attachments);
  uint32_t Count(uint64_t doc);
  // KSENG_ERR_ARGUMENT when there is no attachment `index`.
  AttachmentInfo Info(uint64_t doc, uint32_t index);
  // See Database::ReadAttachment.
  uint64_t Read(uint64_t doc, uint32_t index, void* buffer, uint64_t size);
  std::vector<AttachmentData> All(uint64_t doc);

 private:
  Connection& connection_;
};

}  // namespace ks::engine
