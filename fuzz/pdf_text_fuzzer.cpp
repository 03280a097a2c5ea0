// Fuzzes the PDF text library's extraction (modules/ks_pdf/
// pdf_text_extractor.*) over poppler: a document opened from the bytes, its
// pages' text, an abort between pages.
//
// Input: the whole input is the file, so a corpus PDF is a seed as it is.
//
// Checks: poppler's messages stay out of the output (silenced); every
// document either fails to open, is locked or gives its text; a text ends
// with the form feed of its last page and holds at least one form feed per
// page; an abort asked after the first page stops the extraction before the
// next one, keeping the first page's text exactly.
#include <poppler-document.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "fuzz_input.h"
#include "pdf_text_extractor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* bytes = reinterpret_cast<const char*>(data);
  const std::unique_ptr<poppler::document> document = ks::pdf::OpenPdfBytes(bytes, size);
  std::atomic<bool> no_abort{false};
  std::string text;
  int pages_done = 0;
  const ks::pdf::ExtractError error = ks::pdf::ExtractText(
      document.get(), no_abort,
      [&](int done, int total) {
        FUZZ_CHECK(done == pages_done + 1 && done <= total);
        pages_done = done;
      },
      text);
  FUZZ_CHECK(error != ks::pdf::ExtractError::kAborted);
  if (error != ks::pdf::ExtractError::kNone) {
    FUZZ_CHECK(text.empty());
    return 0;
  }
  FUZZ_CHECK(pages_done == document->pages());
  if (pages_done == 0) {
    FUZZ_CHECK(text.empty());
    return 0;
  }
  FUZZ_CHECK(text.back() == '\f');
  FUZZ_CHECK(std::count(text.begin(), text.end(), '\f') >= pages_done);
  if (pages_done < 2) return 0;

  // Again from a fresh document (poppler repairs a damaged file while it
  // reads it, so a second reading of the same document may differ), aborted
  // once the first page is done: the same first page, then nothing more.
  const std::unique_ptr<poppler::document> again = ks::pdf::OpenPdfBytes(bytes, size);
  std::atomic<bool> abort{false};
  std::string first_page;
  const ks::pdf::ExtractError aborted = ks::pdf::ExtractText(
      again.get(), abort, [&](int, int) { abort.store(true); }, first_page);
  FUZZ_CHECK(aborted == ks::pdf::ExtractError::kAborted);
  FUZZ_CHECK(!first_page.empty() && first_page.back() == '\f');
  FUZZ_CHECK(text.compare(0, first_page.size(), first_page) == 0);
  return 0;
}
