// CIMPImportBase: what every importer shares.  The import run creates one
// importer per file name, prepares it from the queued record, hands it the
// carry value and the first-file flag, runs it once and destroys it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "core/setdata.h"
#include "core/source_file.h"

class CIMPImportBase {
 public:
  CIMPImportBase() = default;
  CIMPImportBase(const CIMPImportBase&) = delete;
  CIMPImportBase& operator=(const CIMPImportBase&) = delete;
  virtual ~CIMPImportBase() = default;

  // 1 when this importer can read `file_name`, 0 when it refuses it.
  virtual int CheckFile(const std::string& file_name) = 0;

  // Imports the prepared source for `import_handle`: 1 on success (a cancel
  // included), 0 on failure.  Called once per importer.
  virtual int Run(uint32_t import_handle) = 0;

  // One integer setting of the importer that callers may ask for.
  virtual int IntegerProperty() const = 0;

  // Takes the options of `record`, whose file_name is the one name this
  // importer reads and whose file_type is the type it was created for.
  // Returns 0 to skip the file, non-zero to run it.  Importers that open
  // their source here call this first.
  virtual int Prepare(uint32_t import_handle, const SETDATA& record);

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
  uint32_t ImportHandle() const { return import_handle_; }
  const SETDATA& Options() const { return options_; }

  // How the block-wise run loop turns the blocks of the source into
  // documents.
  enum class BlockMode {
    kSplitByDelimiter,      // cut by the import's document delimiter
    kWholeBlockIsDocument,  // each block is one document
  };

  // Opens the prepared file as the source.  When it cannot, records 11024
  // against the import handle, logs why in the usual words and returns false.
  bool OpenSource();

  // The run loop of the text, HTML and rich-text importers: reads the source
  // block by block and hands its documents to the engine.  1 on success or
  // abort, 0 on failure (with the error recorded).
  int RunBlockLoop(uint32_t import_handle, BlockMode mode, int32_t document_kind,
                   size_t block_size);

  SourceFile& Source() { return source_; }

 private:
  uint32_t import_handle_ = 0;
  SETDATA options_;  // the record this importer was prepared with
  int64_t carry_ = 0;
  bool first_file_ = false;
  std::string last_error_text_;
  SourceFile source_;  // the file a block-wise importer reads
};
