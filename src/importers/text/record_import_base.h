// CRecordImportBase: the record feeder of the import frame, shared by the
// importers of delimited, fixed-width and DOS export text.  It reads the
// source record by record (as the delimited text reader cuts records),
// prepares each on a reading thread of its own and stores it on the
// importing thread, as a document or as an entry of the import's form.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/import_base.h"
#include "core/entry_form_rows.h"
#include "importers/text/field_line_composer.h"
#include "importers/text/record_pipeline.h"

class CRecordImportBase : public CIMPImportBase {
 public:
  int CheckFile(const std::string& file_name) override;
  int IntegerProperty() const override { return 0; }

 protected:
  // Records are cut from the decoded text, so a delimiter is never looked
  // for inside a character of a multibyte set.
  ks::core::SourceTextKind SourceText() const override { return ks::core::SourceTextKind::kText; }

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

  // On the reading thread: a row's values made ready to store: the document
  // composed from them when there is a composer, else the values themselves
  // (for an entry).
  void PrepareRow(std::span<const std::string> values,
                  const std::optional<ks::text::FieldLineComposer>& composer,
                  ks::text::PreparedRecord* out);
  // On the importing thread: a prepared row stored as an entry of the
  // import's form, with the columns `names`.  `counted` adds the entry to the
  // documents added.  False when the import must stop (the error recorded).
  bool StoreEntry(ks::core::EntryFormRows& entries, std::span<const std::string> names,
                  const ks::text::PreparedRecord& record, bool counted);

 private:
  // A blank line (or a NUL where a record starts) at text offset `offset`,
  // after `records` records, ends the file, as delimited text always has:
  // logs where, and how many lines with text were left, if any.
  void ReportEarlyEnd(uint64_t offset, uint64_t records);
};
