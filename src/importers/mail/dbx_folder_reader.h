// DbxFolderReader: the messages of an Outlook Express 5 or 6 folder file
// (.dbx), one at a time in the order of the folder's index, each as its raw
// RFC 822 text.  It reads the file's header (DbxFileHeader), walks the index
// (DbxIndexTree), reads each message's record (DbxMessageRecord) and joins
// the blocks of its text (ReadDbxMessageText).
//
// The file is given whole, normally mapped: nothing of it is copied but the
// message at hand, so a folder of 2 GB costs the memory of one message.
//
// Damage is reported, never stepped over blindly: a message whose record or
// text cannot be read is handed out as unreadable with its problem, and the
// reading goes on with the next; damage to the index itself ends the walk
// (index_problem()).  A file cut short therefore gives every message that
// lies wholly before the cut, and a problem for each of the others.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "importers/mail/dbx_bytes.h"
#include "importers/mail/dbx_file_header.h"
#include "importers/mail/dbx_index_tree.h"

class DbxFolderReader {
 public:
  struct Message {
    enum class State {
      kRead,        // raw_text holds the message
      kNoText,      // the folder lists the message but never kept its text
      kUnreadable,  // see problem
    };
    State state = State::kRead;
    std::string raw_text;
    std::string subject;  // as the folder's list shows it (may be empty)
    std::optional<uint32_t> index;  // its number in the folder, when its record gives one
    DbxProblem problem;
    uint32_t record_offset = 0;
  };

  // `file` must outlive the reader.
  explicit DbxFolderReader(std::string_view file);
  // The index walk keeps a reference to the reader's bytes.
  DbxFolderReader(const DbxFolderReader&) = delete;
  DbxFolderReader& operator=(const DbxFolderReader&) = delete;

  const DbxFileHeader& header() const { return header_; }

  // Fills `message` with the next message of the index; false at its end,
  // or when the file is no folder of messages.
  bool Next(Message* message);

  // From now on Next() passes over, without reading them, the messages
  // numbered below `first_index` and those whose record gives no number:
  // they were imported before.  They still count as listed.
  void TakeFrom(uint64_t first_index) { first_index_ = first_index; }

  // Why the index could not be read to its end, if so.
  const std::optional<DbxProblem>& index_problem() const;

  // The messages the index gave so far, whatever their state.
  uint64_t messages_listed() const { return listed_; }

 private:
  DbxBytes file_;
  DbxFileHeader header_;
  std::optional<DbxIndexTree> index_;
  std::optional<DbxProblem> header_problem_;
  uint64_t listed_ = 0;
  uint64_t first_index_ = 0;
};
