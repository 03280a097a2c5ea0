// CIMPImportBase: the one frame every importer runs in.  The import run
// creates one importer per file name, prepares it with the file's import
// context, hands it the carry value and the first-file flag, runs it once and
// destroys it.
//
// Run() is the frame, the same for every format:
//  1. an import aborted before the file began stops at once, keeping what
//     the files before it stored;
//  2. begin adding: the engine is asked to take additions and gives the
//     database's field marker (EngBeginAdd); the document writer is set up
//     after the documents the import made before, with the import's entry
//     form (14001 when the database has none); before that the source is
//     set up to hand out UTF-8 by what the format reads (SourceText(),
//     core/source_decoding.h), so every format splits and stores text that
//     is valid UTF-8 (a character set nobody knows fails with 11030);
//  3. the importer feeds the frame (ImportSource): with RunBlockLoop (the
//     source cut into documents block by block: text, HTML, rich text), with
//     the text family's record loop, or with a reader of its own; every
//     piece goes to SavePiece, every failure to Fail;
//  4. finish: a whole import moves the progress to the end of the source; a
//     document left unfinished is dropped whole.
// Importers reach the session, the engine's progress counters and the log
// only through the context (ImportContext).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/document_writer.h"
#include "core/import_context.h"
#include "core/setdata.h"
#include "core/source_decoding.h"
#include "core/source_file.h"

class CIMPImportBase {
 public:
  CIMPImportBase() = default;
  CIMPImportBase(const CIMPImportBase&) = delete;
  CIMPImportBase& operator=(const CIMPImportBase&) = delete;
  virtual ~CIMPImportBase() = default;

  // 1 when this importer can read `file_name`, 0 when it refuses it.
  virtual int CheckFile(const std::string& file_name) = 0;

  // One integer setting of the importer that callers may ask for.
  virtual int IntegerProperty() const = 0;

  // Keeps the context (which outlives the importer's run) and opens the
  // source.  Returns 0 to skip the file: it could not be opened, and the
  // failure is recorded (11024) and logged.  Non-zero runs it.
  virtual int Prepare(ImportContext& context);

  // Imports the prepared source: 1 on success (an abort included), 0 on
  // failure with its error recorded.  Called once per importer.
  virtual int Run();

  // Whether the last Run() imported every document of the source: it
  // succeeded, was not aborted, and its format did not stop short of the
  // source's end.
  virtual bool ImportedWhole() const { return ran_ && !failed_ && !aborted_ && !stopped_short_; }

  // A signed value that travels from one file's importer to the next and
  // back to the host.
  void SetCarry(int64_t carry) { carry_ = carry; }
  int64_t GetCarry() const { return carry_; }

  // Whether this is the first file of the import run.
  void SetFirstFile(bool first_file) { first_file_ = first_file; }
  bool IsFirstFile() const { return first_file_; }

  // The text of the last failed file operation, kept for the log.
  void SetLastErrorText(std::string text) { last_error_text_ = std::move(text); }
  const std::string& LastErrorText() const { return last_error_text_; }

 protected:
  // ---- What a format adds to the frame -----------------------------------
  // Imports the open source into the frame: 1 on success or abort, 0 on
  // failure with the error recorded (Fail).
  virtual int ImportSource() = 0;
  // The engine's document kind of the documents made.
  virtual int32_t DocumentKind() const;
  // Whether a missing entry form is also written to the import log; the
  // error code (14001) is recorded in every case.
  virtual bool LogsMissingEntryForm() const { return true; }
  // What the format reads from its source: text and rich text reach it as
  // UTF-8 (decoded once, before it splits anything); a format of its own
  // gets the bytes as they are.
  virtual ks::core::SourceTextKind SourceText() const { return ks::core::SourceTextKind::kBytes; }
  // Whether the file name is a file the frame opens and reads (Source()).
  // A source reached otherwise (database tables through their drivers)
  // opens itself and moves the progress itself.
  virtual bool ReadsSourceFile() const { return true; }

  // ---- The frame's services ----------------------------------------------
  ImportContext& Context() { return *context_; }
  uint32_t ImportHandle() const { return context_ != nullptr ? context_->import_handle() : 0; }
  const SETDATA& Options() const;
  SourceFile& Source() { return source_; }

  // The database, its field marker and the entry form of the import (0
  // without one), valid from the start of ImportSource().
  uint32_t Database() const { return database_; }
  char FieldMarker() const { return marker_; }
  uint64_t EntryForm() const { return writer_ ? writer_->form() : 0; }

  // Hands a piece of a document to the document writer; `end_of_document`
  // is set on the last piece and `position` is the count of source bytes
  // read once it is stored.  False when the import must stop: the engine
  // refused (98 recorded, its cause logged) or the import was aborted in the
  // middle of the document.  An empty document is not stored and is no failure.
  bool SavePiece(std::string_view text, bool end_of_document, uint64_t position);
  bool SaveDocument(std::string_view text, uint64_t position) {
    return SavePiece(text, true, position);
  }
  // Files to attach to the next document saved.
  void AttachToNextDocument(std::vector<CDocumentWriter::Attachment> files) {
    writer_->AttachToNextDocument(std::move(files));
  }

  // Opens the source once more into `file`, read as Source() is.
  bool OpenSourceAgain(SourceFile& file) const;

  // Tests the abort flag; once it was seen set it stays set for this file.
  bool Aborted();
  bool WasAborted() const { return aborted_; }

  // Sets the progress counter to `position` bytes into this source.
  void SetProgress(uint64_t position);

  // Records `code` against the import; the run's result is then 0.
  void Fail(uint32_t code);
  bool Failed() const { return failed_; }

  // Adds one line (without its line end) to the import log.
  void Log(std::string_view line);

  // Records that the engine refused what the import handed it (98) and logs
  // why, in words a user understands, with the source and the database:
  // `engine_error` is the engine's last error, read right after the refusal.
  void EngineRefused(uint32_t engine_error);

  // Records and logs a failed read of the source; returns 0.
  int ReadFailed();

  // Says that the import ends before the source does (a blank line that ends
  // a delimited file, a record too long, a mailbox with no message) although
  // it succeeded: the source is then never deleted after its import.
  void StoppedShort() { stopped_short_ = true; }

  // ---- The block feeder ---------------------------------------------------
  // How the block loop turns the blocks of the source into documents.
  enum class BlockMode {
    kSplitByDelimiter,      // cut by the import's document delimiter
    kWholeBlockIsDocument,  // each block is one document
  };
  // Reads the source block by block, makes sure the database takes
  // additions before each block, and saves its documents.  1 on success or
  // abort, 0 on failure (with the error recorded).
  int RunBlockLoop(BlockMode mode, size_t block_size);

 private:
  bool BeginAdding();
  // Sets the source up to hand out text as the format reads it; false
  // (failed) when the host named a character set nobody knows.
  bool DecodeSource();

  ImportContext* context_ = nullptr;
  int64_t carry_ = 0;
  bool first_file_ = false;
  std::string last_error_text_;
  SourceFile source_;

  uint32_t database_ = 0;
  char marker_ = '[';
  uint64_t progress_base_ = 0;  // what the files before this one brought the counter to
  std::optional<CDocumentWriter> writer_;
  ks::core::SourceDecoding decoding_;  // how the source's bytes are read
  bool aborted_ = false;
  bool failed_ = false;
  bool ran_ = false;            // Run() reached the format's import
  bool stopped_short_ = false;  // see StoppedShort()
};
