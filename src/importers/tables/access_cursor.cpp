#include "importers/tables/access_cursor.h"

#include <algorithm>

#include "core/charset_converter.h"
#include "importers/tables/access_rows.h"
#include "importers/tables/access_values.h"
#include "importers/tables/value_text.h"

namespace ks::tables::access {
namespace {

// Access 2019's extended date/time; libmdb 1.0 has no name for it.
constexpr int kExtendedDateTime = 0x14;

MdbColumn* ColumnAt(MdbTableDef* table, size_t index) {
  return static_cast<MdbColumn*>(g_ptr_array_index(table->columns, index));
}

bool IsBinaryType(int type) {
  switch (type) {
    case MDB_BOOL:
    case MDB_BYTE:
    case MDB_INT:
    case MDB_LONGINT:
    case MDB_MONEY:
    case MDB_FLOAT:
    case MDB_DOUBLE:
    case MDB_DATETIME:
    case MDB_TEXT:
    case MDB_MEMO:
    case MDB_REPID:
    case MDB_NUMERIC:
    case kExtendedDateTime:
      return false;
    default:
      // OLE objects, binary, and the complex columns of Access 2007
      // (attachments, multiple values, version history), which hold only a
      // key into hidden tables.
      return true;
  }
}

}  // namespace

AccessCursor::AccessCursor(std::unique_ptr<AccessDatabase> database, TableDefPtr table,
                           const TableReadOptions& options)
    : database_(std::move(database)), table_(std::move(table)), mdb_(database_->handle()), options_(options) {
  names_ = ColumnNamesOf(table_.get());
  const size_t count = names_.size();
  for (size_t i = 0; i < count; ++i) {
    MdbColumn* column = ColumnAt(table_.get(), i);
    // Columns are read raw, never bound: libmdb then converts nothing.
    column->bind_ptr = nullptr;
    column->len_ptr = nullptr;
    readings_.push_back(IsBinaryType(column->col_type)                        ? Reading::kBinary
                        : mdb_col_get_prop(column, "Expression") != nullptr ? Reading::kCalculated
                                                                              : Reading::kValue);
  }
  fields_.resize(count);
  values_.resize(count);
  nulls_.resize(count, true);
  mdb_rewind_table(table_.get());
}

bool AccessCursor::Next() {
  if (!mdb_fetch_row(table_.get())) return false;
  ++rows_read_;
  // libmdb has split the row but keeps only the value bounds: split it
  // again for the null flags (and a boolean's value, which is its flag).
  // A row written before columns were added holds fewer values: those
  // columns are null.
  std::fill(nulls_.begin(), nulls_.end(), true);
  if (!SplitFetchedRow(table_.get(), fields_)) {
    throw TableError(TableError::Kind::kDamaged, "a row of the table is not readable");
  }
  for (const MdbField& field : fields_) {
    if (field.colnum >= 0 && static_cast<size_t>(field.colnum) < values_.size()) ReadValue(field.colnum, field);
  }
  return true;
}

void AccessCursor::ReadValue(size_t index, const MdbField& field) {
  std::string& value = values_[index];
  value.clear();
  MdbColumn* column = ColumnAt(table_.get(), index);
  if (column->col_type == MDB_BOOL) {
    nulls_[index] = false;
    AppendBoolean(field.is_null == 0, value);
    return;
  }
  nulls_[index] = true;
  const auto page_size = static_cast<size_t>(mdb_->fmt->pg_size);
  if (field.is_null != 0 || readings_[index] == Reading::kBinary || field.start < 0 || field.siz < 0 ||
      static_cast<size_t>(field.start) + static_cast<size_t>(field.siz) > page_size) {
    return;
  }
  std::string_view bytes(reinterpret_cast<const char*>(mdb_->pg_buf) + field.start, static_cast<size_t>(field.siz));
  if (readings_[index] == Reading::kCalculated && !UnwrapCalculated(bytes, bytes)) return;
  nulls_[index] = !AppendTyped(column->col_type, column->col_scale, bytes, value);
}

bool AccessCursor::AppendTyped(int type, int scale, std::string_view bytes, std::string& out) {
  switch (type) {
    case MDB_BYTE:
      return AppendByte(bytes, out);
    case MDB_INT:
      return AppendInt16(bytes, out);
    case MDB_LONGINT:
      return AppendInt32(bytes, out);
    case MDB_MONEY:
      return AppendMoney(bytes, out);
    case MDB_FLOAT:
      return AppendSingle(bytes, out);
    case MDB_DOUBLE:
      return AppendDoubleValue(bytes, out);
    case MDB_DATETIME:
      return AppendDateTimeValue(bytes, out);
    case MDB_NUMERIC:
      return AppendNumeric(bytes, scale, out);
    case MDB_REPID:
      return AppendGuid(bytes, out);
    case kExtendedDateTime:
      return AppendExtendedDateTime(bytes, out);
    case MDB_TEXT:
      AppendText(bytes, out);
      return true;
    case MDB_MEMO:
      if (!ReadLongValue(mdb_, database_->header(), bytes, LongValueExtent::kDeclaredLength, memo_)) return false;
      AppendText(memo_, out);
      return true;
    default:
      return false;
  }
}

void AccessCursor::AppendText(std::string_view bytes, std::string& out) {
  const size_t from = out.size();
  if (mdb_->f->jet_version != MDB_VER_JET3) {
    AppendJet4Text(bytes, utf16_, out);
  } else {
    AppendCodePageText(bytes, out);
  }
  // Access ends some texts (names in system tables, query text) with a NUL
  // that is no part of the value.
  while (out.size() > from && out.back() == '\0') out.pop_back();
}

void AccessCursor::AppendCodePageText(std::string_view bytes, std::string& out) {
  // Jet 3 text is 8-bit, in the code page the file names, else the one
  // the import was given.
  core::CharsetConverter& converter = core::CharsetConverter::ForThisThread();
  const std::string code_page = mdb_->f->code_page != 0 ? "CP" + std::to_string(mdb_->f->code_page) : "";
  if (code_page.empty() || !converter.AppendDeclared(code_page, bytes, out)) {
    converter.AppendUndeclared(bytes, out, options_.code_page);
  }
}

std::optional<std::string_view> AccessCursor::Value(size_t column) {
  if (column >= values_.size() || nulls_[column]) return std::nullopt;
  return values_[column];
}

std::vector<std::string> AccessCursor::BinaryColumns() const {
  std::vector<std::string> binary;
  for (size_t i = 0; i < names_.size(); ++i) {
    if (readings_[i] == Reading::kBinary) binary.push_back(names_[i]);
  }
  return binary;
}

double AccessCursor::Progress() const {
  if (table_->num_rows == 0) return -1;
  return std::min(1.0, static_cast<double>(rows_read_) / table_->num_rows);
}

}  // namespace ks::tables::access
