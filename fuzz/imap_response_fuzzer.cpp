// Fuzzes what an IMAP server's bytes go through before a message is
// imported: ImapResponseReader cutting them into responses and literals,
// and the readers of mailbox state, completions, SEARCH results, FETCH and
// LIST responses (importers/mail/imap_response.*), and the mailbox names
// in modified UTF-7 (importers/mail/imap_mailbox_name.*).
//
// Input: a byte seeding the piece sizes, then the server's bytes.
//
// Checks: the responses are the same whether the bytes come at once or a
// few at a time, and the reader fails (or not) the same way; a response's
// literals are never larger than the limit and their bytes were in the
// input; a FETCH's body is one of its literals or a quoted text no longer
// than the response, its UID and number never 0; SEARCH UIDs are never 0
// and, sorted, write as a UID set that expands back to them; a mailbox name
// quoted for a command reads back as itself and holds no line end; a LIST
// gives a name no longer than the response; a name that decodes encodes
// to what decodes the same, and any UTF-8 text encodes to printable ASCII
// that decodes back to it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_input.h"
#include "importers/mail/imap_mailbox_name.h"
#include "importers/mail/imap_response.h"

namespace {

constexpr size_t kLongestLine = 4096;
constexpr size_t kLargestLiteral = 65536;

std::vector<ImapResponse> ReadAll(ImapResponseReader& reader) {
  std::vector<ImapResponse> responses;
  while (std::optional<ImapResponse> response = reader.Next()) responses.push_back(*response);
  return responses;
}

// The UIDs a set written by UidSetText stands for.
std::vector<uint32_t> Expand(std::string_view set) {
  std::vector<uint32_t> uids;
  while (!set.empty()) {
    const size_t comma = set.find(',');
    const std::string item(set.substr(0, comma));
    set.remove_prefix(comma == std::string_view::npos ? set.size() : comma + 1);
    const size_t colon = item.find(':');
    const uint64_t first = std::stoull(item.substr(0, colon));
    const uint64_t last = colon == std::string::npos ? first : std::stoull(item.substr(colon + 1));
    FUZZ_CHECK(first <= last);
    for (uint64_t uid = first; uid <= last; ++uid) uids.push_back(static_cast<uint32_t>(uid));
  }
  return uids;
}

void CheckMailboxName(std::string_view name) {
  const std::optional<std::string> argument = MailboxArgument(name);
  if (name.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos) {
    FUZZ_CHECK(!argument);
    return;
  }
  FUZZ_CHECK(argument);
  FUZZ_CHECK(argument->find_first_of("\r\n") == std::string::npos);
  if (argument->front() != '"') {
    FUZZ_CHECK(*argument == name);
    return;
  }
  std::string unquoted;
  for (size_t i = 1; i + 1 < argument->size(); ++i) {
    if ((*argument)[i] == '\\') ++i;
    unquoted += (*argument)[i];
  }
  FUZZ_CHECK(unquoted == name);
}

void CheckModifiedUtf7(std::string_view text) {
  if (const std::optional<std::string> decoded = DecodeImapMailboxName(text)) {
    const std::optional<std::string> encoded = EncodeImapMailboxName(*decoded);
    FUZZ_CHECK(encoded);
    FUZZ_CHECK(DecodeImapMailboxName(*encoded) == decoded);
    FUZZ_CHECK(ImapMailboxDisplayName(text) == *decoded);
  } else {
    FUZZ_CHECK(ImapMailboxDisplayName(text) == text);
  }
  if (const std::optional<std::string> encoded = EncodeImapMailboxName(text)) {
    for (const char c : *encoded) FUZZ_CHECK(c >= 0x20 && c <= 0x7E);
    FUZZ_CHECK(DecodeImapMailboxName(*encoded) == std::string(text));
  }
}

void CheckParsers(ImapResponse response, std::string_view input) {
  size_t literal_bytes = 0;
  for (const std::string& literal : response.literals) {
    FUZZ_CHECK(literal.size() <= kLargestLiteral);
    FUZZ_CHECK(input.find(literal) != std::string_view::npos);
    literal_bytes += literal.size();
  }
  ImapMailboxState state;
  ReadMailboxState(response, &state);
  if (const std::optional<ImapCompletion> completion = ReadCompletion(response)) {
    FUZZ_CHECK(response.tag != "*" && response.tag != "+");
    FUZZ_CHECK(completion->text.size() <= response.text.size());
  }
  if (std::optional<std::vector<uint32_t>> uids = ReadSearchResult(response)) {
    FUZZ_CHECK(std::find(uids->begin(), uids->end(), 0u) == uids->end());
    std::sort(uids->begin(), uids->end());
    uids->erase(std::unique(uids->begin(), uids->end()), uids->end());
    if (!uids->empty() && uids->back() - uids->front() < 100000) {
      FUZZ_CHECK(Expand(UidSetText(*uids)) == *uids);
    }
  }
  CheckMailboxName(response.text);
  CheckModifiedUtf7(response.text);
  const std::vector<std::string> literals = response.literals;
  {
    ImapResponse listed_response = response;
    if (const std::optional<ImapListedMailbox> listed = ReadListedMailbox(listed_response)) {
      FUZZ_CHECK(!listed->name.empty());
      const bool literal =
          std::find(literals.begin(), literals.end(), listed->name) != literals.end();
      FUZZ_CHECK(literal || listed->name.size() <= response.text.size());
    }
  }
  if (const std::optional<ImapFetchedMessage> message = ReadFetchedMessage(response)) {
    FUZZ_CHECK(message->sequence != 0);
    FUZZ_CHECK(!message->uid || *message->uid != 0);
    if (message->body && !message->body->empty()) {
      const bool literal =
          std::find(literals.begin(), literals.end(), *message->body) != literals.end();
      FUZZ_CHECK(literal || message->body->size() <= response.text.size());
    }
  }
  (void)literal_bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ks::fuzz::FuzzInput input(data, size);
  const uint32_t seed = input.Byte();
  const std::string_view bytes = input.Rest();

  ImapResponseReader whole(kLongestLine, kLargestLiteral);
  whole.Feed(bytes);
  const std::vector<ImapResponse> expected = ReadAll(whole);

  ImapResponseReader pieces(kLongestLine, kLargestLiteral);
  ks::fuzz::PieceSizes sizes(seed);
  std::vector<ImapResponse> got;
  for (size_t at = 0; at < bytes.size();) {
    const size_t n = std::min(bytes.size() - at, std::max<size_t>(1, sizes.Next()));
    pieces.Feed(bytes.substr(at, n));
    at += n;
    for (ImapResponse& r : ReadAll(pieces)) got.push_back(std::move(r));
  }
  FUZZ_CHECK(got.size() == expected.size());
  for (size_t i = 0; i < got.size(); ++i) {
    FUZZ_CHECK(got[i].tag == expected[i].tag);
    FUZZ_CHECK(got[i].text == expected[i].text);
    FUZZ_CHECK(got[i].literals == expected[i].literals);
  }
  FUZZ_CHECK(pieces.Failed() == whole.Failed());
  for (const ImapResponse& response : expected) CheckParsers(response, bytes);
  return 0;
}
