// RecordReader: pulls one record at a time out of a delimited or
// fixed-width text file.
//
// A record is normally one line.  A qualifier character (the double quote,
// say) toggles quoted text and stays in the record; a CR or LF inside quoted
// text is kept and the record goes on, so one record may span lines.  A CR or
// LF outside quoted text ends the record and is not kept, and neither is the
// other line-end character right after it (the LF of CR LF, the CR of LF CR):
// CR LF, LF and CR files all read without losing the first character of a
// line.  A NUL or the end of the input also ends a record (the NUL is
// dropped; the line end after it then reads as an empty line).
//
// An empty record ends the file: whatever follows the first blank line is
// not read.  Importers have always stopped there, and files rely on it.
//
// Memory is one block of the input plus the record: the input is read block
// by block from a ByteSource and never as a whole.  A record longer than the
// reader's limit (an unclosed quote running to the end of a large file, say)
// ends the reading of the file at that point, as running out of memory for
// it always has, but is reported for what it is.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "importers/text/byte_source.h"

namespace ks::text {

class RecordReader {
 public:
  // Bytes asked of the source at a time.
  static constexpr size_t kBlockSize = 64 * 1024;
  // Longest record by default: room for a field of tens of megabytes, little
  // enough that the record, its split values and the caller's copy fit.
  static constexpr size_t kDefaultMaxRecordBytes = 64 * 1024 * 1024;

  enum class Outcome {
    kRecord,         // a non-empty record was read
    kEmptyRecord,    // a blank line (or a NUL where a record starts): the file ends here
    kEndOfInput,     // nothing was left to read
    kRecordTooLong,  // the record outgrew the limit; reading stops here
    kReadFailed,     // the source failed; reading stops here
  };

  explicit RecordReader(ByteSource& source, size_t max_record_bytes = kDefaultMaxRecordBytes);
  RecordReader(const RecordReader&) = delete;
  RecordReader& operator=(const RecordReader&) = delete;

  // Reads the next record into *record, without its line end.  `qualifier`
  // is the character that opens and closes quoted text; 0 means none (lines
  // of a fixed-width file).  Only kRecord leaves a record worth using; after
  // kRecordTooLong or kReadFailed every further call gives the same answer.
  Outcome Read(char qualifier, std::string* record);

  // Bytes of the input taken so far (the read position), for progress.
  uint64_t BytesConsumed() const { return consumed_; }
  // Where the record read last starts in the input, for error reports.
  uint64_t RecordOffset() const { return record_offset_; }

 private:
  // Makes sure a byte is waiting in the block; false at the end or a failure.
  bool Fill();
  // Marks the bytes that need a look: outside quoted text the qualifier, NUL,
  // CR and LF; inside it the qualifier and NUL.
  void BuildStopTables(char qualifier);
  // Takes the byte that pairs with `line_end` to make one line end, if next.
  void SkipPairedLineEnd(char line_end);

  ByteSource& source_;
  const size_t max_record_bytes_;
  std::unique_ptr<char[]> block_;  // bytes read from the source but not yet taken
  size_t begin_ = 0;               // first byte of block_ not yet taken
  size_t end_ = 0;                 // end of the bytes in block_
  bool source_ended_ = false;      // the source said there is nothing more
  bool source_failed_ = false;     // the source reported an error
  bool too_long_ = false;          // a record outgrew the limit
  uint64_t consumed_ = 0;
  std::array<uint8_t, 256> stops_outside_{};
  std::array<uint8_t, 256> stops_inside_{};
  int tables_qualifier_ = -1;  // the qualifier the tables were built for; none yet
  uint64_t record_offset_ = 0;
};

}  // namespace ks::text
