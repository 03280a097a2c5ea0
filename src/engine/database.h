// Database: what the C functions of ks_eng5.h need of one open database,
// as an abstract interface so that callers (the C layer, the copy between two
// databases, tests) never depend on how it is stored.  SqliteDatabase is the
// implementation.
//
// Common rules for every method:
//  - Failure is an EngineError carrying a KSENG_ERR_* code.  Unless a method
//    says otherwise, after a failure the database holds exactly what it held
//    before the call (a failed write undoes its own partial work).
//  - Identifiers are document ids (never 0).  A method given an id that names
//    no document fails with KSENG_ERR_NO_DOCUMENT.
//  - Writes fail with KSENG_ERR_READONLY on a database opened for reading.
//    They join the open write batch (begun at the first write) and become
//    durable when it is committed: by EndAdd, by Close, or when the batch
//    fills.  Until then they are visible through this object only.
//  - Returned values are owned by the caller; nothing refers back into the
//    database after the call returns.
//  - One thread at a time per object.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ks_eng5.h"

namespace ks::engine {

// Where a new document goes.  location is a KSENG_LOC_* code (any other value
// means the end).  A non-zero anchor wins over the location: the document goes
// right after it, or for KSENG_LOC_END_OF_CURRENT its text is appended to it.
struct Placement {
  int32_t location = KSENG_LOC_END;
  uint64_t anchor = 0;
  std::string anchor_name;  // KSENG_LOC_AFTER_NAMED with anchor 0: go after this named document
};

// One field of an entry.  An absent value clears the field (WriteFields); in
// values read back it is always present.
struct FieldValue {
  std::string name;
  std::optional<std::string> value;
};

struct AttachmentData {
  std::string name;
  uint32_t kind = KSENG_ATTACH_FILE;
  std::string data;
};

struct AttachmentInfo {
  std::string name;
  uint32_t kind = 0;
  uint64_t size = 0;
};

// What the first piece of a new document fixes.
struct DocumentStart {
  int32_t kind = KSENG_KIND_TEXT;                 // KSENG_KIND_TEXT or KSENG_KIND_RICHTEXT
  Placement placement;                            // anchor_name is taken from SaveDocument
  uint64_t form = 0;                              // non-zero: the document is an entry of this form
  std::optional<std::vector<FieldValue>> fields;  // entry made with field values
  std::vector<AttachmentData> attachments;
};

// Results of the adding calls (the values of KSENG_STATUS_*).
enum class AddStatus : int32_t {
  kTaken = KSENG_STATUS_TAKEN,
  kSaveFirst = KSENG_STATUS_SAVE_FIRST,
};

// Walks of First / Next / Count (the values of KSENG_WALK_*).
enum class Walk : int32_t {
  kDocuments = KSENG_WALK_DOCUMENTS,
  kForms = KSENG_WALK_FORMS,
};

// An entry's part of a DocumentRecord.
struct EntryRecord {
  std::string form_name;
  std::vector<std::string> form_fields;  // to create the form where it is missing
  char marker = '[';
  uint64_t free_offset = 0;        // where the free text starts in the text
  std::vector<FieldValue> fields;  // in text order
};

// Everything needed to recreate a document in another database.
struct DocumentRecord {
  int32_t kind = KSENG_KIND_TEXT;
  std::string name;
  std::string text;
  std::vector<AttachmentData> attachments;
  std::optional<EntryRecord> entry;
};

// Per-database display settings (see the EngOpNN getters for their meaning).
struct DisplaySettings {
  std::string body_font = "Times New Roman";
  int32_t body_font_size = 24;  // half points
  uint32_t text_colour = 0x000000;
  uint32_t background_colour = 0xFFFFFF;
  int32_t margin_left = 1440;  // twips
  int32_t margin_right = 1440;
  int32_t margin_top = 1440;
  int32_t margin_bottom = 1440;
  int32_t tab_width = 720;
  int32_t space_before = 0;
  int32_t space_after = 0;
  int32_t line_spacing = 0;
  uint32_t field_name_colour = 0x000080;
  uint32_t field_value_colour = 0x000000;
  std::string field_name_font = "Arial";
  int32_t field_name_font_size = 20;
  int32_t field_name_bold = 1;
  std::string paragraph_style = "Normal";
  uint32_t hyperlink_colour = 0x0000FF;
  int32_t code_page = 1252;
  int32_t language = 1033;
  int32_t page_width = 12240;
};

class Database {
 public:
  virtual ~Database() = default;

