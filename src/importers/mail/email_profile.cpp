#include "importers/mail/email_profile.h"

#include <fmt/format.h>

#include <ctime>

namespace mail_application {

int32_t MailboxFileType(int32_t application) {
  switch (application) {
    case kEudora:
      return KSIMP_TYPE_EUDORA;
    case kOutlook:
      return KSIMP_TYPE_OUTLOOK_FOLDER;
    case kNetscape:
    case kPocoMail:
      return KSIMP_TYPE_MBX;
    case kMaildir:
      return KSIMP_TYPE_MAILDIR;
    case kOutlookExpress:
      return KSIMP_TYPE_OUTLOOK_EXPRESS;
    // IMAP profiles read a server, not a file (their mailboxes are queued
    // by name).
    default:
      return 0;
  }
}

std::string_view Name(int32_t application) {
  switch (application) {
    case kOutlook:
      return "Outlook";
    case kOutlookExpress:
      return "Outlook Express";
    case kNetscape:
      return "Netscape";
    case kEudora:
      return "Eudora";
    case kPocoMail:
      return "PocoMail";
    case kImap:
      return "IMAP";
    case kMaildir:
      return "Maildir";
    default:
      return {};
  }
}

}  // namespace mail_application

namespace {

constexpr std::string_view kMonthAbbreviations[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

bool IsLeapYear(int32_t year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int32_t DaysInMonth(int32_t year, int32_t month) {
  constexpr int32_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// The number at the start of `text`, as the profile reader has always read
// it: digits up to the first other character, 0 when there are none.  Stops
// growing past what a date needs.
int32_t LeadingNumber(std::string_view text) {
  int32_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') break;
    if (value < 100000) value = value * 10 + (c - '0');
  }
  return value;
}

}  // namespace

std::optional<ProfileDate> ParseProfileDate(std::string_view text) {
  if (text.size() < 7) return std::nullopt;
  ProfileDate date;
  date.month = LeadingNumber(text.substr(0, 2));
  date.day = LeadingNumber(text.substr(3, 2));
  date.year = LeadingNumber(text.substr(6));
  if (date.year < 1000 || date.year > 9999 || date.month < 1 || date.month > 12 || date.day < 1 ||
      date.day > DaysInMonth(date.year, date.month)) {
    return std::nullopt;
  }
  return date;
}

std::string FormatProfileDate(const ProfileDate& date) {
  return fmt::format("{:02}/{:02}/{:04}", date.month, date.day, date.year);
}

std::string DescriptionDate(const ProfileDate& date) {
  const std::string_view month =
      date.month >= 1 && date.month <= 12 ? kMonthAbbreviations[date.month - 1] : "";
  return fmt::format("{} {:02}, {:04}", month, date.day, date.year);
}

ProfileDate LocalDateOf(int64_t seconds) {
  const auto time = static_cast<std::time_t>(seconds);
  std::tm local{};
  localtime_r(&time, &local);
  return ProfileDate{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday};
}

std::string SelectionDescription(const EmailProfile& profile) {
  const auto shown = [](const std::optional<ProfileDate>& date) {
    return date ? DescriptionDate(*date) : std::string();
  };
  switch (profile.selection) {
    case message_selection::kNewMessages:
      if (!profile.date_start) return "All New Messages";
      return fmt::format("New messages since {}", shown(profile.date_start));
    case message_selection::kBetweenDates:
      return fmt::format("Messages from {} thru {}", shown(profile.date_start),
                         shown(profile.date_end));
    default:
      return "All Messages";
  }
}
