// DbxMessageRecord: the record an Outlook Express folder keeps for each of
// its messages: the indexed fields the program shows in its message list
// (subject, sender, dates, ...) and, among them, where the message's text
// begins.
//
// A record is a 12-byte header (+0 its own file offset, +4 the length of
// its body, +0x0A the count of its fields), then one 4-byte entry per field,
// then the fields' data.  An entry's first byte holds the field's number in
// its low seven bits; when its top bit is set, the value is the entry's
// other three bytes, otherwise those bytes give where the value starts in
// the data after the entries.  Everything is checked against the record's
// body and the file.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "importers/mail/dbx_bytes.h"

struct DbxMessageRecord {
  uint32_t offset = 0;                  // the record's own file offset
  std::optional<uint32_t> index;        // the message's number in its folder: the
                                        // program numbers messages as they arrive
  std::optional<uint32_t> text_offset;  // the first block of the message's text;
                                        // none for a message whose text was never kept
  std::string_view subject;             // as the folder lists it; may be empty
};

// Reads the record at `offset`.  False, with `problem` filled in, when it
// lies outside the file or is damaged.
bool ReadDbxMessageRecord(const DbxBytes& file, uint32_t offset, DbxMessageRecord* record,
                          DbxProblem* problem);
