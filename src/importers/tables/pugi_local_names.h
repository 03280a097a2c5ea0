// Helpers for reading the small parts of a workbook with pugixml whatever
// namespace prefix their writer chose ("x:sheet" and "sheet" alike).
#pragma once

#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace ks::tables {

// The name without its prefix.
std::string_view LocalNameOf(const char* name);
// The first child, or every child, of `node` whose local name is `name`.
pugi::xml_node LocalChild(pugi::xml_node node, std::string_view name);
std::vector<pugi::xml_node> LocalChildren(pugi::xml_node node, std::string_view name);
// The attribute whose local name is `name`, namespace declarations aside.
pugi::xml_attribute LocalAttribute(pugi::xml_node node, std::string_view name);
// Parses `xml` into `document` and returns its root element.  Throws
// TableError kDamaged, naming `part`, when it is not XML.
pugi::xml_node ParseXmlPart(pugi::xml_document& document, std::string_view xml, const char* part);

}  // namespace ks::tables
