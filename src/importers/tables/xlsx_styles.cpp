#include "importers/tables/xlsx_styles.h"

#include <charconv>
#include <string>
#include <unordered_map>

#include "importers/tables/pugi_local_names.h"
#include "importers/tables/table_source.h"

namespace ks::tables {

NumberKind KindOfBuiltInFormat(uint32_t id) {
  if (id >= 14 && id <= 17) return NumberKind::kDate;
  if (id == 22) return NumberKind::kDateTime;
  if ((id >= 18 && id <= 21) || (id >= 45 && id <= 47)) return NumberKind::kTime;
  return NumberKind::kNumber;
}

NumberKind KindOfFormatCode(std::string_view code) {
  bool date = false, time = false, month_or_minute = false, elapsed = false;
  bool in_quote = false, in_bracket = false;
  for (size_t i = 0; i < code.size(); ++i) {
    const char c = code[i];
    if (in_quote) {
      in_quote = c != '"';
      continue;
    }
    if (in_bracket) {
      in_bracket = c != ']';
      // [h], [mm], [ss]: elapsed time, not a time of day.
      if (c == 'h' || c == 'H' || c == 'm' || c == 'M' || c == 's' || c == 'S') elapsed = elapsed || code[i - 1] == '[';
      continue;
    }
    switch (c) {
      case ';':  // the first section decides, as it is the one positive numbers show
        i = code.size();
        break;
      case '"':
        in_quote = true;
        break;
      case '[':
        in_bracket = true;
        break;
      case '\\':
      case '_':
      case '*':
        ++i;  // an escaped or padding character
        break;
      case 'A':
      case 'a':
        // AM/PM and A/P mark a time, and their M is no month.
        if (code.substr(i, 5) == "AM/PM" || code.substr(i, 5) == "am/pm") {
          time = true;
          i += 4;
        } else if (code.substr(i, 3) == "A/P" || code.substr(i, 3) == "a/p") {
          time = true;
          i += 2;
        }
        break;
      case 'd':
      case 'D':
      case 'y':
      case 'Y':
        date = true;
        break;
      case 'h':
      case 'H':
      case 's':
      case 'S':
        time = true;
        break;
      case 'm':
      case 'M':
        month_or_minute = true;
        break;
      default:
        break;
    }
  }
  // "m" is a month unless an hour or a second stands with it.
  if (elapsed && !date) return NumberKind::kDuration;
  if (month_or_minute && !time) date = true;
  if (date && time) return NumberKind::kDateTime;
  if (date) return NumberKind::kDate;
  if (time) return NumberKind::kTime;
  return NumberKind::kNumber;
}

CellStyles CellStyles::Parse(std::string_view styles_xml) {
  pugi::xml_document document;
  const pugi::xml_node root = ParseXmlPart(document, styles_xml, "styles");
  std::unordered_map<uint32_t, NumberKind> custom;
  for (const pugi::xml_node format : LocalChildren(LocalChild(root, "numFmts"), "numFmt")) {
    const uint32_t id = LocalAttribute(format, "numFmtId").as_uint();
    custom[id] = KindOfFormatCode(LocalAttribute(format, "formatCode").as_string());
  }
  CellStyles styles;
  for (const pugi::xml_node xf : LocalChildren(LocalChild(root, "cellXfs"), "xf")) {
    const uint32_t id = LocalAttribute(xf, "numFmtId").as_uint();
    const auto found = custom.find(id);
    styles.kinds_.push_back(found != custom.end() ? found->second : KindOfBuiltInFormat(id));
  }
  return styles;
}

}  // namespace ks::tables