  // ---- The database as a whole

  // Full absolute path of the file.  Never fails.
  virtual const std::string& Path() const = 0;
  // True when opened for reading and writing.  Never fails.
  virtual bool Writable() const = 0;
  // Commits every saved document, brings the full-text index up to date and
  // releases the file.  A document still being added (not finally saved) is
  // dropped.  After success or failure the object only accepts destruction;
  // on failure what the last batch held is rolled back and lost.
  virtual void Close() = 0;

  // The database's field marker.
  virtual char FieldMarker() = 0;
  // Sets the field marker (a printable, non-blank ASCII byte, else
  // KSENG_ERR_ARGUMENT).  Documents already written keep their text.
  virtual void SetFieldMarker(char marker) = 0;
  // Display settings; defaults where the file holds none.  Works read-only.
  virtual DisplaySettings Display() = 0;

  // ---- Adding documents

  // Starts a run of additions and returns the field marker.  Resets the count
  // that EndAdd reports.  Fails read-only.
  virtual char BeginAdd() = 0;
  // Commits every saved document and indexes what is not indexed yet; returns
  // the number of documents made since BeginAdd (or the previous EndAdd).  A
  // non-zero last_id must name an existing document or form, else the call
  // fails before committing anything.  A document still being added stays
  // pending and is not committed.
  virtual uint32_t EndAdd(uint64_t last_id) = 0;

  // True between the first piece of a document and its final save.
  virtual bool HasPendingDocument() const = 0;
  // Begins a new pending document.  Fails with KSENG_ERR_STATE when one is
  // pending, KSENG_ERR_ARGUMENT for a bad kind, KSENG_ERR_NO_DOCUMENT for a
  // form that does not exist; nothing is pending after a failure.
  virtual void StartDocument(DocumentStart start) = 0;
  // Appends text to the pending document.  kSaveFirst asks for FlushPending
  // before more text (the text was still taken).  On failure the pending
  // document is dropped.
  virtual AddStatus AddText(std::string_view text) = 0;
  // Forgets the pending document, if any.  Never fails.
  virtual void DiscardPending() = 0;
  // Moves the pending text out of memory into temporary storage (never into
  // the database file).  On failure the pending document is dropped.
  virtual AddStatus FlushPending() = 0;
  // Appends last_piece, places the document and returns its id (for an
  // append to another document: that document's id), which becomes the last
  // saved document.  anchor_name serves KSENG_LOC_AFTER_NAMED with no anchor;
  // a name that is not found fails with KSENG_ERR_NO_DOCUMENT.  Fails with
  // KSENG_ERR_STATE when nothing is pending.  Success or failure, nothing is
  // pending afterwards; after a failure nothing of the document is stored.
  virtual uint64_t SaveDocument(std::string_view anchor_name, std::string_view last_piece) = 0;
  // Makes the last saved document an entry of the form named form_name (its
  // leading field lines become the entry's fields; the text is unchanged).
  // KSENG_ERR_STATE when nothing was saved on this object yet,
  // KSENG_ERR_NO_DOCUMENT when there is no such form.
  virtual void AttachForm(std::string_view form_name) = 0;

  // ---- Entry forms and entries

