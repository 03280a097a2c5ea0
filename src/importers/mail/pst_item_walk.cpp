#include "importers/mail/pst_item_walk.h"

#include <fmt/format.h>
#include <libpff.h>

std::optional<PstItemWalk::Step> PstItemWalk::Next(bool with_attachments) {
  while (folder_ < folders_.size() && index_ >= folders_[folder_]->item_count) {
    ++folder_;
    index_ = 0;
    unreadable_in_a_row_ = 0;
  }
  if (folder_ >= folders_.size()) return std::nullopt;
  PstFolder* folder = folders_[folder_];
  Step step;
  step.folder = folder;
  const int index = index_++;
  const auto where = [&] {
    return fmt::format("item {} of the folder \"{}\"", index + 1, folder->full_path);
  };

  libpff_item_t* raw = nullptr;
  if (libpff_folder_get_sub_message(folder->item.get(), index, &raw, nullptr) != 1 ||
      raw == nullptr) {
    step.problem = fmt::format("{} cannot be read", where());
  } else {
    const PstItem item(raw);
    try {
      step.item = reader_.Read(raw, with_attachments, &step.left_out);
    } catch (const PstError& unreadable) {
      step.problem = fmt::format("{} cannot be read: {}", where(), unreadable.what());
    }
  }
  unreadable_in_a_row_ = step.item ? 0 : unreadable_in_a_row_ + 1;
  if (unreadable_in_a_row_ >= kMostUnreadableInARow && index_ < folder->item_count) {
    step.problem += fmt::format("; the folder's other {} items were given up after {} in a row "
                                "could not be read",
                                folder->item_count - index_, kMostUnreadableInARow);
    step.items_passed += static_cast<uint64_t>(folder->item_count - index_);
    index_ = folder->item_count;
  }
  return step;
}
