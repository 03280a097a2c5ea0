#include "importers/tables/ado_import.h"

#include <filesystem>
#include <system_error>

#include "core/entry_form_rows.h"
#include "core/error_codes.h"
#include "core/message_texts.h"
#include "importers/tables/table_drivers.h"
#include "ks_eng5.h"

namespace {

using ks::tables::TableError;

// Rows between two moves of the progress counter inside a table.
constexpr uint32_t kRowsPerProgressStep = 1024;

uint64_t FileLength(const std::string& path) {
  std::error_code error;
  if (path.empty() || !std::filesystem::is_regular_file(path, error)) return 0;
  const uintmax_t size = std::filesystem::file_size(path, error);
  return error ? 0 : static_cast<uint64_t>(size);
}

}  // namespace

CImpADO::CImpADO() = default;
CImpADO::~CImpADO() = default;

int CImpADO::CheckFile(const std::string&) { return 1; }

int CImpADO::Prepare(ImportContext& context) {
  if (CIMPImportBase::Prepare(context) == 0) return 0;
  const std::string& name = Options().file_name;
  kind_ = ks::tables::TableSourceKindOf(Options().file_type);
  if (name.find(ks::tables::kSettingsSeparator) != std::string::npos) {
    if (!ks::tables::ParseTableImportSettings(name, settings_)) {
      context.RecordError(error_code::kFileHasNoTable);
      context.Log(MessageText(error_code::kFileHasNoTable));
      return 0;
    }
    return 1;
  }
  if (kind_ == ks::tables::TableSourceKind::kOdbc) {
    settings_.connection = name;  // a DSN or a connection string of the host's
    return 1;
  }
  settings_.source_path = name;
  std::error_code error;
  const bool folder = std::filesystem::is_directory(name, error);
  if (kind_) {
    settings_.connection =
        ks::tables::CAdoUtil::BuildConnectionString(*kind_, name, ks::tables::TableDrivers::Installed());
  }
  const bool table_per_file = kind_ == ks::tables::TableSourceKind::kDbase ||
                              kind_ == ks::tables::TableSourceKind::kFoxPro ||
                              kind_ == ks::tables::TableSourceKind::kParadox;
  if (table_per_file && !folder) {
    // Such a file is one table of the folder it lies in: the user named
    // that one, not its neighbours.
    settings_.single_table = std::filesystem::path(name).stem().string();
    settings_.tables = {settings_.single_table};
  }
  if (settings_.connection.empty()) {
    context.RecordError(error_code::kNoAdoInstance);
    context.Log(MessageText(error_code::kNoAdoInstance));
    context.Log("No installed driver reads the tables of " + name + ".");
    return 0;
  }
  return 1;
}

std::string CImpADO::SourceName() const {
  if (!settings_.source_path.empty()) {
    return std::filesystem::path(settings_.source_path).filename().string();
  }
  // A host's connection string may carry a password: never into the log.
  return ks::tables::ConnectionString(settings_.connection).Displayed();
}

void CImpADO::DriverFailed(const TableError& error, const std::string& what) {
  if (error.kind() == TableError::Kind::kPasswordProtected) {
    Fail(error_code::kPasswordProtected);
    Log(MessageText(error_code::kPasswordProtected));
  } else {
    Fail(error_code::kCannotOpenFile);
  }
  Log(what + ": " + error.what());
}

bool CImpADO::ConnectAndListTables() {
  ks::tables::TableReadOptions read_options;
  const ks::core::SourceCodePages& code_pages = Context().code_pages();
  read_options.code_page = !Options().charset.empty() && Options().charset != ks::core::kDetectCharset
                               ? Options().charset
                           : Options().file_origin_ansi != 0 ? code_pages.ansi
                                                             : code_pages.oem;
  try {
    connection_ = ks::tables::TableDrivers::Installed().Connect(settings_.connection, read_options);
    if (!settings_.tables.empty()) return true;
    settings_.tables = ks::tables::ImportableTables(*connection_, kind_);
  } catch (const TableError& error) {
    DriverFailed(error, "Could not open " + SourceName());
    return false;
  }
  if (settings_.tables.empty()) {
    Fail(error_code::kDatabaseHasNoTables);
    std::string text(MessageText(error_code::kDatabaseHasNoTables));
    text.replace(text.find("%1"), 2, SourceName());
    Log(text);
    return false;
  }
  return true;
}

