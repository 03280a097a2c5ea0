#include "importers/text/record_import_base.h"

#include <fmt/format.h>

#include <vector>

#include "core/error_codes.h"
#include "core/message_texts.h"
#include "importers/text/byte_source.h"
#include "importers/text/record_pipeline.h"
#include "importers/text/record_reader.h"
#include "ks_eng5.h"

int CRecordImportBase::CheckFile(const std::string&) {
  return 1;
}

int CRecordImportBase::ReadRecords(char qualifier, const RecordPrepare& prepare,
                                   const RecordStore& store) {
  using ks::text::RecordReader;
  ks::text::SourceFileBytes bytes(Source());
  ks::text::RecordPipeline records(bytes, qualifier, prepare);
  uint64_t number = 0;
  while (!Aborted()) {
    const ks::text::PreparedRecord* record = records.Next();
    if (record == nullptr) {
      switch (records.End()) {
        case RecordReader::Outcome::kRecordTooLong:
          StoppedShort();
          // Usually a quote left open that runs on to the end of a large file.
          Log(
              fmt::format("Record {} of {} (from byte {}) is longer than {} MB; it and the rest of "
                          "the file were not imported.",
                          number + 1, Source().path(), records.EndRecordOffset(),
                          RecordReader::kDefaultMaxRecordBytes / (1024 * 1024)));
          return 1;
        case RecordReader::Outcome::kReadFailed:
          return ReadFailed();
        case RecordReader::Outcome::kEmptyRecord:
          ReportEarlyEnd(records.EndRecordOffset(), number);
          return 1;
        default:  // the end of the source
          return 1;
      }
    }
    ++number;
    if (!store(*record)) return Failed() ? 0 : 1;
  }
  return 1;
}

void CRecordImportBase::ReportEarlyEnd(uint64_t offset, uint64_t records) {
  // The rest of the source is read once more, as the reader read it, to
  // count what the rule leaves out; blank lines alone at the end are no loss.
  SourceFile rest;
  if (!OpenSourceAgain(rest)) return;
  std::vector<char> block(1 << 16);
  uint64_t position = 0;
  uint64_t lines_left = 0;
  uint64_t file_offset = offset;
  bool line_has_text = false;
  while (true) {
    const ssize_t got = rest.Read(block.data(), block.size());
    if (got <= 0) break;
    if (offset >= position && offset < position + static_cast<uint64_t>(got)) {
      file_offset = rest.FileOffsetOf(offset);
    }
    for (ssize_t i = 0; i < got; ++i, ++position) {
      if (position <= offset) continue;
      const char c = block[static_cast<size_t>(i)];
      if (c == '\n' || c == '\r') {
        if (line_has_text) ++lines_left;
        line_has_text = false;
      } else {
        line_has_text = true;
      }
    }
  }
  if (line_has_text) ++lines_left;
  if (lines_left == 0) return;
  StoppedShort();
  Log(
      fmt::format("{}: a blank line (or a NUL) at byte {}, after record {}, ends the file; the {} "
                  "line(s) after it were not imported.",
                  Source().path(), file_offset, records, lines_left));
}

void CRecordImportBase::PrepareRow(std::span<const std::string> values,
                                   const std::optional<ks::text::FieldLineComposer>& composer,
                                   ks::text::PreparedRecord* out) {
  if (composer) {
    composer->Compose(values, &out->text);
  } else {
    out->values.assign(values.begin(), values.end());
  }
}

bool CRecordImportBase::StoreEntry(ks::core::EntryFormRows& entries,
                                   std::span<const std::string> names,
                                   const ks::text::PreparedRecord& record, bool counted) {
  switch (entries.Add(names, record.values)) {
    case ks::core::EntryFormRows::Outcome::kAdded:
      if (counted) Context().AddDocumentsAdded(1);
      SetProgress(record.position);
      return true;
    case ks::core::EntryFormRows::Outcome::kEntryNotCreated: {
      // A form (or a place) that is not there is the entry form's failure;
      // anything else kept the engine from storing (a full disk).
      const uint32_t cause = entries.engine_error();
      if (cause != KSENG_OK && cause != KSENG_ERR_NO_DOCUMENT && cause != KSENG_ERR_ARGUMENT) {
        EngineRefused(cause);
        return false;
      }
      Fail(error_code::kCannotOpenEntryForm);
      if (LogsMissingEntryForm()) Log(MessageText(error_code::kCannotOpenEntryForm));
      return false;
    }
    case ks::core::EntryFormRows::Outcome::kFieldsRefused:
      EngineRefused(entries.engine_error());
      return false;
    case ks::core::EntryFormRows::Outcome::kNoPlace:
      Fail(error_code::kCannotSaveDocument);
      return false;
  }
  return false;
}
