// Schema: the tables of a .kst file, the marks that make the file ours
// (application id and schema version) and the upgrade steps from older
// versions.
#pragma once

#include <cstdint>

namespace ks::engine {

class Connection;

// PRAGMA application_id of every .kst file: "KST5".
inline constexpr uint32_t kApplicationId = 0x4B535435;
// PRAGMA user_version written by this engine.
inline constexpr uint32_t kSchemaVersion = 2;

// Creates every table in an empty database and stamps the application id and
// schema version.  Runs inside the caller's transaction.
void CreateSchema(Connection& connection);

// Brings a database of an older schema version up to kSchemaVersion inside
// the caller's transaction.  Versions newer than ours are refused before
// this is reached.
void UpgradeSchema(Connection& connection, uint32_t from_version);

}  // namespace ks::engine
