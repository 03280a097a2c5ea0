// SourceFile: a source file opened for reading block by block.  A failure
// keeps its cause, so the import log can say in the usual words which file
// failed and why.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "api/file_error_text.h"

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

  uint64_t size() const { return size_; }
  const std::string& path() const { return path_; }
  // The reason of the last failure, in the words of the import log.
  const std::string& ErrorText() const { return error_text_; }

 private:
  void Fail(FileErrorCause cause);

  int fd_ = -1;
  uint64_t size_ = 0;
  std::string path_;
  std::string error_text_;
};
