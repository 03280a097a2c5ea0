#include "importers/mail/imap_response.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <deque>

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool SameIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::toupper(static_cast<unsigned char>(x)) ==
                  std::toupper(static_cast<unsigned char>(y));
         });
}

// A number of 1 to 10 digits that fits 32 bits; nothing for anything else.
std::optional<uint32_t> ReadNumber32(std::string_view text) {
  if (text.empty() || text.size() > 10 || !std::all_of(text.begin(), text.end(), IsDigit)) {
    return std::nullopt;
  }
  uint64_t value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  if (value > UINT32_MAX) return std::nullopt;
  return static_cast<uint32_t>(value);
}

// The literal size a line announces at its end ("{123}" or "{123+}").
std::optional<uint64_t> AnnouncedLiteral(std::string_view line) {
  if (line.empty() || line.back() != '}') return std::nullopt;
  const size_t open = line.rfind('{');
  if (open == std::string_view::npos) return std::nullopt;
  std::string_view digits = line.substr(open + 1, line.size() - open - 2);
  if (!digits.empty() && digits.back() == '+') digits.remove_suffix(1);
  if (digits.empty() || digits.size() > 12 || !std::all_of(digits.begin(), digits.end(), IsDigit)) {
    return std::nullopt;
  }
  uint64_t size = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), size);
  return size;
}

// Splits off the first word of `text` (up to a blank).
std::string_view TakeWord(std::string_view* text) {
  const size_t blank = text->find(' ');
  const std::string_view word = text->substr(0, blank);
  text->remove_prefix(blank == std::string_view::npos ? text->size() : blank + 1);
  return word;
}

// The tokens of a FETCH attribute list, read one at a time.  Literals are
// taken from the response's list as their announcements are met.
class FetchListScanner {
 public:
  FetchListScanner(std::string_view text, std::vector<std::string>* literals)
      : text_(text), literals_(*literals) {}

  enum class Kind { kAtom, kString, kNil, kOpen, kClose, kEnd, kBad };
  struct Token {
    Kind kind = Kind::kBad;
    std::string_view atom = {};       // kAtom
    std::string* string = nullptr;  // kString: quoted text or a literal
  };

  Token Next() {
    while (at_ < text_.size() && text_[at_] == ' ') ++at_;
    if (at_ >= text_.size()) return {Kind::kEnd};
    const char c = text_[at_];
    if (c == '(') {
      ++at_;
      return {Kind::kOpen};
    }
    if (c == ')') {
      ++at_;
      return {Kind::kClose};
    }
    if (c == '"') return Quoted();
    if (c == '{') return Literal();
    return Atom();
  }

  // Skips a value whose opening token was just read (a list to its close).
  bool SkipValue(const Token& first) {
    if (first.kind != Kind::kOpen) return first.kind == Kind::kAtom || first.kind == Kind::kString ||
                                              first.kind == Kind::kNil;
    for (int depth = 1; depth > 0;) {
      const Token token = Next();
      if (token.kind == Kind::kOpen) {
        if (++depth > kDeepestList) return false;
      } else if (token.kind == Kind::kClose) {
        --depth;
      } else if (token.kind == Kind::kEnd || token.kind == Kind::kBad) {
        return false;
      }
    }
    return true;
  }

 private:
  static constexpr int kDeepestList = 64;

  Token Quoted() {
    ++at_;
    quoted_.emplace_back();
    std::string& value = quoted_.back();
    while (at_ < text_.size()) {
      const char c = text_[at_++];
      if (c == '"') return {Kind::kString, {}, &value};
      if (c == '\\' && at_ < text_.size()) {
        value += text_[at_++];
      } else {
        value += c;
      }
    }
    return {Kind::kBad};
  }

  Token Literal() {
    const size_t close = text_.find('}', at_);
    if (close == std::string_view::npos || next_literal_ >= literals_.size()) return {Kind::kBad};
    at_ = close + 1;
    return {Kind::kString, {}, &literals_[next_literal_++]};
  }

  // An atom runs to a blank or a parenthesis; a "[" opens a section that
  // may hold both ("BODY[HEADER.FIELDS (FROM TO)]") and runs to its "]".
  Token Atom() {
    const size_t begin = at_;
    while (at_ < text_.size()) {
      const char c = text_[at_];
      if (c == ' ' || c == '(' || c == ')') break;
      if (c == '[') {
        const size_t close = text_.find(']', at_);
        if (close == std::string_view::npos) return {Kind::kBad};
        at_ = close + 1;
        continue;
      }
      if (c == '{' || c == '"') return {Kind::kBad};
      ++at_;
    }
    const std::string_view atom = text_.substr(begin, at_ - begin);
    if (SameIgnoringCase(atom, "NIL")) return {Kind::kNil};
    return {Kind::kAtom, atom};
  }

