// The import run: takes the queued sources of one handle in order, creates an
// importer for each file name, runs it and records the outcome.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "api/file_names.h"
#include "api/file_type_offers.h"
#include "api/import_session.h"
#include "api/session_import_context.h"
#include "core/temp_import_folder.h"
#include "core/config_store.h"
#include "core/engine_refusal.h"
#include "core/error_codes.h"
#include "ks_eng5.h"
#include "registry/file_type_table.h"

uint32_t CImportSession::Import(uint32_t handle, int32_t host_value1, int32_t host_value2,
                                int64_t* carry, uint32_t* result) {
  // The e-mail import's handle runs its profiles even when an abort has
  // already ended e-mail mode: it then imports nothing and is released.
  if (IsEmailMode() || email_.Owns(handle)) return ImportEmail(handle, carry, result);

  SetImportingAttachments(false);
  host_value1_.store(host_value1);
  host_value2_.store(host_value2);
  uint32_t code = 0;
  try {
    code = RunImport(handle, carry, result);
  } catch (...) {
    // Whatever an importer let out (a reader thread's failure, memory
    // running out): the document it was in the middle of is already dropped
    // by the unwinding; what was whole is committed, the error recorded, and
    // the handle released below like after any run.
    RecordError(handle, error_code::kInternal);
    if (const auto record = handles_.Find(handle)) {
      uint32_t ignored = 0;
      CommitAddedDocuments(handle, record->database, std::string(), &ignored);
      RecountDocumentsAdded(handle, record->database);
    }
    FinishFileOutcome(handle, false, error_code::kInternal);
    code = 0;
  }

  // The outcome as a trace line; no trace sink exists in this build, so
  // nothing reads it.
  const std::string trace = fmt::format("returning from import, error code ={}", code);
  static_cast<void>(trace);

  SetEmailMode(false);
  // A run that ended early leaves the handle behind; the handle is done
  // either way.
  ReleaseHandle(handle);
  return code;
}

uint32_t CImportSession::RunImport(uint32_t handle, int64_t* carry, uint32_t* result) {
  const std::optional<ImportHandleRecord> record = handles_.Find(handle);
  if (!record) return 0;
  // One count per run, so that a failure can tell what really arrived; the
  // engine keeps the count, it reads no table.
  const uint64_t documents_at_start = EngCountDocuments(record->database, KSENG_WALK_DOCUMENTS);
  handles_.Update(handle, [documents_at_start](ImportHandleRecord& r) {
    r.documents_at_start = documents_at_start;
  });
  outcomes_.Forget(handle);

  bool first_file = true;
  uint32_t code = 1;
  int32_t last_type = 0;
  while (const std::optional<SETDATA> queued = queue_.First(handle)) {
    last_type = queued->file_type;
    for (const std::string& name : SplitFileNames(queued->file_name)) {
      if (!ImportOneFile(handle, record->database, *queued, name, first_file, carry, &code)) {
        return 0;
      }
      first_file = false;
    }
  }

  if (last_type != 0) file_type_offers::RememberLastUsedFileType(record->database, last_type);

  const std::optional<ImportHandleRecord> final_record = handles_.Find(handle);
  // Written even when the last file failed: the host shows what did arrive.
  if (result != nullptr) *result = final_record ? final_record->documents_added : 0;
  if (final_record && final_record->owns_database) EngCloseDatabase(final_record->database);
  handles_.Remove(handle);
  return code;
}

// Where the run's importers may read attachment files from: the folders the
// user keeps in the configuration and those the host added for this import;
// the size limit the host set, else the configured one, else the default.
AttachmentRules CImportSession::AttachmentRulesOf(uint32_t handle) {
  AttachmentRules rules;
  try {
    const ks::core::ConfigStore store = ks::core::ConfigStore::Load();
    const ks::core::ProfileFile& configuration = store.values();
    if (auto folders = configuration.Get(ks::core::kImportSettingsKey, "AttachmentFolders")) {
      for (const std::string& folder : SplitFileNames(*folders)) rules.folders.push_back(folder);
    }
    if (auto limit = configuration.Get(ks::core::kImportSettingsKey, "AttachmentMaxBytes")) {
      const uint64_t bytes = std::strtoull(limit->c_str(), nullptr, 10);
      if (bytes > 0) rules.max_bytes = bytes;
    }
  } catch (const ks::core::ConfigError&) {
    // A damaged configuration is reported where the file types are read;
    // attachments then come from the mailbox's folder tree alone.
  }
  if (const auto record = handles_.Find(handle)) {
    rules.folders.insert(rules.folders.end(), record->attachment_folders.begin(),
                         record->attachment_folders.end());
    if (record->attachment_max_bytes > 0) rules.max_bytes = record->attachment_max_bytes;
  }
  return rules;
}

// The code pages the user configured for undeclared 8-bit text; the
// defaults when the configuration cannot be read.
ks::core::SourceCodePages CImportSession::ConfiguredCodePages() {
  try {
    return ks::core::CodePagesOf(ks::core::ConfigStore::Load().values());
  } catch (const ks::core::ConfigError&) {
    return {};
  }
}

