// AttachmentImportContext: the import context of one mail attachment
// imported into the end of its message's document.  The attachment has an
// import handle of its own, so its progress and its count of documents never
// touch the mail import's; its log lines go to the mail import's log, where
// the host reads them, and its errors are kept here for the one line the
// mail import logs about a failed attachment.
#pragma once

#include <cstdint>
#include <string_view>

#include "api/import_session.h"
#include "core/import_context.h"

class AttachmentImportContext final : public ImportContext {
 public:
  // `message_import` is the context of the mail import, which outlives this
  // one; `handle` the attachment's own import handle; `message_document`
  // the document the attachment's text is appended to.
  AttachmentImportContext(CImportSession& session, ImportContext& message_import, uint32_t handle,
                          SETDATA options, uint64_t message_document)
      : session_(session),
        message_import_(message_import),
        handle_(handle),
        options_(std::move(options)),
        last_document_(message_document) {}

  uint32_t import_handle() const override { return handle_; }
  const SETDATA& options() const override { return options_; }
  uint32_t database() const override { return message_import_.database(); }
  const AttachmentRules& attachment_rules() const override {
    return message_import_.attachment_rules();
  }
  const ks::core::SourceCodePages& code_pages() const override {
    return message_import_.code_pages();
  }

  // Aborting the mail import aborts its attachment; so does an abort that
  // released the attachment's handle.
  bool IsAborted() override;
  // The first code is kept for the mail import's log; the host's error stays
  // the mail import's.
  void RecordError(uint32_t code) override {
    if (first_error_ == 0) first_error_ = code;
  }
  void Log(std::string_view line) override { message_import_.Log(line); }

  uint64_t CurrentBytes() override { return session_.handles().CurrentBytes(handle_); }
  void SetCurrentBytes(uint64_t bytes) override {
    session_.handles().SetCurrentBytes(handle_, bytes);
  }
  void AddDocumentsAdded(uint32_t count) override {
    session_.handles().AddDocumentsAdded(handle_, count);
  }
  // Starts as the message's document: the document writer puts the text of
  // an import at the end of the current document after the import's last
  // document, so the attachment lands in the message's.
  uint64_t LastDocument() override { return last_document_; }
  void SetLastDocument(uint64_t document) override { last_document_ = document; }
  void RecordDocumentSaved(uint64_t document, uint64_t bytes) override;

  // The first error the attachment's importer recorded; 0 for none.
  uint32_t first_error() const { return first_error_; }

 private:
  CImportSession& session_;
  ImportContext& message_import_;
  uint32_t handle_;
  SETDATA options_;
  uint64_t last_document_;
  uint32_t first_error_ = 0;
};
