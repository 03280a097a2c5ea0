// Fuzzes MailboxReader, which cuts a mailbox file into its messages, and
// hands each message to the message composer as the mailbox import does.
//
// Input: a byte of options (separator mode, full header, field marker; its
// top five bits choose a block size and a message to start from), then the
// mailbox text.
//
// Checks: the line ends made CR LF leave no lone CR or LF and lose no other
// byte; the messages follow one another without gap or overlap from the
// first separator to the end, and nothing before the first is a separator;
// each separator line starts with "From " and holds no line end; a message's
// raw text starts at the blank after the separator's first word (or at the
// line end when none follows on its line), is the message's bytes with CR LF
// line ends, and holds no separator; progress grows from 0 to 1; a finished
// reader stays finished.  The mailbox read block by block, with blocks of 1
// to 962 bytes, gives the same messages as the mailbox held whole, and
// reading from the start of one of its messages gives the messages from
// that one on.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_input.h"
#include "importers/mail/eudora_message.h"
#include "importers/mail/mailbox_bytes.h"
#include "importers/mail/mailbox_reader.h"

namespace {

using Mode = MailboxReader::Mode;

// Raw pointers and no coverage tracing: this check walks every byte twice,
// and traced it cost the target more than the reader it checks.
__attribute__((no_sanitize("coverage"))) void CheckCrLf(std::string_view text,
                                                        std::string_view crlf) {
  const char* in = text.data();
  const char* const in_end = in + text.size();
  const char* out = crlf.data();
  const char* const out_end = out + crlf.size();
  while (true) {
    while (in != in_end && (*in == '\r' || *in == '\n')) ++in;
    while (out != out_end && (*out == '\r' || *out == '\n')) {
      if (*out == '\r') FUZZ_CHECK(out + 1 != out_end && out[1] == '\n');
      if (*out == '\n') FUZZ_CHECK(out != crlf.data() && out[-1] == '\r');
      ++out;
    }
    if (in == in_end || out == out_end) break;
    FUZZ_CHECK(*in == *out);
    ++in;
    ++out;
  }
  FUZZ_CHECK(in == in_end && out == out_end);
}

// The document the mailbox import stores for a message.
void Compose(const MailboxReader::Message& found, Mode mode, bool full_header, char marker) {
  std::unique_ptr<CEudoraMessage> message;
  if (mode == Mode::kEudora) {
    message = std::make_unique<CEudoraMessage>();
  } else {
    message = std::make_unique<CStdMessage>();
  }
  message->SetFieldMarker(marker);
  message->SetSeparatorDate(mode == Mode::kEudora);
  message->SetSeparatorLine(std::string(found.separator_line));
  message->SetMailBox("mailbox");
  message->SetRawText(std::string(found.raw_text));
  if (full_header && message->Body()) message->SetFullHeader(true);
  const std::string document = message->DocumentText();
  FUZZ_CHECK(!message->Body() || document.ends_with(" ]"));
  for (const std::string& name : message->AttachmentNames()) FUZZ_CHECK(!name.empty());
}

// A message as handed out, kept beyond the next call.
struct Kept {
  uint64_t begin, end;
  std::string separator_line, raw_text;
  bool operator==(const Kept&) const = default;
};

std::vector<Kept> ReadAll(MailboxReader& reader) {
  std::vector<Kept> messages;
  while (const std::optional<MailboxReader::Message> found = reader.Next()) {
    messages.push_back({found->begin, found->end, std::string(found->separator_line),
                        std::string(found->raw_text)});
  }
  FUZZ_CHECK(!reader.Next());
  return messages;
}

// The mailbox handed out `block` bytes at a time from `start` on.
std::vector<Kept> ReadStreamed(std::string_view input, Mode mode, size_t block, uint64_t start) {
  std::string_view rest = input;
  StreamedMailbox bytes(
      [&rest](char* buffer, size_t size) {
        const std::string_view piece = rest.substr(0, size);
        piece.copy(buffer, piece.size());
        rest.remove_prefix(piece.size());
        return static_cast<ssize_t>(piece.size());
      },
      block);
  MailboxReader reader(bytes, mode, input.size(), start);
  std::vector<Kept> messages = ReadAll(reader);
  FUZZ_CHECK(!reader.Failed());
  FUZZ_CHECK(reader.Progress() == 1.0);
  return messages;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ks::fuzz::FuzzInput in(data, size);
  const uint8_t options = in.Byte();
  const Mode mode = (options & 1) != 0 ? Mode::kEudora : Mode::kStandard;
  const bool full_header = (options & 2) != 0;
  const char marker = (options & 4) != 0 ? '[' : static_cast<char>(in.Byte());
  const size_t choice = options >> 3;
  const std::string_view input = in.Rest();

  const std::string text = MailboxReader::WithCrLfLineEnds(input);
  CheckCrLf(input, text);
  const std::string_view separator = mode == Mode::kEudora ? "From ???@???" : "\r\nFrom ";

  MailboxReader reader(std::string(input), mode);
  FUZZ_CHECK(reader.Progress() == (text.empty() ? 1.0 : 0.0));
  std::string tiled;  // the messages from their separators on, one after another
  std::vector<Kept> whole;
  double progress = reader.Progress();
  while (const std::optional<MailboxReader::Message> found = reader.Next()) {
    const std::string_view line = found->separator_line;
    const std::string_view raw = found->raw_text;
    FUZZ_CHECK(line.starts_with("From "));
    FUZZ_CHECK(line.find_first_of("\r\n") == std::string_view::npos);
    FUZZ_CHECK(whole.empty() || found->begin == whole.back().end);
    FUZZ_CHECK(found->begin < found->end && found->end <= input.size());
    FUZZ_CHECK(input.substr(found->begin).starts_with(line));
    // The raw text starts at the first blank after "From " on the line, or at
    // the line's end, and is the rest of the message with CR LF line ends.
    const size_t blank = line.find(' ', 5);
    const std::string message = std::string(line.substr(0, blank)) + std::string(raw);
    FUZZ_CHECK(message ==
               MailboxReader::WithCrLfLineEnds(input.substr(found->begin, found->end - found->begin)));
    FUZZ_CHECK(raw.find(separator) == std::string_view::npos);
    tiled += message;
    FUZZ_CHECK(tiled.size() <= text.size());
    FUZZ_CHECK(reader.Progress() >= progress && reader.Progress() <= 1.0);
    progress = reader.Progress();
    whole.push_back({found->begin, found->end, std::string(line), std::string(raw)});
    Compose(*found, mode, full_header, marker);
  }
  FUZZ_CHECK(!reader.Next());
  FUZZ_CHECK(reader.Progress() == 1.0);
  FUZZ_CHECK(whole.empty() || whole.back().end == input.size());
  FUZZ_CHECK(std::string_view(text).ends_with(tiled));
  const std::string_view before = std::string_view(text).substr(0, text.size() - tiled.size());
  FUZZ_CHECK(before.find(separator) == std::string_view::npos && !before.starts_with("From "));

  // Block by block, as a mailbox that cannot be mapped is read.
  // Blocks of 1 to 962 bytes, most of them small: every boundary case, at a
  // cost the fuzzer can bear.
  const size_t block = 1 + choice * choice;
  FUZZ_CHECK(ReadStreamed(input, mode, block, 0) == whole);
  // From the start of one of its messages, as a run that imports only what
  // is new.
  if (!whole.empty()) {
    const size_t first = choice % whole.size();
    const std::vector<Kept> tail(whole.begin() + static_cast<std::ptrdiff_t>(first), whole.end());
    InMemoryMailbox bytes{std::string(input)};
    MailboxReader started(bytes, mode, input.size(), whole[first].begin);
    FUZZ_CHECK(ReadAll(started) == tail);
    FUZZ_CHECK(ReadStreamed(input, mode, block, whole[first].begin) == tail);
  }
  return 0;
}