  // Creates a form; returns its id.  KSENG_ERR_EXISTS when a form of that
  // name exists, KSENG_ERR_ARGUMENT for an empty or over-long name.
  virtual uint64_t CreateForm(std::string_view name, const std::vector<std::string>& fields) = 0;
  // Creates an entry of `form` with no fields and `text` as its free text at
  // `placement` (an END_OF_CURRENT placement puts it after the document
  // instead, an empty entry having nothing to append).  marker 0 means the
  // database's.  Returns its id.
  virtual uint64_t CreateEntry(uint64_t form, char marker, std::string_view text,
                               const Placement& placement) = 0;
  // Sets (or, with no value, clears) fields of an entry and rebuilds its text:
  // one field line per field that has a value, the form's fields first in the
  // form's order, then the others in the order first given, then the free
  // text.  KSENG_ERR_ARGUMENT when `entry` is not an entry.
  virtual void WriteFields(uint64_t entry, const std::vector<FieldValue>& fields) = 0;
  // A form's fields (names only, no values) or an entry's fields in text
  // order; empty for other documents.
  virtual std::vector<FieldValue> Fields(uint64_t id) = 0;
  // The form an entry was made from; 0 for any other document.
  virtual uint64_t EntryForm(uint64_t entry) = 0;

  // ---- Reading and walking

  // First document in database order (kind 1) or first form in creation
  // order (kind 2) named `name`; 0 when none.  KSENG_ERR_ARGUMENT for other
  // kinds.
  virtual uint64_t Find(int32_t kind, std::string_view name) = 0;
  // Walks: 0 at the end.  Next fails when `current` is not in the walk.
  virtual uint64_t First(Walk walk) = 0;
  virtual uint64_t Next(uint64_t current, Walk walk) = 0;
  virtual uint64_t Count(Walk walk) = 0;
  // KSENG_KIND_* of a document or form.
  virtual int32_t Kind(uint64_t id) = 0;
  // Returns the text's length; when length + 1 <= size, copies the text and
  // a terminating NUL into buffer, else leaves buffer untouched.
  virtual uint64_t ReadText(uint64_t id, char* buffer, uint64_t size) = 0;
  // The whole text.
  virtual std::string Text(uint64_t id) = 0;
  // Name of a document or form; "" when it has none.
  virtual std::string Name(uint64_t id) = 0;
  // Names a document or form; an empty name removes the name.
  virtual void SetName(uint64_t id, std::string_view name) = 0;
  // The current document (0 for none) used by locations 2 and 4.  Setting a
  // form or an unknown id fails; 0 clears it.  Works read-only.
  virtual void SetCurrent(uint64_t id) = 0;
  virtual uint64_t Current() const = 0;

  // Attachments in the order stored.  Info and Read fail with
  // KSENG_ERR_ARGUMENT for an index out of range; Read copies the content
  // into buffer when size is at least its size (else KSENG_ERR_BUFFER, buffer
  // untouched) and returns its size.
  virtual uint32_t AttachmentCount(uint64_t id) = 0;
  virtual AttachmentInfo Attachment(uint64_t id, uint32_t index) = 0;
  virtual uint64_t ReadAttachment(uint64_t id, uint32_t index, void* buffer, uint64_t size) = 0;

  // Ids of the documents whose text matches the FTS5 query, in database
  // order; documents not yet in the full-text index are searched too.
  // KSENG_ERR_QUERY when the query does not parse.  On a writable database
  // this brings the index up to date inside the open batch.
  virtual std::vector<uint64_t> Search(std::string_view query) = 0;

  // ---- Copying between databases

  // Everything needed to recreate document `id` elsewhere.
  virtual DocumentRecord ReadRecord(uint64_t id) = 0;
  // Recreates a document read with ReadRecord at `placement` and returns its
  // id (for an END_OF_CURRENT placement its text and attachments are
  // appended to that document, whose id is returned).  An entry's form is
  // found by name and created when missing.
  virtual uint64_t InsertRecord(const DocumentRecord& record, const Placement& placement) = 0;
};

}  // namespace ks::engine
