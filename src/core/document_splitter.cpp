#include "core/document_splitter.h"

#include <algorithm>
#include <cstring>

namespace ks::core {
namespace {

// A line longer than this without a line end is cut here, so that memory
// stays bounded whatever the source holds.
constexpr size_t kLongestHeldLine = 1 << 20;
// Blank lines at the start of a document are held back (so that a document
// of nothing but blank lines can be dropped) up to this much.
constexpr size_t kLongestHeldBlank = 1 << 20;

bool IsBlankChar(char c) {
  return c == ' ' || c == '\t';
}

// Position of the first `byte` in data[from, size), or size when none.
size_t FindByte(const char* data, size_t from, size_t size, char byte) {
  const void* at = std::memchr(data + from, byte, size - from);
  return at == nullptr ? size : static_cast<size_t>(static_cast<const char*>(at) - data);
}

}  // namespace

DocumentSplitter::DocumentSplitter(DocumentDelimiter delimiter) : delimiter_(std::move(delimiter)) {
  if ((delimiter_.flags & DocumentDelimiter::kEveryNLines) && delimiter_.line_count < 1) {
    delimiter_.line_count = 1;
  }
}

bool DocumentSplitter::IsBlank(size_t begin, size_t end) const {
  return std::all_of(buffer_.begin() + begin, buffer_.begin() + end, IsBlankChar);
}

bool DocumentSplitter::EmitPending(size_t end, bool end_of_document, const PieceSink& sink) {
  const size_t begin = doc_start_;
  consumed_ += end - begin;
  doc_start_ = end;
  if (end == begin && !(end_of_document && doc_sent_)) return true;
  doc_sent_ = !end_of_document;
  return sink(std::string_view(buffer_).substr(begin, end - begin), end_of_document);
}

bool DocumentSplitter::EndDocument(size_t end, size_t next_start, const PieceSink& sink) {
  bool go_on = true;
  if (doc_has_text_ || doc_sent_) {
    go_on = EmitPending(end, true, sink);
  } else {
    consumed_ += end - doc_start_;  // blanks only: dropped with the document
    doc_start_ = end;
  }
  consumed_ += next_start - end;
  doc_start_ = next_start;
  doc_has_text_ = false;
  doc_sent_ = false;
  doc_lines_ = 0;
  return go_on;
}

bool DocumentSplitter::ScanLines(bool end_of_source, const PieceSink& sink) {
  const bool page_break = delimiter_.flags & DocumentDelimiter::kPageBreak;
  const bool blank_line = delimiter_.flags & DocumentDelimiter::kBlankLine;
  const bool every_n = delimiter_.flags & DocumentDelimiter::kEveryNLines;
  const bool by_string =
      (delimiter_.flags & DocumentDelimiter::kString) && !delimiter_.end_string.empty();
  const std::string_view end_string = delimiter_.end_string;
  const char* data = buffer_.data();
  const size_t size = buffer_.size();
  size_t next_cr = FindByte(data, scan_pos_, size, '\r');
  size_t next_lf = FindByte(data, scan_pos_, size, '\n');

  while (scan_pos_ < size) {
    // Find the line: [begin, content_end) is its text, [content_end, line_end) its line end.
    size_t begin = scan_pos_;
    // The next CR and the next LF are each found with memchr and kept until
    // the scan passes them, which reads every byte about once.
    if (next_cr < begin) next_cr = FindByte(data, begin, size, '\r');
    if (next_lf < begin) next_lf = FindByte(data, begin, size, '\n');
    size_t content_end = std::min(next_cr, next_lf);
    size_t line_end;
    if (content_end == size) {
      if (!end_of_source) {
        if (size - begin <= kLongestHeldLine) break;  // wait for the rest of the line
      }
      line_end = size;
    } else if (data[content_end] == '\r') {
      if (content_end + 1 == size && !end_of_source) break;  // an LF may follow
      line_end = content_end + ((content_end + 1 < size && data[content_end + 1] == '\n') ? 2 : 1);
    } else {
      line_end = content_end + 1;
    }
    const bool whole_line = content_end < size || end_of_source;
    scan_pos_ = line_end;

    // Ends a document at each occurrence of the string in [begin, end) of the
    // line, where `end` is the line's content end or a form feed in it.
    const auto cut_at_strings = [&](size_t end) {
      for (size_t at; (at = std::string_view(data + begin, end - begin).find(end_string)) !=
                      std::string_view::npos;) {
        at += begin;
        if (at > begin && !IsBlank(begin, at)) doc_has_text_ = true;
        size_t next = at + end_string.size();
        if (next == content_end && whole_line) next = line_end;
        if (!EndDocument(at, next, sink)) return false;
        begin = next;
        if (begin >= end) break;
      }
      return true;
    };

    bool line_dropped = false;
    if (page_break) {
      for (const char* ff; (ff = static_cast<const char*>(std::memchr(
                                data + begin, '\f', content_end - begin))) != nullptr;) {
        const size_t at = ff - data;
        // The text before the form feed is cut by the string first.
        if (by_string && !cut_at_strings(at)) return false;
        if (at > begin && !IsBlank(begin, at)) doc_has_text_ = true;
        if (at == begin && at + 1 == content_end && whole_line) {
          if (!EndDocument(begin, line_end, sink)) return false;
          line_dropped = true;
          break;
        }
        if (!EndDocument(at, at + 1, sink)) return false;
        begin = at + 1;
      }
      if (line_dropped) continue;
    }
    if (by_string) {
      if (!cut_at_strings(content_end)) return false;
      if (begin >= line_end) continue;
    }
    const bool blank = IsBlank(std::min(begin, content_end), content_end);
    if (blank_line && blank && whole_line) {
      if (!EndDocument(begin, line_end, sink)) return false;
      continue;
    }
    if (!blank) doc_has_text_ = true;
    if (every_n && whole_line && ++doc_lines_ >= delimiter_.line_count) {
      if (!EndDocument(line_end, line_end, sink)) return false;
    }
  }
  return true;
}

bool DocumentSplitter::Feed(std::string_view block, bool end_of_source, const PieceSink& sink) {
  buffer_.append(block);
  if (!ScanLines(end_of_source, sink)) return false;

  if (end_of_source) {
    if (!EndDocument(buffer_.size(), buffer_.size(), sink)) return false;
  } else if (doc_has_text_ || doc_sent_ || scan_pos_ - doc_start_ > kLongestHeldBlank) {
    // Hand out the complete lines of the current document now, keeping only
    // the partial last line for the next block.
    if (!doc_has_text_ && !doc_sent_) doc_has_text_ = true;
    if (scan_pos_ > doc_start_ && !EmitPending(scan_pos_, false, sink)) return false;
  }
  buffer_.erase(0, doc_start_);
  scan_pos_ -= doc_start_;
  doc_start_ = 0;
  return true;
}

}  // namespace ks::core
