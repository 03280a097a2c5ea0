#include "import_report.h"

#include <fmt/format.h>

#include <cstdio>

#include "import_options.h"
#include "json_text.h"

namespace ksimp {
namespace {

// The largest text ksimp asks the library for before giving up on it.
constexpr size_t kMaxTextBytes = size_t{1} << 28;

// Some texts name the file with "%s" (11006 "The file %s, could not be
// located."): the library keeps them raw, a person reads them filled in.
std::string FilledIn(std::string text, const std::string& file) {
  const size_t at = text.find("%s");
  if (at != std::string::npos) text.replace(at, 2, file);
  return text;
}

std::string FileLog(uint32_t handle, uint32_t index) {
  std::vector<char> buffer(1 << 12);
  uint32_t status;
  while ((status = KSIMP_GetFileLog(handle, index, buffer.data(),
                                    static_cast<int32_t>(buffer.size()))) == KSIMP_LOG_TOO_SMALL &&
         buffer.size() <= kMaxTextBytes) {
    buffer.resize(buffer.size() * 4);
  }
  return status == KSIMP_LOG_COPIED ? std::string(buffer.data()) : std::string();
}

// The log texts as lines, without their line ends.
std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find_first_of("\r\n", start);
    if (end == std::string::npos) end = text.size();
    lines.push_back(text.substr(start, end - start));
    if (end < text.size() && text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n') {
      ++end;
    }
    start = end + 1;
  }
  return lines;
}

// Why a file was not imported whole, in words, or "" when it was.
std::string Reason(const FileReport& file, const FileReport* stopper, bool aborted) {
  if (!file.refusal.empty()) return file.refusal;
  if (!file.taken) {
    return stopper != nullptr
               ? fmt::format("not imported: the import ended at {}", stopper->file)
               : std::string("not imported: the import ended before it");
  }
  if (file.accepted_unread) {
    return fmt::format("not imported: file type {} is accepted without an importer, so nothing of "
                       "it was read",
                       file.type);
  }
  if (file.imported_whole) return {};
  if (file.error == KSIMP_ERR_UNSUPPORTED_TYPE) {
    // The same code comes back when the type has an importer whose module
    // could not be loaded; the log then says which and why, and that is
    // what the user must fix.
    const std::vector<std::string> lines = Lines(file.log);
    if (!lines.empty()) {
      return fmt::format("not imported: error {}: {}", file.error, lines.back());
    }
    return fmt::format("not imported: no importer is available for its file type {} (error {}: {})",
                       file.type, file.error, ImportErrorText(file.error));
  }
  const char* what = file.documents_added == 0 ? "not imported" : "not imported whole";
  if (file.error != KSIMP_ERR_NONE) {
    return fmt::format("{}: error {}: {}", what, file.error,
                       FilledIn(ImportErrorText(file.error), file.file));
  }
  // Stopped before its end without an error (a record too long, a blank
  // line that ends a delimited file, an abort): the log says where.
  const std::vector<std::string> lines = Lines(file.log);
  if (!lines.empty()) return fmt::format("{}: {}", what, lines.back());
  return aborted ? fmt::format("{}: the import was aborted", what) : std::string(what);
}

}  // namespace

uint32_t ImportReport::DocumentsAdded() const {
  uint32_t sum = 0;
  for (const FileReport& f : files) sum += f.documents_added;
  return sum;
}

bool ImportReport::AllImportedWhole() const {
  for (const FileReport& f : files) {
    if (!f.taken || !f.imported_whole) return false;
  }
  return true;
}

std::string ImportErrorText(uint32_t code) {
  std::vector<char> text(1024);
  while (!KSIMP_ImportErrorToString(code, text.data(), static_cast<int32_t>(text.size()))) {
    if (text.size() > (1u << 20)) return fmt::format("error {}", code);
    text.resize(text.size() * 2);
  }
  return text.data();
}

