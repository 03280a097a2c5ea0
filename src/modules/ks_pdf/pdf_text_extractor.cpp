#include "pdf_text_extractor.h"

#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-page.h>

#include <algorithm>
#include <climits>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace ks::pdf {
namespace {

void DropMessage(const std::string&, void*) {}

// The text of one page as pdftotext writes it, its form feed included.
std::string PageText(poppler::document& document, int index) {
  const std::unique_ptr<poppler::page> page(document.create_page(index));
  std::string text;
  if (page) {
    // The same TextOutputDev settings as pdftotext's defaults.
    const poppler::byte_array utf8 =
        page->text(poppler::rectf(), poppler::page::non_raw_non_physical_layout).to_utf8();
    text.assign(utf8.data(), utf8.size());
  }
  // poppler ends a page's text with the form feed pdftotext writes; a page
  // it could not make still gets one.
  if (text.empty() || text.back() != '\f') text.push_back('\f');
  return text;
}

// The pages of one extraction, handed out one at a time to its workers.
class SharedPages {
 public:
  SharedPages(int total, const std::atomic<bool>& abort,
              const std::function<void(int, int)>& page_done)
      : texts_(static_cast<size_t>(total)), abort_(abort), page_done_(page_done) {}

  // Makes pages of `document` until none is left or the abort is seen.
  void Work(poppler::document& document) {
    const int total = static_cast<int>(texts_.size());
    for (int index; (index = next_.fetch_add(1)) < total;) {
      if (abort_.load(std::memory_order_relaxed)) {
        aborted_.store(true);
        return;
      }
      texts_[static_cast<size_t>(index)] = PageText(document, index);
      const int done = done_.fetch_add(1) + 1;
      if (page_done_) page_done_(done, total);
    }
  }

  bool aborted() const { return aborted_.load(); }

  void AppendTo(std::string& text) const {
    size_t size = text.size();
    for (const std::string& page : texts_) size += page.size();
    text.reserve(size);
    for (const std::string& page : texts_) text += page;
  }

 private:
  std::vector<std::string> texts_;  // by page; each written by the one worker that took it
  std::atomic<int> next_{0};        // the next page not yet taken
  std::atomic<int> done_{0};        // pages made
  std::atomic<bool> aborted_{false};
  const std::atomic<bool>& abort_;
  const std::function<void(int, int)>& page_done_;
};

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

int WorkersFor(int pages) {
  const int processors = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
  return std::clamp(std::min(processors, pages / 16), 1, 4);
}

ExtractError ExtractText(poppler::document* document, const std::atomic<bool>& abort,
                         const std::function<void(int, int)>& page_done, std::string& text,
                         const Parallelism& parallelism) {
  if (document == nullptr) return ExtractError::kCannotOpen;
  if (document->is_locked()) return ExtractError::kLocked;
  const int pages = document->pages();
  if (pages <= 0) return ExtractError::kNone;
  SharedPages shared(pages, abort, page_done);
  const int workers = parallelism.open_another ? std::clamp(parallelism.workers, 1, pages) : 1;
  std::vector<std::thread> helpers;
  std::mutex failure_lock;
  std::exception_ptr failure;  // the first exception of a helper, under failure_lock
  for (int worker = 1; worker < workers; ++worker) {
    helpers.emplace_back([&] {
      try {
        const std::unique_ptr<poppler::document> own = parallelism.open_another();
        if (own && !own->is_locked() && own->pages() == pages) shared.Work(*own);
      } catch (...) {
        const std::lock_guard<std::mutex> hold(failure_lock);
        if (!failure) failure = std::current_exception();
      }
    });
  }
  try {
    shared.Work(*document);
  } catch (...) {
    const std::lock_guard<std::mutex> hold(failure_lock);
    if (!failure) failure = std::current_exception();
  }
  for (std::thread& helper : helpers) helper.join();
  if (failure) std::rethrow_exception(failure);
  if (shared.aborted()) return ExtractError::kAborted;
  shared.AppendTo(text);
  return ExtractError::kNone;
}

}  // namespace ks::pdf
