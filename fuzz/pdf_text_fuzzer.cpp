// Fuzzes the PDF text library's extraction (modules/ks_pdf/
// pdf_text_extractor.*) over poppler: a document opened from the bytes, its
// pages' text, an abort between pages.
//
// Input: the whole input is the file, so a corpus PDF is a seed as it is.
//
// Checks: poppler's messages stay out of the output (silenced); every
// document either fails to open, is locked or gives its text; a text ends
// with the form feed of its last page and holds at least one form feed per
// page; two workers, each with a document of its own, give the same text;
// an abort asked after the first page stops the extraction before the next
// one and hands out nothing.
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

  // Two workers, the second with a document of its own: the same text.
  std::atomic<int> progress{0};
  std::string shared;
  ks::pdf::Parallelism two;
  two.workers = 2;
  two.open_another = [bytes, size] { return ks::pdf::OpenPdfBytes(bytes, size); };
  FUZZ_CHECK(ks::pdf::ExtractText(
                 document.get(), no_abort,
                 [&](int done, int total) {
                   FUZZ_CHECK(done >= 1 && done <= total);
                   progress.fetch_add(1);
                 },
                 shared, two) == ks::pdf::ExtractError::kNone);
  FUZZ_CHECK(shared == text);
  FUZZ_CHECK(progress.load() == pages_done);

  // Aborted once the first page is done: stopped, and nothing handed out.
  std::atomic<bool> abort{false};
  std::string none;
  const ks::pdf::ExtractError aborted = ks::pdf::ExtractText(
      document.get(), abort, [&](int, int) { abort.store(true); }, none);
  FUZZ_CHECK(aborted == ks::pdf::ExtractError::kAborted);
  FUZZ_CHECK(none.empty());
  return 0;
}
