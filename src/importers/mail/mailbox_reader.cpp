#include "importers/mail/mailbox_reader.h"

#include <algorithm>

namespace {

constexpr std::string_view kFrom = "From ";
constexpr std::string_view kEudoraSeparator = "From ???@???";
constexpr std::string_view kStandardSeparator = "\r\nFrom ";

}  // namespace

namespace {

// Whether every line end is already CR LF, so the text can be kept as read.
bool AllCrLf(std::string_view text) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r') {
      if (i + 1 == text.size() || text[i + 1] != '\n') return false;
      ++i;
    } else if (text[i] == '\n') {
      return false;
    }
  }
  return true;
}

}  // namespace

MailboxReader::MailboxReader(std::string text, Mode mode)
    : text_(AllCrLf(text) ? std::move(text) : WithCrLfLineEnds(text)), mode_(mode) {}

std::string MailboxReader::WithCrLfLineEnds(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 32);
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r') {
      out += "\r\n";
      if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
    } else if (c == '\n') {
      out += "\r\n";
    } else {
      out += c;
    }
  }
  return out;
}

std::optional<size_t> MailboxReader::LocateSeparator(size_t from) const {
  const std::string_view text = text_;
  if (from >= text.size()) return std::nullopt;
  if (text.compare(from, kFrom.size(), kFrom) == 0) return from;
  const std::string_view separator = mode_ == Mode::kEudora ? kEudoraSeparator : kStandardSeparator;
  const size_t found = text.find(separator, from);
  if (found == std::string_view::npos) return std::nullopt;
  // "\r\nFrom ": the message starts past the line end, at "From ".
  return separator.front() == '\r' ? found + 2 : found;
}

std::optional<MailboxReader::Message> MailboxReader::Next() {
  const std::string_view text = text_;
  const std::optional<size_t> separator = LocateSeparator(position_);
  if (!separator) {
    position_ = text.size();
    return std::nullopt;
  }
  // Past "From " and the word after it; the raw text starts at the blank.
  // A separator line with nothing after the address ends the word at its
  // line end, so the first header line stays whole.
  size_t start = *separator + kFrom.size();
  const size_t line_end = std::min(text.find("\r\n", *separator), text.size());
  start = std::min(text.find(' ', start), line_end);
  const std::optional<size_t> next = LocateSeparator(start);
  const size_t end = next ? *next : text.size();
  position_ = end;
  Message message;
  message.separator_line = text.substr(*separator, line_end - *separator);
  message.raw_text = text.substr(std::min(start, end), end - std::min(start, end));
  return message;
}

double MailboxReader::Progress() const {
  return text_.empty() ? 1.0 : static_cast<double>(position_) / static_cast<double>(text_.size());
}
