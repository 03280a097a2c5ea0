#include "importers/text/dos_export_splitter.h"

namespace ks::text {

DosExportSplitter::DosExportSplitter(bool pairs_end_documents, Sink& sink, size_t piece_size)
    : pairs_end_documents_(pairs_end_documents), sink_(sink), piece_size_(piece_size) {}

bool DosExportSplitter::EndDocument(uint64_t position) {
  const bool go_on = sink_.Take(Piece{document_, true, piece_sent_, position});
  document_.clear();
  piece_sent_ = false;
  return go_on;
}

bool DosExportSplitter::HandOutPiece() {
  // Cut after the last line end so that no line is split between pieces.
  const size_t line_end = document_.find_last_of("\r\n");
  const size_t cut = line_end == std::string::npos ? document_.size() : line_end + 1;
  const uint64_t held_back = document_.size() - cut;
  const bool go_on = sink_.Take(Piece{std::string_view(document_).substr(0, cut), false,
                                      piece_sent_, position_ - held_back});
  document_.erase(0, cut);
  piece_sent_ = true;
  return go_on;
}

bool DosExportSplitter::Feed(std::string_view rest) {
  uint64_t at = position_;  // source offset of rest's first byte
  position_ += rest.size();
  while (!rest.empty()) {
    if (pending_nul_) {
      pending_nul_ = false;
      if (rest.front() == '\0') {
        rest.remove_prefix(1);
        ++at;
        if (!EndDocument(at)) return false;
        continue;
      }
      document_ += '\n';  // a lone NUL is a line break
    }
    const size_t nul = rest.find('\0');
    if (nul == std::string_view::npos) {
      document_.append(rest);
      break;
    }
    document_.append(rest.substr(0, nul));
    rest.remove_prefix(nul + 1);
    at += nul + 1;
    if (pairs_end_documents_) {
      pending_nul_ = true;
    } else if (!EndDocument(at)) {
      return false;
    }
  }
  return document_.size() <= piece_size_ || HandOutPiece();
}

bool DosExportSplitter::Finish() {
  if (pending_nul_) {
    pending_nul_ = false;
    document_ += '\n';
  }
  if (document_.empty() && !piece_sent_) return true;
  return EndDocument(position_);
}

}  // namespace ks::text
