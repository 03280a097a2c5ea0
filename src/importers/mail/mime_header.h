// MimeHeader: what the header of a message or of one MIME part says about
// its content: the media type with its boundary, character set and name,
// the transfer encoding, and the disposition with its file name.
//
// Field names are matched without regard to case; folded lines are joined;
// the first of two fields of one name counts.  Parameters may be quoted, and
// may be written the RFC 2231 way ("filename*=utf-8''%E2%82%AC.txt", also in
// numbered sections).  File names come out in UTF-8; the boundary and the
// character set as written.
#pragma once

#include <string>
#include <string_view>

#include "core/charset_converter.h"

namespace ks::mail {

struct MimeHeader {
  bool has_mime_version = false;
  bool has_content_type = false;  // a Content-Type field with a type/subtype
  std::string type = "text";      // lower case
  std::string subtype = "plain";  // lower case
  bool has_boundary = false;  // a boundary parameter, even an empty one
  std::string boundary;
  std::string charset;
  std::string name;               // Content-Type's name, in UTF-8
  std::string transfer_encoding;  // lower case; empty when not given
  std::string disposition;        // lower case: "inline", "attachment" or empty
  std::string filename;           // Content-Disposition's filename, in UTF-8

  bool IsText() const { return type == "text"; }
  bool IsMultipart() const { return type == "multipart"; }
  bool IsMessage() const { return type == "message" && subtype == "rfc822"; }
  // The file name the part gives itself: filename, else name.
  const std::string& FileName() const { return filename.empty() ? name : filename; }
  bool IsAttachment() const { return disposition == "attachment" || !FileName().empty(); }
};

// Reads the MIME fields of `header` (lines ending in CR LF or LF).  Lines
// that are no header field are passed over.  `default_type` is the type a
// part without Content-Type has ("message/rfc822" inside a digest).
MimeHeader ParseMimeHeader(std::string_view header, ks::core::CharsetConverter& converter,
                           std::string_view code_page = ks::core::CharsetConverter::kDefaultCodePage,
                           std::string_view default_type = "text/plain");

// A part cut into its header and body: the header is the run of header
// lines at its start, ended by an empty line (which belongs to neither) or
// by the first line that is no header field (which begins the body).
struct PartText {
  std::string_view header;
  std::string_view body;
};
PartText SplitPart(std::string_view part);

// The raw value of the first field `name` (lower case) in `header`, folded
// lines joined, without the blanks around it; empty when there is none.
std::string HeaderFieldValue(std::string_view header, std::string_view name);

}  // namespace ks::mail
