// DosExportSplitter: cuts the text of a DOS export file into documents at
// its NUL end marks, block by block, with no file, database or session
// behind it, so that the rules below can be tested and fuzzed on their own.
//
// The mode is decided once per file, by the importer, from the byte before
// the last:
//  - single-NUL mode: every NUL ends a document;
//  - double-NUL mode: a pair of NULs ends a document, and a NUL standing
//    alone inside a document is a line break, handed on as LF.
// Text after the last end mark is the last document.  Every end mark is
// handed on, also one that ends an empty document: dropping those is the
// writer's rule, not the splitter's.
//
// A document that grows beyond the piece size is handed on in pieces cut
// after the last line end, so memory stays at a block and a piece whatever
// the file holds; a line longer than a piece is cut where it stands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ks::text {

class DosExportSplitter {
 public:
  static constexpr size_t kDefaultPieceSize = 1 << 20;

  // One piece of a document.  `position` is the source offset just past
  // the piece's last byte (past the end mark for a piece that ends its
  // document).
  struct Piece {
    std::string_view text;
    bool ends_document;
    bool continues_document;  // an earlier piece of this document was handed on
    uint64_t position;
  };

  // Takes the pieces; returns false to stop the splitting.
  class Sink {
   public:
    virtual ~Sink() = default;
    virtual bool Take(const Piece& piece) = 0;
  };

  DosExportSplitter(bool pairs_end_documents, Sink& sink,
                    size_t piece_size = kDefaultPieceSize);

  // The next bytes of the source.  False when the sink stopped.
  bool Feed(std::string_view block);
  // The end of the source: the text after the last end mark.  False when
  // the sink stopped.
  bool Finish();

 private:
  bool EndDocument(uint64_t position);
  bool HandOutPiece();

  const bool pairs_end_documents_;
  Sink& sink_;
  const size_t piece_size_;
  std::string document_;     // text of the current document not yet handed on
  bool piece_sent_ = false;  // part of the current document was handed on
  bool pending_nul_ = false; // a NUL that a next NUL may pair with
  uint64_t position_ = 0;    // source bytes fed so far
};

}  // namespace ks::text
