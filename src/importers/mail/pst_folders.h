// The folders of an Outlook file as the import names them.  A folder below
// the top of the personal folders (the one Outlook shows with Inbox, Sent
// Items, ... under it) is named by its path from there, "Inbox/Projects";
// the top itself and the folders outside it (search roots and the like) by
// their path from the file's root, which starts with the top's own name.
//
// The walk is bounded: a file whose folders refer to each other in a loop,
// nest deeper than Outlook allows or number beyond any real store is read
// as far as the bounds, and what was left out is reported.
#pragma once

#include <string>
#include <vector>

#include "importers/mail/pst_file.h"

struct PstFolder {
  std::string path;       // as the import names it (above)
  std::string full_path;  // from the file's root
  int item_count = 0;     // messages and other items (contacts, appointments, ...)
  PstItem item;
};

struct PstFolderList {
  static constexpr int kDeepest = 64;
  static constexpr size_t kMostFolders = 100000;

  std::vector<PstFolder> folders;  // parents before their children, each in its file order
  std::vector<std::string> problems;  // folders that could not be read, in words for the log
};

PstFolderList ListPstFolders(PstFile& file);

// The folder named `wanted` (by the import's name or its full path); null
// when there is none.
PstFolder* FindPstFolder(PstFolderList& list, const std::string& wanted);
