// The text of an open PDF, page by page, as pdftotext writes it: poppler's
// reading order with the physical layout off, each page followed by a form
// feed.  Knows nothing of the module's process-wide state, so that the
// exported functions and the fuzz target share it.
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

// Appends the text of every page of `document` (null: kCannotOpen) to
// `text`.  A locked document is refused before anything else is asked of
// it (poppler crashes when a locked document is asked for its pages).
// `abort` is read before each page; `page_done(done, total)` runs after
// each page.  On failure `text` holds what was appended before it.
ExtractError ExtractText(poppler::document* document, const std::atomic<bool>& abort,
                         const std::function<void(int, int)>& page_done, std::string& text);

}  // namespace ks::pdf