bool CImportSession::ImportOneFile(uint32_t handle, uint32_t database, const SETDATA& queued,
                                   const std::string& file_name, bool first_file, int64_t* carry,
                                   uint32_t* result_code) {
  SETDATA options = queued;
  options.file_name = file_name;
  options.file_type = ks::registry::ImportedAs(queued.file_type);
  // The context outlives the importer, which keeps a reference to it.
  SessionImportContext context(*this, handle, database, options, AttachmentRulesOf(handle),
                               ConfiguredCodePages());

  BeginFileOutcome(handle, file_name, queued.file_type);
  handles_.Update(handle, [](ImportHandleRecord& r) { r.imported_up_to.reset(); });
  CreatedImporter created = importer_factory_(options.file_type);
  bool imported_whole = false;
  switch (created.outcome) {
    case CreatedImporter::Outcome::kNoImporter:
      // The run ends without recording an error, as hosts have always seen
      // it; the file's own outcome says why it was not imported.
      FinishFileOutcome(handle, false, error_code::kUnsupportedFileType);
      return false;
    case CreatedImporter::Outcome::kAcceptedWithoutImporter:
      *result_code = 1;
      imported_whole = true;
      break;
    case CreatedImporter::Outcome::kCreated: {
      CIMPImportBase& importer = *created.importer;
      *result_code = static_cast<uint32_t>(importer.Prepare(context));
      if (*result_code == 0) break;  // the importer skips this file
      if (carry != nullptr && *carry > 0) importer.SetCarry(*carry);
      importer.SetFirstFile(first_file);
      *result_code = static_cast<uint32_t>(importer.Run());
      if (carry != nullptr) *carry = importer.GetCarry();
      uint32_t committed = 1;
      CommitAddedDocuments(handle, database, file_name, &committed);
      if (committed == 0) {
        *result_code = 0;
        // What the importer took is not all in the database.
        handles_.Update(handle, [](ImportHandleRecord& r) { r.imported_up_to.reset(); });
      }
      // The documents counted as they were saved are not all in the database
      // when the engine lost a batch (a full disk): count what is there.
      if (*result_code == 0) RecountDocumentsAdded(handle, database);
      // Only a source imported whole is deleted: one cut short (a blank line
      // that ends a delimited file, an abort, a mailbox that gave nothing)
      // still holds what the database lacks.
      imported_whole = *result_code == 1 && importer.ImportedWhole();
      if (queued.delete_after_import == 1) {
        if (imported_whole) {
          const std::string kept = DeleteTempImportFile(file_name);
          if (!kept.empty()) context.Log(kept);
        } else {
          context.Log(fmt::format("{} was not imported whole and is kept.", file_name));
        }
      }
      break;
    }
  }
  FinishFileOutcome(handle, imported_whole, error_code::kNoError);
  // Once per file NAME, not per record: a record of n names also takes the
  // next n - 1 records of the handle off the queue unimported.  Hosts queue
  // either one multi-name record or several single-name ones, and existing
  // hosts see exactly this behaviour, so it stays.
  queue_.RemoveFirst(handle);
  return true;
}

// Makes sure what the importer added is committed before the next file: the
// engine batches additions and commits them at EngEndAdd.  A handle that the
// engine does not take additions on (read-only, or unknown to it) has nothing
// to commit.
void CImportSession::CommitAddedDocuments(uint32_t handle, uint32_t database,
                                          const std::string& file_name, uint32_t* result_code) {
  char marker = '[';
  if (EngBeginAdd(database, &marker) == 0) return;
  uint32_t committed = 0;
  if (EngEndAdd(database, 0, 0, marker, &committed) == 0) {
    const uint32_t cause = EngLastError(0);
    RecordError(handle, error_code::kCannotSaveDocument);
    AddLogText(handle, CommitFailedText(cause, database, file_name) + "\r\n");
    *result_code = 0;
  }
}

void CImportSession::BeginFileOutcome(uint32_t handle, const std::string& file_name,
                                      int32_t file_type) {
  const auto record = handles_.Find(handle);
  outcomes_.Begin(handle, file_name, file_type, record ? record->documents_added : 0,
                  errors_.Count(handle));
}

void CImportSession::FinishFileOutcome(uint32_t handle, bool imported_whole, uint32_t reason) {
  const std::optional<FileOutcome> open = outcomes_.Open(handle);
  if (!open) return;
  const auto record = handles_.Find(handle);
  uint32_t error = errors_.FirstAfter(handle, open->errors_before);
  if (error == error_code::kNoError && reason != error_code::kNoError) error = reason;
  outcomes_.Finish(handle, record ? record->documents_added : open->documents_before, error,
                   imported_whole);
}

void CImportSession::RecountDocumentsAdded(uint32_t handle, uint32_t database) {
  const uint64_t now = EngCountDocuments(database, KSENG_WALK_DOCUMENTS);
  if (EngLastError(0) != KSENG_OK) return;  // the count the importers kept stays
  handles_.Update(handle, [now](ImportHandleRecord& r) {
    const uint64_t added = now > r.documents_at_start ? now - r.documents_at_start : 0;
    r.documents_added = static_cast<uint32_t>(std::min<uint64_t>(added, UINT32_MAX));
  });
}

void CImportSession::ReleaseHandle(uint32_t handle) {
  const std::optional<ImportHandleRecord> record = handles_.Find(handle);
  if (!record) return;
  DiscardHandle(handle);
  if (record->owns_database) EngCloseDatabase(record->database);
}

void CImportSession::SetImporterFactory(ImporterFactory factory) {
  importer_factory_ = factory ? std::move(factory) : ImporterFactory(CreateImporterFromTable);
}
