// The exported operations of KS_Pdf over the page extractor, with the
// process-wide state the interface implies: the bytes handled of the current
// file and the abort request, read and set from any thread (atomics), and
// the last error.  One extraction runs at a time (extraction_lock).
#include "ks_pdf.h"

#include <poppler-document.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <string>

#include "pdf_text_extractor.h"

namespace {

std::mutex extraction_lock;                // held for the whole of one GetPDFData
std::atomic<uint64_t> bytes_processed{0};  // of the current file, for PDFGetBytesProcessed
std::atomic<bool> abort_requested{false};  // set by PDFAbort, cleared as GetPDFData starts
std::atomic<int> last_error{KS_PDF_OK};    // of the last GetPDFData

int ErrorOf(ks::pdf::ExtractError error) {
  switch (error) {
    case ks::pdf::ExtractError::kNone:
      return KS_PDF_OK;
    case ks::pdf::ExtractError::kCannotOpen:
      return KS_PDF_ERROR_OPEN;
    case ks::pdf::ExtractError::kLocked:
      return KS_PDF_ERROR_LOCKED;
    case ks::pdf::ExtractError::kAborted:
      return KS_PDF_ERROR_ABORTED;
  }
  return KS_PDF_ERROR_INTERNAL;
}

uint64_t FileSize(const char* path) {
  struct stat info {};
  return ::stat(path, &info) == 0 && info.st_size > 0 ? static_cast<uint64_t>(info.st_size) : 0;
}

// The text of `path` in `text`, the error as KS_PDF_ codes.
int Extract(const char* path, std::string& text) {
  const uint64_t size = FileSize(path);
  std::unique_ptr<poppler::document> document = ks::pdf::OpenPdfFile(path);
  const int error = ErrorOf(ks::pdf::ExtractText(
      document.get(), abort_requested,
      [size](int done, int total) {
        const auto pages = static_cast<uint64_t>(total);
        const auto finished = static_cast<uint64_t>(done);
        bytes_processed.store(size / pages * finished + size % pages * finished / pages,
                              std::memory_order_relaxed);
      },
      text));
  if (error == KS_PDF_OK) bytes_processed.store(size, std::memory_order_relaxed);
  return error;
}

// A malloc block holding `text` and a NUL; null when memory ran out.
void* CopyToBlock(const std::string& text) {
  void* block = std::malloc(text.size() + 1);
  if (block != nullptr) std::memcpy(block, text.c_str(), text.size() + 1);
  return block;
}

}  // namespace

extern "C" {

KS_PDF_API int IsValidPDFFile(const char* path) {
  if (path == nullptr) return 0;
  try {
    const std::unique_ptr<poppler::document> document = ks::pdf::OpenPdfFile(path);
    return document != nullptr && !document->is_locked() ? 1 : 0;
  } catch (...) {
    return 0;
  }
}

KS_PDF_API int GetPDFData(const char* path, void** text, unsigned long* size) {
  if (text != nullptr) *text = nullptr;
  if (size != nullptr) *size = 0;
  const std::lock_guard<std::mutex> hold(extraction_lock);
  bytes_processed.store(0);
  abort_requested.store(false);
  int error = KS_PDF_ERROR_ARGUMENT;
  if (path != nullptr && text != nullptr && size != nullptr) {
    try {
      std::string extracted;
      error = Extract(path, extracted);
      if (error == KS_PDF_OK) {
        *text = CopyToBlock(extracted);
        if (*text == nullptr) {
          error = KS_PDF_ERROR_MEMORY;
        } else {
          *size = static_cast<unsigned long>(extracted.size());
        }
      }
    } catch (const std::bad_alloc&) {
      error = KS_PDF_ERROR_MEMORY;
    } catch (...) {
      error = KS_PDF_ERROR_INTERNAL;
    }
  }
  last_error.store(error);
  return error;
}

KS_PDF_API void PDFFreeData(void* text) {
  std::free(text);
}

KS_PDF_API int PDFGetBytesProcessed(void) {
  return static_cast<int>(
      std::min<uint64_t>(bytes_processed.load(std::memory_order_relaxed), INT_MAX));
}

KS_PDF_API int PDFAbort(void) {
  abort_requested.store(true);
  return 1;
}

KS_PDF_API int PDFGetLastError(void) {
  return last_error.load();
}

}  // extern "C"
