// The C functions of ks_eng5.h.  Each one is a thin call through Guarded():
// it checks the C arguments, turns them into C++ values, calls the Database
// behind the handle and copies results into the caller's buffers.
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/api_guard.h"
#include "engine/database.h"
#include "engine/document_copier.h"
#include "engine/engine_error.h"
#include "engine/handle_table.h"
#include "engine/sqlite_database.h"
#include "ks_eng5.h"

using ks::engine::AddStatus;
using ks::engine::AttachmentData;
using ks::engine::AttachmentInfo;
using ks::engine::Credentials;
using ks::engine::Database;
using ks::engine::DisplaySettings;
using ks::engine::DocumentStart;
using ks::engine::EngineError;
using ks::engine::FieldValue;
using ks::engine::Guarded;
using ks::engine::Handles;
using ks::engine::Placement;
using ks::engine::Require;
using ks::engine::SqliteDatabase;
using ks::engine::Walk;

namespace {

std::shared_ptr<Database> Db(uint32_t handle) {
  return Handles().Find(handle);
}

std::string_view Text(const char* text) {
  return text != nullptr ? text : "";
}

const char* RequireText(const char* text, const char* what) {
  Require(text != nullptr, KSENG_ERR_ARGUMENT, what);
  return text;
}

// Copies `value` and a terminator into buffer when value + terminator fit in
// size bytes; else fails with KSENG_ERR_BUFFER and leaves buffer untouched.
int32_t CopyOut(std::string_view value, char* buffer, uint64_t size) {
  Require(buffer != nullptr && value.size() < size, KSENG_ERR_BUFFER, "buffer too small");
  std::memcpy(buffer, value.data(), value.size());
  buffer[value.size()] = '\0';
  return 1;
}

template <typename T>
int32_t Deliver(T* out, T value) {
  Require(out != nullptr, KSENG_ERR_ARGUMENT, "no place for the value");
  *out = value;
  return 1;
}

Walk WalkOf(int32_t filter) {
  Require(filter == KSENG_WALK_DOCUMENTS || filter == KSENG_WALK_FORMS, KSENG_ERR_ARGUMENT,
          "walk filter is 1 (documents) or 2 (forms)");
  return static_cast<Walk>(filter);
}

std::vector<AttachmentData> CopyAttachments(const KSENG_ATTACHMENT* attachments, uint32_t count) {
  Require(count == 0 || attachments != nullptr, KSENG_ERR_ARGUMENT, "attachments missing");
  std::vector<AttachmentData> copies;
  copies.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    const KSENG_ATTACHMENT& a = attachments[i];
    Require(a.data != nullptr || a.size == 0, KSENG_ERR_ARGUMENT, "attachment data missing");
    copies.push_back(
        {std::string(Text(a.name)), a.kind, std::string(static_cast<const char*>(a.data), a.size)});
  }
  return copies;
}

std::vector<FieldValue> CopyFields(const KSENG_FIELD* fields, uint32_t count) {
  Require(count == 0 || fields != nullptr, KSENG_ERR_ARGUMENT, "field records missing");
  std::vector<FieldValue> copies;
  copies.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    const KSENG_FIELD& f = fields[i];
    size_t name_length = strnlen(f.name, sizeof f.name);
    Require(name_length < sizeof f.name, KSENG_ERR_ARGUMENT, "field name not terminated");
    Require(f.flags == KSENG_FIELD_FLAGS && f.count == 1, KSENG_ERR_ARGUMENT,
            "field record type or count is wrong");
    FieldValue copy{std::string(f.name, name_length), std::nullopt};
    if (f.value != nullptr) copy.value = std::string(f.value);
    copies.push_back(std::move(copy));
  }
  return copies;
}

// One piece of a document for the three adding calls.  `start` builds the
// document's settings; it is only called for the first piece.
template <typename MakeStart>
int32_t AddPiece(uint32_t db, const char* text, int32_t one, uint32_t length, MakeStart&& start) {
  std::shared_ptr<Database> database = Db(db);
  if (text == nullptr || one != 1) {
    // A bad piece ends the document, as any failed adding call does.
    database->DiscardPending();
    throw EngineError(KSENG_ERR_ARGUMENT, "text missing or `one` is not 1");
  }
  std::string_view piece(text, length != 0 ? length : std::strlen(text));
  if (!database->HasPendingDocument()) database->StartDocument(start());
  return static_cast<int32_t>(database->AddText(piece));
}

