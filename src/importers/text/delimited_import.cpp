#include "importers/text/delimited_import.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "core/error_codes.h"
#include "importers/text/column_header_source.h"
#include "core/entry_form_rows.h"
#include "importers/text/field_line_composer.h"

namespace {

// Only the two quote characters can qualify text; anything else, or no TQ
// at all, means records have no quoted text.
char RecordQualifier(const CKSFieldHeader& header) {
  const std::string& qualifier = header.Qualifier();
  const char first = qualifier.empty() ? '\0' : qualifier.front();
  return (first == '"' || first == '\'') ? first : '\0';
}

}  // namespace

int CDelimitedImport::ImportSource() {
  const ks::text::StoredColumnHeader settings = ks::text::FindStoredColumnHeader(Options());
  if (!settings.problem.empty()) Log(settings.problem);

  const CKSFieldHeader& header = fields_.FieldHeader();
  char qualifier = '"';
  int32_t first_row = 1;
  bool fielded = false;
  if (!settings.text.empty()) {
    fields_.LoadSettings(settings.text);
    qualifier = RecordQualifier(header);
    first_row = header.FirstRow() + header.HeaderRowFlag();
    fielded = header.ErrorCode() == column_header_error::kNone;
    if (!fielded) {
      Log(fmt::format("{}: {} {}", Source().path(), header.ErrorCode(), header.ErrorText()));
      Log(
          fmt::format("{}: the settings do not apply, so each row is imported as a document of its "
                      "own text.",
                      Source().path()));
    }
  }
  if (fielded && EntryForm() == 0 &&
      std::none_of(header.Names().begin(), header.Names().end(),
                   ks::text::FieldLineComposer::IsWrittenColumn)) {
    Log(
        fmt::format("{}: the settings name no column to import (every name is empty or \"Skip\"), "
                    "so no row makes a document.",
                    Source().path()));
  }

  std::optional<ks::text::FieldLineComposer> composer;
  std::optional<ks::core::EntryFormRows> entries;
  if (fielded && EntryForm() != 0) {
    entries.emplace(Context(), EntryForm(), FieldMarker(), " ");
  } else if (fielded) {
    composer.emplace(header.Names(), FieldMarker(),
                     ks::text::FieldLineComposer::ValueGap::kDelimited);
  }

  // Splitting and composing run ahead on the reading thread; storing stays
  // here.
  auto prepare = [&](const std::string& record, ks::text::PreparedRecord* out) {
    if (!fielded) {
      out->text.assign(record);
      return;
    }
    fields_.Split(record);
    PrepareRow(fields_.Values(), composer, out);
  };
  int64_t line = 1;
  return ReadRecords(qualifier, prepare, [&](const ks::text::PreparedRecord& record) {
    if (line < first_row) {
      ++line;
      return true;
    }
    ++line;
    if (!entries) return SaveDocument(record.text, record.position);
    return StoreEntry(*entries, header.Names(), record, true);
  });
}
