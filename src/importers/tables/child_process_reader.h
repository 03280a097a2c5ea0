// ChildProcessReader: runs a piece of work in a child process of its own and
// reads what it writes through a pipe.  The .xls reader runs freexl this way:
// freexl crashes, allocates without bound and reads past its buffers on
// damaged files, and in a child that costs the child, never the host.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace ks::tables {

class ChildProcessReader {
 public:
  // Forks; the child runs `work` with the pipe's write end and exits.  In
  // the child nothing may throw out of `work`, and it ends with _exit, so
  // that none of the parent's state is torn down twice.
  explicit ChildProcessReader(const std::function<void(int fd)>& work);
  // Kills the child if it still runs and reaps it.
  ~ChildProcessReader();
  ChildProcessReader(const ChildProcessReader&) = delete;
  ChildProcessReader& operator=(const ChildProcessReader&) = delete;

  // Reads exactly `size` bytes; false when the child ended (or went silent
  // for a minute) first.
  bool Read(void* into, size_t size);
  bool ReadU32(uint32_t& value) { return Read(&value, sizeof value); }
  // How the child ended, for a message: "exit status 3", "signal 11".
  std::string HowItEnded();

 private:
  pid_t pid_ = -1;
  int fd_ = -1;
  char buffer_[65536];
  size_t begin_ = 0, end_ = 0;  // unread bytes of buffer_
};

// Writes to a pipe from the child, buffered; a failed write ends the child
// (the parent has stopped reading).
class ChildPipeWriter {
 public:
  explicit ChildPipeWriter(int fd) : fd_(fd) {}
  ~ChildPipeWriter() { Flush(); }
  void Write(const void* data, size_t size);
  void WriteU32(uint32_t value) { Write(&value, sizeof value); }
  void WriteText(const std::string& text) {
    WriteU32(static_cast<uint32_t>(text.size()));
    Write(text.data(), text.size());
  }
  void Flush();

 private:
  int fd_;
  std::string buffer_;
};

}  // namespace ks::tables
