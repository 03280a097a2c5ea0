#include "core/document_writer.h"

#include "core/error_codes.h"
#include "ks_eng5.h"

CDocumentWriter::CDocumentWriter(ImportContext& context, uint32_t database, int32_t kind)
    : context_(context),
      database_(database),
      options_(context.options()),
      kind_(kind),
      // Documents of a later file of the same import follow those of the earlier.
      last_document_(context.LastDocument()) {}

CDocumentWriter::~CDocumentWriter() {
  Abandon();
}

bool CDocumentWriter::Begin() {
  if (!options_.use_entry_form || options_.entry_form_name.empty()) return true;
  const int64_t form =
      EngFindDocument(database_, KSENG_KIND_FORM, options_.entry_form_name.c_str());
  if (form <= 0) {
    context_.RecordError(error_code::kCannotOpenEntryForm);
    return false;
  }
  form_ = static_cast<uint64_t>(form);
  return true;
}

int32_t CDocumentWriter::AddPiece(std::string_view text) {
  uint64_t anchor = last_document_;
  if (anchor == 0 && options_.import_location == KSENG_LOC_AFTER_NAMED &&
      !options_.named_document.empty()) {
    const int64_t named =
        EngFindDocument(database_, KSENG_KIND_TEXT, options_.named_document.c_str());
    if (named > 0) anchor = static_cast<uint64_t>(named);
  }
  const auto length = static_cast<uint32_t>(text.size());
  // Attachments go with the first piece of a document only.
  std::vector<KSENG_ATTACHMENT> attachments;
  if (!in_document_) {
    for (const Attachment& file : attachments_) {
      attachments.push_back(
          {file.name.c_str(), KSENG_ATTACH_FILE, 0, file.content.data(), file.content.size()});
    }
  }
  const auto count = static_cast<uint32_t>(attachments.size());
  const KSENG_ATTACHMENT* first = attachments.empty() ? nullptr : attachments.data();
  int32_t status;
  if (form_ != 0) {
    status = EngAddDocumentWithForm(database_, text.data(), 1, length, kind_,
                                    options_.import_location, anchor, form_, first, count, 0, 0);
  } else {
    status = EngAddDocument(database_, text.data(), 1, length, kind_, options_.import_location,
                            anchor, first, count);
  }
  if (!in_document_) attachments_.clear();
  return status;
}

CDocumentWriter::Outcome CDocumentWriter::Save(std::string_view text, bool end_of_document,
                                               uint64_t source_position) {
  // The engine reads a zero length as "up to the terminator", so an empty
  // piece is never handed over; an empty document is no document at all.
  if (!text.empty()) {
    int32_t status = AddPiece(text);
    in_document_ = true;
    while (status == KSENG_STATUS_SAVE_FIRST) {
      if (context_.IsAborted()) {
        Abandon();
        return Outcome::kAborted;
      }
      status = EngSaveDocument(database_, nullptr, nullptr, 0, nullptr);
    }
    if (status != KSENG_STATUS_TAKEN) {
      // Before the cancel, which sets the engine's last error anew.
      const Outcome refused = Refused();
      Abandon();
      return refused;
    }
    if (!end_of_document) {
      context_.SetCurrentBytes(source_position);
    }
  }
  if (!end_of_document) return Outcome::kSaved;
  if (!in_document_) {
    context_.SetCurrentBytes(source_position);
    return Outcome::kSaved;
  }
  return Finish(source_position);
}

CDocumentWriter::Outcome CDocumentWriter::Finish(uint64_t source_position) {
  // A named document that does not exist makes the engine refuse the save.
  const char* named = (last_document_ == 0 && options_.import_location == KSENG_LOC_AFTER_NAMED &&
                       !options_.named_document.empty())
                          ? options_.named_document.c_str()
                          : nullptr;
  uint64_t id = 0;
  int32_t status;
  while ((status = EngSaveDocument(database_, named, nullptr, 1, &id)) == KSENG_STATUS_SAVE_FIRST) {
  }
  in_document_ = false;
  if (status != KSENG_STATUS_TAKEN || id == 0) return Refused();
  if (form_ != 0 && !EngAttachForm(database_, options_.entry_form_name.c_str())) {
    return Refused();
  }
  last_document_ = id;
  ++documents_saved_;
  context_.RecordDocumentSaved(id, source_position);
  return Outcome::kSaved;
}

CDocumentWriter::Outcome CDocumentWriter::Refused() {
  engine_error_ = EngLastError(0);
  return Outcome::kFailed;
}

void CDocumentWriter::Abandon() {
  if (!in_document_) return;
  EngCancelDocument(database_);
  in_document_ = false;
}
