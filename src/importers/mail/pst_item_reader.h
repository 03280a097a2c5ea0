// PstItemReader: reads one item of an Outlook file through libpff into an
// OutlookItem: its kind, the properties the Outlook composer writes, its
// bodies in UTF-8 and, when asked, its attachments.
//
// Everything read is untrusted: sizes are checked against the limits
// before anything is allocated, text that libpff hands over as bytes (the
// HTML body) is read in the character set the message names (else by the
// library's rule for undeclared text), and a property libpff cannot read
// makes the whole item a PstError, so that no half-read message becomes a
// document.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "importers/mail/outlook_item.h"
#include "importers/mail/pst_file.h"

class PstItemReader {
 public:
  struct Limits {
    uint64_t most_attachment_bytes = uint64_t{256} << 20;
    uint64_t most_body_bytes = uint64_t{256} << 20;
  };

  // `ansi_code_page` reads HTML bodies that name no character set and are
  // not UTF-8 (an iconv name, "WINDOWS-1252").
  PstItemReader(Limits limits, std::string ansi_code_page)
      : limits_(limits), ansi_code_page_(std::move(ansi_code_page)) {}

  // The item's kind and properties, and its attachments when
  // `with_attachments` (each one that could not be taken is a line in
  // *left_out).  Throws PstError (kDamaged) when the item cannot be read.
  OutlookItem Read(PffHandle* item, bool with_attachments,
                   std::vector<std::string>* left_out) const;

 private:
  void ReadAttachments(PffHandle* item, OutlookItem* read, std::vector<std::string>* left_out) const;
  std::string HtmlBody(PffHandle* item) const;

  Limits limits_;
  std::string ansi_code_page_;
};
