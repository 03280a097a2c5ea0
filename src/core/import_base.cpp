#include "core/import_base.h"

#include "core/engine_refusal.h"
#include "core/error_codes.h"
#include "core/message_texts.h"
#include "ks_eng5.h"

namespace {

const SETDATA kNoOptions{};

}  // namespace

int CIMPImportBase::Prepare(ImportContext& context) {
  context_ = &context;
  if (!ReadsSourceFile()) return 1;
  if (source_.Open(Options().file_name)) return 1;
  SetLastErrorText(source_.ErrorText());
  context.RecordError(error_code::kCannotOpenFile);
  context.Log(source_.ErrorText());
  return 0;
}

const SETDATA& CIMPImportBase::Options() const {
  return context_ != nullptr ? context_->options() : kNoOptions;
}

int32_t CIMPImportBase::DocumentKind() const {
  return KSENG_KIND_TEXT;
}

int CIMPImportBase::Run() {
  if (context_ == nullptr) return 0;
  // A cancel before the file began keeps what the files before it stored.
  if (Aborted()) return 1;
  if (!BeginAdding()) return 0;
  ran_ = true;
  int result = ImportSource();
  if (failed_) result = 0;
  if (result != 0 && !aborted_ && ReadsSourceFile()) SetProgress(source_.size());
  writer_.reset();  // a document left unfinished is dropped whole
  return result;
}

bool CIMPImportBase::DecodeSource() {
  ks::core::SourceDecodingChoice choice =
      ks::core::ChooseSourceDecoding(SourceText(), Options(), context_->code_pages(), source_);
  for (const std::string& line : choice.log) Log(line);
  if (choice.unknown_charset) {
    Fail(error_code::kUnknownCharset);
    return false;
  }
  decoding_ = std::move(choice.decoding);
  source_.DecodeWith(decoding_.MakeDecoder());
  return true;
}

bool CIMPImportBase::OpenSourceAgain(SourceFile& file) const {
  if (!file.Open(source_.path())) return false;
  file.DecodeWith(decoding_.MakeDecoder());
  return true;
}

bool CIMPImportBase::BeginAdding() {
  if (!DecodeSource()) return false;
  database_ = context_->database();
  // Progress runs over all files of the import: this file's bytes count on
  // from where the files before it left the counter.
  progress_base_ = context_->CurrentBytes();
  char marker = '[';
  if (EngBeginAdd(database_, &marker) == 0) {
    Fail(error_code::kCannotSaveDocument);
    return false;
  }
  marker_ = marker != '\0' ? marker : '[';
  writer_.emplace(*context_, database_, DocumentKind());
  if (!writer_->Begin()) {
    failed_ = true;  // the writer recorded 14001
    if (LogsMissingEntryForm()) Log(MessageText(error_code::kCannotOpenEntryForm));
    writer_.reset();
    return false;
  }
  return true;
}

bool CIMPImportBase::SavePiece(std::string_view text, bool end_of_document, uint64_t position) {
  switch (writer_->Save(text, end_of_document, progress_base_ + position)) {
    case CDocumentWriter::Outcome::kSaved:
      return true;
    case CDocumentWriter::Outcome::kAborted:
      aborted_ = true;
      return false;
    case CDocumentWriter::Outcome::kFailed:
      EngineRefused(writer_->engine_error());
      return false;
  }
  return false;
}

bool CIMPImportBase::Aborted() {
  if (!aborted_ && context_ != nullptr && context_->IsAborted()) aborted_ = true;
  return aborted_;
}

void CIMPImportBase::SetProgress(uint64_t position) {
  context_->SetCurrentBytes(progress_base_ + position);
}

void CIMPImportBase::Fail(uint32_t code) {
  failed_ = true;
  context_->RecordError(code);
}

void CIMPImportBase::EngineRefused(uint32_t engine_error) {
  Fail(error_code::kCannotSaveDocument);
  Log(DocumentRefusedText(engine_error, database_, Options().file_name));
}

void CIMPImportBase::Log(std::string_view line) {
  context_->Log(line);
}

int CIMPImportBase::ReadFailed() {
  SetLastErrorText(source_.ErrorText());
  Fail(error_code::kCannotOpenFile);
  Log(source_.ErrorText());
  return 0;
}
