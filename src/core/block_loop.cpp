// The block feeder of the import frame, which the text, HTML and rich-text
// importers use: read a block, check for an abort, make sure the database
// takes documents, cut the block into documents and save them.
#include <string>
#include <vector>

#include "core/document_splitter.h"
#include "core/error_codes.h"
#include "core/import_base.h"
#include "ks_eng5.h"

namespace {

ks::core::DocumentDelimiter DelimiterOf(const SETDATA& options) {
  return {static_cast<uint32_t>(options.delimiter_flags), options.delimiter_lines,
          options.delimiter_string};
}

}  // namespace

int CIMPImportBase::RunBlockLoop(BlockMode mode, size_t block_size) {
  ks::core::DocumentSplitter splitter(mode == BlockMode::kSplitByDelimiter
                                          ? DelimiterOf(Options())
                                          : ks::core::DocumentDelimiter{});

  bool in_document = false;
  const auto save = [&](std::string_view piece, bool end_of_document, uint64_t position) {
    // Between documents an abort stops the import; the current one is
    // finished or dropped, never stored in part.
    if (!in_document && Aborted()) return false;
    if (!SavePiece(piece, end_of_document, Source().FileOffsetOf(position))) {
      return false;
    }
    in_document = !end_of_document;
    return true;
  };

  std::vector<char> block(block_size);
  uint64_t position = 0;
  while (true) {
    const ssize_t got = Source().Read(block.data(), block.size());
    if (got < 0) return ReadFailed();
    const bool end_of_source = got == 0;
    if (mode == BlockMode::kWholeBlockIsDocument && end_of_source) break;
    // The rich-text importer does not look for an abort before a block.
    if (mode == BlockMode::kSplitByDelimiter && Aborted()) break;
    char marker = '[';
    if (!EngBeginAdd(Database(), &marker)) {
      Fail(error_code::kCannotSaveDocument);
      return 0;
    }
    if (Aborted()) break;

    const std::string_view text(block.data(), static_cast<size_t>(got));
    if (mode == BlockMode::kWholeBlockIsDocument) {
      position += text.size();
      if (!save(text, true, position)) break;
    } else {
      const bool go_on = splitter.Feed(text, end_of_source, [&](std::string_view piece, bool end) {
        return save(piece, end, splitter.consumed());
      });
      if (!go_on) break;
      if (end_of_source) break;
    }
  }
  return Failed() ? 0 : 1;
}
