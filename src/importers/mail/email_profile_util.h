// CEmailProfileUtil: the ".emw" profile file, text to EmailProfile and back.
//
// The file is one "KEY=value" line per item, each ended by "\n": TYPE, NAME,
// NAME_KESTRO; the IMAP and firewall keys for an IMAP profile only; TYPE_MSG
// and the dates its selection uses; the five OPTION_ keys; MAILROOT; then
// "ALL=Yes", or one FOLDER and one MAILBOX line per selected entry.
//
// The reader matches each line to the FIRST key, in its fixed order, whose
// text and "=" the line contains ANYWHERE.  Profile files have always been
// read this way and hosts' files depend on it, so it stays, with its
// consequence: a value that contains an earlier key's text is taken by that
// key (a profile named "ATYPE=X" reads back with its NAME line as a TYPE
// line: type 0 and no name).  Everything a profile file holds reads back
// unchanged once written, since a value the reader took for a key never
// holds the text of a key tested before it.
#pragma once

#include <string>
#include <string_view>

#include "importers/mail/email_profile.h"

class CEmailProfileUtil {
 public:
  // Reads a profile file's text; lines that match no key are ignored, and
  // no text is refused.  Integers read as their leading digits (0 without),
  // dates that are not real days read as none, and a password that is not
  // in the scrambled form as empty.
  static EmailProfile Read(std::string_view text);

  // The profile file's text.  Line breaks inside values are written as
  // blanks; passwords are scrambled.
  static std::string Write(const EmailProfile& profile);

  // A profile given by a host as "KEY=value" lines (keys as in the file,
  // each line split at its first "=", "\r" before a line end ignored;
  // passwords in plain text, dates "MM/DD/YYYY").  Unlike the file reader it
  // matches keys exactly.  False with *bad_line set to the first line that
  // names no key or holds a value its key cannot take.
  static bool FromKeyValues(std::string_view text, EmailProfile* profile, std::string* bad_line);

  // The profile as "KEY=value" lines, as the file holds them but without the
  // password lines, for showing it to a user.
  static std::string ShownText(const EmailProfile& profile);
};
