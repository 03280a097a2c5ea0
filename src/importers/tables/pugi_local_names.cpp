#include "importers/tables/pugi_local_names.h"

#include <string>

#include "importers/tables/table_source.h"

namespace ks::tables {

std::string_view LocalNameOf(const char* name) {
  const std::string_view full(name);
  const size_t colon = full.find(':');
  return colon == std::string_view::npos ? full : full.substr(colon + 1);
}

pugi::xml_node LocalChild(pugi::xml_node node, std::string_view name) {
  for (const pugi::xml_node child : node.children()) {
    if (child.type() == pugi::node_element && LocalNameOf(child.name()) == name) return child;
  }
  return {};
}

std::vector<pugi::xml_node> LocalChildren(pugi::xml_node node, std::string_view name) {
  std::vector<pugi::xml_node> found;
  for (const pugi::xml_node child : node.children()) {
    if (child.type() == pugi::node_element && LocalNameOf(child.name()) == name) found.push_back(child);
  }
  return found;
}

pugi::xml_attribute LocalAttribute(pugi::xml_node node, std::string_view name) {
  for (const pugi::xml_attribute attribute : node.attributes()) {
    const std::string_view full(attribute.name());
    if (!full.starts_with("xmlns") && LocalNameOf(attribute.name()) == name) return attribute;
  }
  return {};
}

pugi::xml_node ParseXmlPart(pugi::xml_document& document, std::string_view xml, const char* part) {
  const pugi::xml_parse_result result = document.load_buffer(xml.data(), xml.size());
  if (!result) {
    throw TableError(TableError::Kind::kDamaged,
                     std::string("the workbook's ") + part + " part is not XML: " + result.description());
  }
  return document.document_element();
}

}  // namespace ks::tables
