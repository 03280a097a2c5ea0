// The start of a rich-text document that looks like the database's own:
// the database's display settings (fonts, sizes, colours, margins, tab and
// paragraph defaults, the style name) read through the engine, and the
// header built from them and the machine's typefaces.  The header leaves
// the document's group and a plain paragraph open for its text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "importers/documents/machine_typefaces.h"

namespace ks::documents {

// The display settings of one database, as its getters deliver them.
struct DocumentLook {
  std::string body_font;
  int32_t body_font_size = 24;  // half points
  uint32_t text_colour = 0;     // 0xRRGGBB
  uint32_t background_colour = 0xFFFFFF;
  int32_t margin_left = 1440;  // twips
  int32_t margin_right = 1440;
  int32_t margin_top = 1440;
  int32_t margin_bottom = 1440;
  int32_t tab_width = 720;
  int32_t space_before = 0;
  int32_t space_after = 0;
  int32_t line_spacing = 0;  // 0: single
  uint32_t field_name_colour = 0x000080;
  uint32_t field_value_colour = 0;
  std::string field_name_font;
  int32_t field_name_font_size = 20;
  int32_t field_name_bold = 1;
  std::string paragraph_style;
  uint32_t hyperlink_colour = 0x0000FF;
  int32_t code_page = 1252;
  int32_t language = 1033;
  int32_t page_width = 12240;
};

// The longest font or style name a header takes.
inline constexpr uint32_t kLookNameSize = 256;

// Reads the look of database `db`; nullopt when the engine refuses any of
// the settings (or a name does not fit kLookNameSize).
std::optional<DocumentLook> ReadDocumentLook(uint32_t db);

// The rich-text header for `look`, with `style_name` as the name of its
// paragraph style ("Normal").  Fonts the machine lacks carry the face that
// stands in for them.  Names are escaped as the dialect wants.
std::string BuildRichTextHeader(const DocumentLook& look, const MachineTypefaces& typefaces,
                                const std::string& style_name);

}  // namespace ks::documents
