#include "importers/mail/email_profile_mailboxes.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "importers/mail/dbx_store_folder.h"

namespace fs = std::filesystem;

namespace {

// Bounds for a mail root pointed at a huge tree by mistake.
constexpr size_t kMaxEntriesLooked = 200000;
constexpr int kMaxDepth = 8;

bool HasMbxExtension(const fs::path& path) {
  std::string extension = path.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension == ".mbx";
}

bool StartsWithSeparator(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  char first[5] = {};
  in.read(first, sizeof first);
  return in.gcount() == sizeof first && std::string_view(first, sizeof first) == "From ";
}

std::string UnderRoot(const std::string& root, const std::string& name) {
  const fs::path path(name);
  if (path.is_absolute() || root.empty()) return path.lexically_normal().string();
  return (fs::path(root) / path).lexically_normal().string();
}

// The mailbox files below `folder`, sorted; nothing when it cannot be read.
bool MailboxesIn(const std::string& folder, bool eudora, std::vector<std::string>* found) {
  std::error_code ec;
  if (!fs::is_directory(folder, ec)) return false;
  fs::recursive_directory_iterator it(folder, fs::directory_options::skip_permission_denied, ec);
  if (ec) return false;
  std::vector<std::string> files;
  size_t looked = 0;
  for (fs::recursive_directory_iterator end; it != end && looked < kMaxEntriesLooked;
       it.increment(ec), ++looked) {
    if (ec) break;
    if (it.depth() >= kMaxDepth) it.disable_recursion_pending();
    std::error_code type_error;
    if (!it->is_regular_file(type_error) || it->is_symlink(type_error)) continue;
    const fs::path& path = it->path();
    if (eudora ? HasMbxExtension(path) : StartsWithSeparator(path)) {
      files.push_back(path.lexically_normal().string());
    }
  }
  std::sort(files.begin(), files.end());
  found->insert(found->end(), files.begin(), files.end());
  return true;
}

}  // namespace

std::vector<OutlookFolderSource> SelectedOutlookFolders(const EmailProfile& profile) {
  const std::string file = fs::path(profile.mail_root).lexically_normal().string();
  std::vector<OutlookFolderSource> sources;
  if (profile.all) {
    sources.push_back({file, ""});
    return sources;
  }
  for (const ProfileListEntry& folder : profile.folders) sources.push_back({file, folder.name});
  for (const ProfileListEntry& mailbox : profile.mailboxes) {
    sources.push_back({UnderRoot(fs::path(file).parent_path().string(), mailbox.name), ""});
  }
  return sources;
}

std::vector<std::string> SelectedMailboxFiles(const EmailProfile& profile) {
  const bool eudora = profile.type == mail_application::kEudora;
  std::vector<std::string> files;
  const auto add_folder = [&](const std::string& folder) {
    // A Maildir is a mailbox itself, whose importer walks its sub-folders.
    if (profile.type == mail_application::kMaildir) {
      files.push_back(folder);
      return;
    }
    // An Outlook Express store folder: its folder files of messages, not
    // the list of folders and the program's other files beside them.
    if (profile.type == mail_application::kOutlookExpress) {
      std::error_code error;
      if (!fs::is_directory(folder, error)) {
        files.push_back(folder);
        return;
      }
      for (std::string& file : DbxFilesIn(folder)) {
        if (DbxKindOfFile(file) == DbxFileKind::kMessageFolder) files.push_back(std::move(file));
      }
      return;
    }
    if (!MailboxesIn(folder, eudora, &files)) files.push_back(folder);
  };
  if (profile.all) {
    add_folder(fs::path(profile.mail_root).lexically_normal().string());
  } else {
    for (const ProfileListEntry& folder : profile.folders) {
      add_folder(UnderRoot(profile.mail_root, folder.name));
    }
    for (const ProfileListEntry& mailbox : profile.mailboxes) {
      files.push_back(UnderRoot(profile.mail_root, mailbox.name));
    }
  }
  std::vector<std::string> unique;
  for (std::string& file : files) {
    if (std::find(unique.begin(), unique.end(), file) == unique.end()) {
      unique.push_back(std::move(file));
    }
  }
  return unique;
}
