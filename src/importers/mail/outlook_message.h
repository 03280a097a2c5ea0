// COutlookMessage: the Outlook composer.  Outlook hands a message over
// taken apart (folder, sender, recipients, subject, date, bodies), and the
// document is written from those parts in Outlook's own order, Folder,
// From, To, Cc, Bcc, Subject, Date, then Message, each field only when its
// value is not empty.
//
// A message with an HTML body is written as HTML: every line ends in
// "<br>" and the Message field holds the markup.  Otherwise lines end in
// CR LF and the Message field holds the plain text (or, for a message that
// has only rich text, that text reduced to plain text).  Two asymmetries
// are kept as users' databases have always had them: the Date field gets
// its line end appended after its closer, and the plain Message field has
// a line end before and after its "]".
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "importers/mail/outlook_item.h"

class COutlookMessage {
 public:
  // The Date field's text for a time in seconds since 1970, in UTC:
  // "Wed, 30 Aug 2017 19:26:03 +0000", which the date ranges read as any
  // mail Date line.
  static std::string DateText(int64_t seconds);

  void SetFieldMarker(char marker) { marker_ = marker; }

  // The document of `item`, found in the folder `folder`.
  std::string DocumentText(const std::string& folder, const OutlookItem& item) const;

 private:
  char marker_ = '[';
};
