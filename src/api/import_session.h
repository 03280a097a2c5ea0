// CImportSession: the one process-wide import session behind the KSIMP_
// functions.  It owns every live import handle record, the queue of sources
// to import, the error list, the log and the attachments waiting to be
// imported, and it performs the import run (import_run.cpp).  The requests
// that the exported functions pass on are in import_requests.cpp.
//
// Locking: the visible SessionLock (session_lock.h) is taken by every
// operation on the handle records or the queue, with its documented
// "go on when already held" behaviour.  Because that lock alone does not
// exclude a second thread, the records, the queue and the attachments also
// sit behind data_mutex_, taken for the few instructions of each operation
// and never while calling out (engine, importer, file system).  Counters that
// the host polls are therefore read as a copy made under data_mutex_, and the
// session's flags are atomics.  Order: SessionLock before data_mutex_.
#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "api/error_list.h"
#include "api/handle_record.h"
#include "api/import_attachment.h"
#include "api/import_log.h"
#include "api/session_lock.h"
#include "core/importer_table.h"
#include "core/setdata.h"

class CImportSession {
 public:
  CImportSession();
  CImportSession(const CImportSession&) = delete;
  CImportSession& operator=(const CImportSession&) = delete;

  // ---- Handle records -------------------------------------------------
  // A new record with a random, non-zero handle that no live record uses.
  uint32_t CreateHandle(uint32_t database, bool owns_database);
  // Restarts the handle sequence, as a second session started in the same
  // second would; used to prove that live values are never handed out twice.
  void SeedHandleGenerator(uint32_t seed);
  void RemoveHandle(uint32_t handle);
  bool HandleExists(uint32_t handle);
  std::optional<ImportHandleRecord> GetHandleRecord(uint32_t handle);

  // Setters return false for an unknown handle; getters answer 0.
  bool SetAborted(uint32_t handle);
  bool IsAborted(uint32_t handle);
  bool AddTotalBytes(uint32_t handle, uint64_t bytes);
  bool AddCurrentBytes(uint32_t handle, uint64_t bytes);
  bool SetCurrentBytes(uint32_t handle, uint32_t bytes);
  bool SetDocumentsAdded(uint32_t handle, uint32_t count);
  bool AddDocumentsAdded(uint32_t handle, uint32_t count);
  // The last document the import wrote (the per-import 64-bit value), so
  // that the documents of the next file follow those of the last one.
  bool SetLastDocument(uint32_t handle, uint64_t document);
  // A document saved: it becomes the last one, the count goes up by one and
  // the progress moves to `bytes`, under one take of the lock (this runs
  // once per imported row).
  bool RecordDocumentSaved(uint32_t handle, uint64_t document, uint32_t bytes);
  uint32_t GetTotalBytes(uint32_t handle);
  uint32_t GetCurrentBytes(uint32_t handle);
  uint32_t GetDocumentsAdded(uint32_t handle);

  // ---- Queue of sources -------------------------------------------------
  // Appends the record; false when its handle is unknown.
  bool Queue(SETDATA record);
  std::optional<SETDATA> FirstQueued(uint32_t handle);
  void RemoveFirstQueued(uint32_t handle);
  bool AnyQueuedOfType(int32_t file_type);
  size_t QueuedCount(uint32_t handle);

  // ---- Attachments waiting to be imported --------------------------------
  void AddAttachment(tagIMPORTATTACH attachment);
  size_t AttachmentCount();

  // ---- Errors and log ---------------------------------------------------
  void RecordError(uint32_t handle, uint32_t code) { errors_.Record(handle, code); }
  uint32_t GetLastImportError(uint32_t handle) const { return errors_.LastError(handle); }
  void AddLogText(uint32_t handle, std::string text) { log_.Add(handle, std::move(text)); }
  bool IsLogData(uint32_t handle) const { return log_.HasText(handle); }
  uint32_t GetLogData(uint32_t handle, char* buffer, int32_t size) {
    return log_.Read(handle, buffer, size);
  }

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
  uint32_t ImportDlg(uint32_t handle, void* parent_window, uint32_t* result);
  uint32_t ImportOutlookDlg(uint32_t handle, void* parent_window, uint32_t* result);
  uint32_t ImportWizard(uint32_t handle, void* parent_window);
  uint32_t Abort(uint32_t handle);
  uint32_t GetCurFile(uint32_t handle, char* buffer);
  uint32_t ImportEmail(uint32_t handle, int64_t* carry, uint32_t* result);

  // ---- Import run (import_run.cpp) --------------------------------------
  // KSIMP_Import: runs the handle's queue and releases the handle.
  uint32_t Import(uint32_t handle, int32_t host_value1, int32_t host_value2, int64_t* carry,
                  uint32_t* result);
  // The run loop alone; returns the last result code.
  uint32_t RunImport(uint32_t handle, int64_t* carry, uint32_t* result);
  // Drops the handle's queued sources and its record, closing the database
  // when the session opened it.
  void ReleaseHandle(uint32_t handle);
  // The factory the run creates importers with; an empty one restores the
  // importer table.
  void SetImporterFactory(ImporterFactory factory);

  SessionLock& Lock() { return lock_; }

 private:
  // Both need data_mutex_ held.
  ImportHandleRecord* FindRecordLocked(uint32_t handle);
  bool IsHandleLiveLocked(uint32_t handle) const;

  // Drops the handle's queued sources and record without touching the
  // database.
  void DiscardHandle(uint32_t handle);
  // Imports one name of a queued record; false when the run must end.
  bool ImportOneFile(uint32_t handle, uint32_t database, const SETDATA& queued,
                     const std::string& file_name, bool first_file, int64_t* carry,
                     uint32_t* result_code);
  void CommitAddedDocuments(uint32_t handle, uint32_t database, uint32_t* result_code);
  void AddSourceSizeToTotal(const SETDATA& record);
  bool DialogArgumentsValid(uint32_t handle, void* parent_window, uint32_t* result,
                            bool needs_result);
  uint32_t ReportNoDialog(uint32_t handle, void* parent_window, const char* what);

  SessionLock lock_;

  std::mutex data_mutex_;
  // Set once any import was ever asked to stop: until then the abort test,
  // made for every record imported, needs no lock at all.
  std::atomic<bool> any_abort_requested_{false};
  std::list<ImportHandleRecord> records_;     // guarded by data_mutex_
  std::list<SETDATA> queue_;                  // guarded by data_mutex_, in call order
  std::vector<tagIMPORTATTACH> attachments_;  // guarded by data_mutex_, in order
  std::mt19937 handle_generator_;             // guarded by data_mutex_

  ImportErrorList errors_;
  ImportLog log_;

  std::atomic<bool> email_mode_{false};
  std::atomic<bool> importing_attachments_{false};  // GetCurFile shows 14127 while set
  std::atomic<int32_t> host_value1_{0};             // kept for the length of KSIMP_Import
  std::atomic<int32_t> host_value2_{0};
  std::atomic<void*> owner_window_{nullptr};  // owner of later status windows

  ImporterFactory importer_factory_;  // set before a run, read by the run only
};
