#include "database.h"

#include <fmt/format.h>

#include "ks_imp.h"

namespace ksimp {

std::string EngineErrorText(uint32_t code) {
  switch (code) {
    case KSENG_ERR_NOT_FOUND:
      return "the file does not exist";
    case KSENG_ERR_ACCESS:
      return "the file cannot be read or written (permission denied?)";
    case KSENG_ERR_NOT_DATABASE:
      return "the file is not a Kestro database (or it is damaged)";
    case KSENG_ERR_FOREIGN:
      return "the file is a database of another program, not a Kestro database";
    case KSENG_ERR_VERSION:
      return "the database was written by a newer version of Kestro";
    case KSENG_ERR_EXISTS:
      return "the file exists already";
    case KSENG_ERR_ARGUMENT:
      return "an argument is missing or invalid";
    case KSENG_ERR_IO:
      return "an input/output error occurred";
    case KSENG_ERR_BUSY:
      return "the database is in use by another program";
    case KSENG_ERR_READONLY:
      return "the database is open for reading only";
    case KSENG_ERR_NO_DOCUMENT:
      return "there is no such document";
    case KSENG_ERR_MEMORY:
      return "out of memory";
    case KSENG_ERR_QUERY:
      return "the search query is not valid";
    case KSENG_ERR_INTERRUPTED:
      return "an interrupted write left a journal beside the database that must be rolled back: "
             "open the database once for writing, as the owner of the file and its folder";
    case KSENG_ERR_FULL:
      return "the disk or the file size limit is full";
    case KSENG_ERR_PASSWORD_REQUIRED:
      return "the database is protected by a password";
    case KSENG_ERR_PASSWORD_WRONG:
      return "the login group or password is wrong";
    default:
      return fmt::format("engine error {}", code);
  }
}

Database::Database(const std::string& path, int access_mode, const CredentialOptions& credentials)
    : path_(path) {
  PasswordPrompt prompt;
  prompt.Give(path, credentials);
  prompt.Install();
  uint32_t error = 0;
  handle_ = KSIMP_OpenDatabase(path.c_str(), access_mode, access_mode, &error);
  prompt.Remove();
  if (handle_ == 0) {
    const std::string refusal = prompt.Refusal(path);
    throw HostError(fmt::format("cannot open {}: {}", path,
                                refusal.empty() ? EngineErrorText(error) : refusal));
  }
}

Database::~Database() {
  if (handle_ != 0) EngCloseDatabase(handle_);
}

std::string Database::Text(uint64_t id) const {
  uint64_t length = 0;
  EngGetDocumentText(handle_, id, nullptr, 0, &length);
  std::string text(length + 1, '\0');
  if (!EngGetDocumentText(handle_, id, text.data(), text.size(), &length)) {
    throw HostError(
        fmt::format("cannot read document {}: {}", id, EngineErrorText(EngLastError(0))));
  }
  text.resize(length);
  return text;
}

std::string Database::Name(uint64_t id) const {
  char name[1024] = {};
  if (!EngGetDocumentName(handle_, id, name, sizeof name)) return {};
  return name;
}

std::vector<uint64_t> Database::Documents() const {
  std::vector<uint64_t> ids;
  for (uint64_t id = EngFirstDocument(handle_, KSENG_WALK_DOCUMENTS); id != 0;
       id = EngNextDocument(handle_, id, KSENG_WALK_DOCUMENTS)) {
    ids.push_back(id);
  }
  return ids;
}

uint64_t Database::DocumentNumbered(uint64_t number) const {
  if (number == 0) return 0;
  uint64_t id = EngFirstDocument(handle_, KSENG_WALK_DOCUMENTS);
  for (uint64_t n = 1; id != 0 && n < number; ++n) {
    id = EngNextDocument(handle_, id, KSENG_WALK_DOCUMENTS);
  }
  return id;
}

std::vector<Database::Attachment> Database::Attachments(uint64_t id) const {
  std::vector<Attachment> list;
  const uint32_t count = EngGetAttachmentCount(handle_, id);
  for (uint32_t i = 0; i < count; ++i) {
    char name[4096] = {};
    Attachment a;
    if (EngGetAttachmentInfo(handle_, id, i, name, sizeof name, &a.kind, &a.size)) {
      a.name = name;
      list.push_back(a);
    }
  }
  return list;
}

std::vector<char> Database::AttachmentBytes(uint64_t id, uint32_t index, uint64_t size) const {
  std::vector<char> bytes(size);
  if (!EngReadAttachment(handle_, id, index, bytes.data(), bytes.size())) {
    throw HostError(fmt::format("cannot read attachment {} of document {}: {}", index, id,
                                EngineErrorText(EngLastError(0))));
  }
  return bytes;
}

std::vector<Database::Field> Database::Fields(uint64_t id) const {
  std::vector<Field> fields;
  const uint32_t count = EngGetFieldCount(handle_, id);
  for (uint32_t i = 0; i < count; ++i) {
    std::vector<char> name(1024), value(1 << 16);
    while (!EngGetField(handle_, id, i, name.data(), static_cast<uint32_t>(name.size()),
                        value.data(), static_cast<uint32_t>(value.size()))) {
      if (EngLastError(0) != KSENG_ERR_BUFFER || value.size() > (1u << 30)) break;
      value.resize(value.size() * 4);
    }
    fields.push_back({name.data(), value.data()});
  }
  return fields;
}

}  // namespace ksimp
