// Fuzzes DbxFolderReader, which reads the messages of an Outlook Express
// folder file (.dbx): the header, the index tree, each message's record and
// the chained blocks of its text.
//
// Input: the whole input is the file, so a real folder is a seed as it
// stands.  Its last byte also chooses where a second reading cuts it.
//
// Checks: the reading ends (a tree or chain that loops is found); no
// message's text is longer than the file; an unreadable message and a walk
// ended early say why; a file that is no folder of messages gives nothing;
// reading again gives the same; the file cut short gives the same messages
// as far as it goes, each read one with the same text, never reads a
// message the whole file could not, and loses one the whole file reads only
// to the cut.  The checkpoint a profile keeps of the file numbers it past
// every message read; it stands on the same bytes with nothing new, and a
// reading from its number on gives nothing.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_input.h"
#include "importers/mail/dbx_checkpoint.h"
#include "importers/mail/dbx_folder_reader.h"

namespace {

using Message = DbxFolderReader::Message;

struct Reading {
  std::vector<Message> messages;
  bool index_problem = false;
};

Reading Read(std::string_view file) {
  DbxFolderReader reader(file);
  Reading reading;
  Message message;
  while (reader.Next(&message)) {
    FUZZ_CHECK(reader.header().kind == DbxFileKind::kMessageFolder);
    FUZZ_CHECK(message.raw_text.size() <= file.size());
    FUZZ_CHECK(message.subject.size() <= file.size());
    if (message.state == Message::State::kUnreadable) {
      FUZZ_CHECK(!message.problem.what.empty());
      FUZZ_CHECK(message.problem.offset <= UINT32_MAX);
    } else if (message.state == Message::State::kNoText) {
      FUZZ_CHECK(message.raw_text.empty());
    }
    reading.messages.push_back(message);
  }
  FUZZ_CHECK(reader.messages_listed() == reading.messages.size());
  FUZZ_CHECK(!reader.Next(&message));
  if (const std::optional<DbxProblem>& problem = reader.index_problem()) {
    FUZZ_CHECK(!problem->what.empty());
    reading.index_problem = true;
  }
  return reading;
}

bool Same(const Message& a, const Message& b) {
  return a.state == b.state && a.raw_text == b.raw_text && a.subject == b.subject &&
         a.record_offset == b.record_offset;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view file(reinterpret_cast<const char*>(data), size);
  const Reading whole = Read(file);
  if (ReadDbxFileHeader(file).kind != DbxFileKind::kMessageFolder) {
    FUZZ_CHECK(whole.messages.empty() && !whole.index_problem);
  }

  const Reading again = Read(file);
  FUZZ_CHECK(again.messages.size() == whole.messages.size());
  for (size_t i = 0; i < whole.messages.size(); ++i) {
    FUZZ_CHECK(Same(again.messages[i], whole.messages[i]));
  }

  if (const std::optional<MailboxCheckpoint> checkpoint = DbxCheckpointOf(file)) {
    for (const Message& message : whole.messages) {
      FUZZ_CHECK(!message.index || *message.index < checkpoint->offset);
    }
    if (checkpoint->offset > 0) {
      FUZZ_CHECK(DbxResumePointIn(file, *checkpoint).kind == ResumePoint::Kind::kNothingNew);
      DbxFolderReader reader(file);
      reader.TakeFrom(checkpoint->offset);
      Message message;
      while (reader.Next(&message)) FUZZ_CHECK(message.state == Message::State::kUnreadable);
    }
  }

  if (size == 0) return 0;
  const size_t cut_at = size * data[size - 1] / 256;
  const Reading cut = Read(file.substr(0, cut_at));
  // The cut walk follows the whole one until the cut stops it.
  FUZZ_CHECK(cut.messages.size() <= whole.messages.size());
  for (size_t i = 0; i < cut.messages.size(); ++i) {
    const Message& part = cut.messages[i];
    const Message& full = whole.messages[i];
    FUZZ_CHECK(part.record_offset == full.record_offset);
    if (part.state != Message::State::kUnreadable) FUZZ_CHECK(Same(part, full));
    // A message the whole file gives is lost to the cut alone, or to a
    // text that the blocks' overlapping makes longer than what is left.
    if (part.state == Message::State::kUnreadable && full.state != Message::State::kUnreadable) {
      FUZZ_CHECK(part.problem.kind == DbxProblem::Kind::kCutShort ||
                 full.raw_text.size() > cut_at);
    }
  }
  return 0;
}
