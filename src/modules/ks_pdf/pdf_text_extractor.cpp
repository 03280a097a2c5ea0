#include "pdf_text_extractor.h"

#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-page.h>

#include <climits>
#include <mutex>

namespace ks::pdf {
namespace {

void DropMessage(const std::string&, void*) {}

}  // namespace

void SilencePoppler() {
  static std::once_flag once;
  std::call_once(once, [] { poppler::set_debug_error_function(DropMessage, nullptr); });
}

std::unique_ptr<poppler::document> OpenPdfFile(const std::string& path) {
  SilencePoppler();
  return std::unique_ptr<poppler::document>(poppler::document::load_from_file(path));
}

std::unique_ptr<poppler::document> OpenPdfBytes(const char* data, size_t size) {
  SilencePoppler();
  if (size > static_cast<size_t>(INT_MAX)) return nullptr;
  return std::unique_ptr<poppler::document>(
      poppler::document::load_from_raw_data(data, static_cast<int>(size)));
}

ExtractError ExtractText(poppler::document* document, const std::atomic<bool>& abort,
                         const std::function<void(int, int)>& page_done, std::string& text) {
  if (document == nullptr) return ExtractError::kCannotOpen;
  if (document->is_locked()) return ExtractError::kLocked;
  const int pages = document->pages();
  for (int index = 0; index < pages; ++index) {
    if (abort.load(std::memory_order_relaxed)) return ExtractError::kAborted;
    const std::unique_ptr<poppler::page> page(document->create_page(index));
    poppler::byte_array utf8;
    if (page) {
      // The same TextOutputDev settings as pdftotext's defaults.
      utf8 = page->text(poppler::rectf(), poppler::page::non_raw_non_physical_layout).to_utf8();
      text.append(utf8.data(), utf8.size());
    }
    // poppler ends a page's text with the form feed pdftotext writes; a page
    // it could not make still gets one.
    if (utf8.empty() || utf8.back() != '\f') text.push_back('\f');
    if (page_done) page_done(index + 1, pages);
  }
  return ExtractError::kNone;
}

}  // namespace ks::pdf
