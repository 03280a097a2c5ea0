#include "core/engine_refusal.h"

#include <fmt/format.h>

#include "core/error_codes.h"
#include "core/message_texts.h"
#include "ks_eng5.h"

namespace {

// The database's file name, as the engine knows it; asked only after a
// failure, so an import that goes well never pays for it.
std::string DatabaseFileName(uint32_t database) {
  char name[4096] = {};
  if (EngGetDatabaseName(database, name, sizeof name) != 0) return name;
  return "the database";
}

}  // namespace

std::string EngineRefusalCause(uint32_t engine_error) {
  if (engine_error == KSENG_ERR_FULL) return std::string(MessageText(error_code::kDiskFull));
  return fmt::format("The database engine reported error {}.", engine_error);
}

std::string DocumentRefusedText(uint32_t engine_error, uint32_t database, std::string_view source) {
  return fmt::format("{} A document of {} could not be stored in {}.",
                     EngineRefusalCause(engine_error), source, DatabaseFileName(database));
}

std::string CommitFailedText(uint32_t engine_error, uint32_t database, std::string_view source) {
  const std::string cause = EngineRefusalCause(engine_error);
  const std::string name = DatabaseFileName(database);
  if (source.empty()) {
    return fmt::format(
        "{} The documents imported since {} was last saved could not be saved and were lost.",
        cause, name);
  }
  return fmt::format(
      "{} The documents imported from {} since {} was last saved could not be saved and were "
      "lost.",
      cause, source, name);
}
