#include "core/source_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "core/utf16_decoder.h"

namespace {

// Bytes of a file decoded at a time: few calls per megabyte, little memory.
constexpr size_t kDecodeBlockSize = 256 * 1024;
// Decoded blocks remembered for FileOffsetOf (1 GB of the file): far more
// than a reader holds between reading text and asking where it came from.
constexpr size_t kRememberedBlocks = 4096;

}  // namespace

SourceFile::~SourceFile() {
  Close();
}

void SourceFile::Close() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  mark_size_ = 0;
  utf16_ = false;
  decoder_.reset();
  decoded_file_end_ = 0;
  decoded_.clear();
  decoded_begin_ = 0;
  text_handed_out_ = 0;
  file_read_ = 0;
  blocks_.clear();
}

void SourceFile::Fail(FileErrorCause cause) {
  error_text_ = FileErrorText(cause, path_);
}

bool SourceFile::Open(const std::string& path) {
  Close();
  path_ = path;
  error_text_.clear();
  // Opened without blocking: opening a FIFO for reading would otherwise wait
  // for a writer forever.  Only a regular file is kept, and reads from it
  // never block anyway.
  fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd_ < 0) {
    Fail(FileErrorCauseFromErrno(errno));
    return false;
  }
  struct stat info {};
  if (::fstat(fd_, &info) != 0) {
    Fail(FileErrorCauseFromErrno(errno));
    Close();
    return false;
  }
  if (!S_ISREG(info.st_mode)) {
    error_text_ = S_ISDIR(info.st_mode) ? fmt::format("{} is a folder, not a file.", path)
                                        : fmt::format("{} is not a regular file.", path);
    Close();
    return false;
  }
  size_ = static_cast<uint64_t>(info.st_size);
  ::posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL);
  TakeByteOrderMark();
  return true;
}

void SourceFile::TakeByteOrderMark() {
  char head[3] = {};
  const ssize_t got = ::pread(fd_, head, sizeof head, 0);
  if (got >= 3 && std::memcmp(head, "\xEF\xBB\xBF", 3) == 0) {
    mark_size_ = 3;
  } else if (got >= 2 &&
             (std::memcmp(head, "\xFF\xFE", 2) == 0 || std::memcmp(head, "\xFE\xFF", 2) == 0)) {
    mark_size_ = 2;
    utf16_ = true;
    decoder_ = std::make_unique<ks::core::Utf16Decoder>(
        head[0] == '\xFF' ? ks::core::Utf16Decoder::ByteOrder::kLittleEndian
                          : ks::core::Utf16Decoder::ByteOrder::kBigEndian);
  }
  if (mark_size_ != 0 && ::lseek(fd_, static_cast<off_t>(mark_size_), SEEK_SET) < 0) {
    // Unseekable after all: read the mark as text rather than lose bytes.
    mark_size_ = 0;
    utf16_ = false;
    decoder_.reset();
  }
  file_read_ = mark_size_;
  decoded_file_end_ = mark_size_;
}

void SourceFile::DecodeWith(std::unique_ptr<ks::core::TextDecoder> decoder) {
  if (!utf16_) decoder_ = std::move(decoder);
}

uint64_t SourceFile::FileOffsetOf(uint64_t position) const {
  if (!decoder_) return position + mark_size_;
  if (blocks_.empty()) return file_read_;
  // The first remembered block that ends after the position.
  const auto found =
      std::upper_bound(blocks_.begin(), blocks_.end(), position,
                       [](uint64_t p, const DecodedBlock& block) { return p < block.text_end; });
  if (found == blocks_.end()) return blocks_.back().file_end;
  const DecodedBlock& block = *found;
  if (position <= block.text_begin) return block.file_begin;
  // Within a block the file's bytes are taken as spread evenly over its text.
  return block.file_begin + (position - block.text_begin) * (block.file_end - block.file_begin) /
                                (block.text_end - block.text_begin);
}

ssize_t SourceFile::Read(char* buffer, size_t size) {
  return decoder_ ? ReadDecoded(buffer, size) : ReadRaw(buffer, size);
}

ssize_t SourceFile::ReadDecoded(char* buffer, size_t size) {
  size_t got = 0;
  while (got < size) {
    if (decoded_begin_ == decoded_.size()) {
      decoded_.clear();
      decoded_begin_ = 0;
      if (!raw_) raw_ = std::make_unique_for_overwrite<char[]>(kDecodeBlockSize);
      const ssize_t n = ReadRaw(raw_.get(), kDecodeBlockSize);
      if (n < 0) return -1;
      file_read_ += static_cast<uint64_t>(n);
      decoder_->Append(std::string_view(raw_.get(), static_cast<size_t>(n)), n == 0, decoded_);
      if (decoded_.empty()) {
        if (n == 0) break;
        continue;  // a block held back whole (a cut character, an unfinished line)
      }
      // The text decoded stands for the file's bytes up to those the
      // decoder holds back for the next block.
      const uint64_t file_begin = decoded_file_end_;
      decoded_file_end_ = file_read_ - decoder_->HeldBack();
      const uint64_t text_begin = text_handed_out_ + got;
      blocks_.push_back({text_begin, text_begin + decoded_.size(), file_begin, decoded_file_end_});
      if (blocks_.size() > kRememberedBlocks) blocks_.pop_front();
    }
    const size_t take = std::min(size - got, decoded_.size() - decoded_begin_);
    std::memcpy(buffer + got, decoded_.data() + decoded_begin_, take);
    decoded_begin_ += take;
    got += take;
  }
  text_handed_out_ += got;
  return static_cast<ssize_t>(got);
}

ssize_t SourceFile::ReadRaw(char* buffer, size_t size) {
  if (fd_ < 0) return -1;
  size_t got = 0;
  // Fill the whole block where the file has it, so block boundaries do not
  // depend on how the system hands out the bytes.
  while (got < size) {
    const ssize_t n = ::read(fd_, buffer + got, size - got);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      Fail(FileErrorCauseFromErrno(errno));
      return -1;
    }
    if (n == 0) break;
    got += static_cast<size_t>(n);
  }
  return static_cast<ssize_t>(got);
}