template <typename Pick>
int32_t DisplayValue(uint32_t db, Pick&& pick) {
  DisplaySettings settings = Db(db)->Display();
  return pick(settings);
}

uint32_t OpenDatabase(const char* path, int32_t access_mode, int32_t share_mode,
                      const std::optional<Credentials>& credentials) {
  std::shared_ptr<Database> database =
      SqliteDatabase::Open(RequireText(path, "path missing"), access_mode, share_mode, credentials);
  return Handles().Add(std::move(database));
}

}  // namespace

extern "C" {

// ---- Databases

int32_t EngCreateDatabase(const char* path, const char* login_group, const char* password,
                          uint32_t flags) {
  return Guarded<int32_t>(0, [&] {
    Require(flags == 0 || flags == 1, KSENG_ERR_ARGUMENT, "flags is 0 or 1");
    SqliteDatabase::Create(RequireText(path, "path missing"), Text(login_group), Text(password),
                           flags == 1);
    return 1;
  });
}

uint32_t EngOpenDatabase(const char* path, int32_t access_mode, int32_t share_mode) {
  return Guarded<uint32_t>(
      0, [&] { return OpenDatabase(path, access_mode, share_mode, std::nullopt); });
}

uint32_t EngOpenDatabaseEx(const char* path, int32_t access_mode, int32_t share_mode,
                           const char* password, const char* login_group) {
  return Guarded<uint32_t>(0, [&] {
    Credentials credentials{std::string(Text(login_group)), std::string(Text(password))};
    return OpenDatabase(path, access_mode, share_mode, credentials);
  });
}

int32_t EngCloseDatabase(uint32_t db) {
  return Guarded<int32_t>(0, [&] {
    // The handle is gone whatever Close() reports.
    Handles().Remove(db)->Close();
    return 1;
  });
}

uint32_t EngLastError(uint32_t /*zero*/) {
  return ks::engine::LastErrorCode();
}

int32_t EngGetDatabaseName(uint32_t db, char* buffer, uint32_t size) {
  return Guarded<int32_t>(0, [&] {
    const std::string& path = Db(db)->Path();
    // The path and its terminator must leave at least one byte spare.
    Require(buffer != nullptr && path.size() + 1 < size, KSENG_ERR_BUFFER, "buffer too small");
    return CopyOut(path, buffer, size);
  });
}

int32_t EngSetFieldMarker(uint32_t db, char marker) {
  return Guarded<int32_t>(0, [&] {
    Db(db)->SetFieldMarker(marker);
    return 1;
  });
}

// ---- Adding documents

int32_t EngBeginAdd(uint32_t db, char* marker) {
  return Guarded<int32_t>(0, [&] {
    char value = Db(db)->BeginAdd();
    if (marker != nullptr) *marker = value;
    return 1;
  });
}

int64_t EngFindDocument(uint32_t db, int32_t kind, const char* name) {
  return Guarded<int64_t>(-1, [&] {
    return static_cast<int64_t>(Db(db)->Find(kind, RequireText(name, "name missing")));
  });
}

int32_t EngEndAdd(uint32_t db, int32_t /*kind*/, uint64_t id, char /*marker*/, uint32_t* added) {
  return Guarded<int32_t>(0, [&] {
    uint32_t count = Db(db)->EndAdd(id);
    if (added != nullptr) *added = count;
    return 1;
  });
}

int32_t EngAddDocument(uint32_t db, const char* text, int32_t one, uint32_t length, int32_t kind,
                       int32_t location, uint64_t anchor, const KSENG_ATTACHMENT* attachments,
                       uint32_t attachment_count) {
  return Guarded<int32_t>(0, [&] {
    return AddPiece(db, text, one, length, [&] {
      DocumentStart start;
      start.kind = kind;
      start.placement = Placement{location, anchor, {}};
      start.attachments = CopyAttachments(attachments, attachment_count);
      return start;
    });
  });
}

int32_t EngAddDocumentWithForm(uint32_t db, const char* text, int32_t one, uint32_t length,
                               int32_t kind, int32_t location, uint64_t anchor, uint64_t form,
                               const KSENG_ATTACHMENT* attachments, uint32_t attachment_count,
                               uint32_t flags, uint32_t reserved) {
  return Guarded<int32_t>(0, [&] {
    Require(flags == 0 && reserved == 0, KSENG_ERR_ARGUMENT, "flags and reserved must be 0");
    return AddPiece(db, text, one, length, [&] {
      DocumentStart start;
      start.kind = form != 0 ? KSENG_KIND_ENTRY : kind;
      start.placement = Placement{location, anchor, {}};
      start.form = form;
      start.attachments = CopyAttachments(attachments, attachment_count);
      return start;
    });
  });
}

int32_t EngAddDocumentWithFormEx(uint32_t db, const char* text, int32_t one, uint32_t length,
                                 int32_t kind, int32_t location, uint64_t anchor, uint64_t form,
                                 const KSENG_ATTACHMENT* attachments, uint32_t attachment_count,
                                 const KSENG_FIELD* fields, uint32_t field_count, uint32_t flags,
                                 uint32_t reserved, uint32_t reserved2) {
  return Guarded<int32_t>(0, [&] {
    Require(flags == 0 && reserved == 0 && reserved2 == 0, KSENG_ERR_ARGUMENT,
            "flags and reserved values must be 0");
    return AddPiece(db, text, one, length, [&] {
      DocumentStart start;
      start.kind = form != 0 ? KSENG_KIND_ENTRY : kind;
      start.placement = Placement{location, anchor, {}};
      start.form = form;
      start.fields = CopyFields(fields, field_count);
      start.attachments = CopyAttachments(attachments, attachment_count);
      return start;
    });
  });
}

int32_t EngSaveDocument(uint32_t db, const char* name, const char* text, int32_t final,
                        uint64_t* new_id) {
  return Guarded<int32_t>(0, [&] {
    std::shared_ptr<Database> database = Db(db);
    if (final == 0) {
      if (!Text(text).empty()) database->AddText(text);
      return static_cast<int32_t>(database->FlushPending());
    }
    uint64_t id = database->SaveDocument(Text(name), Text(text));
    if (new_id != nullptr) *new_id = id;
    return static_cast<int32_t>(AddStatus::kTaken);
  });
}

int32_t EngCancelDocument(uint32_t db) {
  return Guarded<int32_t>(0, [&] {
    Db(db)->DiscardPending();
    return int32_t{1};
  });
}

int32_t EngAttachForm(uint32_t db, const char* form_name) {
  return Guarded<int32_t>(0, [&] {
    Db(db)->AttachForm(RequireText(form_name, "form name missing"));
    return 1;
  });
}

// ---- Entry forms and entries

uint64_t EngCreateForm(uint32_t db, const char* name, const char* const* field_names,
                       uint32_t field_count) {
  return Guarded<uint64_t>(0, [&] {
    Require(field_count == 0 || field_names != nullptr, KSENG_ERR_ARGUMENT, "field names missing");
    std::vector<std::string> fields;
    for (uint32_t i = 0; i < field_count; ++i) {
      fields.emplace_back(RequireText(field_names[i], "field name missing"));
    }
    return Db(db)->CreateForm(RequireText(name, "form name missing"), fields);
  });
}

int32_t EngOp251(uint32_t db, uint64_t form, uint64_t* entry, char marker, const char* text,
                 int32_t location, uint64_t anchor) {
  return Guarded<int32_t>(0, [&] {
    uint64_t id = Db(db)->CreateEntry(form, marker, Text(text), Placement{location, anchor, {}});
    if (entry != nullptr) *entry = id;
    return 1;
  });
}

int32_t EngOp249(uint32_t db, uint32_t entry_low, uint32_t entry_high, int32_t one, uint32_t count,
                 const KSENG_FIELD* fields) {
  return Guarded<int32_t>(0, [&] {
    Require(one == 1, KSENG_ERR_ARGUMENT, "`one` must be 1");
    uint64_t entry = (uint64_t{entry_high} << 32) | entry_low;
    Db(db)->WriteFields(entry, CopyFields(fields, count));
    return 1;
  });
}

uint32_t EngGetFieldCount(uint32_t db, uint64_t id) {
  return Guarded<uint32_t>(0, [&] { return static_cast<uint32_t>(Db(db)->Fields(id).size()); });
}

int32_t EngGetField(uint32_t db, uint64_t id, uint32_t index, char* name, uint32_t name_size,
                    char* value, uint32_t value_size) {
  return Guarded<int32_t>(0, [&] {
    std::vector<FieldValue> fields = Db(db)->Fields(id);
    Require(index < fields.size(), KSENG_ERR_ARGUMENT, "no field of that index");
    const FieldValue& field = fields[index];
    std::string_view field_value = field.value ? std::string_view(*field.value) : "";
    // Check both before writing either, so a failure leaves both untouched.
    Require(name == nullptr || field.name.size() < name_size, KSENG_ERR_BUFFER,
            "name buffer too small");
    Require(value == nullptr || field_value.size() < value_size, KSENG_ERR_BUFFER,
            "value buffer too small");
    if (name != nullptr) CopyOut(field.name, name, name_size);
    if (value != nullptr) CopyOut(field_value, value, value_size);
    return 1;
  });
}

uint64_t EngGetEntryForm(uint32_t db, uint64_t entry) {
  return Guarded<uint64_t>(0, [&] { return Db(db)->EntryForm(entry); });
}

// ---- Reading and walking

uint64_t EngFirstDocument(uint32_t db, int32_t filter) {
  return Guarded<uint64_t>(0, [&] { return Db(db)->First(WalkOf(filter)); });
}

uint64_t EngNextDocument(uint32_t db, uint64_t current, int32_t filter) {
  return Guarded<uint64_t>(0, [&] { return Db(db)->Next(current, WalkOf(filter)); });
}

uint64_t EngCountDocuments(uint32_t db, int32_t filter) {
  return Guarded<uint64_t>(0, [&] { return Db(db)->Count(WalkOf(filter)); });
}

int32_t EngGetDocumentKind(uint32_t db, uint64_t id) {
  return Guarded<int32_t>(0, [&] { return Db(db)->Kind(id); });
}

int32_t EngGetDocumentText(uint32_t db, uint64_t id, char* buffer, uint64_t size,
                           uint64_t* length) {
  return Guarded<int32_t>(0, [&] {
    uint64_t text_length = Db(db)->ReadText(id, buffer, size);
    if (length != nullptr) *length = text_length;
    Require(buffer != nullptr && text_length < size, KSENG_ERR_BUFFER, "buffer too small");
    return 1;
  });
}

int32_t EngGetDocumentName(uint32_t db, uint64_t id, char* buffer, uint32_t size) {
  return Guarded<int32_t>(0, [&] { return CopyOut(Db(db)->Name(id), buffer, size); });
}

int32_t EngSetDocumentName(uint32_t db, uint64_t id, const char* name) {
  return Guarded<int32_t>(0, [&] {
    Db(db)->SetName(id, Text(name));
    return 1;
  });
}

int32_t EngSetCurrentDocument(uint32_t db, uint64_t id) {
  return Guarded<int32_t>(0, [&] {
    Db(db)->SetCurrent(id);
    return 1;
  });
}

uint64_t EngGetCurrentDocument(uint32_t db) {
  return Guarded<uint64_t>(0, [&] { return Db(db)->Current(); });
}

uint32_t EngGetAttachmentCount(uint32_t db, uint64_t id) {
  return Guarded<uint32_t>(0, [&] { return Db(db)->AttachmentCount(id); });
}

int32_t EngGetAttachmentInfo(uint32_t db, uint64_t id, uint32_t index, char* name,
                             uint32_t name_size, uint32_t* kind, uint64_t* size) {
  return Guarded<int32_t>(0, [&] {
    AttachmentInfo info = Db(db)->Attachment(id, index);
    if (name != nullptr) CopyOut(info.name, name, name_size);
    if (kind != nullptr) *kind = info.kind;
    if (size != nullptr) *size = info.size;
    return 1;
  });
}

int32_t EngReadAttachment(uint32_t db, uint64_t id, uint32_t index, void* buffer, uint64_t size) {
  return Guarded<int32_t>(0, [&] {
    Db(db)->ReadAttachment(id, index, buffer, size);
    return 1;
  });
}

int64_t EngSearch(uint32_t db, const char* query, uint64_t* ids, uint32_t capacity) {
  return Guarded<int64_t>(-1, [&] {
    Require(ids != nullptr || capacity == 0, KSENG_ERR_ARGUMENT, "no room for the results");
    std::vector<uint64_t> found = Db(db)->Search(RequireText(query, "query missing"));
    size_t delivered = std::min<size_t>(found.size(), capacity);
    if (delivered != 0) std::memcpy(ids, found.data(), delivered * sizeof(uint64_t));
    return static_cast<int64_t>(found.size());
  });
}

// ---- Copying between databases

int32_t EngPrepareCopy(uint32_t source, uint32_t target) {
  return Guarded<int32_t>(0, [&] {
    std::shared_ptr<Database> from = Db(source);
    std::shared_ptr<Database> to = Db(target);
    ks::engine::PrepareCopy(*from, *to);
    return 1;
  });
}

int32_t EngCopyDocument(uint32_t source, uint64_t id, int32_t one, uint32_t target,
                        uint64_t* position, int32_t location) {
  return Guarded<int32_t>(0, [&] {
    Require(one == 1, KSENG_ERR_ARGUMENT, "`one` must be 1");
    std::shared_ptr<Database> from = Db(source);
    std::shared_ptr<Database> to = Db(target);
    Placement placement{location, position != nullptr ? *position : 0, {}};
    uint64_t copied = ks::engine::CopyDocument(*from, id, *to, placement);
    if (position != nullptr) *position = copied;
    return 1;
  });
}

// ---- Display settings

#define KSENG_TEXT_SETTING(function, member)                                              \
  int32_t function(uint32_t db, char* buffer, uint32_t size) {                            \
    return Guarded<int32_t>(0, [&] {                                                      \
      return DisplayValue(                                                                \
          db, [&](const DisplaySettings& s) { return CopyOut(s.member, buffer, size); }); \
    });                                                                                   \
  }
#define KSENG_NUMBER_SETTING(function, type, member)                                               \
  int32_t function(uint32_t db, type* value) {                                                     \
    return Guarded<int32_t>(0, [&] {                                                               \
      return DisplayValue(db, [&](const DisplaySettings& s) { return Deliver(value, s.member); }); \
    });                                                                                            \
  }

KSENG_TEXT_SETTING(EngOp25, body_font)
KSENG_NUMBER_SETTING(EngOp27, int32_t, body_font_size)
KSENG_NUMBER_SETTING(EngOp31, uint32_t, text_colour)
KSENG_NUMBER_SETTING(EngOp48, uint32_t, background_colour)
KSENG_NUMBER_SETTING(EngOp93, int32_t, margin_left)
KSENG_NUMBER_SETTING(EngOp97, int32_t, margin_right)
KSENG_NUMBER_SETTING(EngOp99, int32_t, margin_top)
KSENG_NUMBER_SETTING(EngOp101, int32_t, margin_bottom)
KSENG_NUMBER_SETTING(EngOp102, int32_t, tab_width)
KSENG_NUMBER_SETTING(EngOp105, int32_t, space_before)
KSENG_NUMBER_SETTING(EngOp108, int32_t, space_after)
KSENG_NUMBER_SETTING(EngOp113, int32_t, line_spacing)
KSENG_NUMBER_SETTING(EngOp114, uint32_t, field_name_colour)
KSENG_NUMBER_SETTING(EngOp157, uint32_t, field_value_colour)
KSENG_TEXT_SETTING(EngOp178, field_name_font)
KSENG_NUMBER_SETTING(EngOp180, int32_t, field_name_font_size)
KSENG_NUMBER_SETTING(EngOp182, int32_t, field_name_bold)
KSENG_TEXT_SETTING(EngOp192, paragraph_style)
KSENG_NUMBER_SETTING(EngOp232, uint32_t, hyperlink_colour)
KSENG_NUMBER_SETTING(EngOp236, int32_t, code_page)
KSENG_NUMBER_SETTING(EngOp244, int32_t, language)
KSENG_NUMBER_SETTING(EngOp253, int32_t, page_width)

#undef KSENG_TEXT_SETTING
#undef KSENG_NUMBER_SETTING

int32_t EngOp39(uint32_t db, uint64_t id, char* name, uint32_t size) {
  return Guarded<int32_t>(0, [&] { return CopyOut(Db(db)->Name(id), name, size); });
}

}  // extern "C"
