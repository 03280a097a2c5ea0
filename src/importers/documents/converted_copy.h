// ConvertedCopy: the converted copy of a document that a converter module
// wrote, owned by the import until it is deleted.  Its path comes from the
// module, so it is deleted only when it really is a regular file inside the
// temporary import folder ($TMPDIR, else /tmp, followed by "KSTmpImp/"),
// after resolving "..", symbolic links and the folder's own real path: a
// module that named any other file never has it deleted.
#pragma once

#include <string>

namespace ks::documents {

class ConvertedCopy {
 public:
  explicit ConvertedCopy(std::string path) : path_(std::move(path)) {}
  ~ConvertedCopy() { Delete(); }
  ConvertedCopy(const ConvertedCopy&) = delete;
  ConvertedCopy& operator=(const ConvertedCopy&) = delete;

  const std::string& path() const { return path_; }

  // Deletes the copy (once).  Returns "" when it was deleted or was already
  // gone, else the log line that says why it was kept.
  std::string Delete();

 private:
  std::string path_;
  bool deleted_ = false;
};

}  // namespace ks::documents
