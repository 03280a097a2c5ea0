// ksimp export: each document's exact bytes as DIR/000001.txt, ... named by
// its number in database order (as 'docs' numbers it), attachments beside
// it in DIR/000001.att/; all documents, or those whose numbers are given.
#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <vector>

#include "commands.h"
#include "database.h"

namespace ksimp {
namespace {

namespace fs = std::filesystem;

// The longest file name the usual Linux file systems take, in bytes.
constexpr size_t kMaxNameBytes = 255;
// A longer tail after the last dot is taken as part of the name, so that
// cutting a long name to kMaxNameBytes always leaves some of its stem.
constexpr size_t kMaxExtensionBytes = 32;

void WriteFile(const fs::path& path, const char* data, size_t size) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(data, static_cast<std::streamsize>(size));
  out.close();
  if (!out) throw HostError(fmt::format("cannot write {}", path.string()));
}

bool IsUtf8Continuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// `text` cut to at most `size` bytes, not inside a UTF-8 sequence (at most
// four bytes long); a text that is no UTF-8 there is cut at `size` itself.
std::string CutToBytes(std::string text, size_t size) {
  if (text.size() <= size) return text;
  size_t end = size;
  while (end > 0 && size - end < 3 && IsUtf8Continuation(text[end])) --end;
  if (IsUtf8Continuation(text[end])) end = size;
  text.resize(end);
  return text;
}

// An attachment's name comes from the imported data, so it is made a plain
// file name that can only land inside the .att folder: its last part after
// any "/" or "\" (mail written on Windows names folders with "\"), without
// leading dots (so neither ".." nor a hidden file), control characters made
// "_".  A name with nothing left becomes "attachmentN".
std::string BaseName(const std::string& name, uint32_t index) {
  std::string base = name;
  while (!base.empty() && (base.back() == '/' || base.back() == '\\')) base.pop_back();
  const size_t slash = base.find_last_of("/\\");
  if (slash != std::string::npos) base.erase(0, slash + 1);
  base.erase(0, base.find_first_not_of('.'));
  for (char& c : base) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '_';
  }
  if (base.empty()) base = fmt::format("attachment{}", index + 1);
  return base;
}

// The file names given to one document's attachments.  A name already taken
// gets " (2)", " (3)", ... before its extension, so that no attachment is
// written over another.  Names are compared without regard to ASCII case, as
// a folder on a file system that ignores case would compare them.
class AttachmentNames {
 public:
  std::string Take(const std::string& name, uint32_t index) {
    const std::string base = BaseName(name, index);
    const size_t dot = base.find_last_of('.');
    const bool has_extension = dot != std::string::npos && base.size() - dot <= kMaxExtensionBytes;
    const std::string stem = has_extension ? base.substr(0, dot) : base;
    const std::string extension = has_extension ? base.substr(dot) : std::string();
    for (uint32_t number = 1;; ++number) {
      const std::string suffix = number == 1 ? std::string() : fmt::format(" ({})", number);
      const std::string candidate =
          CutToBytes(stem, kMaxNameBytes - suffix.size() - extension.size()) + suffix + extension;
      if (taken_.insert(Folded(candidate)).second) return candidate;
    }
  }

 private:
  static std::string Folded(std::string name) {
    for (char& c : name) {
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return name;
  }

  std::set<std::string> taken_;
};

}  // namespace

void AddExportCommand(CLI::App& parent) {
  struct Options {
    std::string path;
    std::string dir;
    std::vector<size_t> numbers;  // none: every document
    CredentialOptions credentials;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = parent.add_subcommand("export", "Write each document's exact bytes to a folder");
  cmd->add_option("DB.kst", options->path, "Database")->required();
  AddCredentialOptions(*cmd, options->credentials, "the database");
  cmd->add_option("DIR", options->dir,
                  "Folder to write into (created if missing): DIR/000001.txt, ..., each "
                  "document's attachments in DIR/000001.att/ under their base names, a name "
                  "already taken there as \"name (2).ext\", \"name (3).ext\", ...")
      ->required();
  cmd->add_option("N", options->numbers,
                  "Numbers of the documents to export (as 'docs' lists them); all without")
      ->check(CLI::PositiveNumber);
  cmd->callback([options] {
    Database db(options->path, KSENG_ACCESS_READ, options->credentials);
    const std::vector<uint64_t> ids = db.Documents();
    std::vector<size_t> numbers = options->numbers;
    if (numbers.empty()) {
      for (size_t n = 1; n <= ids.size(); ++n) numbers.push_back(n);
    }
    for (size_t n : numbers) {
      if (n > ids.size()) throw HostError(fmt::format("{} has no document {}", options->path, n));
    }
    std::error_code ec;
    fs::create_directories(options->dir, ec);
    if (ec) throw HostError(fmt::format("cannot create {}: {}", options->dir, ec.message()));
    for (size_t number : numbers) {
      const uint64_t id = ids[number - 1];
      const std::string text = db.Text(id);
      WriteFile(fs::path(options->dir) / fmt::format("{:06}.txt", number), text.data(),
                text.size());
      const auto attachments = db.Attachments(id);
      if (attachments.empty()) continue;
      const fs::path folder = fs::path(options->dir) / fmt::format("{:06}.att", number);
      fs::create_directories(folder, ec);
      if (ec) throw HostError(fmt::format("cannot create {}: {}", folder.string(), ec.message()));
      AttachmentNames names;
      for (uint32_t i = 0; i < attachments.size(); ++i) {
        const auto bytes = db.AttachmentBytes(id, i, attachments[i].size);
        WriteFile(folder / names.Take(attachments[i].name, i), bytes.data(), bytes.size());
      }
    }
    fmt::print("Exported {} document(s) to {}\n", numbers.size(), options->dir);
  });
}

}  // namespace ksimp
