// WordFib: what the file information block at the start of a Word
// document's main stream says about its text: the version, whether the text
// is stored in pieces (a complex, fast-saved file) and where the piece table
// is, the length of each story and whether the document is encrypted.
// Word 97 to 2003, Word 6.0/95 and Word 2.0 keep it in three layouts.
#pragma once

#include <cstdint>
#include <string_view>

namespace ks::word {

enum class WordVersion {
  kWord2,   // Word for Windows 1.x and 2.0: a plain file, 8-bit text
  kWord6,   // Word 6.0 and 95: a compound file, 8-bit text
  kWord97,  // Word 97 to 2003: a compound file with a table stream, pieces
};

struct WordFib {
  WordVersion version = WordVersion::kWord97;
  uint16_t ident = 0;
  uint16_t nfib = 0;
  uint16_t lid = 0;                // the language, which gives older files' code page
  bool complex = false;            // the text is in pieces (always so from Word 97)
  bool encrypted = false;          // encrypted or obfuscated: the text cannot be read
  bool table_stream_one = false;   // Word 97: the piece table is in "1Table", else "0Table"
  uint32_t fc_min = 0;             // Word 6 and 2: where a plain file's text begins
  uint32_t fc_mac = 0;             //   and where it ends
  // The length in characters of each story, in the order the stories follow
  // one another in the text: main text, footnotes, headers, macros (older
  // files), comments, endnotes, text boxes, text boxes of headers.
  uint32_t ccp_text = 0, ccp_ftn = 0, ccp_hdd = 0, ccp_mcr = 0, ccp_atn = 0, ccp_edn = 0,
           ccp_txbx = 0, ccp_hdr_txbx = 0;
  uint32_t fc_clx = 0;  // the piece table: where it is (table stream, or main stream before Word 97)
  uint32_t lcb_clx = 0;  // and its length
};

// How many bytes of the main stream ReadWordFib wants at most.
inline constexpr size_t kWordFibBytes = 1024;

// Reads the block from the first bytes of the main stream (or of a Word
// 2.0 file).  Throws WordError when they are no Word document's block.
WordFib ReadWordFib(std::string_view header);

}  // namespace ks::word
