#include "importers/mail/eudora_message.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <vector>

#include "importers/mail/mime_encoded_words.h"
#include "importers/mail/mime_message.h"

namespace {

constexpr std::string_view kHeaderEnd = "\r\n\r\n";

bool IsLineEnd(char c) {
  return c == '\r' || c == '\n';
}

bool IsLetter(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) != 0;
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

char LowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Whether `text` begins with `tag` in any case ("Message-Id: " and "CC: "
// are as common as the forms stored).
bool StartsWithTag(std::string_view text, std::string_view tag) {
  if (text.size() < tag.size()) return false;
  for (size_t i = 0; i < tag.size(); ++i) {
    if (LowerAscii(text[i]) != LowerAscii(tag[i])) return false;
  }
  return true;
}

// Where the values of `tags` start in the header: after the first
// occurrence of each tag at the start of a line other than the first (a tag
// is searched with its CR LF in front).  One pass over the line ends for all
// of them.
template <size_t N>
std::array<std::optional<size_t>, N> FindTags(std::string_view header,
                                              const std::array<std::string_view, N>& tags) {
  std::array<std::optional<size_t>, N> found;
  for (size_t at = header.find('\n'); at != std::string_view::npos; at = header.find('\n', at + 1)) {
    if (at == 0 || header[at - 1] != '\r') continue;
    const std::string_view line = header.substr(at + 1);
    for (size_t i = 0; i < N; ++i) {
      if (!found[i] && StartsWithTag(line, tags[i])) found[i] = at + 1 + tags[i].size();
    }
  }
  return found;
}

std::optional<size_t> FindTag(std::string_view header, std::string_view tag) {
  return FindTags(header, std::array<std::string_view, 1>{tag})[0];
}

std::string_view RestOfLine(std::string_view header, size_t start) {
  size_t end = start;
  while (end < header.size() && !IsLineEnd(header[end])) ++end;
  return header.substr(start, end - start);
}

// An address field runs on over continuation lines: a following line whose
// first word (up to its first blank) does not end in ":" belongs to it and
// is appended as it stands.
std::string AddressValue(std::string_view header, size_t start) {
  std::string value(RestOfLine(header, start));
  size_t at = start + value.size();
  while (true) {
    while (at < header.size() && IsLineEnd(header[at])) ++at;
    if (at >= header.size()) break;
    const std::string_view line = RestOfLine(header, at);
    const std::string_view first_word = line.substr(0, line.find(' '));
    if (!first_word.empty() && first_word.back() == ':') break;
    value += line;
    at += line.size();
  }
  return value;
}

std::string UpperAscii(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper;
}

void AppendField(std::string* block, std::string_view name, char marker, std::string_view value) {
  if (value.empty()) return;
  block->append(name);
  *block += marker;
  *block += ' ';
  block->append(value);
  block->append(" ]\r\n");
}

}  // namespace

void CEudoraMessage::SetRawText(std::string raw) {
  raw_ = std::move(raw);
  header_end_ = raw_.find(kHeaderEnd);
  encoded_attachments_.reset();
  ExtractHeaderFields();
  if (separator_date_ && date_.empty()) DateFromSeparatorLine();
  DecodeHeaderFields();
  text_.clear();
  if (const std::optional<std::string_view> body = Body()) {
    text_ = ks::mail::MimeMessage(Header(), *body, Converter(), code_page_).Text();
  }
}

ks::core::CharsetConverter& CEudoraMessage::Converter() const {
  // One per thread: the descriptors it opens are worth keeping from one
  // message to the next, and a composer lives for one message only.
  return ks::core::CharsetConverter::ForThisThread();
}

void CEudoraMessage::DecodeHeaderFields() {
  ks::core::CharsetConverter& converter = Converter();
  for (std::string* value : {&from_, &to_, &cc_, &bcc_, &date_, &subject_, &message_id_,
                             &in_reply_to_}) {
    // Most values are plain ASCII without encoded words: nothing to do.
    if (value->find("=?") == std::string::npos && ks::core::IsAscii(*value)) continue;
    *value = ks::mail::DecodeHeaderValue(*value, converter, code_page_);
    // An encoded line end would break the value's field line in two.
    std::replace_if(value->begin(), value->end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  }
}

const std::vector<CEudoraMessage::AttachmentInfo>& CEudoraMessage::EncodedAttachments() const {
  if (!encoded_attachments_) {
    encoded_attachments_.emplace();
    if (const std::optional<std::string_view> body = Body()) {
      *encoded_attachments_ =
          ks::mail::MimeMessage(Header(), *body, Converter(), code_page_).Attachments();
    }
  }
  return *encoded_attachments_;
}

std::string_view CEudoraMessage::Header() const {
  return std::string_view(raw_).substr(0, header_end_);
}

std::optional<std::string_view> CEudoraMessage::Body() const {
  if (header_end_ == std::string::npos) return std::nullopt;
  return std::string_view(raw_).substr(header_end_ + kHeaderEnd.size());
}

void CEudoraMessage::ExtractHeaderFields() {
  const std::string_view header = Header();
  enum { kTo, kCc, kBcc, kFrom, kDate, kSubject, kMessageId, kInReplyTo, kTags };
  static constexpr std::array<std::string_view, kTags> kTagTexts = {
      "To: ", "Cc: ", "Bcc: ", "From: ", "Date: ", "Subject: ", "Message-ID: ", "In-Reply-To: "};
  const std::array<std::optional<size_t>, kTags> at = FindTags(header, kTagTexts);
  auto address = [&](size_t tag) {
    return at[tag] ? AddressValue(header, *at[tag]) : std::string();
  };
  auto single = [&](size_t tag) {
    return at[tag] ? std::string(RestOfLine(header, *at[tag])) : std::string();
  };
  to_ = address(kTo);
  cc_ = address(kCc);
  bcc_ = address(kBcc);
  if (at[kFrom]) {
    from_ = address(kFrom);
  } else if (StartsWithTag(header, "From: ")) {
    from_ = AddressValue(header, 6);
  } else {
    from_.clear();
  }
  date_ = single(kDate);
  subject_ = single(kSubject);
  message_id_ = single(kMessageId);
  in_reply_to_ = single(kInReplyTo);
}

void CEudoraMessage::DateFromSeparatorLine() {
  // "From ???@??? Tue Jun 01 12:00:00 2004": the five words after the
  // address, each cut to the room the date has for it.
  std::vector<std::string_view> words;
  std::string_view rest = separator_line_;
  while (!rest.empty()) {
    const size_t start = rest.find_first_not_of(' ');
    if (start == std::string_view::npos) break;
    rest.remove_prefix(start);
    const size_t end = std::min(rest.find(' '), rest.size());
    words.push_back(rest.substr(0, end));
    rest.remove_prefix(end);
  }
  if (words.size() < 7) return;  // not a separator line with a date
  constexpr std::array<size_t, 5> kRoom = {3, 3, 2, 8, 4};
  std::array<std::string_view, 5> part;
  for (size_t i = 0; i < part.size(); ++i) part[i] = words[i + 2].substr(0, kRoom[i]);
  const auto& [weekday, month, day, time, year] = part;
  date_ = fmt::format("{}, {} {} {} {}", weekday, day, month, year, time);
}

std::optional<CEudoraMessage::MessageDate> CEudoraMessage::ParseMessageDate(std::string_view date) {
  static constexpr std::array<std::string_view, 12> kMonths = {
      "JAN", "FEB", "MAR", "APR", "MAY", "JUN", "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
  size_t at = 0;
  auto read_number = [&](size_t most) {
    int value = 0;
    for (size_t n = 0; n < most && at < date.size() && IsDigit(date[at]); ++n, ++at) {
      value = value * 10 + (date[at] - '0');
    }
    return value;
  };
  while (at < date.size() && !IsDigit(date[at])) ++at;
  if (at == date.size()) return std::nullopt;
  MessageDate day;
  day.day = read_number(2);
  while (at < date.size() && !IsLetter(date[at])) ++at;
  const size_t month_start = at;
  while (at < date.size() && at - month_start < 3 && IsLetter(date[at])) ++at;
  const std::string month = UpperAscii(date.substr(month_start, at - month_start));
  for (size_t i = 0; i < kMonths.size(); ++i) {
    if (month == kMonths[i]) day.month = static_cast<int>(i) + 1;
  }
  while (at < date.size() && !IsDigit(date[at])) ++at;
  if (day.month == 0 || at == date.size()) return std::nullopt;
  day.year = read_number(4);
  // Two steps, as dates have always been read: 00-09 are this century,
  // then anything below 103 (two-digit years and years counted from 1900)
  // is the last.
  if (day.year < 10) day.year += 2000;
  if (day.year < 103) day.year += 1900;
  return day;
}

std::string CEudoraMessage::StandardHeaderBlock() const {
  std::string block;
  AppendField(&block, "To", marker_, to_);
  AppendField(&block, "Cc", marker_, cc_);
  AppendField(&block, "Bcc", marker_, bcc_);
  AppendField(&block, "From", marker_, from_);
  AppendField(&block, "Date", marker_, date_);
  AppendField(&block, "DateSent", marker_, date_sent_);
  AppendField(&block, "Subject", marker_, subject_);
  AppendField(&block, "Message_Id", marker_, message_id_);
  AppendField(&block, "In_Reply_To", marker_, in_reply_to_);
  AppendField(&block, "MailBox", marker_, mailbox_);
  return block;
}

std::string CEudoraMessage::FullHeaderBlock() const {
  // The header with its terminating empty line, which the rewriting removes,
  // its undeclared 8-bit text made UTF-8 (ASCII, which alone the rewriting
  // looks at, stays as it is).
  const std::string_view raw_header =
      header_end_ == std::string::npos
          ? std::string_view(raw_)
          : std::string_view(raw_).substr(0, header_end_ + kHeaderEnd.size());
  std::string header;
  Converter().AppendUndeclared(raw_header, header, code_page_);

  std::string text;
  text.reserve(header.size() + 16);
  if (date_sent_prefix_) text += "DateSent[ ";  // "[" whatever the marker
  for (const char c : header) {
    if (c != '[' && c != ']') text += c;
  }

  // A colon right after a letter opens a field when the walk back to the
  // start of its line meets a CR before any blank; the field before it is
  // closed with "]" just before that CR.  The walk sees the text as changed
  // so far (a marker that is a blank or a CR stops it too), and always stops
  // at the latest CR or blank, so one pass forward that remembers that
  // character decides every colon.  The "]" all go before CRs already
  // passed: they are counted per CR and written in a second pass.  Inserting
  // into the text as each colon was found cost time growing with the square
  // of the header's size.
  std::vector<size_t> closes;  // a CR's position once for every "]" before it, in order
  char last_stop = '\0';                          // the latest CR or blank, as changed
  size_t last_stop_at = 0;
  char before = '\0';  // the character before the current one, as changed
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == ':' && i > 0 && IsLetter(before) && last_stop != ' ') {
      if (last_stop == '\r') closes.push_back(last_stop_at);
      c = marker_;
      text[i] = c;
    }
    if (c == '\r' || c == ' ') {
      last_stop = c;
      last_stop_at = i;
    }
    before = c;
  }

  // Every "\r\n\r\n" removed, as a search that goes on from where the last
  // one was cut out: a sequence the cut brings together counts only when it
  // starts there or later.
  std::string rewritten;
  rewritten.reserve(text.size() + 16);
  size_t settled = 0;  // the part of rewritten no later match may reach into
  auto put = [&](char c) {
    rewritten += c;
    if (rewritten.size() - settled >= kHeaderEnd.size() && rewritten.ends_with(kHeaderEnd)) {
      rewritten.resize(rewritten.size() - kHeaderEnd.size());
      settled = rewritten.size();
    }
  };
  auto next_close = closes.begin();
  for (size_t i = 0; i < text.size(); ++i) {
    for (; next_close != closes.end() && *next_close == i; ++next_close) put(']');
    put(text[i]);
  }
  rewritten += " ]\r\n";
  AppendField(&rewritten, "MailBox", marker_, mailbox_);
  return rewritten;
}

namespace {

void AppendMessageField(std::string* document, char marker, std::string_view text) {
  const bool html = text.find("<x-html") != std::string_view::npos ||
                    text.find("<html") != std::string_view::npos;
  document->reserve(document->size() + text.size() + 20);
  document->append("Message");
  *document += marker;
  *document += ' ';
  document->append(html ? "<BR><BR>" : "\r\n\r\n");
  document->append(text);
  document->append(" ]");
}

}  // namespace

std::string CEudoraMessage::MessageField(std::string_view text) const {
  std::string field;
  AppendMessageField(&field, marker_, text);
  return field;
}

std::string CEudoraMessage::DocumentText() const {
  std::string text = full_header_ ? FullHeaderBlock() : StandardHeaderBlock();
  if (Body()) AppendMessageField(&text, marker_, text_);
  return text;
}

namespace {

constexpr size_t kLongestAttachmentName = 1024;

std::string CutName(std::string_view name) {
  const size_t first = name.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  const size_t last = name.find_last_not_of(" \t");
  return std::string(name.substr(first, std::min(last - first + 1, kLongestAttachmentName)));
}

}  // namespace

void CEudoraMessage::AppendHeaderNames(std::string_view tag,
                                       std::vector<std::string>* names) const {
  const std::string_view header = Header();
  const std::optional<size_t> at = FindTag(header, tag);
  if (!at) return;
  std::string_view rest = RestOfLine(header, *at);
  while (!rest.empty()) {
    const size_t comma = std::min(rest.find(','), rest.size());
    std::string name = CutName(rest.substr(0, comma));
    if (!name.empty()) names->push_back(std::move(name));
    rest.remove_prefix(std::min(comma + 1, rest.size()));
  }
}

std::vector<std::string> CEudoraMessage::AttachmentNames() const {
  std::vector<std::string> names;
  AppendHeaderNames("X-Attachments: ", &names);
  constexpr std::string_view kConverted = "Attachment Converted: \"";
  for (size_t at = raw_.find(kConverted); at != std::string::npos; at = raw_.find(kConverted, at)) {
    at += kConverted.size();
    const size_t quote = raw_.find('"', at);
    const size_t end = quote == std::string::npos ? raw_.size() : quote;
    std::string name = CutName(std::string_view(raw_).substr(at, end - at));
    if (!name.empty()) names.push_back(std::move(name));
    at = end;
  }
  return names;
}

std::vector<std::string> CStdMessage::AttachmentNames() const {
  std::vector<std::string> names;
  AppendHeaderNames("X-Attachments: ", &names);
  AppendHeaderNames("X-Poco-Attachment: ", &names);
  return names;
}

std::string CEudoraMessage::PlainTextAsHtml(std::string_view text) {
  std::string html = "<html>";
  html.reserve(text.size() + text.size() / 8 + 8);
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '<') {
      html += "&lt;";
    } else if (c == '>') {
      html += "&gt;";
    } else if (c == '\t') {
      html += ' ';
    } else if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
      html += "<br>";
      ++i;
    } else {
      html += c;
    }
  }
  return html;
}
