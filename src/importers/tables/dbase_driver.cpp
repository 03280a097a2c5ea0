// Placeholder until the reader lands: the drivers are listed and refuse
// every connection.
#include "importers/tables/builtin_drivers.h"
#include "importers/tables/placeholder_driver.h"

namespace ks::tables {

std::unique_ptr<TableDriver> MakeDbaseDriver() { return MakePlaceholderDriver(std::string(kDbaseDriverName)); }
std::unique_ptr<TableDriver> MakeFoxProDriver() { return MakePlaceholderDriver(std::string(kFoxProDriverName)); }

}  // namespace ks::tables
