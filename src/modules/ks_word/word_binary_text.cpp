#include "word_binary_text.h"

#include <algorithm>
#include <vector>

#include "code_page_text.h"
#include "piece_table.h"
#include "word_error.h"
#include "word_text_builder.h"

namespace ks::word {
namespace {

// The largest piece table read; far beyond any real document's.
constexpr uint32_t kLargestPieceTable = 64u << 20;

struct Story {
  uint64_t start = 0;
  uint64_t end = 0;
};

// The stories worth reading, as ranges of character positions.
std::vector<Story> WantedStories(const WordFib& fib) {
  const uint32_t lengths[] = {fib.ccp_text, fib.ccp_ftn, fib.ccp_hdd, fib.ccp_mcr,
                              fib.ccp_atn,  fib.ccp_edn, fib.ccp_txbx, fib.ccp_hdr_txbx};
  constexpr bool wanted[] = {true, true, false, false, false, true, true, true};
  std::vector<Story> stories;
  uint64_t at = 0;
  for (size_t i = 0; i < std::size(lengths); ++i) {
    if (wanted[i] && lengths[i] > 0) stories.push_back({at, at + lengths[i]});
    at += lengths[i];
  }
  return stories;
}

// Reads characters of the main stream, never more in all than a bound that
// follows from the stream's size: overlapping pieces of a hostile table
// cannot make a document larger than its file many times over.
class CharacterReader {
 public:
  CharacterReader(formats::StreamBytes& main, int code_page)
      : main_(main), code_page_(code_page), budget_(main.Size() * 2 + 4096) {}

  void AddEightBit(uint64_t offset, uint64_t count, WordTextBuilder& builder) {
    Read(offset, count);
    AddCodePageText(buffer_, code_page_, builder);
  }
  void AddUtf16(uint64_t offset, uint64_t count, WordTextBuilder& builder) {
    Read(offset, count * 2);
    units_.resize(count);
    for (size_t i = 0; i < count; ++i) {
      units_[i] = static_cast<uint16_t>(static_cast<unsigned char>(buffer_[2 * i]) |
                                        static_cast<unsigned char>(buffer_[2 * i + 1]) << 8);
    }
    builder.AddUtf16(units_.data(), units_.size());
  }

 private:
  void Read(uint64_t offset, uint64_t size) {
    if (size > budget_) throw WordError("the document's text is larger than its file");
    budget_ -= size;
    buffer_.resize(static_cast<size_t>(size));
    if (size > 0 && !main_.ReadAt(offset, buffer_.data(), buffer_.size())) {
      throw WordError("the document's text lies outside its file");
    }
  }

  formats::StreamBytes& main_;
  int code_page_;
  uint64_t budget_;
  std::string buffer_;
  std::vector<uint16_t> units_;
};

std::string ReadPlainText(const WordFib& fib, formats::StreamBytes& main, int code_page) {
  if (fib.fc_mac < fib.fc_min) throw WordError("the document's text bounds are damaged");
  const uint64_t text_size = std::min<uint64_t>(fib.fc_mac, main.Size()) - std::min<uint64_t>(fib.fc_min, main.Size());
  CharacterReader reader(main, code_page);
  WordTextBuilder builder;
  for (const Story& story : WantedStories(fib)) {
    if (story.start >= text_size) break;
    const uint64_t end = std::min(story.end, text_size);
    reader.AddEightBit(fib.fc_min + story.start, end - story.start, builder);
    builder.EndStory();
  }
  return builder.Take();
}

std::string ReadPieces(const WordFib& fib, formats::StreamBytes& main,
                       formats::StreamBytes& table, int code_page) {
  if (fib.lcb_clx == 0 || fib.lcb_clx > kLargestPieceTable) {
    throw WordError("the document has no readable piece table");
  }
  std::string clx(fib.lcb_clx, '\0');
  if (!table.ReadAt(fib.fc_clx, clx.data(), clx.size())) {
    throw WordError("the document's piece table lies outside its file");
  }
  const std::vector<TextPiece> pieces = ReadPieceTable(clx, fib.version == WordVersion::kWord97);
  CharacterReader reader(main, code_page);
  WordTextBuilder builder;
  for (const Story& story : WantedStories(fib)) {
    for (const TextPiece& piece : pieces) {
      const uint64_t from = std::max<uint64_t>(story.start, piece.cp_start);
      const uint64_t to = std::min<uint64_t>(story.end, piece.cp_end);
      if (from >= to) continue;
      const uint64_t skip = from - piece.cp_start;
      if (piece.eight_bit) {
        reader.AddEightBit(piece.offset + skip, to - from, builder);
      } else {
        reader.AddUtf16(piece.offset + skip * 2, to - from, builder);
      }
    }
    builder.EndStory();
  }
  return builder.Take();
}

}  // namespace

std::string ReadWordBinaryText(const WordFib& fib, formats::StreamBytes& main,
                               formats::StreamBytes& table) {
  if (fib.encrypted) throw WordError("the document is encrypted (protected by a password)");
  // Word 97 8-bit pieces are always Windows-1252; older files are in the
  // code page of their language.
  const int code_page = fib.version == WordVersion::kWord97 ? 1252 : CodePageOfLanguage(fib.lid);
  if (!fib.complex) return ReadPlainText(fib, main, code_page);
  return ReadPieces(fib, main, table, code_page);
}

}  // namespace ks::word
