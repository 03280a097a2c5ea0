// OutlookItem: one item of an Outlook folder, its properties taken apart as
// Outlook keeps them and read into UTF-8 (PstItemReader); what the Outlook
// composer (COutlookMessage) writes into a document.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct OutlookItem;

struct OutlookAttachment {
  std::string name;     // as the message gives it: untrusted, maybe empty
  std::string content;  // the bytes of an attached file
  // An Outlook item attached whole (a forwarded message), read as far as
  // its own text: its attachments are not read.
  std::unique_ptr<OutlookItem> message;
};

struct OutlookItem {
  // What kind of item: only messages become documents.
  enum class Kind {
    kMessage,      // e-mail, meeting requests and replies, posts, reports, faxes, ...
    kContact,      // contacts and distribution lists
    kAppointment,
    kTask,
    kNote,         // sticky notes
    kJournal,
    kOther,        // configuration items, documents and what libpff does not know
  };
  Kind kind = Kind::kMessage;

  std::string from;     // the sender's name, else the sender's address
  std::string to;       // the To recipients, as Outlook lists them ("Ann; Bob")
  std::string cc;
  std::string bcc;
  std::string subject;
  // When it was sent (else delivered, else made), seconds since 1970 (UTC).
  std::optional<int64_t> time;
  std::string plain_body;  // CR LF line ends
  std::string html_body;   // the markup, in UTF-8
  std::string rtf_body;    // the rich text, decompressed; read only when no other body is there
  int attachment_count = 0;
  std::vector<OutlookAttachment> attachments;  // read only when asked for
};
