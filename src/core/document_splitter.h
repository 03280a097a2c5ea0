// Cuts a stream of text into documents by the import's document delimiter.
//
// The source arrives block by block; the splitter hands out each document as
// one or more pieces, every piece but the last of a file cut just after a line
// end, so no line is split between two calls of the document writer (a line
// longer than a whole block is the one exception: it is cut at the block's
// end).  The end-of-document flag is set on the last piece of each document.
//
// Cutting rules (the delimiter's flag bits may be combined; any one ends a
// document):
//  - page break (2): a form feed ends the document.  The form feed is in
//    neither document; when it stands alone on its line, neither is that
//    line's end.  Text after a form feed in the same line starts the next
//    document.
//  - blank line (1): an empty line, or one of blanks and tabs only, ends the
//    document and belongs to neither; a run of blank lines is one delimiter.
//  - every N lines (4): each N lines make a document (N < 1 counts as 1).
//  - string (8): an occurrence of the string inside a line ends the document.
//    The string is in neither document; when nothing but the line end
//    follows it, that line end is in neither either.  An empty string never
//    matches.  The string is matched within a line, so it cannot hold a line
//    break.
//  - none (0): the whole source is one document.
// Line ends are CR LF, LF or a lone CR; they stay in the text as they are.
// A document made only of blanks, tabs and line ends is not handed out.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "ks_imp.h"

namespace ks::core {

struct DocumentDelimiter {
  static constexpr uint32_t kBlankLine = KSIMP_DELIM_BLANK_LINE;
  static constexpr uint32_t kPageBreak = KSIMP_DELIM_PAGE_BREAK;
  static constexpr uint32_t kEveryNLines = KSIMP_DELIM_EVERY_N_LINES;
  static constexpr uint32_t kString = KSIMP_DELIM_STRING;

  uint32_t flags = 0;
  int32_t line_count = 0;
  std::string end_string;
};

class DocumentSplitter {
 public:
  // Receives a piece of the current document; returns false to stop.
  using PieceSink = std::function<bool(std::string_view piece, bool end_of_document)>;

  explicit DocumentSplitter(DocumentDelimiter delimiter);

  // Takes the next block of the source.  With end_of_source set, everything
  // still held is handed out and the last document ends.  Returns false when
  // the sink asked to stop.
  bool Feed(std::string_view block, bool end_of_source, const PieceSink& sink);

  // Source bytes handed out or dropped as delimiters so far; what is held
  // back for the next block is not counted.
  uint64_t consumed() const { return consumed_; }

  // Bytes held back for the next block.
  size_t held() const { return buffer_.size(); }

 private:
  // Scans the complete lines of buffer_; returns false when the sink stopped.
  bool ScanLines(bool end_of_source, const PieceSink& sink);
  bool EndDocument(size_t end, size_t next_start, const PieceSink& sink);
  bool EmitPending(size_t end, bool end_of_document, const PieceSink& sink);
  bool IsBlank(size_t begin, size_t end) const;

  DocumentDelimiter delimiter_;
  std::string buffer_;         // held-back text followed by the newest block
  size_t doc_start_ = 0;       // start of the current document's unsent text in buffer_
  size_t scan_pos_ = 0;        // first byte of buffer_ not yet scanned as part of a line
  bool doc_has_text_ = false;  // the current document holds more than blanks
  bool doc_sent_ = false;      // a piece of the current document went out already
  int64_t doc_lines_ = 0;      // lines of the current document (every N lines)
  bool in_blank_run_ = false;  // the previous line was a blank delimiter line
  uint64_t consumed_ = 0;
};

}  // namespace ks::core
