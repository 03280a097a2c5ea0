// Placeholder until the reader lands: the driver is listed and refuses every
// connection.
#include "importers/tables/builtin_drivers.h"
#include "importers/tables/placeholder_driver.h"

namespace ks::tables {

std::unique_ptr<TableDriver> MakeAccessDriver() { return MakePlaceholderDriver(std::string(kAccessDriverName)); }

}  // namespace ks::tables
