// Fuzzes DosExportSplitter, which cuts the text of a DOS export file (file
// type 1002) into documents at its NUL end marks.
//
// Input: a byte of options (the mode, a small piece size, a sink that stops
// early), the piece size and the stop, a seed for the block sizes, then the
// text.
//
// Checks: the documents put together from the pieces are those a plain
// reading of the rules of dos_export_splitter.h gives, whatever blocks the
// text arrives in; a piece that does not end its document is cut after a
// line end unless it holds none; positions
// grow and the last one is the text's size; a sink that says stop gets
// nothing more.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_input.h"
#include "importers/text/dos_export_splitter.h"

namespace {

using ks::text::DosExportSplitter;

// The documents the rules give for `text`, empty ones included.
std::vector<std::string> ExpectedDocuments(std::string_view text, bool pairs) {
  std::vector<std::string> documents(1);
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\0') {
      documents.back() += text[i];
    } else if (!pairs) {
      documents.emplace_back();
    } else if (i + 1 < text.size() && text[i + 1] == '\0') {
      documents.emplace_back();
      ++i;
    } else {
      documents.back() += '\n';  // a NUL standing alone
    }
  }
  // Text after the last end mark is a document; nothing after it is none.
  if (documents.back().empty()) documents.pop_back();
  return documents;
}

class CollectingSink : public DosExportSplitter::Sink {
 public:
  explicit CollectingSink(size_t stop_after) : stop_after_(stop_after) {}

  bool Take(const DosExportSplitter::Piece& piece) override {
    FUZZ_CHECK(!stopped_);
    FUZZ_CHECK(piece.position >= position_);
    position_ = piece.position;
    FUZZ_CHECK(piece.continues_document == continuing_);
    if (!piece.ends_document) {
      FUZZ_CHECK(!piece.text.empty());
      // Cut after a line end, unless the piece holds none at all.
      const char last = piece.text.back();
      FUZZ_CHECK(last == '\r' || last == '\n' ||
                 piece.text.find_first_of("\r\n") == std::string_view::npos);
    }
    current_.append(piece.text);
    continuing_ = !piece.ends_document;
    if (piece.ends_document) {
      documents_.push_back(std::move(current_));
      current_.clear();
    }
    if (++pieces_ == stop_after_) stopped_ = true;
    return !stopped_;
  }

  const std::vector<std::string>& documents() const { return documents_; }
  bool stopped() const { return stopped_; }
  bool continuing() const { return continuing_; }
  uint64_t position() const { return position_; }

 private:
  size_t stop_after_;  // 0: never
  size_t pieces_ = 0;
  bool stopped_ = false;
  bool continuing_ = false;
  uint64_t position_ = 0;
  std::string current_;
  std::vector<std::string> documents_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ks::fuzz::FuzzInput in(data, size);
  const uint8_t options = in.Byte();
  const bool pairs = (options & 1) != 0;
  // Small pieces reach the cutting of long documents with short inputs.
  const size_t piece_size = (options & 2) != 0 ? 1 + in.Below(64)
                                               : DosExportSplitter::kDefaultPieceSize;
  const size_t stop_after = (options & 4) != 0 ? 1 + in.Below(16) : 0;
  ks::fuzz::PieceSizes blocks(in.Byte());
  const std::string_view text = in.Rest();

  CollectingSink sink(stop_after);
  DosExportSplitter splitter(pairs, sink, piece_size);
  std::string_view rest = text;
  bool going = true;
  while (going && !rest.empty()) {
    const std::string_view block = rest.substr(0, blocks.Next());
    rest.remove_prefix(block.size());
    going = splitter.Feed(block);
  }
  if (going) going = splitter.Finish();
  FUZZ_CHECK(going == !sink.stopped());

  const std::vector<std::string> expected = ExpectedDocuments(text, pairs);
  const std::vector<std::string>& got = sink.documents();
  if (!going) {
    // Whatever came before the stop is a prefix of what the rules give.
    FUZZ_CHECK(got.size() <= expected.size());
    for (size_t i = 0; i < got.size(); ++i) FUZZ_CHECK(got[i] == expected[i]);
    return 0;
  }
  FUZZ_CHECK(got == expected);
  FUZZ_CHECK(!sink.continuing());
  FUZZ_CHECK(got.empty() || sink.position() == text.size());
  return 0;
}
