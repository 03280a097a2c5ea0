// OdbcCursor: the forward pass over one table of an ODBC data source.  Each
// column is read by its SQL type, so that values become text by the one
// rule of value_text.h and never by the driver's or the machine's locale:
// whole numbers and floating numbers as numbers, decimals as the driver's
// digits, dates as date structures, character data as UTF-16 (which every
// driver converts to the same way), binary columns not at all.
#pragma once

#include <sql.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/utf16_decoder.h"
#include "importers/tables/odbc_handle.h"
#include "importers/tables/table_source.h"

namespace ks::tables {

// What a connection's cursors share: the environment and the connection,
// freed after the last statement on them.
struct OdbcSession {
  OdbcHandle environment{SQL_HANDLE_ENV, SQL_NULL_HANDLE};
  std::unique_ptr<OdbcHandle> connection;
};

// Appends a string column of the current row, in pieces however long it
// is; false for a null.  With a decoder the driver gives UTF-16, which
// becomes UTF-8; without one, its own bytes (digits, or catalog names).
bool ReadOdbcText(const OdbcHandle& statement, SQLUSMALLINT column, core::Utf16Decoder* decoder,
                  std::string& out);

class OdbcCursor final : public TableCursor {
 public:
  // Runs `query` on a statement of `session`, forward only and read only.
  OdbcCursor(std::shared_ptr<OdbcSession> session, const std::string& query);

  const std::vector<std::string>& ColumnNames() const override { return names_; }
  bool Next() override;
  std::optional<std::string_view> Value(size_t column) override;
  std::vector<std::string> BinaryColumns() const override;

 private:
  enum class Kind { kText, kInteger, kDouble, kSingle, kDecimal, kDate, kDateTime, kBit, kBoolText, kBinary };

  static Kind KindOf(SQLSMALLINT sql_type, bool is_unsigned, std::string_view type_name);
  // Reads column `index` of the current row into values_[index].
  void ReadColumn(size_t index);
  bool ReadTyped(SQLUSMALLINT column, Kind kind, std::string& out);

  std::shared_ptr<OdbcSession> session_;  // kept until the statement is freed
  OdbcHandle statement_;
  std::vector<std::string> names_;
  std::vector<Kind> kinds_;
  std::vector<std::string> values_;  // the current row
  std::vector<bool> nulls_;
  core::Utf16Decoder decoder_;
  bool at_end_ = false;
};

}  // namespace ks::tables
