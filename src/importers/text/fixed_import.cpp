#include "importers/text/fixed_import.h"

#include <fmt/format.h>

#include <optional>

#include "core/error_codes.h"
#include "importers/text/column_header_source.h"
#include "core/entry_form_rows.h"
#include "importers/text/field_line_composer.h"

int CIMPFixedImport::ImportSource() {
  const ks::text::StoredColumnHeader settings = ks::text::FindStoredColumnHeader(Options());
  if (!settings.problem.empty()) Log(settings.problem);

  const CKSFieldHeader& header = fields_.FieldHeader();
  int32_t first_row = 1;
  // Settings asked for but unreadable leave the columns as unknown as
  // settings that do not validate.
  const bool has_settings = !settings.text.empty() || !settings.problem.empty();
  bool valid = false;
  if (!settings.text.empty()) {
    fields_.LoadFixedSettings(settings.text);
    first_row = header.FirstRow() + header.HeaderRowFlag();
    valid = header.ErrorCode() == column_header_error::kNone;
    if (!valid) {
      Log(fmt::format("{}: {} {}", Source().path(), header.ErrorCode(), header.ErrorText()));
    } else if (fields_.Widths().empty()) {
      // Settings of delimited text validate but give no widths; lines would
      // all come out as the bare column names.
      Log(
          fmt::format("{}: the column header string describes delimited text, not fixed-width "
                      "columns.",
                      Source().path()));
      valid = false;
    }
  }
  if (has_settings && !valid) {
    Log(
        fmt::format("{}: without settings that can be used the columns are unknown, so no row is "
                    "imported.",
                    Source().path()));
  }

  std::optional<ks::text::FieldLineComposer> composer;
  std::optional<ks::core::EntryFormRows> entries;
  if (valid && EntryForm() != 0) {
    entries.emplace(Context(), EntryForm(), FieldMarker(), "");
  } else if (valid) {
    composer.emplace(header.Names(), FieldMarker(),
                     ks::text::FieldLineComposer::ValueGap::kFixedWidth);
  }

  // Cutting and composing run ahead on the reading thread; storing stays
  // here.
  auto prepare = [&](const std::string& text, ks::text::PreparedRecord* out) {
    if (!has_settings) {
      out->text.assign(text);
      return;
    }
    if (!valid) return;
    fields_.CutFixedWidth(text);
    PrepareRow(fields_.Values(), composer, out);
  };
  int64_t line = 1;
  return ReadRecords('\0', prepare, [&](const ks::text::PreparedRecord& record) {
    if (line < first_row) {
      ++line;
      return true;
    }
    ++line;
    if (!valid) {
      if (has_settings) {
        // The columns are unknown: the line makes an empty document, which
        // is not stored.
        SetProgress(record.position);
        return true;
      }
      return SaveDocument(record.text, record.position);
    }
    if (!entries) return SaveDocument(record.text, record.position);
    // Entries of a fixed-width file have never counted as documents added.
    return StoreEntry(*entries, header.Names(), record, false);
  });
}