  std::string_view text_;
  size_t at_ = 0;
  std::vector<std::string>& literals_;
  size_t next_literal_ = 0;
  // Quoted strings decoded so far; a deque keeps the tokens' pointers valid.
  std::deque<std::string> quoted_;
};

}  // namespace

void ImapResponseReader::Feed(std::string_view bytes) {
  if (Failed()) return;
  // What was handed out goes before the buffer grows again.
  if (start_ > 0 && (start_ == buffer_.size() || start_ > buffer_.size() / 2)) {
    buffer_.erase(0, start_);
    start_ = 0;
  }
  buffer_.append(bytes);
}

size_t ImapResponseReader::LineEnd(size_t from) {
  const size_t end = buffer_.find('\n', from);
  const size_t length = (end == std::string::npos ? buffer_.size() : end) - from;
  if (length > longest_line_) {
    error_ = "a response line longer than " + std::to_string(longest_line_) + " bytes";
    return std::string::npos;
  }
  return end;
}

std::optional<ImapResponse> ImapResponseReader::Next() {
  if (Failed()) return std::nullopt;
  // A response is complete when every literal its lines announce and the
  // line after the last one are here; only then is anything taken out.
  ImapResponse response;
  std::string text;
  size_t at = start_;
  while (true) {
    const size_t end = LineEnd(at);
    if (end == std::string::npos) return std::nullopt;
    std::string_view line(buffer_.data() + at, end - at);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (text.size() + line.size() > longest_line_) {
      error_ = "a response longer than " + std::to_string(longest_line_) +
               " bytes besides its literals";
      return std::nullopt;
    }
    text.append(line);
    at = end + 1;
    const std::optional<uint64_t> literal = AnnouncedLiteral(line);
    if (!literal) break;
    if (*literal > largest_literal_) {
      error_ = "a literal of " + std::to_string(*literal) + " bytes";
      return std::nullopt;
    }
    if (buffer_.size() - at < *literal) return std::nullopt;
    response.literals.emplace_back(buffer_, at, static_cast<size_t>(*literal));
    at += static_cast<size_t>(*literal);
  }
  start_ = at;

  std::string_view rest(text);
  const std::string_view tag = TakeWord(&rest);
  if (tag.empty()) {
    error_ = "a response without a tag";
    return std::nullopt;
  }
  response.tag = tag;
  response.text = rest;
  return response;
}

bool ReadMailboxState(const ImapResponse& response, ImapMailboxState* state) {
  if (response.tag != "*") return false;
  std::string_view rest(response.text);
  const std::string_view first = TakeWord(&rest);
  if (SameIgnoringCase(first, "OK")) {
    // "* OK [UIDVALIDITY 3857529045] UIDs valid"
    if (rest.empty() || rest.front() != '[') return false;
    const size_t close = rest.find(']');
    if (close == std::string_view::npos) return false;
    std::string_view code = rest.substr(1, close - 1);
    const std::string_view name = TakeWord(&code);
    const std::optional<uint32_t> value = ReadNumber32(TakeWord(&code));
    if (!value) return false;
    if (SameIgnoringCase(name, "UIDVALIDITY")) {
      state->uid_validity = *value;
      return true;
    }
    if (SameIgnoringCase(name, "UIDNEXT")) {
      state->uid_next = *value;
      return true;
    }
    return false;
  }
  // "* 172 EXISTS"
  const std::optional<uint32_t> count = ReadNumber32(first);
  if (count && SameIgnoringCase(TakeWord(&rest), "EXISTS") && rest.empty()) {
    state->exists = *count;
    return true;
  }
  return false;
}

std::optional<ImapCompletion> ReadCompletion(const ImapResponse& response) {
  if (response.tag == "*" || response.tag == "+") return std::nullopt;
  std::string_view rest(response.text);
  const std::string_view status = TakeWord(&rest);
  ImapCompletion completion;
  if (SameIgnoringCase(status, "OK")) {
    completion.status = ImapCompletion::Status::kOk;
  } else if (SameIgnoringCase(status, "NO")) {
    completion.status = ImapCompletion::Status::kNo;
  } else if (SameIgnoringCase(status, "BAD")) {
    completion.status = ImapCompletion::Status::kBad;
  } else {
    return std::nullopt;
  }
  completion.text = rest;
  return completion;
}

