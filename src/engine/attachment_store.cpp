// AttachmentStore: SQL over the attachments table.
#include "engine/attachment_store.h"

#include <cstring>

#include "engine/engine_error.h"
#include "engine/sqlite_connection.h"

namespace ks::engine {
namespace {
int64_t Id(uint64_t id) {
  return static_cast<int64_t>(id);
}
}  // namespace

void AttachmentStore::Add(uint64_t doc, const std::vector<AttachmentData>& attachments) {
  if (attachments.empty()) return;
  uint32_t next = Count(doc);
  auto insert = connection_.Prepared(
      "INSERT INTO attachments(doc_id, idx, name, kind, data) VALUES(?1, ?2, ?3, ?4, ?5)");
  for (const AttachmentData& attachment : attachments) {
    insert->BindInt(1, Id(doc))
        .BindInt(2, next++)
        .BindText(3, attachment.name)
        .BindInt(4, attachment.kind)
        .BindBlob(5, attachment.data);
    insert->Run();
    insert->Reset();
  }
}

uint32_t AttachmentStore::Count(uint64_t doc) {
  auto query = connection_.Prepared("SELECT count(*) FROM attachments WHERE doc_id = ?1");
  query->BindInt(1, Id(doc));
  query->Step();
  return static_cast<uint32_t>(query->Int(0));
}

AttachmentInfo AttachmentStore::Info(uint64_t doc, uint32_t index) {
  auto query = connection_.Prepared(
      "SELECT name, kind, length(data) FROM attachments WHERE doc_id = ?1 AND idx = ?2");
  query->BindInt(1, Id(doc)).BindInt(2, index);
  Require(query->Step(), KSENG_ERR_ARGUMENT, "no such attachment");
  return {std::string(query->Bytes(0)), static_cast<uint32_t>(query->Int(1)),
          static_cast<uint64_t>(query->Int(2))};
}

uint64_t AttachmentStore::Read(uint64_t doc, uint32_t index, void* buffer, uint64_t size) {
  uint64_t length = Info(doc, index).size;
  Require(length <= size && (buffer != nullptr || length == 0), KSENG_ERR_BUFFER,
          "buffer too small for the attachment");
  if (length == 0) return 0;
  auto query = connection_.Prepared("SELECT data FROM attachments WHERE doc_id = ?1 AND idx = ?2");
  query->BindInt(1, Id(doc)).BindInt(2, index);
  Require(query->Step(), KSENG_ERR_ARGUMENT, "no such attachment");
  std::string_view data = query->Bytes(0);
  std::memcpy(buffer, data.data(), data.size());
  return data.size();
}

std::vector<AttachmentData> AttachmentStore::All(uint64_t doc) {
  auto query = connection_.Prepared(
      "SELECT name, kind, data FROM attachments WHERE doc_id = ?1 ORDER BY idx");
  query->BindInt(1, Id(doc));
  std::vector<AttachmentData> attachments;
  while (query->Step()) {
    attachments.push_back({std::string(query->Bytes(0)), static_cast<uint32_t>(query->Int(1)),
                           std::string(query->Bytes(2))});
  }
  return attachments;
}

}  // namespace ks::engine
