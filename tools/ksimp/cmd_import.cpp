// ksimp import: queues files into an import, runs it on a worker thread while
// the main thread shows progress, and reports the outcome, the error text
// and the import log.  Ctrl-C aborts the import and keeps what was imported.
#include <fmt/format.h>
#include <limits.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "commands.h"
#include "database.h"
#include "import_options.h"
#include "ks_imp.h"
#include "progress_display.h"

namespace ksimp {
namespace {

std::atomic<bool> interrupted{false};

void OnInterrupt(int) {
  interrupted.store(true);
  // A second Ctrl-C ends the program at once.
  signal(SIGINT, SIG_DFL);
}

std::string ErrorText(uint32_t code) {
  std::vector<char> text(1024);
  while (!KSIMP_ImportErrorToString(code, text.data(), static_cast<int32_t>(text.size()))) {
    if (text.size() > (1u << 20)) return fmt::format("error {}", code);
    text.resize(text.size() * 2);
  }
  return text.data();
}

// The handle's whole log, read once.
std::string LogText(uint32_t handle) {
  if (!KSIMP_IsLogData(handle)) return {};
  std::vector<char> buffer(1 << 16);
  while (KSIMP_GetLogData(handle, buffer.data(), static_cast<int32_t>(buffer.size())) ==
         KSIMP_LOG_TOO_SMALL) {
    if (buffer.size() > (1u << 28)) break;
    buffer.resize(buffer.size() * 4);
  }
  return buffer.data();
}

uint32_t Queue(uint32_t handle, const std::string& file, int32_t type, const ImportRequest& r) {
  return KSIMP_AddFileToImport(
      handle, file.c_str(), type, r.location, 0, nullptr, r.named_document.empty() ? 0 : 1,
      r.named_document.c_str(), r.delimiter_flags, r.delimiter_lines, r.delimiter_string.c_str(),
      r.origin_ansi, 0, nullptr, 0, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, 0, nullptr,
      nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0);
}

struct ImportCommand {
  std::string path;
  std::vector<std::string> files;
  std::string type;
  std::string delimiter = "none";
  std::string origin = "ansi";
  std::string location = "end";
  bool quiet = false;

  void Run() const {
    ImportRequest request;
    ParseDelimiter(delimiter, request);
    ParseOrigin(origin, request);
    ParseLocation(location, request);
    if (!type.empty()) request.file_type = ParseFileType(type);

    const uint32_t handle = KSIMP_InitImportUsingFileName(path.c_str());
    if (handle == 0) {
      // The library's failed open ran on this thread, so the engine's reason
      // is still there to say more than the library's own text.
      const uint32_t engine_error = EngLastError(0);
      throw HostError(fmt::format("cannot import into {}: {} ({})", path,
                                  ErrorText(KSIMP_GetLastImportError(0)),
                                  EngineErrorText(engine_error)));
    }
    for (const auto& file : files) {
      const int32_t file_type = request.file_type != 0 ? request.file_type : FileTypeForPath(file);
      if (!Queue(handle, file, file_type, request)) {
        const std::string reason = ErrorText(KSIMP_GetLastImportError(handle));
        KSIMP_Import(handle, 0, 0, nullptr, nullptr);  // releases the handle
        throw HostError(fmt::format("cannot queue {}: {}", file, reason));
      }
    }

    uint32_t added = 0;
    int64_t carry = 0;
    std::atomic<uint32_t> outcome{0};
    std::atomic<bool> done{false};
    std::thread worker([&] {
      outcome.store(KSIMP_Import(handle, 0, 0, &carry, &added));
      done.store(true);
    });

    interrupted.store(false);
    struct sigaction action {};
    action.sa_handler = OnInterrupt;
    struct sigaction previous {};
    sigaction(SIGINT, &action, &previous);

    ProgressDisplay display(stderr);
    bool abort_sent = false;
    std::string last_file;
    while (!done.load()) {
      if (interrupted.load() && !abort_sent) {
        abort_sent = KSIMP_Abort(handle) != 0;
        fmt::print(stderr, "\nAborting: what was imported so far is kept...\n");
      }
      ProgressSnapshot snapshot;
      snapshot.total_bytes = KSIMP_GetTotalBytes(handle);
      snapshot.current_bytes = KSIMP_GetCurBytes(handle);
      snapshot.documents = KSIMP_GetNumDocsAdded(handle);
      char name[PATH_MAX] = {};
      if (KSIMP_GetCurFile(handle, name)) last_file = name;
      snapshot.current_file = last_file;
      if (!quiet) display.Show(snapshot);
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    worker.join();
    sigaction(SIGINT, &previous, nullptr);
    display.Finish();

    fmt::print("{} document(s) added to {}\n", added, path);
    const uint32_t error = KSIMP_GetLastImportError(handle);
    const bool error_recorded = error != KSIMP_ERR_INTERNAL;
    const std::string log = LogText(handle);
    if (!log.empty()) fmt::print("Import log:\n{}", log);
    if (abort_sent) fmt::print("The import was aborted.\n");
    if (error_recorded) {
      fmt::print(stderr, "Import error {}: {}\n", error, ErrorText(error));
    } else if (outcome.load() == 0 && !abort_sent) {
      fmt::print(stderr, "The import stopped at {}: no importer is available for its file type.\n",
                 last_file.empty() ? std::string("the first file") : last_file);
    }
    if (error_recorded || (outcome.load() == 0 && !abort_sent)) throw HostError("", 1);
  }
};

}  // namespace

void AddImportCommand(CLI::App& parent) {
  auto command = std::make_shared<ImportCommand>();
  CLI::App* cmd = parent.add_subcommand("import", "Import files into a database");
  cmd->add_option("DB.kst", command->path, "Database to import into")->required();
  cmd->add_option("FILE", command->files, "Files to import")->required();
  cmd->add_option("--type", command->type,
                  "File type: a number, or text, html, rtf (default: by each file's extension)");
  cmd->add_option("--delimiter", command->delimiter,
                  "How documents are cut: none, pagebreak, blankline, lines:N, string:S");
  cmd->add_option("--origin", command->origin, "Character set of the files: ansi or oem (CP437)");
  cmd->add_option("--location", command->location,
                  "Where new documents go: end, top, after-current, end-current, after:NAME");
  cmd->add_flag("--quiet", command->quiet, "No progress display");
  cmd->callback([command] { command->Run(); });
}

}  // namespace ksimp
