// Fuzzes DocumentSplitter, which cuts the text of a source into documents by
// the import's document delimiter while the source arrives block by block.
//
// Input: a byte of delimiter flags and switches, a byte for the line count,
// the delimiter string (its length from a byte), a piece seed, a byte for
// when the sink stops, then the source text.
//
// Checks, for sources shorter than the longest line held back (within that
// the promises of document_splitter.h hold exactly):
//  - the documents are the same whether the text arrives at once or in
//    blocks of any size;
//  - a piece that does not end its document is cut just after a line end;
//  - no document is made of blanks and line ends only; none holds a form
//    feed when form feeds end documents, the delimiter string when strings
//    do, or more than N line ends when every N lines make one;
//  - without a delimiter the pieces put together give the source;
//  - every byte fed is either handed out or dropped, or held for the next
//    block; nothing is held once the source ended;
//  - once the sink asks to stop, Feed says so and calls it no more.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/document_splitter.h"
#include "fuzz_input.h"

namespace {

using ks::core::DocumentDelimiter;
using ks::core::DocumentSplitter;
using ks::fuzz::FuzzInput;

// The splitter's own bound on a line held back for the next block; beyond it
// pieces may be cut inside a line.
constexpr size_t kLongestHeldLine = 1 << 20;

struct Split {
  std::vector<std::string> documents;
  bool stopped = false;
};

bool IsLineEnd(char c) {
  return c == '\r' || c == '\n';
}

bool IsBlankText(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

size_t LineEnds(std::string_view text) {
  size_t count = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n' || (text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n'))) {
      ++count;
    }
  }
  return count;
}

// Feeds `text` in pieces (all at once when `seed` is empty) and collects the
// documents.  `stop_after` > 0: the sink asks to stop at that piece.
Split Run(const DocumentDelimiter& delimiter, std::string_view text, const uint32_t* seed,
          bool separate_end, size_t stop_after) {
  DocumentSplitter splitter(delimiter);
  Split split;
  std::string current;
  size_t calls = 0;
  const DocumentSplitter::PieceSink sink = [&](std::string_view piece, bool end_of_document) {
    FUZZ_CHECK(!split.stopped);
    ++calls;
    if (!end_of_document) {
      FUZZ_CHECK(!piece.empty());
      FUZZ_CHECK(text.size() > kLongestHeldLine || IsLineEnd(piece.back()));
    }
    current.append(piece);
    if (end_of_document) split.documents.push_back(std::exchange(current, {}));
    return calls != stop_after;
  };

  // True when Feed went on; false (and the split marked stopped) when the
  // sink asked to stop, which must be what ended it.
  const auto feed = [&](std::string_view block, bool end) {
    if (splitter.Feed(block, end, sink)) {
      FUZZ_CHECK(stop_after == 0 || calls < stop_after);
      return true;
    }
    FUZZ_CHECK(calls == stop_after);
    split.stopped = true;
    return false;
  };
  ks::fuzz::PieceSizes pieces(seed != nullptr ? *seed : 0);
  size_t fed = 0;
  while (true) {
    const size_t size = seed != nullptr ? pieces.Next() : text.size();
    const std::string_view block = text.substr(fed, size);
    fed += block.size();
    const bool end = fed == text.size() && !separate_end;
    if (!feed(block, end)) return split;
    FUZZ_CHECK(splitter.consumed() + splitter.held() == fed);
    if (fed == text.size()) {
      if (!end && !feed({}, true)) return split;
      break;
    }
  }
  FUZZ_CHECK(splitter.held() == 0);
  FUZZ_CHECK(splitter.consumed() == text.size());
  FUZZ_CHECK(current.empty());
  return split;
}

void CheckDocuments(const DocumentDelimiter& delimiter, std::string_view text,
                    const std::vector<std::string>& documents) {
  const bool by_string =
      (delimiter.flags & DocumentDelimiter::kString) != 0 && !delimiter.end_string.empty();
  const bool string_in_line =
      by_string && delimiter.end_string.find_first_of("\r\n") == std::string::npos;
  for (const std::string& document : documents) {
    FUZZ_CHECK(!IsBlankText(document));
    if (delimiter.flags & DocumentDelimiter::kPageBreak) {
      FUZZ_CHECK(document.find('\f') == std::string::npos);
    }
    if (string_in_line) FUZZ_CHECK(document.find(delimiter.end_string) == std::string::npos);
    if (delimiter.flags & DocumentDelimiter::kEveryNLines) {
      FUZZ_CHECK(LineEnds(document) <= static_cast<size_t>(std::max(delimiter.line_count, 1)));
    }
  }
  const bool any_delimiter =
      (delimiter.flags & (DocumentDelimiter::kBlankLine | DocumentDelimiter::kPageBreak |
                          DocumentDelimiter::kEveryNLines)) != 0 ||
      by_string;
  if (!any_delimiter) {
    if (IsBlankText(text)) {
      FUZZ_CHECK(documents.empty());
    } else {
      FUZZ_CHECK(documents.size() == 1 && documents.front() == text);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  const uint8_t switches = in.Byte();
  DocumentDelimiter delimiter;
  delimiter.flags = switches & 0x0F;
  delimiter.line_count = static_cast<int32_t>(in.Below(8)) - 1;  // 0 and -1 count as 1
  delimiter.end_string = std::string(in.ShortText(4));
  const uint32_t seed = in.Byte();
  const bool separate_end = (switches & 0x10) != 0;  // the end comes with an empty block
  const size_t stop_after = (switches & 0x20) != 0 ? 1 + in.Below(16) : 0;
  const std::string_view text = in.Rest();

  const Split whole = Run(delimiter, text, nullptr, false, 0);
  CheckDocuments(delimiter, text, whole.documents);
  const Split blocks = Run(delimiter, text, &seed, separate_end, 0);
  CheckDocuments(delimiter, text, blocks.documents);
  if (text.size() <= kLongestHeldLine) FUZZ_CHECK(blocks.documents == whole.documents);

  if (stop_after != 0) Run(delimiter, text, &seed, separate_end, stop_after);
  return 0;
}
