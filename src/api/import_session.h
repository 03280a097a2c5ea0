// CImportSession: the one process-wide import session behind the KSIMP_
// functions.  It is made of
//  - the handle registry: the live import handles and their counters;
//  - the queue of sources to import;
//  - the error list, the log and what became of each file, which outlive
//    their handles;
//  - the attachments waiting to be imported and the session's flags;
// and it carries out the requests of the exported functions
// (import_requests.cpp) and the import run (import_run.cpp).
//
// Locking: the registry and the queue share the session's locks and take
// them only through SessionGuard (session_guard.h), which keeps the
// session's "go on when already held" lock in one place.  The error list and
// the log have their own mutex; the flags are atomics.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "api/email_import.h"
#include "api/error_list.h"
#include "api/file_outcomes.h"
#include "api/handle_registry.h"
#include "api/host_password_prompt.h"
#include "api/import_attachment.h"
#include "api/import_log.h"
#include "api/import_queue.h"
#include "api/session_guard.h"
#include "core/import_context.h"
#include "core/setdata.h"
#include "registry/file_type_table.h"

class CImportSession {
 public:
  CImportSession();
  CImportSession(const CImportSession&) = delete;
  CImportSession& operator=(const CImportSession&) = delete;

  HandleRegistry& handles() { return handles_; }
  ImportQueue& queue() { return queue_; }

  // ---- Errors and log ---------------------------------------------------
  void RecordError(uint32_t handle, uint32_t code) { errors_.Record(handle, code); }
  uint32_t GetLastImportError(uint32_t handle) const { return errors_.LastError(handle); }
  void AddLogText(uint32_t handle, std::string text) {
    outcomes_.AddLog(handle, text);
    log_.Add(handle, std::move(text));
  }
  bool IsLogData(uint32_t handle) const { return log_.HasText(handle); }
  uint32_t GetLogData(uint32_t handle, char* buffer, int32_t size) {
    return log_.Read(handle, buffer, size);
  }

  // What became of the handle's file `index` in its last run.
  std::optional<FileOutcome> GetFileOutcome(uint32_t handle, uint32_t index) const {
    return outcomes_.Find(handle, index);
  }

  // ---- Attachments waiting to be imported --------------------------------
  void AddAttachment(tagIMPORTATTACH attachment);
  // Takes the entry of the attachment imported under `import_handle` off the
  // list; nothing when an abort has emptied the list already.
  void RemoveAttachment(uint32_t import_handle);
  size_t AttachmentCount();

  // ---- Session flags ----------------------------------------------------
  bool IsEmailMode() const { return email_mode_.load(); }
  void SetEmailMode(bool on) { email_mode_.store(on); }
  bool IsImportingAttachments() const { return importing_attachments_.load(); }
  void SetImportingAttachments(bool on) { importing_attachments_.store(on); }
  int32_t HostValue1() const { return host_value1_.load(); }
  int32_t HostValue2() const { return host_value2_.load(); }
  void* OwnerWindow() const { return owner_window_.load(); }

  // ---- Requests of the exported functions (import_requests.cpp) ---------
  uint32_t InitImportUsingFileName(const char* path);
  uint32_t InitImportUsingFileHandle(uint32_t database);
  uint32_t AddFileToImport(SETDATA record);
  // Names the character set of the sources queued after it ("" restores
  // the origin's rule, "auto" detects it per file); 11030 for a name no
  // one knows.
  uint32_t SetSourceCharset(uint32_t handle, const std::string& charset);
  // The login group and password of the protected Kestro databases queued
  // after it (both empty: none).
  uint32_t SetSourceCredentials(uint32_t handle, const std::string& login_group,
                                const std::string& password);
  // Opens a database, asking the password prompt when it is protected.
  uint32_t OpenDatabase(const char* path, int32_t access_mode, int32_t share_mode,
                        uint32_t* engine_error);
  // The entry-form choices of the database at `path`, one per line.
  uint32_t GetEntryFormNames(const char* path, char* buffer, int32_t size);
  // The host's password prompt (KSIMP_SetPasswordPrompt).
  HostPasswordPrompt& password_prompt() { return password_prompt_; }
  // The code pages the user configured for undeclared 8-bit text.
  static ks::core::SourceCodePages ConfiguredCodePages();
  uint32_t ImportDlg(uint32_t handle, void* parent_window, uint32_t* result);
  uint32_t ImportOutlookDlg(uint32_t handle, void* parent_window, uint32_t* result);
  uint32_t ImportWizard(uint32_t handle, void* parent_window);
  uint32_t Abort(uint32_t handle);
  uint32_t GetCurFile(uint32_t handle, char* buffer);

