// A driver listed under a name of its own that refuses every connection:
// what stands in the list until a format's reader is built.
#pragma once

#include <memory>
#include <string>

#include "importers/tables/table_source.h"

namespace ks::tables {

std::unique_ptr<TableDriver> MakePlaceholderDriver(std::string name);

}  // namespace ks::tables
