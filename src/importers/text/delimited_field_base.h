// CDelimitedFieldBase: the run frame that the importers of delimited,
// fixed-width and DOS export text, and of mailboxes, share.  For one source file it
//  - stops at once when the import was aborted before the file began;
//  - asks the engine to take additions and learns the database's field
//    marker (EngBeginAdd), then looks up the import's entry form, if any;
//  - gives the importer a document writer placing documents after those the
//    import made before, the conversion of DOS (OEM) text when the source is
//    not ANSI, the reading of the source record by record, the abort test and
//    the progress counter;
//  - records what failed, and logs what the user must be told.
// A derived importer says what becomes of the source's text (ImportSource).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/document_writer.h"
#include "core/import_base.h"
#include "core/oem_converter.h"
#include "importers/text/entry_form_rows.h"
#include "importers/text/field_line_composer.h"
#include "importers/text/record_pipeline.h"

class CDelimitedFieldBase : public CIMPImportBase {
 public:
  int CheckFile(const std::string& file_name) override;
  // Opens the source; 0 (the file is skipped, its failure recorded and
  // logged) when it cannot be opened.
  int Prepare(uint32_t import_handle, const SETDATA& record) override;
  int Run(uint32_t import_handle) final;
  int IntegerProperty() const override { return 0; }

 protected:
  // Imports the open source: 1 on success or abort, 0 on failure with its
  // error recorded.
  virtual int ImportSource() = 0;

  // Whether a missing entry form is also written to the import log; the
  // error code (14001) is recorded in every case.
  virtual bool LogsMissingEntryForm() const { return true; }

  // The database, its field marker and the entry form of the import (0 in
  // text mode), valid from the start of ImportSource().
  uint32_t Database() const { return database_; }
  char FieldMarker() const { return marker_; }
  uint64_t EntryForm() const { return writer_ ? writer_->form() : 0; }

  // Reads the source record by record (records as the delimited reader cuts
  // them, with `qualifier` opening quoted text; 0 for none) until its end,
  // its first blank line, an abort, or `store` returning false.  `prepare`
  // makes each non-empty record ready to store (splits, converts, composes)
  // on a reading thread of its own, ahead of the importing thread, so it may
  // touch nothing but the state it alone uses; null keeps the record as its
  // text.  `store` then gets the prepared records in order, on the importing
  // thread, each with the count of source bytes read once it is taken.  A
  // record too long to hold ends the reading with a log line saying where; a
  // read failure is recorded (11024) and logged.  Returns 1, or 0 after a
  // failure.
  using RecordPrepare = ks::text::RecordPipeline::Prepare;
  using RecordStore = std::function<bool(const ks::text::PreparedRecord& record)>;
  int ReadRecords(char qualifier, const RecordPrepare& prepare, const RecordStore& store);

  // Files to attach to the next document saved.
  void AttachToNextDocument(std::vector<CDocumentWriter::Attachment> files) {
    writer_->AttachToNextDocument(std::move(files));
  }

  // Hands a piece of a document to the document writer; `end_of_document`
  // is set on the last piece and `position` is the count of source bytes
  // read once it is stored.  False when the import must stop: the engine
  // refused (98 recorded) or the import was aborted in the middle of the
  // document.  An empty document is not stored and is no failure.
  bool SavePiece(std::string_view text, bool end_of_document, uint64_t position);
  bool SaveDocument(std::string_view text, uint64_t position) {
    return SavePiece(text, true, position);
  }

  // Source text in the database's character set: as it stands for an ANSI
  // source, converted for a DOS (OEM) one (into *scratch, which the result
  // then points into).
  std::string_view FromSource(std::string_view text, std::string* scratch) const;
  std::span<const std::string> FromSource(std::span<const std::string> values,
                                          std::vector<std::string>* scratch) const;

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

  // Records and logs a failed read of the source; returns 0.
  int ReadFailed();

  // On the reading thread: a row's values, converted from the source, made
  // ready to store: the document composed from them when there is a
  // composer, else the values themselves (for an entry).
  void PrepareRow(std::span<const std::string> values,
                  const std::optional<ks::text::FieldLineComposer>& composer,
                  ks::text::PreparedRecord* out);
  // On the importing thread: a prepared row stored as an entry of the
  // import's form, with the columns `names`.  `counted` adds the entry to the
  // documents added.  False when the import must stop (the error recorded).
  bool StoreEntry(ks::text::EntryFormRows& entries, std::span<const std::string> names,
                  const ks::text::PreparedRecord& record, bool counted);

 private:
  std::vector<std::string> converted_;  // a DOS (OEM) row's values, converted
  uint32_t database_ = 0;
  char marker_ = '[';
  uint64_t progress_base_ = 0;  // what the files before this one brought the counter to
  std::optional<CDocumentWriter> writer_;
  std::unique_ptr<ks::core::OemConverter> oem_;  // set for a DOS (OEM) source
  bool aborted_ = false;
  bool failed_ = false;
};
