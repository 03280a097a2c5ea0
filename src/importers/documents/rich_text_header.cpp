#include "importers/documents/rich_text_header.h"

#include <fmt/format.h>

#include "importers/documents/rich_text_text.h"
#include "ks_eng5.h"

namespace ks::documents {
namespace {

bool ReadName(int32_t (*getter)(uint32_t, char*, uint32_t), uint32_t db, std::string& into) {
  char buffer[kLookNameSize] = {};
  if (getter(db, buffer, sizeof buffer) == 0) return false;
  into = buffer;
  return true;
}

template <typename Value>
bool ReadValue(int32_t (*getter)(uint32_t, Value*), uint32_t db, Value& into) {
  Value value{};
  if (getter(db, &value) == 0) return false;
  into = value;
  return true;
}

// One entry of the font table: the family class by pitch, and the face
// that stands in where the machine lacks the font.
std::string FontEntry(int number, const std::string& name, const MachineTypefaces& typefaces) {
  const Typeface* installed = typefaces.Find(name);
  const bool fixed = installed != nullptr && installed->fixed_pitch;
  std::string entry = fmt::format("{{\\f{}\\f{}\\fprq{}\\fcharset0 ", number, fixed ? "modern" : "nil",
                                  fixed ? 1 : 2);
  AppendRichText(entry, name);
  if (installed == nullptr) {
    const std::string stand_in = typefaces.StandIn(name);
    if (!stand_in.empty()) {
      entry += "{\\*\\falt ";
      AppendRichText(entry, stand_in);
      entry += '}';
    }
  }
  return entry + ";}";
}

std::string Colour(uint32_t rgb) {
  return fmt::format("\\red{}\\green{}\\blue{};", (rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF, rgb & 0xFF);
}

}  // namespace

std::optional<DocumentLook> ReadDocumentLook(uint32_t db) {
  DocumentLook look;
  const bool all_read =
      ReadName(EngOp25, db, look.body_font) && ReadValue(EngOp27, db, look.body_font_size) &&
      ReadValue(EngOp31, db, look.text_colour) && ReadValue(EngOp48, db, look.background_colour) &&
      ReadValue(EngOp93, db, look.margin_left) && ReadValue(EngOp97, db, look.margin_right) &&
      ReadValue(EngOp99, db, look.margin_top) && ReadValue(EngOp101, db, look.margin_bottom) &&
      ReadValue(EngOp102, db, look.tab_width) && ReadValue(EngOp105, db, look.space_before) &&
      ReadValue(EngOp108, db, look.space_after) && ReadValue(EngOp113, db, look.line_spacing) &&
      ReadValue(EngOp114, db, look.field_name_colour) &&
      ReadValue(EngOp157, db, look.field_value_colour) &&
      ReadName(EngOp178, db, look.field_name_font) &&
      ReadValue(EngOp180, db, look.field_name_font_size) &&
      ReadValue(EngOp182, db, look.field_name_bold) &&
      ReadName(EngOp192, db, look.paragraph_style) &&
      ReadValue(EngOp232, db, look.hyperlink_colour) && ReadValue(EngOp236, db, look.code_page) &&
      ReadValue(EngOp244, db, look.language) && ReadValue(EngOp253, db, look.page_width);
  if (!all_read) return std::nullopt;
  return look;
}

std::string BuildRichTextHeader(const DocumentLook& look, const MachineTypefaces& typefaces,
                                const std::string& style_name) {
  // Colours: 1 text, 2 field names, 3 field values, 4 links, 5 background.
  std::string header = fmt::format("{{\\rtf1\\ansi\\ansicpg{}\\deff0\\deflang{}\\uc1", look.code_page,
                                   look.language);
  header += "{\\fonttbl" + FontEntry(0, look.body_font, typefaces) +
            FontEntry(1, look.field_name_font, typefaces) + "}";
  header += "{\\colortbl;" + Colour(look.text_colour) + Colour(look.field_name_colour) +
            Colour(look.field_value_colour) + Colour(look.hyperlink_colour) +
            Colour(look.background_colour) + "}";
  const std::string paragraph =
      fmt::format("\\f0\\fs{}\\cf1\\sb{}\\sa{}\\sl{}", look.body_font_size, look.space_before,
                  look.space_after, look.line_spacing);
  header += "{\\stylesheet{\\s0" + paragraph + " ";
  AppendRichText(header, style_name);
  header += ";}{\\*\\cs10\\f1\\fs" + std::to_string(look.field_name_font_size) +
            (look.field_name_bold != 0 ? "\\b" : "") + "\\cf2 Field Name;}}";
  header += fmt::format("\\paperw{}\\margl{}\\margr{}\\margt{}\\margb{}\\deftab{}", look.page_width,
                        look.margin_left, look.margin_right, look.margin_top, look.margin_bottom,
                        look.tab_width);
  header += "\\pard\\plain" + paragraph + " ";
  return header;
}

}  // namespace ks::documents
