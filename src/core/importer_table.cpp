#include "core/importer_table.h"

#include <algorithm>
#include <iterator>

#include "importers/mail/mailbox_import.h"
#include "importers/text/delimited_import.h"
#include "importers/text/fixed_import.h"
#include "importers/text/kestro_dos_import.h"
#include "importers/text/text_import.h"

namespace {

template <typename Importer>
std::unique_ptr<CIMPImportBase> Create() {
  return std::make_unique<Importer>();
}

// Read top to bottom; every type not listed, 1001 included, has no importer.
// The factories are filled in as the importers are written.
constexpr ImporterRow kImporterRows[] = {
    {7, "CIMPWFWImport", nullptr, false},
    {19, "CIMPRtfImport", Create<CIMPRtfImport>, false},
    {21, "CImpADO", nullptr, false},
    {703, "CImpADO", nullptr, false},
    {770, "CImpADO", nullptr, false},
    {771, "CImpADO", nullptr, false},
    {1114, "CImpADO", nullptr, false},
    {108, "CIMPHtmlImport", Create<CIMPHtmlImport>, false},
    {1000, "CIMPTextImport", Create<CIMPTextImport>, false},
    {1002, "CIMPKestroDos", Create<CIMPKestroDos>, false},
    {1003, nullptr, nullptr, true},
    {1007, nullptr, nullptr, true},
    {1004, "CDelimitedImport", Create<CDelimitedImport>, false},
    {1005, "CIMPEudoraImport", Create<CIMPEudoraImport>, false},
    {1008, "CIMPOutlookImport", nullptr, false},
    {1009, "CIMPWinThree", nullptr, false},
    {1010, "CIMPKestro4", nullptr, false},
    {1056, "CIMPWord8Import", nullptr, false},
    {1057, "CIMPWordPerfectImport", nullptr, false},
    {1058, "CPDFImport", nullptr, false},
    {1059, "COutlookExpress", nullptr, false},
    {1060, "CIMPEmailImport", Create<CIMPEmailImport>, false},
    {1061, "COtherImport", nullptr, false},
    {1062, "CImapEmail", nullptr, false},
    {9999, "CIMPFixedImport", Create<CIMPFixedImport>, false},
};

}  // namespace

std::span<const ImporterRow> ImporterRows() {
  return kImporterRows;
}

const ImporterRow* FindImporterRow(int32_t file_type) {
  const auto* row =
      std::find_if(std::begin(kImporterRows), std::end(kImporterRows),
                   [file_type](const ImporterRow& r) { return r.file_type == file_type; });
  return row == std::end(kImporterRows) ? nullptr : row;
}

CreatedImporter CreateImporterFromTable(int32_t file_type) {
  CreatedImporter created;
  const ImporterRow* row = FindImporterRow(file_type);
  if (row == nullptr) return created;
  if (row->accepted_without_importer) {
    created.outcome = CreatedImporter::Outcome::kAcceptedWithoutImporter;
  } else if (row->create != nullptr) {
    created.importer = row->create();
    if (created.importer) created.outcome = CreatedImporter::Outcome::kCreated;
  }
  return created;
}
