// PstItemWalk: the items of the chosen folders of an Outlook file, one after
// the other, each read by a PstItemReader.  An item libpff cannot hand out
// or read is a step of its own, with the problem in words, so that the
// import goes on with the next one; a folder whose items fail
// kMostUnreadableInARow times in a row is given up (its item count is
// likely damage, not items), and that too is a step with a problem.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "importers/mail/outlook_item.h"
#include "importers/mail/pst_folders.h"
#include "importers/mail/pst_item_reader.h"

class PstItemWalk {
 public:
  static constexpr int kMostUnreadableInARow = 64;

  struct Step {
    const PstFolder* folder = nullptr;
    std::optional<OutlookItem> item;       // none when it could not be read
    std::string problem;                   // why not, for the log
    std::vector<std::string> left_out;     // attachments that could not be taken
    uint64_t items_passed = 1;             // how many of the folders' items this step covers
  };

  PstItemWalk(std::vector<PstFolder*> folders, const PstItemReader& reader)
      : folders_(std::move(folders)), reader_(reader) {}

  // The next item, its attachments read when `with_attachments`; none after
  // the last.
  std::optional<Step> Next(bool with_attachments);

 private:
  std::vector<PstFolder*> folders_;
  const PstItemReader& reader_;
  size_t folder_ = 0;
  int index_ = 0;
  int unreadable_in_a_row_ = 0;
};