std::optional<std::vector<uint32_t>> ReadSearchResult(const ImapResponse& response) {
  if (response.tag != "*") return std::nullopt;
  std::string_view rest(response.text);
  if (!SameIgnoringCase(TakeWord(&rest), "SEARCH")) return std::nullopt;
  std::vector<uint32_t> uids;
  while (!rest.empty()) {
    const std::string_view word = TakeWord(&rest);
    if (word.empty()) continue;  // blanks doubled
    const std::optional<uint32_t> uid = ReadNumber32(word);
    if (!uid || *uid == 0) return std::nullopt;
    uids.push_back(*uid);
  }
  return uids;
}

std::optional<ImapFetchedMessage> ReadFetchedMessage(ImapResponse& response) {
  if (response.tag != "*") return std::nullopt;
  std::string_view rest(response.text);
  const std::optional<uint32_t> sequence = ReadNumber32(TakeWord(&rest));
  if (!sequence || *sequence == 0) return std::nullopt;
  if (!SameIgnoringCase(TakeWord(&rest), "FETCH")) return std::nullopt;

  using Kind = FetchListScanner::Kind;
  FetchListScanner scanner(rest, &response.literals);
  if (scanner.Next().kind != Kind::kOpen) return std::nullopt;
  ImapFetchedMessage message;
  message.sequence = *sequence;
  while (true) {
    const FetchListScanner::Token name = scanner.Next();
    if (name.kind == Kind::kClose) break;
    if (name.kind != Kind::kAtom) return std::nullopt;
    const FetchListScanner::Token value = scanner.Next();
    if (SameIgnoringCase(name.atom, "UID")) {
      if (value.kind != Kind::kAtom) return std::nullopt;
      const std::optional<uint32_t> uid = ReadNumber32(value.atom);
      if (!uid || *uid == 0) return std::nullopt;
      message.uid = *uid;
    } else if (SameIgnoringCase(name.atom, "BODY[]") || SameIgnoringCase(name.atom, "RFC822")) {
      if (value.kind == Kind::kString) {
        message.body = std::move(*value.string);
      } else if (value.kind == Kind::kNil) {
        message.body = std::string();
      } else {
        return std::nullopt;
      }
    } else if (!scanner.SkipValue(value)) {
      return std::nullopt;
    }
  }
  if (scanner.Next().kind != Kind::kEnd) return std::nullopt;
  return message;
}

std::optional<ImapListedMailbox> ReadListedMailbox(ImapResponse& response) {
  if (response.tag != "*") return std::nullopt;
  std::string_view rest(response.text);
  if (!SameIgnoringCase(TakeWord(&rest), "LIST")) return std::nullopt;

  using Kind = FetchListScanner::Kind;
  FetchListScanner scanner(rest, &response.literals);
  if (scanner.Next().kind != Kind::kOpen) return std::nullopt;
  ImapListedMailbox mailbox;
  while (true) {
    const FetchListScanner::Token flag = scanner.Next();
    if (flag.kind == Kind::kClose) break;
    if (flag.kind != Kind::kAtom) return std::nullopt;
    if (SameIgnoringCase(flag.atom, "\\Noselect") || SameIgnoringCase(flag.atom, "\\NonExistent")) {
      mailbox.selectable = false;
    }
  }
  const FetchListScanner::Token delimiter = scanner.Next();
  if (delimiter.kind != Kind::kString && delimiter.kind != Kind::kNil) return std::nullopt;
  const FetchListScanner::Token name = scanner.Next();
  if (name.kind == Kind::kAtom) {
    mailbox.name = std::string(name.atom);
  } else if (name.kind == Kind::kString) {
    mailbox.name = std::move(*name.string);
  } else {
    return std::nullopt;
  }
  if (mailbox.name.empty() || scanner.Next().kind != Kind::kEnd) return std::nullopt;
  return mailbox;
}

std::string UidSetText(const std::vector<uint32_t>& uids) {
  std::string text;
  for (size_t i = 0; i < uids.size();) {
    size_t last = i;
    while (last + 1 < uids.size() && uids[last + 1] == uids[last] + 1) ++last;
    if (!text.empty()) text += ',';
    text += std::to_string(uids[i]);
    if (last > i) text += ':' + std::to_string(uids[last]);
    i = last + 1;
  }
  return text;
}

std::optional<std::string> MailboxArgument(std::string_view name) {
  if (name.empty()) return std::string("\"\"");
  bool plain = true;
  for (const char c : name) {
    if (c == '\r' || c == '\n' || c == '\0') return std::nullopt;
    const auto u = static_cast<unsigned char>(c);
    if (u <= 0x20 || u >= 0x7f || c == '(' || c == ')' || c == '{' || c == '"' || c == '\\' ||
        c == '%' || c == '*' || c == ']') {
      plain = false;
    }
  }
  if (plain) return std::string(name);
  std::string quoted = "\"";
  for (const char c : name) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  quoted += '"';
  return quoted;
}
