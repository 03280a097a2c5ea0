// ksimp export: each document's exact bytes as DIR/000001.txt, ... in
// database order, attachments beside it in DIR/000001.att/.
#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "commands.h"
#include "database.h"

namespace ksimp {
namespace {

namespace fs = std::filesystem;

void WriteFile(const fs::path& path, const char* data, size_t size) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(data, static_cast<std::streamsize>(size));
  out.close();
  if (!out) throw HostError(fmt::format("cannot write {}", path.string()));
}

// An attachment name as a file name inside the .att folder: no folders, no
// way out of it.
std::string SafeFileName(const std::string& name, uint32_t index) {
  std::string safe = fs::path(name).filename().string();
  if (safe.empty() || safe == "." || safe == "..") safe = fmt::format("attachment{}", index + 1);
  return safe;
}

}  // namespace

void AddExportCommand(CLI::App& parent) {
  struct Options {
    std::string path;
    std::string dir;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = parent.add_subcommand("export", "Write each document's exact bytes to a folder");
  cmd->add_option("DB.kst", options->path, "Database")->required();
  cmd->add_option("DIR", options->dir, "Folder to write into (created if missing)")->required();
  cmd->callback([options] {
    Database db(options->path, KSENG_ACCESS_READ);
    std::error_code ec;
    fs::create_directories(options->dir, ec);
    if (ec) throw HostError(fmt::format("cannot create {}: {}", options->dir, ec.message()));
    size_t ordinal = 0;
    for (uint64_t id : db.Documents()) {
      ++ordinal;
      const std::string text = db.Text(id);
      WriteFile(fs::path(options->dir) / fmt::format("{:06}.txt", ordinal), text.data(),
                text.size());
      const auto attachments = db.Attachments(id);
      if (attachments.empty()) continue;
      const fs::path folder = fs::path(options->dir) / fmt::format("{:06}.att", ordinal);
      fs::create_directories(folder, ec);
      if (ec) throw HostError(fmt::format("cannot create {}: {}", folder.string(), ec.message()));
      for (uint32_t i = 0; i < attachments.size(); ++i) {
        const auto bytes = db.AttachmentBytes(id, i, attachments[i].size);
        WriteFile(folder / SafeFileName(attachments[i].name, i), bytes.data(), bytes.size());
      }
    }
    fmt::print("Exported {} document(s) to {}\n", ordinal, options->dir);
  });
}

}  // namespace ksimp
