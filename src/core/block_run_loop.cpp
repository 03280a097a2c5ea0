// The block-wise run loop that the text, HTML and rich-text importers share:
// read a block, check for an abort, make sure the database takes documents,
// cut the block into documents and hand them to the document writer.
#include <fmt/format.h>

#include <memory>
#include <optional>
#include <vector>

#include "api/error_codes.h"
#include "api/ks_imp_app.h"
#include "core/document_splitter.h"
#include "core/document_writer.h"
#include "core/import_base.h"
#include "core/oem_converter.h"
#include "ks_eng5.h"

namespace {

CImportSession& Session() {
  return CKS_ImpApp::Instance().Session();
}

ks::core::DocumentDelimiter DelimiterOf(const SETDATA& options) {
  return {static_cast<uint32_t>(options.delimiter_flags), options.delimiter_lines,
          options.delimiter_string};
}

}  // namespace

bool CIMPImportBase::OpenSource() {
  if (source_.Open(Options().file_name)) return true;
  SetLastErrorText(source_.ErrorText());
  Session().RecordError(ImportHandle(), error_code::kCannotOpenFile);
  Session().AddLogText(ImportHandle(), source_.ErrorText() + "\r\n");
  return false;
}

int CIMPImportBase::RunBlockLoop(uint32_t import_handle, BlockMode mode, int32_t document_kind,
                                 size_t block_size) {
  const std::optional<ImportHandleRecord> record = Session().GetHandleRecord(import_handle);
  if (!record) return 0;
  const uint32_t database = record->database;
  // Progress runs over all files of the import: this file's bytes count on
  // from where the files before it left the counter.
  const uint64_t progress_base = record->current_bytes;
  const SETDATA& options = Options();

  CDocumentWriter writer(import_handle, database, options, document_kind);
  if (!writer.Begin()) return 0;
  std::unique_ptr<ks::core::OemConverter> oem;
  // A file that declares Unicode is read as what it declares.
  if (options.file_origin_ansi == 0 && !Source().DeclaresUnicode()) {
    oem = std::make_unique<ks::core::OemConverter>();
  }
  ks::core::DocumentSplitter splitter(
      mode == BlockMode::kSplitByDelimiter ? DelimiterOf(options) : ks::core::DocumentDelimiter{});

  bool failed = false;
  bool aborted = false;
  bool in_document = false;
  std::string converted;
  const auto save = [&](std::string_view piece, bool end_of_document, uint64_t position) {
    // Between documents an abort stops the import; the current one is
    // finished or dropped, never stored in part.
    if (!in_document && Session().IsAborted(import_handle)) {
      aborted = true;
      return false;
    }
    if (oem) {
      converted.clear();
      oem->AppendConverted(piece, converted);
      piece = converted;
    }
    switch (writer.Save(piece, end_of_document, progress_base + Source().FileOffsetOf(position))) {
      case CDocumentWriter::Outcome::kSaved:
        in_document = !end_of_document;
        return true;
      case CDocumentWriter::Outcome::kAborted:
        aborted = true;
        return false;
      case CDocumentWriter::Outcome::kFailed:
        Session().RecordError(import_handle, error_code::kCannotSaveDocument);
        failed = true;
        return false;
    }
    return false;
  };

  std::vector<char> block(block_size);
  uint64_t position = 0;
  while (true) {
    const ssize_t got = Source().Read(block.data(), block.size());
    if (got < 0) {
      SetLastErrorText(Source().ErrorText());
      Session().RecordError(import_handle, error_code::kCannotOpenFile);
      Session().AddLogText(import_handle, Source().ErrorText() + "\r\n");
      return 0;
    }
    const bool end_of_source = got == 0;
    if (mode == BlockMode::kWholeBlockIsDocument && end_of_source) break;
    // The rich-text importer does not look for an abort before a block.
    if (mode == BlockMode::kSplitByDelimiter && Session().IsAborted(import_handle)) break;
    char marker = '[';
    if (!EngBeginAdd(database, &marker)) {
      Session().RecordError(import_handle, error_code::kCannotSaveDocument);
      return 0;
    }
    if (Session().IsAborted(import_handle)) break;

    const std::string_view text(block.data(), static_cast<size_t>(got));
    if (mode == BlockMode::kWholeBlockIsDocument) {
      position += text.size();
      if (!save(text, true, position)) break;
    } else {
      const bool go_on = splitter.Feed(text, end_of_source, [&](std::string_view piece, bool end) {
        return save(piece, end, splitter.consumed());
      });
      if (!go_on) break;
      if (end_of_source) break;
    }
  }
  if (failed) return 0;
  if (!aborted) {
    Session().SetCurrentBytes(import_handle,
                              static_cast<uint32_t>(progress_base + Source().size()));
  }
  return 1;
}