int CImpADO::ImportSource() {
  if (!ConnectAndListTables()) return 0;
  if (EntryForm() != 0) {
    entries_ = std::make_unique<ks::core::EntryFormRows>(Context(), EntryForm(), FieldMarker(), "");
  }
  const uint64_t length = FileLength(settings_.source_path);
  uint64_t step = length / settings_.tables.size();
  for (size_t i = 0; i < settings_.tables.size(); ++i) {
    const std::string& table = settings_.single_table.empty() ? settings_.tables[i] : settings_.single_table;
    // The step doubles after each table instead of staying at the first
    // share: hosts have always seen these figures.
    step *= 2;
    if (!ImportTable(table, step)) return Failed() ? 0 : 1;
    progress_ += step;
    SetProgress(progress_);
  }
  connection_.reset();
  progress_ += length;
  SetProgress(progress_);
  return 1;
}

bool CImpADO::ImportTable(const std::string& table, uint64_t step) {
  try {
    cursor_ = connection_->OpenTable(table);
    columns_ = cursor_->ColumnNames();
    if (columns_.empty()) return true;
    for (const std::string& column : cursor_->BinaryColumns()) {
      Log("The column " + column + " of the table " + table +
          " holds binary data, which is not imported.");
    }
    for (const std::string& note : cursor_->Notes()) Log(note);
    uint32_t rows = 0;
    uint64_t position = progress_;
    while (!Aborted() && cursor_->Next()) {
      if (++rows % kRowsPerProgressStep == 0) {
        // Inside the table the counter moves through the table's step.
        const double done = cursor_->Progress();
        if (done > 0 && done <= 1) position = progress_ + static_cast<uint64_t>(done * static_cast<double>(step));
        if (entries_) SetProgress(position);
      }
      if (entries_) {
        if (!SaveRowAsEntry(*cursor_)) return false;
      } else {
        BuildRowDocument(*cursor_);
        if (!SaveDocument(document_, position)) return false;
      }
    }
  } catch (const TableError& error) {
    DriverFailed(error, "Could not read the table " + table + " of " + SourceName());
    cursor_.reset();
    return false;
  }
  cursor_.reset();
  return !WasAborted();
}

void CImpADO::BuildRowDocument(ks::tables::TableCursor& cursor) {
  document_.clear();
  for (size_t i = 0; i < columns_.size(); ++i) {
    const std::string& name = i < settings_.field_names.size() ? settings_.field_names[i] : columns_[i];
    document_ += name;
    document_ += FieldMarker();
    document_ += ' ';
    if (const std::optional<std::string_view> value = cursor.Value(i)) document_ += *value;
    document_ += " ]\r\n";
  }
}

bool CImpADO::SaveRowAsEntry(ks::tables::TableCursor& cursor) {
  values_.resize(columns_.size());
  for (size_t i = 0; i < columns_.size(); ++i) {
    const std::optional<std::string_view> value = cursor.Value(i);
    values_[i].assign(value ? *value : std::string_view());
  }
  const std::vector<std::string>& names =
      settings_.field_names.empty() ? columns_ : settings_.field_names;
  switch (entries_->Add(names, values_)) {
    case ks::core::EntryFormRows::Outcome::kAdded:
      Context().AddDocumentsAdded(1);
      return true;
    case ks::core::EntryFormRows::Outcome::kFieldsRefused:
      EngineRefused(entries_->engine_error());
      return false;
    case ks::core::EntryFormRows::Outcome::kEntryNotCreated:
    case ks::core::EntryFormRows::Outcome::kNoPlace:
      Fail(error_code::kEntryNotMade);
      return false;
  }
  return false;
}
