#include "piece_table.h"

#include "word_bytes.h"
#include "word_error.h"

namespace ks::word {
namespace {

constexpr unsigned char kFormattingRun = 0x01;
constexpr unsigned char kPieces = 0x02;
constexpr size_t kPieceDescriptorSize = 8;
constexpr uint32_t kCompressedBit = 0x40000000;

}  // namespace

std::vector<TextPiece> ReadPieceTable(std::string_view clx, bool word97) {
  size_t at = 0;
  while (at < clx.size()) {
    const auto kind = static_cast<unsigned char>(clx[at]);
    if (kind == kFormattingRun) {
      if (at + 3 > clx.size()) break;
      at += 3 + Le16(clx.data() + at + 1);
      continue;
    }
    if (kind != kPieces) throw WordError("the document's piece table is damaged");
    if (at + 5 > clx.size()) break;
    const uint32_t size = Le32(clx.data() + at + 1);
    const std::string_view plc = clx.substr(at + 5);
    if (size > plc.size() || size < 4) throw WordError("the document's piece table is cut short");
    // n + 1 character positions, then n descriptors.
    const size_t count = (size - 4) / (4 + kPieceDescriptorSize);
    std::vector<TextPiece> pieces;
    pieces.reserve(count);
    const char* positions = plc.data();
    const char* descriptors = plc.data() + (count + 1) * 4;
    for (size_t i = 0; i < count; ++i) {
      TextPiece piece;
      piece.cp_start = Le32(positions + i * 4);
      piece.cp_end = Le32(positions + (i + 1) * 4);
      const uint32_t fc = Le32(descriptors + i * kPieceDescriptorSize + 2);
      if (word97) {
        piece.eight_bit = (fc & kCompressedBit) != 0;
        piece.offset = piece.eight_bit ? (fc & ~kCompressedBit) / 2 : fc & ~kCompressedBit;
      } else {
        piece.offset = fc;
      }
      if (piece.cp_end > piece.cp_start) pieces.push_back(piece);
    }
    return pieces;
  }
  throw WordError("the document's piece table has no pieces");
}

}  // namespace ks::word
