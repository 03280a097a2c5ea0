// Fuzzes what the Maildir and single-message imports read from untrusted
// names and files: ParseMaildirName and the delivery order
// (importers/mail/maildir_name.*), and MessageFile (message_file.*): telling
// a message from junk and giving it the shape the composer reads, which
// then composes it as the import does.
//
// Input: a byte of options (delivery second, composing on or off), two file
// names (each with its length from a byte), then the file's bytes.
//
// Checks: a parsed name's unique part is a non-empty prefix of the name and
// holds no "/"; the flags lie after it; a name without a time part has none;
// the natural order is a total order (antisymmetric, equal only for equal
// names) and the delivery order agrees with it for equal seconds.  A file
// called a message has a header line and keeps its bytes; its raw text has
// CR LF line ends, starts with the rest of a separator line that begins
// "From " and holds no line end, and carries every byte of the file after
// that line with its line ends made CR LF.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz_input.h"
#include "importers/mail/eudora_message.h"
#include "importers/mail/mailbox_reader.h"
#include "importers/mail/maildir_name.h"
#include "importers/mail/message_file.h"

namespace {

void CheckName(std::string_view file) {
  const std::optional<MaildirName> name = ParseMaildirName(file);
  if (!name) return;
  FUZZ_CHECK(!name->unique.empty());
  FUZZ_CHECK(file.substr(0, name->unique.size()) == name->unique);
  FUZZ_CHECK(name->unique.find('/') == std::string_view::npos);
  FUZZ_CHECK(name->unique[0] != '.');
  if (!name->flags.empty()) {
    FUZZ_CHECK(name->has_info);
    FUZZ_CHECK(file.ends_with(name->flags));
    FUZZ_CHECK(file.size() >= name->unique.size() + 3 + name->flags.size());
  }
  if (name->unique[0] < '0' || name->unique[0] > '9') FUZZ_CHECK(!name->delivered);
}

int Sign(int value) {
  return value < 0 ? -1 : (value > 0 ? 1 : 0);
}

void CheckOrder(std::string_view a, std::string_view b) {
  const int ab = CompareNamesNaturally(a, b);
  const int ba = CompareNamesNaturally(b, a);
  FUZZ_CHECK(Sign(ab) == -Sign(ba));
  FUZZ_CHECK((ab == 0) == (a == b));
  FUZZ_CHECK(CompareNamesNaturally(a, a) == 0);
  FUZZ_CHECK(DeliveredBefore({7, a}, {7, b}) == (ab < 0));
  if (a != b) FUZZ_CHECK(DeliveredBefore({6, b}, {7, a}));
}

void CheckMessage(std::string_view bytes, int64_t delivered, bool compose) {
  const message_file::Verdict verdict = message_file::Examine(bytes);
  if (verdict == message_file::Verdict::kEmpty) {
    FUZZ_CHECK(bytes.find_first_not_of(" \t\r\n") == std::string_view::npos);
    return;
  }
  if (verdict != message_file::Verdict::kMessage) return;
  FUZZ_CHECK(bytes.find(':') != std::string_view::npos);
  const message_file::Message message = message_file::AsMailboxMessage(bytes, delivered);
  FUZZ_CHECK(message.separator_line.starts_with("From "));
  FUZZ_CHECK(message.separator_line.find_first_of("\r\n") == std::string::npos);
  // The file after its own separator line, if it had one.
  std::string_view rest = bytes;
  if (bytes.starts_with("From ")) {
    const size_t end = bytes.find_first_of("\r\n");
    if (end == std::string_view::npos) {
      rest = {};
    } else {
      rest = bytes.substr(end + (bytes.substr(end, 2) == "\r\n" ? 2 : 1));
    }
  }
  const std::string converted = MailboxReader::WithCrLfLineEnds(rest);
  FUZZ_CHECK(message.raw_text.ends_with(converted));
  const std::string_view first_line(message.raw_text.data(),
                                    message.raw_text.size() - converted.size());
  FUZZ_CHECK(first_line.ends_with("\r\n"));
  FUZZ_CHECK(first_line.substr(0, first_line.size() - 2).find_first_of("\r\n") ==
             std::string_view::npos);
  for (size_t at = message.raw_text.find('\n'); at != std::string::npos;
       at = message.raw_text.find('\n', at + 1)) {
    FUZZ_CHECK(at > 0 && message.raw_text[at - 1] == '\r');
  }
  if (!compose) return;
  CStdMessage composed;
  composed.SetSeparatorLine(message.separator_line);
  composed.SetMailBox("Inbox");
  composed.SetRawText(message.raw_text);
  const std::string document = composed.DocumentText();
  FUZZ_CHECK(document.find("MailBox[ Inbox ]\r\n") != std::string::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ks::fuzz::FuzzInput input(data, size);
  const uint8_t options = input.Byte();
  const int64_t delivered = static_cast<int64_t>(options >> 1) * 86'400'000 - 1'000'000'000;
  const std::string_view first = input.ShortText(96);
  const std::string_view second = input.ShortText(96);
  CheckName(first);
  CheckName(second);
  CheckOrder(first, second);
  CheckMessage(input.Rest(), delivered, (options & 1) != 0);
  return 0;
}
