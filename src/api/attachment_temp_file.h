// AttachmentTempFile: an attachment written to a file of its own so that an
// importer can read it, in a private folder (0700) made for it under the
// library's temporary import folder.  The file and its folder go when the
// object does.
#pragma once

#include <memory>
#include <string>
#include <string_view>

class AttachmentTempFile {
 public:
  // Writes `content` as `safe_name` (SafeAttachmentFileName) in a new
  // private folder.  Null, with *why saying what failed, when the temporary
  // import folder cannot be made or is not this user's own, or the file
  // cannot be written; nothing is left behind then.
  static std::unique_ptr<AttachmentTempFile> Write(const std::string& safe_name,
                                                   std::string_view content, std::string* why);

  ~AttachmentTempFile() { Remove(); }
  AttachmentTempFile(const AttachmentTempFile&) = delete;
  AttachmentTempFile& operator=(const AttachmentTempFile&) = delete;

  const std::string& path() const { return path_; }
  const std::string& folder() const { return folder_; }

  // Deletes the file (which an abort may have deleted already) and its
  // folder.  Safe to call more than once.
  void Remove();

 private:
  AttachmentTempFile(std::string folder, std::string path)
      : folder_(std::move(folder)), path_(std::move(path)) {}

  std::string folder_;  // the private folder, without a trailing slash
  std::string path_;    // the file inside it
};
