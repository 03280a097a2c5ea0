// OdbcHandle: one handle of the driver manager (environment, connection or
// statement), freed when it goes out of scope, so that every path out of a
// driver call, a thrown TableError included, releases what it allocated.
// Check() turns a failed call into a TableError carrying the driver's own
// diagnostic records.
#pragma once

#include <sql.h>

#include <string>
#include <string_view>

#include "importers/tables/table_source.h"

namespace ks::tables {

class OdbcHandle {
 public:
  // Allocates a handle of `type` under `parent` (SQL_NULL_HANDLE for an
  // environment).  Throws TableError when the driver manager cannot.
  OdbcHandle(SQLSMALLINT type, SQLHANDLE parent);
  ~OdbcHandle();
  OdbcHandle(const OdbcHandle&) = delete;
  OdbcHandle& operator=(const OdbcHandle&) = delete;

  SQLHANDLE get() const { return handle_; }
  SQLSMALLINT type() const { return type_; }

  // The handle's diagnostic records, "[SQLSTATE] message" joined by "; ",
  // and the first record's SQLSTATE ("" when there is none).
  std::string Diagnostics(std::string* first_state = nullptr) const;

  // Returns `result` when it is a success (with or without information);
  // otherwise throws TableError: `what`, then the diagnostics.
  SQLRETURN Check(SQLRETURN result, std::string_view what) const;

 private:
  SQLHANDLE handle_ = SQL_NULL_HANDLE;
  SQLSMALLINT type_;
};

// The kind of failure a SQLSTATE stands for: class 28 (invalid
// authorization) is a protected source; a data source, driver or table
// that is not there is kNotFound.
TableError::Kind KindOfState(std::string_view state);

// ASCII texts equal but for case: type names and connection-string keys,
// which drivers spell as they like.
bool EqualsNoCase(std::string_view a, std::string_view b);
bool ContainsNoCase(std::string_view text, std::string_view part);

}  // namespace ks::tables
