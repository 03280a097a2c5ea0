#include "importers/mail/message_day_range.h"

#include <tuple>

namespace {

auto Key(const MessageDayRange::Day& day) {
  return std::make_tuple(day.year, day.month, day.day);
}

// A number of one to `most` digits at the start of *text, taken off it.
std::optional<int> TakeNumber(std::string_view* text, size_t most) {
  size_t length = 0;
  int value = 0;
  while (length < text->size() && length < most && (*text)[length] >= '0' &&
         (*text)[length] <= '9') {
    value = value * 10 + ((*text)[length] - '0');
    ++length;
  }
  if (length == 0) return std::nullopt;
  text->remove_prefix(length);
  return value;
}

bool TakeSlash(std::string_view* text) {
  if (text->empty() || text->front() != '/') return false;
  text->remove_prefix(1);
  return true;
}

}  // namespace

std::optional<MessageDayRange::Day> MessageDayRange::ParseDay(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  Day day;
  const std::optional<int> month = TakeNumber(&text, 2);
  if (!month || !TakeSlash(&text)) return std::nullopt;
  const std::optional<int> day_of_month = TakeNumber(&text, 2);
  if (!day_of_month || !TakeSlash(&text)) return std::nullopt;
  const std::optional<int> year = TakeNumber(&text, 4);
  if (!year || !text.empty()) return std::nullopt;
  day.month = *month;
  day.day = *day_of_month;
  day.year = *year;
  if (!IsCalendarDay(day)) return std::nullopt;
  return day;
}

bool MessageDayRange::IsCalendarDay(const Day& day) {
  return day.month >= 1 && day.month <= 12 && day.day >= 1 && day.day <= 31;
}

void MessageDayRange::Narrow(const std::optional<Day>& from, const std::optional<Day>& to) {
  if (from && (!from_ || Key(*from) > Key(*from_))) from_ = from;
  if (to && (!to_ || Key(*to) < Key(*to_))) to_ = to;
}

bool MessageDayRange::Contains(const Day& day) const {
  if (from_ && Key(day) < Key(*from_)) return false;
  if (to_ && Key(day) > Key(*to_)) return false;
  return true;
}
