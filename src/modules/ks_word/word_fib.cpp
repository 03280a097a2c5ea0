#include "word_fib.h"

#include "word_bytes.h"
#include "word_error.h"

namespace ks::word {
namespace {

constexpr uint16_t kWord97Ident = 0xA5EC;
constexpr uint16_t kWord6Ident = 0xA5DC;
constexpr uint16_t kWord2Ident = 0xA5DB;
constexpr uint16_t kWord1Ident = 0xA59B;
// Word 6.0 and 95 wrote numbers 101 to 105; Word 97 and later 193 and up
// (other writers' files carry higher ones).
constexpr uint16_t kFirstWord97Nfib = 0x00C1;

uint32_t Field32(std::string_view header, size_t at) {
  if (at + 4 > header.size()) throw WordError("the document's file information block is cut short");
  return Le32(header.data() + at);
}

uint16_t Field16(std::string_view header, size_t at) {
  if (at + 2 > header.size()) throw WordError("the document's file information block is cut short");
  return Le16(header.data() + at);
}

// Word 6.0/95 and 2.0 share the start of the block: the story lengths
// follow the text's bounds.
void ReadOlderStories(std::string_view header, WordFib& fib) {
  fib.fc_min = Field32(header, 0x18);
  fib.fc_mac = Field32(header, 0x1C);
  fib.ccp_text = Field32(header, 0x34);
  fib.ccp_ftn = Field32(header, 0x38);
  fib.ccp_hdd = Field32(header, 0x3C);
  fib.ccp_mcr = Field32(header, 0x40);
  fib.ccp_atn = Field32(header, 0x44);
}

void ReadWord97(std::string_view header, WordFib& fib) {
  // The block is a run of counted arrays: 16-bit values, 32-bit values
  // (the story lengths among them), then offset and length pairs.
  const size_t shorts = Field16(header, 0x20);
  const size_t longs_count_at = 0x22 + shorts * 2;
  const size_t longs = Field16(header, longs_count_at);
  const size_t longs_at = longs_count_at + 2;
  if (longs < 11) throw WordError("the document's file information block is too short");
  auto story = [&](size_t index) { return Field32(header, longs_at + index * 4); };
  fib.ccp_text = story(3);
  fib.ccp_ftn = story(4);
  fib.ccp_hdd = story(5);
  fib.ccp_mcr = story(6);
  fib.ccp_atn = story(7);
  fib.ccp_edn = story(8);
  fib.ccp_txbx = story(9);
  fib.ccp_hdr_txbx = story(10);
  const size_t pairs_count_at = longs_at + longs * 4;
  const size_t pairs = Field16(header, pairs_count_at);
  constexpr size_t kClxPair = 33;
  if (pairs <= kClxPair) throw WordError("the document's file information block has no piece table");
  fib.fc_clx = Field32(header, pairs_count_at + 2 + kClxPair * 8);
  fib.lcb_clx = Field32(header, pairs_count_at + 2 + kClxPair * 8 + 4);
}

}  // namespace

WordFib ReadWordFib(std::string_view header) {
  WordFib fib;
  fib.ident = Field16(header, 0);
  fib.nfib = Field16(header, 2);
  fib.lid = Field16(header, 6);
  const uint16_t flags = Field16(header, 0x0A);
  fib.complex = (flags & 0x0004) != 0;
  fib.encrypted = (flags & 0x0100) != 0;
  fib.table_stream_one = (flags & 0x0200) != 0;
  switch (fib.ident) {
    case kWord2Ident:
    case kWord1Ident:
      fib.version = WordVersion::kWord2;
      ReadOlderStories(header, fib);
      if (fib.complex) {
        fib.fc_clx = Field32(header, 0x11E);
        fib.lcb_clx = Field16(header, 0x122);
      }
      return fib;
    case kWord6Ident:
    case kWord97Ident:
      break;
    default:
      throw WordError("the document's file information block is not that of a Word document");
  }
  if (fib.nfib >= kFirstWord97Nfib) {
    fib.version = WordVersion::kWord97;
    fib.encrypted = fib.encrypted || (flags & 0x8000) != 0;  // obfuscated
    fib.complex = true;  // Word 97 and later keep every file's text in pieces
    ReadWord97(header, fib);
  } else {
    fib.version = WordVersion::kWord6;
    ReadOlderStories(header, fib);
    fib.ccp_edn = Field32(header, 0x48);
    fib.ccp_txbx = Field32(header, 0x4C);
    fib.ccp_hdr_txbx = Field32(header, 0x50);
    if (fib.complex) {
      fib.fc_clx = Field32(header, 0x160);
      fib.lcb_clx = Field32(header, 0x164);
    }
  }
  return fib;
}

}  // namespace ks::word
