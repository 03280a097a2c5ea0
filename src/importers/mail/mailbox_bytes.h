// MailboxBytes: the bytes of a mailbox as its reader walks through them once,
// front to back, holding only what it still needs.  The reader sees a window
// of the file (view(), starting at file offset begin()), asks for more when a
// message runs past the window's end, and releases what lies behind the
// message it is at.
//
// Three kinds:
//  - MappedMailbox: the file mapped read-only; the window is the whole file,
//    and released pages are handed back to the system, so a mailbox of
//    several GB costs no more memory than one message;
//  - StreamedMailbox: read block by block through a read function, for what
//    cannot be mapped (a file whose size the system does not know, as under
//    /proc, or text decoded from UTF-16); it holds the message being read
//    and one block;
//  - InMemoryMailbox: a text already in memory (tests, fuzzing).
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

class MailboxBytes {
 public:
  virtual ~MailboxBytes() = default;

  // The bytes at hand: those of file offsets [begin(), begin() + view().size()).
  std::string_view view() const { return view_; }
  uint64_t begin() const { return begin_; }
  uint64_t end() const { return begin_ + view_.size(); }

  // Brings further bytes of the file into view, keeping those from the last
  // released offset on (the view may move in memory).  False at the end of
  // the file, or when a read failed (failed()).
  virtual bool More() = 0;
  // Nothing before file offset `offset` will be looked at again.
  virtual void Release(uint64_t offset) = 0;

  bool failed() const { return failed_; }

 protected:
  std::string_view view_;
  uint64_t begin_ = 0;
  bool failed_ = false;
};

class InMemoryMailbox final : public MailboxBytes {
 public:
  explicit InMemoryMailbox(std::string text);
  bool More() override { return false; }
  void Release(uint64_t) override {}

 private:
  std::string text_;
};

class MappedMailbox final : public MailboxBytes {
 public:
  // Maps the open file `fd` of `size` bytes; none when it cannot be mapped
  // (an empty file, or one the system will not map).  The descriptor may be
  // closed afterwards.
  static std::unique_ptr<MappedMailbox> Map(int fd, uint64_t size);
  // Opens and maps the file at `path`; none for an empty file or one that
  // is no regular file, and none with *error set (an errno value) when it
  // could not be opened or mapped.
  static std::unique_ptr<MappedMailbox> MapFile(const std::string& path, int* error);
  ~MappedMailbox() override;
  MappedMailbox(const MappedMailbox&) = delete;
  MappedMailbox& operator=(const MappedMailbox&) = delete;

  bool More() override { return false; }
  // Hands whole pages behind `offset` back to the system, a few MB at a time.
  void Release(uint64_t offset) override;

 private:
  MappedMailbox(void* address, size_t size);

  void* address_;
  size_t size_;
  size_t released_ = 0;  // pages before this offset were handed back
};

class StreamedMailbox final : public MailboxBytes {
 public:
  // Reads up to `size` bytes into `buffer`: the count read, 0 at the end,
  // -1 on a failure.
  using ReadFunction = std::function<ssize_t(char* buffer, size_t size)>;

  // `first_offset` is the file offset of the first byte `read` gives.
  StreamedMailbox(ReadFunction read, size_t block_size, uint64_t first_offset = 0);

  bool More() override;
  void Release(uint64_t offset) override;

 private:
  ReadFunction read_;
  size_t block_size_;
  std::string buffer_;        // file offsets [begin_, begin_ + buffer_.size())
  uint64_t released_ = 0;     // bytes before this offset may be dropped
  bool at_end_ = false;
};