std::string ImportLogText(uint32_t handle) {
  if (!KSIMP_IsLogData(handle)) return {};
  std::vector<char> buffer(1 << 16);
  while (KSIMP_GetLogData(handle, buffer.data(), static_cast<int32_t>(buffer.size())) ==
         KSIMP_LOG_TOO_SMALL) {
    if (buffer.size() > kMaxTextBytes) break;
    buffer.resize(buffer.size() * 4);
  }
  return buffer.data();
}

namespace {

FileReport Refused(const std::string& file, const std::string& refusal) {
  FileReport report;
  report.file = file;
  report.error = KSIMP_ERR_WRONG_FILE_TYPE;
  report.refusal = refusal;
  report.log = refusal;
  return report;
}

}  // namespace

ImportReport ReadImportReport(uint32_t handle, const std::string& database,
                              const std::vector<std::string>& files,
                              const std::vector<int32_t>& types,
                              const std::vector<std::string>& refusals, bool aborted) {
  ImportReport report;
  report.database = database;
  report.aborted = aborted;
  uint32_t index = 0;  // the library's number of the file: refused ones have none
  for (size_t i = 0; i < files.size(); ++i) {
    if (!refusals[i].empty()) {
      report.files.push_back(Refused(files[i], refusals[i]));
      continue;
    }
    FileReport file;
    file.file = files[i];
    file.type = types[i];
    std::vector<char> name(files[i].size() + 1024);
    uint32_t whole = 0;
    if (KSIMP_GetFileOutcome(handle, index, name.data(), static_cast<int32_t>(name.size()),
                             &file.type, &file.documents_added, &file.error, &whole)) {
      file.taken = true;
      file.accepted_unread = whole != 0 && (file.type == KSIMP_TYPE_ACCEPTED_1003 ||
                                            file.type == KSIMP_TYPE_ACCEPTED_1007);
      file.imported_whole = whole != 0 && !file.accepted_unread;
      file.log = FileLog(handle, index);
    }
    ++index;
    report.files.push_back(std::move(file));
  }
  return report;
}

ImportReport RefusedOnly(const std::string& database, const std::vector<std::string>& files,
                         const std::vector<std::string>& refusals) {
  ImportReport report;
  report.database = database;
  for (size_t i = 0; i < files.size(); ++i) report.files.push_back(Refused(files[i], refusals[i]));
  return report;
}

void PrintFilesNotImportedWhole(const ImportReport& report) {
  const FileReport* stopper = nullptr;
  for (const FileReport& file : report.files) {
    const std::string reason = Reason(file, stopper, report.aborted);
    if (file.taken) stopper = &file;
    if (!reason.empty()) fmt::print(stderr, "ksimp: {}: {}\n", file.file, reason);
  }
}

void PrintImportReportJson(const ImportReport& report) {
  std::string out = "{\"database\":" + JsonString(report.database) + ",\"files\":[";
  size_t whole = 0;
  for (size_t i = 0; i < report.files.size(); ++i) {
    const FileReport& f = report.files[i];
    whole += f.taken && f.imported_whole ? 1 : 0;
    const bool has_error = (f.taken || !f.refusal.empty()) && f.error != KSIMP_ERR_NONE;
    std::string log;
    for (const std::string& line : Lines(f.log)) {
      if (!log.empty()) log += ',';
      log += JsonString(line);
    }
    out += fmt::format(
        "{}{{\"file\":{},\"type\":{},\"type_name\":{},\"imported\":{},\"imported_whole\":{},"
        "\"documents_added\":{},\"error\":{},\"error_text\":{},\"log\":[{}]}}",
        i == 0 ? "" : ",", JsonString(f.file), f.type, JsonString(FileTypeShortName(f.type)),
        f.taken, f.taken && f.imported_whole, f.documents_added,
        has_error ? fmt::format("{}", f.error) : "null",
        has_error ? JsonString(FilledIn(ImportErrorText(f.error), f.file)) : "null", log);
  }
  out += fmt::format(
      "],\"documents_added\":{},\"files_imported_whole\":{},\"files_not_imported_whole\":{},"
      "\"aborted\":{}}}\n",
      report.DocumentsAdded(), whole, report.files.size() - whole, report.aborted);
  fmt::print("{}", out);
}

}  // namespace ksimp
