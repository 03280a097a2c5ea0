// The text of the one document the link-or-attach import makes for a file:
// a field "File" whose value is a hypertext link, in the engine's rich-text
// dialect, or the plain field line when no rich text can be started.
//
// The link names the target database as its file part and, as its title,
// the file's path (a link) or the attachment's name (an attachment), with
// every hyphen written as a non-breaking hyphen; the text shown is the
// file's path.  Every part is escaped for the dialect (rich_text_text.h):
// a backslash in a name doubles, braces cannot end the link's group.
#pragma once

#include <string>
#include <string_view>

namespace ks::documents {

struct LinkParts {
  std::string header;         // the rich-text header, group left open
  char field_marker = '[';
  std::string database_path;  // the link's file part
  std::string file_path;      // shown, and the title of a plain link
  // Non-empty for an attachment: the name the attachment is stored under,
  // which becomes the title.
  std::string attachment_name;
};

// Link type 7 for a link, 23 for an attachment.
inline constexpr int kLinkTypeFile = 7;
inline constexpr int kLinkTypeAttachment = 23;

// The rich-text document (kind 4).
std::string ComposeLinkDocument(const LinkParts& parts);

// The plain fallback (kind 1): "File[ PATH]" for the marker "[".
std::string ComposePlainLinkDocument(char field_marker, std::string_view file_path);

// The field line an entry of an entry form gets: "File[ PATH ]" and a line
// end, the form's field filled with the path.
std::string ComposeEntryFieldLine(char field_marker, std::string_view file_path);

// `text` with its first "%c" made the marker and its first "%s" the value,
// as the link texts are kept.
std::string FillLinkText(std::string_view text, char field_marker, std::string_view value = {});

// The name an attachment of `file_path` is stored under: the name without
// its folder, cut to `limit` bytes at a character boundary.
std::string AttachmentNameOf(std::string_view file_path, size_t limit);

}  // namespace ks::documents
