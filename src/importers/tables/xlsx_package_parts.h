// What the small parts of an .xlsx package say about its sheets: the
// workbook part's sheet list and date system, resolved through the
// workbook's relationships to the names of the parts that hold each sheet,
// the shared strings and the styles.  Bytes in, names out: no zip here.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ks::tables {

struct XlsxSheetPart {
  std::string name;  // the sheet's name, the table's name
  std::string part;  // its part in the package ("xl/worksheets/sheet1.xml")
};

struct XlsxWorkbookInfo {
  std::vector<XlsxSheetPart> sheets;  // worksheets in workbook order; chart sheets left out
  bool date1904 = false;              // serial numbers count from 1904-01-01
  std::string shared_strings_part;    // empty when the workbook has none
  std::string styles_part;            // empty when the workbook has none
};

// The workbook part's name from the package relationships (_rels/.rels);
// "xl/workbook.xml" when they do not say.
std::string FindWorkbookPart(std::string_view package_rels_xml);

// Reads the workbook part and its relationships part.  `workbook_part` is
// the workbook's own name, against whose folder relative targets resolve.
// Throws TableError kDamaged when either is not XML.
XlsxWorkbookInfo ParseWorkbookParts(std::string_view workbook_xml, std::string_view rels_xml,
                                    std::string_view workbook_part);

// The relationships part of `part` ("xl/workbook.xml" -> "xl/_rels/workbook.xml.rels").
std::string RelationshipsPartOf(std::string_view part);

}  // namespace ks::tables
