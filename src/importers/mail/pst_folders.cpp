#include "importers/mail/pst_folders.h"

#include <fmt/format.h>
#include <libpff.h>

#include <optional>
#include <set>

namespace {

std::string FolderName(PffHandle* folder) {
  size_t size = 0;
  if (libpff_folder_get_utf8_name_size(folder, &size, nullptr) != 1 || size == 0) return {};
  std::string name(size, '\0');
  if (libpff_folder_get_utf8_name(folder, reinterpret_cast<uint8_t*>(name.data()), size,
                                  nullptr) != 1) {
    return {};
  }
  name.resize(name.find('\0') == std::string::npos ? name.size() : name.find('\0'));
  return name;
}

std::string Joined(const std::string& parent, const std::string& name) {
  return parent.empty() ? name : parent + "/" + name;
}

class FolderWalk {
 public:
  FolderWalk(PstFolderList& list, std::optional<uint32_t> top, uint32_t root)
      : list_(list), top_(top) {
    seen_.insert(root);
  }

  // Adds the folders below `parent` (whose names are `path` and `full`).
  void Below(PffHandle* parent, const std::string& path, const std::string& full, int depth) {
    int count = 0;
    if (libpff_folder_get_number_of_sub_folders(parent, &count, nullptr) != 1) {
      list_.problems.push_back(
          fmt::format("the folders in \"{}\" cannot be read", full));
      return;
    }
    for (int i = 0; i < count; ++i) {
      if (list_.folders.size() >= PstFolderList::kMostFolders) {
        list_.problems.push_back(
            fmt::format("the file holds more than {} folders; the rest were left out",
                        PstFolderList::kMostFolders));
        return;
      }
      libpff_item_t* sub = nullptr;
      if (libpff_folder_get_sub_folder(parent, i, &sub, nullptr) != 1 || sub == nullptr) {
        list_.problems.push_back(
            fmt::format("folder {} of \"{}\" cannot be read", i + 1, full));
        continue;
      }
      PstItem item(sub);
      uint32_t id = 0;
      libpff_item_get_identifier(sub, &id, nullptr);
      const std::string name = FolderName(sub);
      const std::string sub_full = Joined(full, name);
      if (!seen_.insert(id).second) {
        list_.problems.push_back(
            fmt::format("the folder \"{}\" is its own ancestor; it was read once", sub_full));
        continue;
      }
      if (depth + 1 > PstFolderList::kDeepest) {
        list_.problems.push_back(fmt::format(
            "the folders below \"{}\" nest deeper than {} and were left out", full,
            PstFolderList::kDeepest));
        return;
      }
      // The top of the personal folders keeps its full name; below it the
      // path starts afresh.
      const bool is_top = top_ && id == *top_;
      const std::string sub_path = is_top ? sub_full : Joined(path, name);
      const std::string children_path = is_top ? std::string() : sub_path;
      int items = 0;
      if (libpff_folder_get_number_of_sub_messages(sub, &items, nullptr) != 1) {
        list_.problems.push_back(
            fmt::format("the messages of \"{}\" cannot be counted", sub_full));
        items = 0;
      }
      PffHandle* raw = item.get();
      list_.folders.push_back(PstFolder{sub_path, sub_full, items, std::move(item)});
      Below(raw, children_path, sub_full, depth + 1);
    }
  }

 private:
  PstFolderList& list_;
  std::optional<uint32_t> top_;
  std::set<uint32_t> seen_;
};

}  // namespace

PstFolderList ListPstFolders(PstFile& file) {
  PstFolderList list;
  PstItem root = file.RootFolder();
  int root_items = 0;
  libpff_folder_get_number_of_sub_messages(root.get(), &root_items, nullptr);
  PffHandle* raw_root = root.get();
  uint32_t root_id = 0;
  libpff_item_get_identifier(raw_root, &root_id, nullptr);
  // The root itself holds no messages in a file Outlook wrote, but may in
  // one written by other programs.
  list.folders.push_back(PstFolder{"", "", root_items, std::move(root)});
  FolderWalk(list, file.TopOfPersonalFoldersId(), root_id).Below(raw_root, "", "", 0);
  return list;
}

PstFolder* FindPstFolder(PstFolderList& list, const std::string& wanted) {
  for (PstFolder& folder : list.folders) {
    if (folder.path == wanted) return &folder;
  }
  for (PstFolder& folder : list.folders) {
    if (folder.full_path == wanted) return &folder;
  }
  return nullptr;
}
