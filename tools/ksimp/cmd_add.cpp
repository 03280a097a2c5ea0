// ksimp add: each file, whole and unchanged, as one document, straight
// through the engine's adding protocol (no import processing at all).
#include <fmt/format.h>

#include <fstream>
#include <memory>
#include <vector>

#include "commands.h"
#include "database.h"

namespace ksimp {
namespace {

constexpr size_t kPieceSize = 256 * 1024;

// Adds one file as one document after `anchor`; returns the new identifier.
uint64_t AddFile(const Database& db, const std::string& file, uint64_t anchor) {
  std::ifstream in(file, std::ios::binary);
  if (!in) throw HostError(fmt::format("cannot read {}", file));
  std::vector<char> piece(kPieceSize);
  bool first = true;
  while (true) {
    in.read(piece.data(), piece.size());
    const auto got = static_cast<uint32_t>(in.gcount());
    if (got == 0 && !first) break;
    // Length 0 means "up to the terminator" to the engine, so an empty file
    // is handed over as an empty string.
    const char* text = got == 0 ? "" : piece.data();
    int32_t status = EngAddDocument(db.handle(), text, 1, got, KSENG_KIND_TEXT, KSENG_LOC_END,
                                    anchor, nullptr, 0);
    if (status == KSENG_STATUS_SAVE_FIRST) {
      while ((status = EngSaveDocument(db.handle(), nullptr, nullptr, 0, nullptr)) ==
             KSENG_STATUS_SAVE_FIRST) {
      }
    }
    if (status != KSENG_STATUS_TAKEN) {
      throw HostError(
          fmt::format("the engine refused {}: {}", file, EngineErrorText(EngLastError(0))));
    }
    first = false;
    if (got < piece.size()) break;
  }
  uint64_t id = 0;
  if (EngSaveDocument(db.handle(), nullptr, nullptr, 1, &id) != KSENG_STATUS_TAKEN) {
    throw HostError(fmt::format("cannot save {}: {}", file, EngineErrorText(EngLastError(0))));
  }
  return id;
}

}  // namespace

void AddAddCommand(CLI::App& parent) {
  struct Options {
    std::string path;
    std::vector<std::string> files;
    CredentialOptions credentials;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = parent.add_subcommand(
      "add", "Add each file whole as one plain-text document, without import processing");
  cmd->add_option("DB.kst", options->path, "Database")->required();
  cmd->add_option("FILE", options->files, "Files to add")->required();
  AddCredentialOptions(*cmd, options->credentials, "the database");
  cmd->callback([options] {
    Database db(options->path, KSENG_ACCESS_READWRITE, options->credentials);
    char marker = '[';
    if (!EngBeginAdd(db.handle(), &marker)) {
      throw HostError(
          fmt::format("cannot add to {}: {}", options->path, EngineErrorText(EngLastError(0))));
    }
    uint64_t last = 0;
    for (const auto& file : options->files) last = AddFile(db, file, last);
    uint32_t added = 0;
    if (!EngEndAdd(db.handle(), 0, 0, marker, &added)) {
      throw HostError(
          fmt::format("cannot commit to {}: {}", options->path, EngineErrorText(EngLastError(0))));
    }
    fmt::print("Added {} document(s) to {}\n", options->files.size(), options->path);
  });
}

}  // namespace ksimp
