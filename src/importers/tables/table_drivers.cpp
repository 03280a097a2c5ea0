#include "importers/tables/table_drivers.h"

#include "importers/tables/builtin_drivers.h"
#include "importers/tables/odbc_driver.h"

namespace ks::tables {

TableDrivers TableDrivers::Installed() { return TableDrivers(InstalledOdbcDriverNames(), BuiltIn()); }

std::vector<std::unique_ptr<TableDriver>> TableDrivers::BuiltIn() {
  std::vector<std::unique_ptr<TableDriver>> built_in;
  built_in.push_back(MakeAccessDriver());
  built_in.push_back(MakeExcelDriver());
  built_in.push_back(MakeDbaseDriver());
  built_in.push_back(MakeFoxProDriver());
  built_in.push_back(MakeParadoxDriver());
  return built_in;
}

TableDrivers::TableDrivers(std::vector<std::string> odbc_names,
                           std::vector<std::unique_ptr<TableDriver>> built_in)
    : names_(std::move(odbc_names)), built_in_(std::move(built_in)) {
  for (const auto& driver : built_in_) names_.push_back(driver->Name());
}

TableDrivers::TableDrivers(TableDrivers&&) noexcept = default;
TableDrivers::~TableDrivers() = default;

std::string TableDrivers::Find(std::string_view search_text) const {
  for (const std::string& name : names_) {
    if (name.find(search_text) != std::string::npos) return name;
  }
  return {};
}

std::unique_ptr<TableConnection> TableDrivers::Connect(std::string_view connection,
                                                       const TableReadOptions& options) const {
  const ConnectionString parsed(connection);
  if (const std::optional<std::string> driver = parsed.Get("DRIVER")) {
    for (const auto& built_in : built_in_) {
      if (built_in->Name() == *driver) return built_in->Connect(parsed, options);
    }
  }
  return ConnectOdbc(parsed, options);
}

}  // namespace ks::tables
