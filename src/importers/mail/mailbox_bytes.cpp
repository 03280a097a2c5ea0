#include "importers/mail/mailbox_bytes.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

// Pages are handed back once this much lies behind the reader: few enough
// calls to cost nothing, little enough to keep the resident part small.
constexpr size_t kReleaseStep = size_t{8} << 20;

}  // namespace

InMemoryMailbox::InMemoryMailbox(std::string text) : text_(std::move(text)) {
  view_ = text_;
}

std::unique_ptr<MappedMailbox> MappedMailbox::Map(int fd, uint64_t size) {
  if (size == 0 || size > SIZE_MAX) return nullptr;
  const auto length = static_cast<size_t>(size);
  void* address = mmap(nullptr, length, PROT_READ, MAP_PRIVATE, fd, 0);
  if (address == MAP_FAILED) return nullptr;
  madvise(address, length, MADV_SEQUENTIAL);
  return std::unique_ptr<MappedMailbox>(new MappedMailbox(address, length));
}

std::unique_ptr<MappedMailbox> MappedMailbox::MapFile(const std::string& path, int* error) {
  *error = 0;
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    *error = errno;
    return nullptr;
  }
  std::unique_ptr<MappedMailbox> mapped;
  struct stat status {};
  if (::fstat(fd, &status) != 0) {
    *error = errno;
  } else if (S_ISREG(status.st_mode) && status.st_size > 0) {
    mapped = Map(fd, static_cast<uint64_t>(status.st_size));
    if (!mapped) *error = ENOMEM;
  }
  ::close(fd);
  return mapped;
}

MappedMailbox::MappedMailbox(void* address, size_t size) : address_(address), size_(size) {
  view_ = std::string_view(static_cast<const char*>(address_), size_);
}

MappedMailbox::~MappedMailbox() {
  munmap(address_, size_);
}

void MappedMailbox::Release(uint64_t offset) {
  static const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  const size_t upto = static_cast<size_t>(std::min<uint64_t>(offset, size_)) / page * page;
  if (upto < released_ + kReleaseStep) return;
  // The mapping is private and never written: its pages are only copies of
  // the file's cache, read again should they be touched.
  madvise(static_cast<char*>(address_) + released_, upto - released_, MADV_DONTNEED);
  released_ = upto;
}

StreamedMailbox::StreamedMailbox(ReadFunction read, size_t block_size, uint64_t first_offset)
    : read_(std::move(read)), block_size_(std::max<size_t>(block_size, 1)) {
  begin_ = first_offset;
  released_ = first_offset;
}

void StreamedMailbox::Release(uint64_t offset) {
  released_ = std::max(released_, offset);
}

bool StreamedMailbox::More() {
  if (at_end_ || failed_) return false;
  auto drop_released = [this] {
    if (released_ <= begin_) return;
    const auto drop = static_cast<size_t>(std::min<uint64_t>(released_ - begin_, buffer_.size()));
    buffer_.erase(0, drop);
    begin_ += drop;
    // One long message leaves a large buffer behind: give it back.
    if (buffer_.capacity() > 8 * block_size_ && buffer_.size() < block_size_) {
      buffer_.shrink_to_fit();
    }
  };
  drop_released();
  const size_t held = buffer_.size();
  buffer_.resize(held + block_size_);
  const ssize_t got = read_(buffer_.data() + held, block_size_);
  buffer_.resize(held + (got > 0 ? static_cast<size_t>(got) : 0));
  if (got < 0) failed_ = true;
  if (got == 0) at_end_ = true;
  drop_released();  // bytes skipped before the first one wanted
  view_ = buffer_;
  return got > 0;
}