  // ---- E-mail imports (email_import_run.cpp) ----------------------------
  uint32_t InitEmailImportUsingFileHandle(uint32_t database);
  uint32_t AddEmailProfileToImport(uint32_t handle, const char* profile);
  void AddKSFileHandle(uint32_t handle, uint32_t database);
  // The e-mail wizard and the profile list: dialogs, not shown in this build.
  uint32_t ImportEmailWizard(void* parent_window);
  uint32_t ImportEmailProfileDialog();
  // KSIMP_ImportEmail: runs the queued profiles and ends the e-mail import.
  uint32_t ImportEmail(uint32_t handle, int64_t* carry, uint32_t* result);
  EmailImport& email() { return email_; }
  // The handle whose counters answer the host's progress queries and whose
  // abort flag KSIMP_Abort sets: for the e-mail import's handle, that of the
  // profile being run; any other handle answers for itself.
  uint32_t ProgressHandleOf(uint32_t handle);

  // ---- Import run (import_run.cpp) --------------------------------------
  // KSIMP_Import: runs the handle's queue and releases the handle, whatever
  // an importer throws (the error is then 11001, what was whole is kept).
  uint32_t Import(uint32_t handle, int32_t host_value1, int32_t host_value2, int64_t* carry,
                  uint32_t* result);
  // The run loop alone; returns the last result code.
  uint32_t RunImport(uint32_t handle, int64_t* carry, uint32_t* result);
  // Drops the handle's queued sources and its record, closing the database
  // when the session opened it.
  void ReleaseHandle(uint32_t handle);
  // The factory the run creates importers with; an empty one restores the
  // file-type table.
  void SetImporterFactory(ImporterFactory factory);
  // An importer from that factory, for a file the run imports on the way (a
  // mail attachment).
  CreatedImporter CreateImporter(int32_t file_type) { return importer_factory_(file_type); }

  SessionLock& Lock() { return locks_.session; }

 private:
  // Drops the handle's queued sources and record without touching the
  // database.
  void DiscardHandle(uint32_t handle);
  // Imports one name of a queued record; false when the run must end.
  bool ImportOneFile(uint32_t handle, uint32_t database, const SETDATA& queued,
                     const std::string& file_name, bool first_file, int64_t* carry,
                     uint32_t* result_code);
  // How far the file last imported under `handle` was taken, as its
  // importer said (ImportContext::SetImportedUpTo).
  std::optional<uint64_t> ImportedUpTo(uint32_t handle);
  // Commits what the importer of `file_name` (empty when not known) added;
  // a failure is recorded, logged with its cause, and sets *result_code to 0.
  void CommitAddedDocuments(uint32_t handle, uint32_t database, const std::string& file_name,
                            uint32_t* result_code);
  // Starts and ends the outcome of one file: its share of the handle's
  // documents and errors is told by where they stood when it began.
  // `reason` is the error when none was recorded while it ran
  // (KSIMP_ERR_NONE: none).
  void BeginFileOutcome(uint32_t handle, const std::string& file_name, int32_t file_type);
  void FinishFileOutcome(uint32_t handle, bool imported_whole, uint32_t reason);
  // Sets the count of documents added to what the database really holds
  // beyond the documents it had when the run began.
  void RecountDocumentsAdded(uint32_t handle, uint32_t database);
  // What one profile of the e-mail import did.
  struct EmailProfileRun {
    bool succeeded = false;  // nothing failed (an abort is no failure)
    bool aborted = false;
    uint32_t documents = 0;
  };
  EmailProfileRun RunEmailProfile(const EmailImport::Item& item, int64_t* carry);
  AttachmentRules AttachmentRulesOf(uint32_t handle);
  void AddSourceSizeToTotal(const SETDATA& record);
  bool DialogArgumentsValid(uint32_t handle, void* parent_window, uint32_t* result,
                            bool needs_result);
  uint32_t ReportNoDialog(uint32_t handle, void* parent_window, const char* what);

  SessionLocks locks_;
  HandleRegistry handles_{locks_};
  ImportQueue queue_{locks_, handles_};
  std::vector<tagIMPORTATTACH> attachments_;  // guarded by the locks, in order
  EmailImport email_{locks_};

  ImportErrorList errors_;
  ImportLog log_;
  FileOutcomes outcomes_;

  std::atomic<bool> email_mode_{false};
  std::atomic<bool> importing_attachments_{false};  // GetCurFile shows 14127 while set
  std::atomic<int32_t> host_value1_{0};             // kept for the length of KSIMP_Import
  std::atomic<int32_t> host_value2_{0};
  std::atomic<void*> owner_window_{nullptr};  // owner of later status windows

  ImporterFactory importer_factory_;  // set before a run, read by the run only
  HostPasswordPrompt password_prompt_;
};
