// CDocumentWriter: hands an importer's documents to the engine.  It places
// them at the import's location (each after the previous one, so a source
// keeps its order), feeds long documents in pieces through the engine's
// adding protocol, makes entries of the import's entry form, and keeps the
// import's progress counters.  A document is never left half saved: one the
// import stops in the middle of is dropped whole.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/import_context.h"
#include "core/setdata.h"

class CDocumentWriter {
 public:
  enum class Outcome {
    kSaved,    // the piece was taken (and the document made, at its end)
    kFailed,   // the engine refused (engine_error() says why); nothing of it is stored
    kAborted,  // the import was aborted in the middle of the document
  };

  // Writes into `database` with the options of `context`, which outlives
  // the writer; `kind` is the engine's document kind (plain or rich text).
  CDocumentWriter(ImportContext& context, uint32_t database, int32_t kind);
  ~CDocumentWriter();
  CDocumentWriter(const CDocumentWriter&) = delete;
  CDocumentWriter& operator=(const CDocumentWriter&) = delete;

  // Looks up the entry form the options name.  False (with 14001 recorded)
  // when the database has no such form.
  bool Begin();

  // Takes the next piece of the current document; the piece that ends it
  // has end_of_document set.  `source_position` is how far into the source
  // the import has come once this piece is stored (the current bytes).
  Outcome Save(std::string_view text, bool end_of_document, uint64_t source_position);

  // A file to attach to a document: the name shown and the content.
  struct Attachment {
    std::string name;
    std::string content;
  };
  // Attaches these files to the next document begun (they go with its first
  // piece); a document never begun leaves them for the one after.
  void AttachToNextDocument(std::vector<Attachment> attachments) {
    attachments_ = std::move(attachments);
  }

  // Drops a document that was begun and will not be finished.
  void Abandon();

  // The entry form the options name, once Begin() found it; 0 without one.
  uint64_t form() const { return form_; }
  uint32_t documents_saved() const { return documents_saved_; }
  // The engine's error code for the last refusal (kFailed), read before
  // anything else was asked of the engine.
  uint32_t engine_error() const { return engine_error_; }
  uint64_t last_document() const { return last_document_; }

 private:
  int32_t AddPiece(std::string_view text);
  Outcome Finish(uint64_t source_position);
  // Keeps the engine's error for a refusal and answers kFailed.
  Outcome Refused();

  ImportContext& context_;
  uint32_t database_;
  const SETDATA& options_;
  int32_t kind_;
  uint64_t form_ = 0;           // the entry form's identifier, 0 without one
  uint64_t last_document_ = 0;  // the new documents go after this one
  bool in_document_ = false;    // the engine holds pieces of an unfinished document
  uint32_t documents_saved_ = 0;
  uint32_t engine_error_ = 0;            // see engine_error()
  std::vector<Attachment> attachments_;  // for the next document begun
};
