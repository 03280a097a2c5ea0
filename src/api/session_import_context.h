// SessionImportContext: the import context of one file of a session's import
// run.  Everything the importer reports lands in the session, against the
// run's import handle.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "api/import_session.h"
#include "core/import_context.h"

class SessionImportContext final : public ImportContext {
 public:
  // The attachment rules default to the mailbox's own folder tree and the
  // default size limit.
  SessionImportContext(CImportSession& session, uint32_t handle, uint32_t database, SETDATA options,
                       AttachmentRules attachment_rules = {},
                       ks::core::SourceCodePages code_pages = {})
      : session_(session),
        handle_(handle),
        database_(database),
        options_(std::move(options)),
        attachment_rules_(std::move(attachment_rules)),
        code_pages_(std::move(code_pages)) {}

  uint32_t import_handle() const override { return handle_; }
  const SETDATA& options() const override { return options_; }
  uint32_t database() const override { return database_; }
  const AttachmentRules& attachment_rules() const override { return attachment_rules_; }
  const ks::core::SourceCodePages& code_pages() const override { return code_pages_; }

  ks::core::PasswordPrompt* password_prompt() override {
    return session_.password_prompt().IfSet();
  }

  bool IsAborted() override { return session_.handles().IsAborted(handle_); }
  void RecordError(uint32_t code) override { session_.RecordError(handle_, code); }
  void Log(std::string_view line) override;

  uint64_t CurrentBytes() override { return session_.handles().CurrentBytes(handle_); }
  void SetCurrentBytes(uint64_t bytes) override {
    session_.handles().SetCurrentBytes(handle_, bytes);
  }
  void AddDocumentsAdded(uint32_t count) override {
    session_.handles().AddDocumentsAdded(handle_, count);
  }
  void SetImportedUpTo(uint64_t mark) override {
    session_.handles().Update(handle_, [mark](ImportHandleRecord& r) { r.imported_up_to = mark; });
  }
  uint64_t LastDocument() override;
  void SetLastDocument(uint64_t document) override;
  void RecordDocumentSaved(uint64_t document, uint64_t bytes) override;
  // Through the importer of the attachment's type, under an import handle
  // of its own (attachment_import.h).
  bool ImportAttachmentIntoDocument(const std::string& file_name,
                                    std::string_view content) override;

 private:
  CImportSession& session_;
  uint32_t handle_;
  uint32_t database_;
  SETDATA options_;
  AttachmentRules attachment_rules_;
  ks::core::SourceCodePages code_pages_;
};
