#include "importers/mail/imap_checkpoints.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace {

constexpr std::string_view kLineStart = "imap ";

bool ReadNumber(std::string_view* text, uint32_t* value) {
  const size_t blank = text->find(' ');
  if (blank == std::string_view::npos || blank == 0) return false;
  const char* first = text->data();
  const auto [end, error] = std::from_chars(first, first + blank, *value);
  if (error != std::errc() || end != first + blank) return false;
  text->remove_prefix(blank + 1);
  return true;
}

}  // namespace

ImapCheckpoints ImapCheckpoints::Parse(std::string_view text) {
  ImapCheckpoints result;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (!line.starts_with(kLineStart)) continue;
    line.remove_prefix(kLineStart.size());
    ImapCheckpoint checkpoint;
    if (ReadNumber(&line, &checkpoint.uid_validity) && ReadNumber(&line, &checkpoint.last_uid) &&
        !line.empty()) {
      checkpoint.mailbox = line;
      result.Set(std::move(checkpoint));
    }
  }
  return result;
}

std::string ImapCheckpoints::Serialize() const {
  std::string text;
  for (const ImapCheckpoint& c : checkpoints_) {
    text += fmt::format("{}{} {} {}\n", kLineStart, c.uid_validity, c.last_uid, c.mailbox);
  }
  return text;
}

const ImapCheckpoint* ImapCheckpoints::Find(std::string_view mailbox) const {
  const auto it = std::find_if(checkpoints_.begin(), checkpoints_.end(),
                               [mailbox](const ImapCheckpoint& c) { return c.mailbox == mailbox; });
  return it == checkpoints_.end() ? nullptr : &*it;
}

void ImapCheckpoints::Set(ImapCheckpoint checkpoint) {
  if (checkpoint.mailbox.empty() || checkpoint.mailbox.find('\n') != std::string::npos) return;
  const auto it = std::find_if(
      checkpoints_.begin(), checkpoints_.end(),
      [&checkpoint](const ImapCheckpoint& c) { return c.mailbox == checkpoint.mailbox; });
  if (it != checkpoints_.end()) {
    *it = std::move(checkpoint);
  } else {
    checkpoints_.push_back(std::move(checkpoint));
  }
}

std::string ImapCheckpoints::KeyOf(std::string_view user, std::string_view server_name,
                                   std::string_view mailbox) {
  return fmt::format("{}@{}/{}", user, server_name, mailbox);
}
