#include "importers/tables/xlsx_package_parts.h"

#include <unordered_map>

#include "importers/tables/pugi_local_names.h"

namespace ks::tables {
namespace {

bool EndsWith(std::string_view text, std::string_view end) { return text.ends_with(end); }

// `target` resolved against the folder `base` (which ends with "/" or is
// empty): an absolute target starts at the package root; "." and ".."
// steps are applied.
std::string ResolveTarget(std::string_view base, std::string_view target) {
  std::string joined = target.starts_with("/") ? std::string(target.substr(1)) : std::string(base) + std::string(target);
  std::vector<std::string> steps;
  size_t from = 0;
  while (from <= joined.size()) {
    size_t slash = joined.find('/', from);
    if (slash == std::string::npos) slash = joined.size();
    const std::string step = joined.substr(from, slash - from);
    if (step == "..") {
      if (!steps.empty()) steps.pop_back();
    } else if (!step.empty() && step != ".") {
      steps.push_back(step);
    }
    from = slash + 1;
  }
  std::string resolved;
  for (const std::string& step : steps) {
    if (!resolved.empty()) resolved += '/';
    resolved += step;
  }
  return resolved;
}

std::string FolderOf(std::string_view part) {
  const size_t slash = part.rfind('/');
  return slash == std::string_view::npos ? std::string() : std::string(part.substr(0, slash + 1));
}

}  // namespace

std::string RelationshipsPartOf(std::string_view part) {
  const size_t slash = part.rfind('/');
  const std::string_view folder = slash == std::string_view::npos ? "" : part.substr(0, slash + 1);
  const std::string_view file = slash == std::string_view::npos ? part : part.substr(slash + 1);
  return std::string(folder) + "_rels/" + std::string(file) + ".rels";
}

std::string FindWorkbookPart(std::string_view package_rels_xml) {
  pugi::xml_document document;
  const pugi::xml_node root = ParseXmlPart(document, package_rels_xml, "package relationships");
  for (const pugi::xml_node relationship : LocalChildren(root, "Relationship")) {
    if (EndsWith(LocalAttribute(relationship, "Type").as_string(), "/officeDocument")) {
      const std::string part = ResolveTarget("", LocalAttribute(relationship, "Target").as_string());
      if (!part.empty()) return part;
    }
  }
  return "xl/workbook.xml";
}

XlsxWorkbookInfo ParseWorkbookParts(std::string_view workbook_xml, std::string_view rels_xml,
                                    std::string_view workbook_part) {
  const std::string base = FolderOf(workbook_part);
  XlsxWorkbookInfo info;

  // Relationship id -> (type, part).
  struct Target {
    std::string type;
    std::string part;
  };
  std::unordered_map<std::string, Target> targets;
  pugi::xml_document rels;
  const pugi::xml_node rels_root = ParseXmlPart(rels, rels_xml, "workbook relationships");
  for (const pugi::xml_node relationship : LocalChildren(rels_root, "Relationship")) {
    const std::string type = LocalAttribute(relationship, "Type").as_string();
    const std::string part = ResolveTarget(base, LocalAttribute(relationship, "Target").as_string());
    if (EndsWith(type, "/sharedStrings")) info.shared_strings_part = part;
    if (EndsWith(type, "/styles")) info.styles_part = part;
    targets[LocalAttribute(relationship, "Id").as_string()] = {type, part};
  }

  pugi::xml_document workbook;
  const pugi::xml_node root = ParseXmlPart(workbook, workbook_xml, "workbook");
  const pugi::xml_attribute date1904 = LocalAttribute(LocalChild(root, "workbookPr"), "date1904");
  info.date1904 = date1904.as_bool();
  for (const pugi::xml_node sheet : LocalChildren(LocalChild(root, "sheets"), "sheet")) {
    // The relationship id is an attribute "id" in the relationships
    // namespace, whatever its prefix ("r:id", "ns:id"); a plain "id" is
    // another thing.
    std::string id;
    for (const pugi::xml_attribute attribute : sheet.attributes()) {
      const std::string_view name = attribute.name();
      if (name.find(':') != std::string_view::npos && !name.starts_with("xmlns") && LocalNameOf(attribute.name()) == "id") {
        id = attribute.as_string();
      }
    }
    const auto found = targets.find(id);
    if (found == targets.end() || !EndsWith(found->second.type, "/worksheet")) continue;  // a chart sheet has no cells
    info.sheets.push_back({LocalAttribute(sheet, "name").as_string(), found->second.part});
  }
  return info;
}

}  // namespace ks::tables
