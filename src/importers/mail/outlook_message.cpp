#include "importers/mail/outlook_message.h"

#include <fmt/format.h>

#include <ctime>

#include "importers/mail/rtf_plain_text.h"

namespace {

constexpr const char* kWeekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

}  // namespace

std::string COutlookMessage::DateText(int64_t seconds) {
  const time_t time = static_cast<time_t>(seconds);
  struct tm utc {};
  if (gmtime_r(&time, &utc) == nullptr) return {};
  return fmt::format("{}, {:02} {} {} {:02}:{:02}:{:02} +0000", kWeekdays[utc.tm_wday],
                     utc.tm_mday, kMonths[utc.tm_mon], utc.tm_year + 1900, utc.tm_hour,
                     utc.tm_min, utc.tm_sec);
}

std::string COutlookMessage::DocumentText(const std::string& folder,
                                          const OutlookItem& item) const {
  const bool html = !item.html_body.empty();
  const std::string_view line_end = html ? "<br>" : "\r\n";
  std::string text;
  text.reserve(256 + item.subject.size() + item.html_body.size() + item.plain_body.size());
  const auto field = [&](std::string_view name, std::string_view value) {
    if (value.empty()) return;
    text += name;
    text += marker_;
    text += ' ';
    text += value;
    text += " ]";
    text += line_end;
  };
  field("Folder", folder);
  field("From", item.from);
  field("To", item.to);
  field("Cc", item.cc);
  field("Bcc", item.bcc);
  field("Subject", item.subject);
  field("Date", item.time ? DateText(*item.time) : std::string());

  if (html) {
    text += fmt::format("Message{} {}<br>]<br>", marker_, item.html_body);
    return text;
  }
  const std::string plain =
      !item.plain_body.empty() ? item.plain_body : RtfPlainText(item.rtf_body);
  if (!plain.empty()) text += fmt::format("Message{} {} \r\n]\r\n", marker_, plain);
  return text;
}
