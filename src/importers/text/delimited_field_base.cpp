#include "importers/text/delimited_field_base.h"

#include <fmt/format.h>

#include "api/error_codes.h"
#include "api/ks_imp_app.h"
#include "api/message_texts.h"
#include "importers/text/byte_source.h"
#include "importers/text/record_pipeline.h"
#include "importers/text/record_reader.h"
#include "ks_eng5.h"

namespace {

CImportSession& Session() {
  return CKS_ImpApp::Instance().Session();
}

}  // namespace

int CDelimitedFieldBase::CheckFile(const std::string&) {
  return 1;
}

int CDelimitedFieldBase::Prepare(uint32_t import_handle, const SETDATA& record) {
  CIMPImportBase::Prepare(import_handle, record);
  return OpenSource() ? 1 : 0;
}

int CDelimitedFieldBase::Run(uint32_t import_handle) {
  const std::optional<ImportHandleRecord> record = Session().GetHandleRecord(import_handle);
  if (!record) return 0;
  // A cancel before the file began keeps what the files before it stored.
  if (Session().IsAborted(import_handle)) return 1;
  database_ = record->database;
  progress_base_ = record->current_bytes;

  char marker = '[';
  if (EngBeginAdd(database_, &marker) == 0) {
    Fail(error_code::kCannotSaveDocument);
    return 0;
  }
  marker_ = marker != '\0' ? marker : '[';
  // A file that declares Unicode is read as what it declares.
  if (Options().file_origin_ansi == 0 && !Source().DeclaresUnicode()) {
    oem_ = std::make_unique<ks::core::OemConverter>();
  }

  writer_.emplace(import_handle, database_, Options(), KSENG_KIND_TEXT);
  if (!writer_->Begin()) {
    failed_ = true;  // the writer recorded 14001
    if (LogsMissingEntryForm()) Log(MessageText(error_code::kCannotOpenEntryForm));
    writer_.reset();
    return 0;
  }
  int result = ImportSource();
  if (failed_) result = 0;
  if (result != 0 && !aborted_) SetProgress(Source().size());
  writer_.reset();  // a document left unfinished is dropped whole
  return result;
}

int CDelimitedFieldBase::ReadRecords(char qualifier, const RecordPrepare& prepare,
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
          // Usually a quote left open that runs on to the end of a large file.
          Log(
              fmt::format("Record {} of {} (from byte {}) is longer than {} MB; it and the rest of "
                          "the file were not imported.",
                          number + 1, Source().path(), records.EndRecordOffset(),
                          RecordReader::kDefaultMaxRecordBytes / (1024 * 1024)));
          return 1;
        case RecordReader::Outcome::kReadFailed:
          return ReadFailed();
        default:  // the end, or a blank line that ends the file
          return 1;
      }
    }
    ++number;
    if (!store(*record)) return failed_ ? 0 : 1;
  }
  return 1;
}

bool CDelimitedFieldBase::SavePiece(std::string_view text, bool end_of_document,
                                    uint64_t position) {
  switch (writer_->Save(text, end_of_document, progress_base_ + position)) {
    case CDocumentWriter::Outcome::kSaved:
      return true;
    case CDocumentWriter::Outcome::kAborted:
      aborted_ = true;
      return false;
    case CDocumentWriter::Outcome::kFailed:
      Fail(error_code::kCannotSaveDocument);
      return false;
  }
  return false;
}

std::string_view CDelimitedFieldBase::FromSource(std::string_view text,
                                                 std::string* scratch) const {
  if (!oem_) return text;
  scratch->clear();
  oem_->AppendConverted(text, *scratch);
  return *scratch;
}

std::span<const std::string> CDelimitedFieldBase::FromSource(
    std::span<const std::string> values, std::vector<std::string>* scratch) const {
  if (!oem_) return values;
  scratch->resize(values.size());
  for (size_t i = 0; i < values.size(); ++i) {
    (*scratch)[i].clear();
    oem_->AppendConverted(values[i], (*scratch)[i]);
  }
  return *scratch;
}

bool CDelimitedFieldBase::Aborted() {
  if (!aborted_ && Session().IsAborted(ImportHandle())) aborted_ = true;
  return aborted_;
}

void CDelimitedFieldBase::SetProgress(uint64_t position) {
  Session().SetCurrentBytes(ImportHandle(), static_cast<uint32_t>(progress_base_ + position));
}

void CDelimitedFieldBase::Fail(uint32_t code) {
  failed_ = true;
  Session().RecordError(ImportHandle(), code);
}

void CDelimitedFieldBase::Log(std::string_view line) {
  std::string text(line);
  text += "\r\n";
  Session().AddLogText(ImportHandle(), std::move(text));
}

int CDelimitedFieldBase::ReadFailed() {
  SetLastErrorText(Source().ErrorText());
  Fail(error_code::kCannotOpenFile);
  Log(Source().ErrorText());
  return 0;
}

void CDelimitedFieldBase::PrepareRow(std::span<const std::string> values,
                                     const std::optional<ks::text::FieldLineComposer>& composer,
                                     ks::text::PreparedRecord* out) {
  values = FromSource(values, &converted_);
  if (composer) {
    composer->Compose(values, &out->text);
  } else {
    out->values.assign(values.begin(), values.end());
  }
}

bool CDelimitedFieldBase::StoreEntry(ks::text::EntryFormRows& entries,
                                     std::span<const std::string> names,
                                     const ks::text::PreparedRecord& record, bool counted) {
  switch (entries.Add(names, record.values)) {
    case ks::text::EntryFormRows::Outcome::kAdded:
      if (counted) Session().AddDocumentsAdded(ImportHandle(), 1);
      SetProgress(record.position);
      return true;
    case ks::text::EntryFormRows::Outcome::kEntryNotCreated:
      Fail(error_code::kCannotOpenEntryForm);
      if (LogsMissingEntryForm()) Log(MessageText(error_code::kCannotOpenEntryForm));
      return false;
    case ks::text::EntryFormRows::Outcome::kNoPlace:
    case ks::text::EntryFormRows::Outcome::kFieldsRefused:
      Fail(error_code::kCannotSaveDocument);
      return false;
  }
  return false;
}
