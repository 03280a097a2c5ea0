#include "importers/tables/child_process_reader.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "importers/tables/table_source.h"

namespace ks::tables {
namespace {

constexpr int kSilenceMs = 60000;  // a child that says nothing for this long is stuck

}  // namespace

ChildProcessReader::ChildProcessReader(const std::function<void(int fd)>& work) {
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) {
    throw TableError(TableError::Kind::kOther, std::string("cannot make a pipe: ") + std::strerror(errno));
  }
  pid_ = fork();
  if (pid_ < 0) {
    const int error = errno;
    close(fds[0]);
    close(fds[1]);
    throw TableError(TableError::Kind::kOther, std::string("cannot start a reader process: ") + std::strerror(error));
  }
  if (pid_ == 0) {
    close(fds[0]);
    signal(SIGPIPE, SIG_IGN);  // a parent that stopped reading makes a write fail, not a signal
    try {
      work(fds[1]);
    } catch (...) {
      _exit(3);
    }
    _exit(0);
  }
  close(fds[1]);
  fd_ = fds[0];
}

ChildProcessReader::~ChildProcessReader() {
  if (fd_ >= 0) close(fd_);
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
}

bool ChildProcessReader::Read(void* into, size_t size) {
  auto* out = static_cast<char*>(into);
  while (size > 0) {
    if (begin_ == end_) {
      pollfd ready{fd_, POLLIN, 0};
      const int polled = poll(&ready, 1, kSilenceMs);
      if (polled < 0 && errno == EINTR) continue;
      if (polled <= 0) {
        kill(pid_, SIGKILL);
        return false;
      }
      const ssize_t got = read(fd_, buffer_, sizeof buffer_);
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return false;
      begin_ = 0;
      end_ = static_cast<size_t>(got);
    }
    const size_t n = std::min(size, end_ - begin_);
    std::memcpy(out, buffer_ + begin_, n);
    begin_ += n;
    out += n;
    size -= n;
  }
  return true;
}

std::string ChildProcessReader::HowItEnded() {
  if (pid_ <= 0) return "no reader process";
  int status = 0;
  pid_t waited;
  while ((waited = waitpid(pid_, &status, 0)) < 0 && errno == EINTR) {
  }
  if (waited != pid_) return "the reader process was lost";
  pid_ = -1;
  if (WIFSIGNALED(status)) return "signal " + std::to_string(WTERMSIG(status));
  return "exit status " + std::to_string(WEXITSTATUS(status));
}

void ChildPipeWriter::Write(const void* data, size_t size) {
  buffer_.append(static_cast<const char*>(data), size);
  if (buffer_.size() >= 65536) Flush();
}

void ChildPipeWriter::Flush() {
  size_t done = 0;
  while (done < buffer_.size()) {
    const ssize_t wrote = write(fd_, buffer_.data() + done, buffer_.size() - done);
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) _exit(4);
    done += static_cast<size_t>(wrote);
  }
  buffer_.clear();
}

}  // namespace ks::tables
