#include "importers/mail/message_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <ctime>

#include "importers/mail/mailbox_reader.h"

namespace message_file {
namespace {

// How far into a file its header is looked for.
constexpr size_t kHeaderLookahead = 64 * 1024;
// How many lines may stand before the first header line (blank lines, a
// line of blanks some programs write first).
constexpr int kLinesBeforeHeader = 8;

bool IsBlankOrLineEnd(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// "Name:" with a name of printable ASCII but blank and ":".
bool IsHeaderLine(std::string_view line) {
  size_t at = 0;
  while (at < line.size()) {
    const auto c = static_cast<unsigned char>(line[at]);
    if (c == ':') return at > 0;
    if (c <= 32 || c >= 127) return false;
    ++at;
  }
  return false;
}

// The "From " line a file cut from a mailbox may begin with: up to its line
// end (CR LF, LF or CR alone, as a mailbox reader reads them); *next is
// where the rest begins.
std::string_view SeparatorLineOf(std::string_view text, size_t* next) {
  const size_t end = std::min(text.find_first_of("\r\n"), text.size());
  *next = end;
  if (end < text.size()) *next += text.compare(end, 2, "\r\n") == 0 ? 2 : 1;
  return text.substr(0, end);
}

std::string_view LineAt(std::string_view text, size_t start, size_t* next) {
  size_t end = text.find('\n', start);
  *next = end == std::string_view::npos ? text.size() : end + 1;
  if (end == std::string_view::npos) end = text.size();
  if (end > start && text[end - 1] == '\r') --end;
  return text.substr(start, end - start);
}

}  // namespace

Verdict Examine(std::string_view bytes) {
  size_t first = 0;
  while (first < bytes.size() && IsBlankOrLineEnd(bytes[first])) ++first;
  if (first == bytes.size()) return Verdict::kEmpty;

  const std::string_view head = bytes.substr(0, kHeaderLookahead);
  size_t at = 0;
  if (head.substr(0, 5) == "From ") SeparatorLineOf(head, &at);
  for (int line = 0; line <= kLinesBeforeHeader && at < head.size(); ++line) {
    size_t next = 0;
    const std::string_view text = LineAt(head, at, &next);
    if (text.find('\0') != std::string_view::npos) return Verdict::kNotAMessage;
    if (IsHeaderLine(text)) {
      // No NUL byte may stand in the header itself.
      size_t end = head.find("\n\r\n", at);
      const size_t lf_end = head.find("\n\n", at);
      if (end == std::string_view::npos || (lf_end != std::string_view::npos && lf_end < end)) {
        end = lf_end;
      }
      const std::string_view header =
          head.substr(at, end == std::string_view::npos ? head.npos : end - at);
      return header.find('\0') == std::string_view::npos ? Verdict::kMessage
                                                         : Verdict::kNotAMessage;
    }
    // Only blank lines, or lines folded onto what comes next, may stand
    // before the first header line.
    const bool blank_start = text.empty() || text[0] == ' ' || text[0] == '\t';
    if (!blank_start) return Verdict::kNotAMessage;
    at = next;
  }
  return Verdict::kNotAMessage;
}

std::string SeparatorDate(int64_t seconds) {
  static constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const auto time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  if (gmtime_r(&time, &parts) == nullptr || parts.tm_year + 1900 > 9999 || parts.tm_year < -1899) {
    return "Thu Jan 01 00:00:00 1970";
  }
  return fmt::format("{} {} {:02} {:02}:{:02}:{:02} {}", kDays[parts.tm_wday],
                     kMonths[parts.tm_mon], parts.tm_mday, parts.tm_hour, parts.tm_min,
                     parts.tm_sec, parts.tm_year + 1900);
}

Message AsMailboxMessage(std::string_view bytes, int64_t delivered_seconds) {
  Message message;
  std::string_view rest = bytes;
  if (bytes.substr(0, 5) == "From ") {
    size_t next = 0;
    const std::string_view line = SeparatorLineOf(bytes, &next);
    message.separator_line = std::string(line.substr(0, 1024));
    // As a mailbox reader hands it over: from the blank after the address.
    const size_t blank = line.find(' ', 5);
    message.raw_text =
        blank == std::string_view::npos ? std::string() : std::string(line.substr(blank));
    rest = bytes.substr(next);
  } else {
    const std::string date = SeparatorDate(delivered_seconds);
    message.separator_line = "From MAILER-DAEMON " + date;
    message.raw_text = " " + date;
  }
  message.raw_text += "\r\n";
  message.raw_text += MailboxReader::WithCrLfLineEnds(rest);
  return message;
}

}  // namespace message_file
