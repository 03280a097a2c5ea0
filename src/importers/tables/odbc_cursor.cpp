#include "importers/tables/odbc_cursor.h"

#include <sqlext.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <iterator>

#include <fmt/format.h>

#include "importers/tables/value_text.h"

namespace ks::tables {
namespace {

static_assert(sizeof(SQLWCHAR) == 2, "unixODBC hands out UTF-16");

// The driver's text in native byte order.
core::Utf16Decoder::ByteOrder NativeOrder() {
  return std::endian::native == std::endian::little ? core::Utf16Decoder::ByteOrder::kLittleEndian
                                                    : core::Utf16Decoder::ByteOrder::kBigEndian;
}

}  // namespace

bool ReadOdbcText(const OdbcHandle& statement, SQLUSMALLINT column, core::Utf16Decoder* decoder,
                  std::string& out) {
  const bool wide = decoder != nullptr;
  const SQLSMALLINT c_type = wide ? SQL_C_WCHAR : SQL_C_CHAR;
  std::array<char, 16384> buffer;
  // Each piece ends with a terminator the driver adds, which is not text.
  const size_t room = buffer.size() - (wide ? sizeof(SQLWCHAR) : 1);
  for (;;) {
    SQLLEN indicator = 0;
    const SQLRETURN result = SQLGetData(statement.get(), column, c_type, buffer.data(),
                                        static_cast<SQLLEN>(buffer.size()), &indicator);
    if (result == SQL_NO_DATA) break;  // the last piece came before
    statement.Check(result, "Could not read a value");
    if (indicator == SQL_NULL_DATA) return false;
    const bool more = result == SQL_SUCCESS_WITH_INFO &&
                      (indicator == SQL_NO_TOTAL || static_cast<size_t>(indicator) > room);
    const size_t got = more ? room : static_cast<size_t>(std::max<SQLLEN>(indicator, 0));
    const std::string_view piece(buffer.data(), std::min(got, room));
    if (wide) {
      decoder->Append(piece, false, out);
    } else {
      out.append(piece);
    }
    if (!more) break;
  }
  if (wide) decoder->Append({}, true, out);
  return true;
}

OdbcCursor::OdbcCursor(std::shared_ptr<OdbcSession> session, const std::string& query)
    : session_(std::move(session)),
      statement_(SQL_HANDLE_STMT, session_->connection->get()),
      decoder_(NativeOrder()) {
  SQLHSTMT statement = statement_.get();
  // Both are the defaults; a driver that cannot set them reads the same.
  SQLSetStmtAttr(statement, SQL_ATTR_CURSOR_TYPE, reinterpret_cast<SQLPOINTER>(SQL_CURSOR_FORWARD_ONLY), 0);
  SQLSetStmtAttr(statement, SQL_ATTR_CONCURRENCY, reinterpret_cast<SQLPOINTER>(SQL_CONCUR_READ_ONLY), 0);
  std::string text = query;  // the call takes a mutable buffer
  statement_.Check(SQLExecDirect(statement, reinterpret_cast<SQLCHAR*>(text.data()),
                                 static_cast<SQLINTEGER>(text.size())),
                   "Could not run " + query);
  SQLSMALLINT count = 0;
  statement_.Check(SQLNumResultCols(statement, &count), "Could not count the columns of " + query);
  for (SQLUSMALLINT column = 1; column <= count; ++column) {
    std::vector<SQLCHAR> name(256);
    SQLSMALLINT name_length = 0, sql_type = 0, digits = 0, nullable = 0;
    SQLULEN size = 0;
    for (int attempt = 0; attempt < 2; ++attempt) {
      statement_.Check(SQLDescribeCol(statement, column, name.data(), static_cast<SQLSMALLINT>(name.size()),
                                      &name_length, &sql_type, &size, &digits, &nullable),
                       "Could not describe the columns of " + query);
      if (name_length < static_cast<SQLSMALLINT>(name.size())) break;
      name.resize(static_cast<size_t>(name_length) + 1);  // a longer name: once more, whole
    }
    names_.emplace_back(reinterpret_cast<const char*>(name.data()));
    SQLLEN is_unsigned = SQL_FALSE;
    SQLColAttribute(statement, column, SQL_DESC_UNSIGNED, nullptr, 0, nullptr, &is_unsigned);
    SQLCHAR type_name[64] = {};
    SQLSMALLINT type_name_length = 0;
    if (!SQL_SUCCEEDED(SQLColAttribute(statement, column, SQL_DESC_TYPE_NAME, type_name, sizeof type_name,
                                       &type_name_length, nullptr))) {
      type_name[0] = '\0';
    }
    kinds_.push_back(KindOf(sql_type, is_unsigned == SQL_TRUE, reinterpret_cast<const char*>(type_name)));
  }
  values_.resize(names_.size());
  nulls_.resize(names_.size(), true);
}

OdbcCursor::Kind OdbcCursor::KindOf(SQLSMALLINT sql_type, bool is_unsigned, std::string_view type_name) {
  switch (sql_type) {
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
      return Kind::kInteger;
    case SQL_BIGINT:
      return is_unsigned ? Kind::kDecimal : Kind::kInteger;  // past INT64_MAX as digits
    case SQL_REAL:
      return Kind::kSingle;
    case SQL_FLOAT:
    case SQL_DOUBLE:
      return Kind::kDouble;
    case SQL_DECIMAL:
    case SQL_NUMERIC:
      return Kind::kDecimal;
    case SQL_TYPE_DATE:
    case SQL_DATE:
      return Kind::kDate;
    case SQL_TYPE_TIMESTAMP:
    case SQL_TIMESTAMP:
      return Kind::kDateTime;
    case SQL_BIT:
      return Kind::kBit;
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
      return Kind::kBinary;
    default:
      break;
  }
  // PostgreSQL's driver hands booleans out as characters "1" and "0" by
  // default; its type name still says what they are.
  if (EqualsNoCase(type_name, "bool") || EqualsNoCase(type_name, "boolean")) return Kind::kBoolText;
  return Kind::kText;
}

std::vector<std::string> OdbcCursor::BinaryColumns() const {
  std::vector<std::string> binary;
  for (size_t i = 0; i < names_.size(); ++i) {
    if (kinds_[i] == Kind::kBinary) binary.push_back(names_[i]);
  }
  return binary;
}

bool OdbcCursor::Next() {
  if (at_end_ || names_.empty()) return false;  // no result set: nothing to fetch
  const SQLRETURN result = SQLFetch(statement_.get());
  if (result == SQL_NO_DATA) {
    at_end_ = true;
    return false;
  }
  statement_.Check(result, "Could not read the next row");
  // SQLGetData reads the columns of a row in order, once each: the whole
  // row is read here, whatever order Value() is asked in.
  for (size_t i = 0; i < names_.size(); ++i) ReadColumn(i);
  return true;
}

std::optional<std::string_view> OdbcCursor::Value(size_t column) {
  if (column >= values_.size() || nulls_[column]) return std::nullopt;
  return values_[column];
}

void OdbcCursor::ReadColumn(size_t index) {
  std::string& out = values_[index];
  out.clear();
  nulls_[index] = true;
  const auto column = static_cast<SQLUSMALLINT>(index + 1);
  switch (kinds_[index]) {
    case Kind::kBinary:
      return;  // logged by the import, never read
    case Kind::kText:
      nulls_[index] = !ReadOdbcText(statement_, column, &decoder_, out);
      return;
    case Kind::kDecimal:
      if (ReadOdbcText(statement_, column, nullptr, out)) {
        const std::string digits = std::move(out);
        out.clear();
        AppendDecimalText(digits, out);
        nulls_[index] = false;
      }
      return;
    case Kind::kInteger:
      // As digits, which every driver gives the same way: a driver asked
      // for a 64-bit number may silently cut what does not fit (SQLite's
      // gives 1 for a stored 1e+20), where its text stays whole.
      if (ReadOdbcText(statement_, column, nullptr, out)) {
        nulls_[index] = false;
        int64_t value = 0;
        const auto [end, error] = std::from_chars(out.data(), out.data() + out.size(), value);
        if (error == std::errc() && end == out.data() + out.size()) {
          out.clear();
          AppendInteger(value, out);
        }
      }
      return;
    case Kind::kBoolText:
      if (ReadOdbcText(statement_, column, &decoder_, out)) {
        nulls_[index] = false;
        const std::string text = std::move(out);
        out.clear();
        if (text == "1" || EqualsNoCase(text, "t") || EqualsNoCase(text, "true")) {
          AppendBoolean(true, out);
        } else if (text == "0" || EqualsNoCase(text, "f") || EqualsNoCase(text, "false")) {
          AppendBoolean(false, out);
        } else {
          out = text;
        }
      }
      return;
    default:
      nulls_[index] = !ReadTyped(column, kinds_[index], out);
      return;
  }
}

bool OdbcCursor::ReadTyped(SQLUSMALLINT column, Kind kind, std::string& out) {
  SQLHSTMT statement = statement_.get();
  SQLLEN indicator = 0;
  SQLRETURN result = SQL_ERROR;
  switch (kind) {
    case Kind::kDouble: {
      SQLDOUBLE value = 0;
      result = SQLGetData(statement, column, SQL_C_DOUBLE, &value, 0, &indicator);
      if (SQL_SUCCEEDED(result) && indicator != SQL_NULL_DATA) AppendDouble(value, out);
      break;
    }
    case Kind::kSingle: {
      // As a single, so that 0.1 stays "0.1" and does not widen to
      // 0.10000000149011612; the same shortest-text rule as AppendDouble.
      SQLREAL value = 0;
      result = SQLGetData(statement, column, SQL_C_FLOAT, &value, 0, &indicator);
      if (SQL_SUCCEEDED(result) && indicator != SQL_NULL_DATA) {
        if (value == 0) value = 0;  // no "-0"
        fmt::format_to(std::back_inserter(out), "{}", value);
      }
      break;
    }
    case Kind::kDate: {
      SQL_DATE_STRUCT value{};
      result = SQLGetData(statement, column, SQL_C_TYPE_DATE, &value, sizeof value, &indicator);
      if (SQL_SUCCEEDED(result) && indicator != SQL_NULL_DATA) {
        AppendDate({value.year, value.month, value.day}, out);
      }
      break;
    }
    case Kind::kDateTime: {
      SQL_TIMESTAMP_STRUCT value{};
      result = SQLGetData(statement, column, SQL_C_TYPE_TIMESTAMP, &value, sizeof value, &indicator);
      if (SQL_SUCCEEDED(result) && indicator != SQL_NULL_DATA) {
        AppendDateTime({value.year, value.month, value.day},
                       value.hour * 3600 + value.minute * 60 + value.second, out);
      }
      break;
    }
    case Kind::kBit: {
      SQLCHAR value = 0;
      result = SQLGetData(statement, column, SQL_C_BIT, &value, sizeof value, &indicator);
      if (SQL_SUCCEEDED(result) && indicator != SQL_NULL_DATA) AppendBoolean(value != 0, out);
      break;
    }
    default:
      break;
  }
  if (SQL_SUCCEEDED(result)) return indicator != SQL_NULL_DATA;
  // A value the driver cannot give as its column's type (text in an SQLite
  // date column, say) is imported as the text it is.
  out.clear();
  return ReadOdbcText(statement_, column, &decoder_, out);
}

}  // namespace ks::tables
