#include "importers/kestro/kestro_import.h"

#include <fmt/format.h>
#include <limits.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>

#include "core/engine_refusal.h"
#include "core/error_codes.h"
#include "importers/kestro/kestro_file_check.h"
#include "importers/kestro/kestro_source.h"
#include "ks_eng5.h"

namespace {

// Every import of another Kestro database in the process adds to it.
std::atomic<uint64_t> copy_count{0};

}  // namespace

uint64_t CIMPKestro4::CopyCount() {
  return copy_count.load();
}

int CIMPKestro4::CheckFile(const std::string& file_name) {
  ks::kestro::KestroSource source(file_name, Options().source_credentials,
                                  /*prompt=*/nullptr);
  const bool refused_without_reason = !source.is_open() && source.engine_error() == KSENG_OK;
  source.Close();
  return refused_without_reason ? 0 : 1;
}

int CIMPKestro4::ImportSource() {
  const std::string& path = Options().file_name;
  // The prompt is not shown here: the copy below asks once, if it must.
  if (CheckFile(path) == 0) return 1;
  return CopyFile(path);
}

bool CIMPKestro4::IsTheTarget(const std::string& path) const {
  char target[1024] = {};
  if (EngGetDatabaseName(Database(), target, sizeof target) == 0) return false;
  char resolved[PATH_MAX];
  return realpath(path.c_str(), resolved) != nullptr && std::string(resolved) == target;
}

bool CIMPKestro4::FirstAnchor(uint64_t* anchor) {
  *anchor = Context().LastDocument();
  if (*anchor != 0 || Options().import_location != KSENG_LOC_AFTER_NAMED ||
      Options().named_document.empty()) {
    return true;
  }
  const int64_t named =
      EngFindDocument(Database(), KSENG_KIND_TEXT, Options().named_document.c_str());
  if (named <= 0) return false;
  *anchor = static_cast<uint64_t>(named);
  return true;
}

int CIMPKestro4::CopyFile(const std::string& path) {
  if (IsTheTarget(path)) {
    Fail(error_code::kKestroFileError);
    Log(ks::kestro::KestroFileErrorText(path, "it is the database being imported into"));
    return 0;
  }
  ks::kestro::KestroSource source(path, Options().source_credentials, Context().password_prompt());
  if (!source.is_open()) {
    const ks::kestro::KestroFileRefusal refusal =
        ks::kestro::RefusalOfSource(path, source.engine_error(), source.credentials_rejected());
    Fail(refusal.error_code);
    Log(refusal.log_line);
    return 0;
  }
  const uint32_t from = source.database();
  uint64_t id = EngFirstDocument(from, KSENG_WALK_DOCUMENTS);
  if (id == 0) {
    const uint32_t error = EngLastError(0);
    if (error == KSENG_OK) return 1;  // an empty database copies nothing
    Fail(error_code::kKestroFileError);
    Log(ks::kestro::KestroFileErrorText(path, ks::kestro::EngineErrorWords(error)));
    return 0;
  }
  if (EngPrepareCopy(from, Database()) == 0) {
    EngineRefused(EngLastError(0));
    return 0;
  }
  uint64_t position = 0;
  if (!FirstAnchor(&position)) {
    Fail(error_code::kCannotSaveDocument);
    Log(fmt::format("The document \"{}\" to import {} after is not in the database.",
                    Options().named_document, path));
    return 0;
  }
  // Progress moves through the source's bytes in step with its documents.
  const uint64_t total = EngCountDocuments(from, KSENG_WALK_DOCUMENTS);
  const uint64_t bytes = Source().size();
  const uint64_t base = Context().CurrentBytes();
  uint64_t copied = 0;
  while (id != 0 && !Aborted()) {
    uint64_t placed = position;
    if (EngCopyDocument(from, id, 1, Database(), &placed, Options().import_location) == 0) {
      // Stop at the first refusal: what was copied stays, nothing is skipped
      // silently.
      EngineRefused(EngLastError(0));
      return 0;
    }
    ++copied;
    copy_count.fetch_add(1);
    const uint64_t done = total == 0 ? bytes : bytes * std::min(copied, total) / total;
    Context().RecordDocumentSaved(placed, base + done);
    if (placed != 0) position = placed;
    id = EngNextDocument(from, id, KSENG_WALK_DOCUMENTS);
    const uint32_t walk_error = id == 0 ? EngLastError(0) : KSENG_OK;
    if (walk_error != KSENG_OK) {
      // The source failed to read on: what it still holds is not imported.
      Fail(error_code::kKestroFileError);
      Log(ks::kestro::KestroFileErrorText(path, ks::kestro::EngineErrorWords(walk_error)));
      return 0;
    }
  }
  return 1;
}
