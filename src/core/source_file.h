// SourceFile: a source file opened for reading block by block.  A failure
// keeps its cause, so the import log can say in the usual words which file
// failed and why.
//
// A file that opens with a Unicode byte-order mark says what its text is:
// UTF-16 (either byte order) is handed out as UTF-8, the system's character
// set, and the mark of a UTF-8 file is dropped.  Every other file is handed
// out byte for byte, or through the decoder its reader gives it
// (DecodeWith).
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "core/file_error_text.h"
#include "core/text_decoder.h"

class SourceFile {
 public:
  SourceFile() = default;
  ~SourceFile();
  SourceFile(const SourceFile&) = delete;
  SourceFile& operator=(const SourceFile&) = delete;

  // Opens a regular file for reading.  False when it cannot be opened or is
  // not a regular file (a folder, a device); ErrorText() says why.
  bool Open(const std::string& path);
  void Close();

  // Reads up to `size` bytes: the count read, 0 at the end, -1 on a failure.
  ssize_t Read(char* buffer, size_t size);

  // True when the file declared its encoding with a byte-order mark; its
  // text is then UTF-8 already and no code page conversion applies.
  bool DeclaresUnicode() const { return mark_size_ != 0; }
  bool DeclaresUtf16() const { return utf16_; }

  // From now on hands out the text as `decoder` reads the file's bytes
  // (after a UTF-8 byte-order mark).  A UTF-16 file keeps its own decoding.
  // Call after Open and before the first Read.
  void DecodeWith(std::unique_ptr<ks::core::TextDecoder> decoder);

  // Where in the file the byte `position` of the text handed out by Read
  // came from, for progress and reports in the file's own bytes.  For UTF-16
  // it is exact at the ends of the blocks decoded, close in between (exact
  // throughout where the decoder changed nothing).
  uint64_t FileOffsetOf(uint64_t position) const;

  uint64_t size() const { return size_; }
  const std::string& path() const { return path_; }
  // The reason of the last failure, in the words of the import log.
  const std::string& ErrorText() const { return error_text_; }

 private:
  void Fail(FileErrorCause cause);
  // Reads what the file holds, without decoding.
  ssize_t ReadRaw(char* buffer, size_t size);
  // Hands out the text the decoder makes of blocks of the file.
  ssize_t ReadDecoded(char* buffer, size_t size);
  // Looks for a byte-order mark and sets the reading up after it.
  void TakeByteOrderMark();

  // A block of the file decoded: the text positions and file offsets it spans.
  struct DecodedBlock {
    uint64_t text_begin;
    uint64_t text_end;
    uint64_t file_begin;
    uint64_t file_end;
  };

  int fd_ = -1;
  size_t mark_size_ = 0;                           // bytes of the byte-order mark, 0 without one
  bool utf16_ = false;                             // the mark declared UTF-16
  std::unique_ptr<ks::core::TextDecoder> decoder_;  // set when the text is decoded
  std::unique_ptr<char[]> raw_;                     // a block of the file, to decode
  uint64_t decoded_file_end_ = 0;                   // file bytes behind the text decoded
  std::string decoded_;                            // decoded text not yet handed out
  size_t decoded_begin_ = 0;                       // first byte of decoded_ not yet handed out
  uint64_t text_handed_out_ = 0;
  uint64_t file_read_ = 0;
  std::deque<DecodedBlock> blocks_;  // recent blocks, for FileOffsetOf
  uint64_t size_ = 0;
  std::string path_;
  std::string error_text_;
};
