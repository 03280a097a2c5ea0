#include "importers/tables/odbc_handle.h"

#include <sqlext.h>

#include <cctype>

namespace ks::tables {

OdbcHandle::OdbcHandle(SQLSMALLINT type, SQLHANDLE parent) : type_(type) {
  const SQLRETURN result = SQLAllocHandle(type, parent, &handle_);
  if (!SQL_SUCCEEDED(result)) {
    handle_ = SQL_NULL_HANDLE;
    throw TableError(TableError::Kind::kOther, "The ODBC driver manager could not allocate a handle.");
  }
}

OdbcHandle::~OdbcHandle() {
  if (handle_ == SQL_NULL_HANDLE) return;
  if (type_ == SQL_HANDLE_DBC) SQLDisconnect(handle_);  // fails harmlessly when not connected
  SQLFreeHandle(type_, handle_);
}

std::string OdbcHandle::Diagnostics(std::string* first_state) const {
  std::string text;
  if (first_state != nullptr) first_state->clear();
  // A driver may keep any number of records; a few say what went wrong.
  for (SQLSMALLINT record = 1; record <= 8; ++record) {
    SQLCHAR state[SQL_SQLSTATE_SIZE + 1] = {};
    SQLINTEGER native = 0;
    SQLCHAR message[1024] = {};
    SQLSMALLINT length = 0;
    const SQLRETURN result = SQLGetDiagRec(type_, handle_, record, state, &native, message,
                                           static_cast<SQLSMALLINT>(sizeof message), &length);
    if (!SQL_SUCCEEDED(result)) break;
    const auto* state_text = reinterpret_cast<const char*>(state);
    if (record == 1 && first_state != nullptr) *first_state = state_text;
    if (!text.empty()) text += "; ";
    text += '[';
    text += state_text;
    text += "] ";
    text += reinterpret_cast<const char*>(message);  // cut to the buffer when longer
  }
  return text;
}

SQLRETURN OdbcHandle::Check(SQLRETURN result, std::string_view what) const {
  if (SQL_SUCCEEDED(result)) return result;
  std::string state;
  std::string message(what);
  const std::string diagnostics = Diagnostics(&state);
  if (!diagnostics.empty()) message += ": " + diagnostics;
  TableError::Kind kind = KindOfState(state);
  // PostgreSQL's driver reports a refused password as a failed connection
  // (08001), with the server's words.
  if (state.substr(0, 2) == "08" && ContainsNoCase(diagnostics, "password")) {
    kind = TableError::Kind::kPasswordProtected;
  }
  throw TableError(kind, message);
}

TableError::Kind KindOfState(std::string_view state) {
  if (state.substr(0, 2) == "28") return TableError::Kind::kPasswordProtected;
  // IM002: no such data source or driver; IM003: the driver's library
  // would not load; 42S02: no such table.
  if (state == "IM002" || state == "IM003" || state == "42S02") return TableError::Kind::kNotFound;
  return TableError::Kind::kOther;
}

bool ContainsNoCase(std::string_view text, std::string_view part) {
  for (size_t at = 0; at + part.size() <= text.size(); ++at) {
    if (EqualsNoCase(text.substr(at, part.size()), part)) return true;
  }
  return false;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

}  // namespace ks::tables
