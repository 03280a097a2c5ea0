// DbxFileHeader: what the header of an Outlook Express 5 or 6 file (.dbx)
// says: which of the program's files it is (a folder of messages, the
// store's list of folders "Folders.dbx", or another of its databases) and,
// for a folder of messages, how many messages its index counts and where
// the index tree begins.
//
// Every such file begins with the same four bytes; the next four tell the
// kinds apart.  The header is 0x24BC bytes long; only its first 0xE8 are
// read here.
#pragma once

#include <cstdint>
#include <string_view>

enum class DbxFileKind {
  kNotDbx,         // not a file of Outlook Express
  kMessageFolder,  // a folder of messages (Inbox.dbx, ...)
  kFolderList,     // the store's list of folders (Folders.dbx)
  kOtherDatabase,  // another of its files (Offline.dbx, Pop3uidl.dbx, ...)
};

struct DbxFileHeader {
  DbxFileKind kind = DbxFileKind::kNotDbx;
  bool cut_short = false;      // a message folder whose header the file's end cuts
  uint32_t message_count = 0;  // as the header counts the index's messages
  uint32_t index_root = 0;     // file offset of the index tree's root node; 0 without messages
};

// Reads the header at the start of `file` (the whole file, or at least its
// first 0xE8 bytes).
DbxFileHeader ReadDbxFileHeader(std::string_view file);
