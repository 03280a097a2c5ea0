// The text of an open PDF, page by page, as pdftotext writes it: poppler's
// reading order with the physical layout off, each page followed by a form
// feed.  Knows nothing of the module's process-wide state, so that the
// exported functions and the fuzz target share it.
//
// A long document may be read by several threads at once, each with a
// document of its own opened from the same file (poppler does not share one
// document between threads), taking the next page not yet taken: the text
// is the same as from one thread, in page order.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace poppler {
class document;
}

namespace ks::pdf {

enum class ExtractError {
  kNone,
  kCannotOpen,  // no document: missing, unreadable, or damaged beyond repair
  kLocked,      // a user password is needed
  kAborted,     // the abort flag was seen between two pages
};

// Sends poppler's messages nowhere (they would go to stderr); once per
// process, safe to call from any thread.
void SilencePoppler();

// Opens a file, or bytes that outlive the document; null when poppler
// cannot make a document of them.
std::unique_ptr<poppler::document> OpenPdfFile(const std::string& path);
std::unique_ptr<poppler::document> OpenPdfBytes(const char* data, size_t size);

// How the pages are shared out: `workers` threads, the calling one
// included, the others each reading a document `open_another` opens (a
// worker whose document does not open, or differs, takes no page).
struct Parallelism {
  int workers = 1;
  std::function<std::unique_ptr<poppler::document>()> open_another;
};

// The workers worth starting for `pages` pages on this machine: one per
// processor, at most four, one for every 16 pages (each worker opens the
// file again, which a short document does not repay).
int WorkersFor(int pages);

// Appends the text of every page of `document` (null: kCannotOpen) to
// `text`.  A locked document is refused before anything else is asked of
// it (poppler crashes when a locked document is asked for its pages).
// `abort` is read before each page; `page_done(done, total)` runs after
// each page, from the worker that made it (so it must be safe to call from
// several threads; `done` may arrive out of order).  On kAborted `text`
// holds none of the pages; an exception of a worker (memory running out)
// is thrown here once every worker has stopped.
ExtractError ExtractText(poppler::document* document, const std::atomic<bool>& abort,
                         const std::function<void(int, int)>& page_done, std::string& text,
                         const Parallelism& parallelism = {});

}  // namespace ks::pdf
