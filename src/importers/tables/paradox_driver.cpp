// Placeholder until the reader lands: the driver is listed and refuses every
// connection.
#include "importers/tables/builtin_drivers.h"
#include "importers/tables/placeholder_driver.h"

namespace ks::tables {

std::unique_ptr<TableDriver> MakeParadoxDriver() { return MakePlaceholderDriver(std::string(kParadoxDriverName)); }

}  // namespace ks::tables
