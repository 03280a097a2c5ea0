// MailStore: finds and reads the files a mail message names as its saved
// attachments.  The names come from the message, so anyone who can send a
// message chooses them: a file is read only when its real path (after ".."
// and symbolic links) lies inside the mail store — the mailbox's own folder
// tree and the folders the user named — when it is a regular file and when
// it is no larger than the limit.  A Windows path, as the mail program wrote
// it ("C:\Mail\Attach\x.doc"), is looked up by its file name in the store.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/import_context.h"

class MailStore {
 public:
  MailStore(const std::string& mailbox_path, const AttachmentRules& rules);

  // The real path of the file `name` denotes in the store, or nothing with
  // *why set to the reason it is not read (a whole sentence for the import
  // log; empty when the file simply does not exist).
  std::optional<std::string> Find(const std::string& name, std::string* why);

  // Reads the regular file at `path` whole, in bounded pieces; false with
  // *why set when it is not a regular file, is larger than the limit or
  // cannot be read.
  bool Read(const std::string& path, std::string* content, std::string* why) const;

  const std::vector<std::string>& roots() const { return roots_; }

 private:
  // The path a Windows name's file name has in the store, searched folder
  // by folder (each folder's tree indexed on first use).
  std::optional<std::string> FindByFileName(const std::string& file_name);
  bool InsideStore(const std::string& real_path) const;

  std::string mailbox_folder_;
  std::vector<std::string> roots_;  // real paths of the store's folders
  uint64_t max_bytes_;
  bool indexed_ = false;
  std::map<std::string, std::string> by_file_name_;  // file name -> first path in the store
};
