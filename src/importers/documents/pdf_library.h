// PdfLibrary: the PDF text library KS_Pdf, loaded by name for one file, and
// its operations as the PDF import uses them.  The signatures are those the
// module exports (src/modules/ks_pdf/ks_pdf.h); the import sees no more of
// the module than a closed library's exports: 0 from PDFGetLastError is
// success, anything else a failure.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "core/loadable_module.h"

class PdfLibrary {
 public:
  static constexpr std::string_view kModuleName = "KS_Pdf";

  // The module with all six operations; none, with the reason in *why, when
  // it is not installed, cannot be loaded or lacks one of them.
  static std::unique_ptr<PdfLibrary> Load(std::string* why);

  // The module keeps its progress, abort request and last error for the
  // whole process: an import holds this from GetPDFData to PDFGetLastError,
  // so that a second import on another thread neither reads this
  // extraction's error nor receives its abort.
  static std::mutex& ExtractionTurn();

  // The text a GetPDFData handed out, freed by the module's own free.
  class Text {
   public:
    Text() = default;
    Text(void* block, size_t size, void (*release)(void*))
        : block_(block, release), size_(block != nullptr ? size : 0) {}
    std::string_view view() const {
      return block_ ? std::string_view(static_cast<const char*>(block_.get()), size_)
                    : std::string_view();
    }
    bool empty() const { return !block_; }

   private:
    std::unique_ptr<void, void (*)(void*)> block_{nullptr, [](void*) {}};
    size_t size_ = 0;
  };

  // IsValidPDFFile: the file is a PDF the module can read.
  bool IsValidFile(const std::string& path) const;
  // GetPDFData: the whole text; blocks until it is done or aborted.
  Text GetData(const std::string& path) const;
  // PDFGetBytesProcessed, PDFAbort and PDFGetLastError; the first two from
  // any thread.
  int BytesProcessed() const { return bytes_processed_(); }
  void Abort() const { abort_(); }
  int LastError() const { return last_error_(); }

 private:
  using IsValidFunction = int(const char*);
  using GetDataFunction = int(const char*, void**, unsigned long*);
  using FreeDataFunction = void(void*);
  using CountFunction = int();

  explicit PdfLibrary(std::unique_ptr<ks::core::LoadableModule> module)
      : module_(std::move(module)) {}

  std::unique_ptr<ks::core::LoadableModule> module_;  // unloaded last
  IsValidFunction* is_valid_ = nullptr;
  GetDataFunction* get_data_ = nullptr;
  FreeDataFunction* free_data_ = nullptr;
  CountFunction* bytes_processed_ = nullptr;
  CountFunction* abort_ = nullptr;
  CountFunction* last_error_ = nullptr;
};
