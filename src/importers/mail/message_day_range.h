// MessageDayRange: the calendar days from which a mail import takes
// messages.  The import's date range and its message date range each narrow
// it; both ends are inclusive and an empty end is open.  Days are compared
// as days: a message's time of day plays no part.
#pragma once

#include <optional>
#include <string_view>

#include "importers/mail/eudora_message.h"

class MessageDayRange {
 public:
  using Day = CEudoraMessage::MessageDate;

  // A day written "MM/DD/YYYY" (one-digit months and days allowed); none
  // when the text is not a day of the calendar.
  static std::optional<Day> ParseDay(std::string_view text);
  // Whether `day` is a day of the calendar (a Date line may name day 0 or
  // day 45).
  static bool IsCalendarDay(const Day& day);

  // Takes only days from `from` to `to` as well; none leaves that end as it was.
  void Narrow(const std::optional<Day>& from, const std::optional<Day>& to);

  bool Contains(const Day& day) const;
  bool IsOpen() const { return !from_ && !to_; }

 private:
  std::optional<Day> from_;
  std::optional<Day> to_;
};
