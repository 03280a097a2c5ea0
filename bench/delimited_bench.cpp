// Throughput and memory of importing the benchmark's CSV file as fielded
// documents (one "Name[ value ]" line per column), beside the sqlite3 shell's
// own ".import --csv" of the same file into a table, measured in the same
// run; and the full-text index's cost beside SQLite's own FTS5 over the same
// document texts.
//
//   delimited_bench [people.csv] [folder]
//
// The file defaults to $BENCH_DATA/people.csv (BENCH_DATA defaults to
// ${TMPDIR:-/tmp}/bench-data; make it with "python3 gen_csv.py --scale 1").
// folder (or TMPDIR, else /tmp) receives the databases, removed afterwards.
// The import and the shell are the best of three rounds, each FTS5 baseline
// the best of two.  The sqlite3 shell must be on
// the PATH.  Peak memory is this process's
// maximum resident size, read before and after the import.
#include <fmt/format.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench_support.h"
#include "end_add_timer.h"
#include "ks_eng5.h"
#include "ks_imp.h"

namespace {

using bench::Clock;
using bench::Fail;
using bench::Seconds;

long PeakResidentKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// The column header string for the file's own header line (simple names,
// comma-separated), importing from the second row.
std::string ColumnHeaderFor(const std::string& csv) {
  std::ifstream in(csv, std::ios::binary);
  std::string first;
  std::getline(in, first);
  if (!first.empty() && first.back() == '\r') first.pop_back();
  std::vector<std::string> names;
  size_t start = 0;
  while (true) {
    const size_t comma = first.find(',', start);
    names.push_back(first.substr(start, comma - start));
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  std::string header =
      fmt::format("T=CSV\r\nN={}\r\nS=2\r\nD=,\r\nTQ=\"\r\nTC=0\r\n", names.size());
  for (size_t i = 0; i < names.size(); ++i) {
    header += fmt::format("NA{}={}\r\nP{}={}\r\n", i + 1, names[i], i + 1, i + 1);
  }
  return header;
}

struct ImportFigures {
  double seconds = 0;
  double index_seconds = 0;
  uint32_t documents = 0;
};

ImportFigures TimeImport(const std::string& database, const std::string& csv) {
  unlink(database.c_str());
  if (!EngCreateDatabase(database.c_str(), nullptr, nullptr, 0)) Fail("cannot create database");
  const std::string header = ColumnHeaderFor(csv);
  const auto start = Clock::now();
  const uint32_t handle = KSIMP_InitImportUsingFileName(database.c_str());
  if (handle == 0) Fail("cannot start the import");
  if (!KSIMP_AddFileToImport(handle, csv.c_str(), 1004, 1, 0, nullptr, 0, nullptr, 0, 0, nullptr, 1,
                             0, header.c_str(), 0, 1, nullptr, 0, nullptr, 0, nullptr, nullptr, 0,
                             0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0,
                             0)) {
    Fail("cannot queue " + csv);
  }
  ImportFigures figures;
  bench::end_add_seconds = 0;
  if (KSIMP_Import(handle, 0, 0, nullptr, &figures.documents) != 1) Fail("the import failed");
  figures.seconds = Seconds(start);
  figures.index_seconds = bench::end_add_seconds;
  return figures;
}

// The sqlite3 shell's CSV import of the same file, as a person would run it.
double TimeShellImport(const std::string& database, const std::string& csv) {
  unlink(database.c_str());
  const std::string command = fmt::format(
      "sqlite3 '{}' 'PRAGMA journal_mode=WAL;' 'PRAGMA synchronous=OFF;' '.import --csv {} t' "
      ">/dev/null",
      database, csv);
  const auto start = Clock::now();
  if (std::system(command.c_str()) != 0) Fail("the sqlite3 shell failed (is it installed?)");
  const double seconds = Seconds(start);
  unlink(database.c_str());
  unlink((database + "-wal").c_str());
  unlink((database + "-shm").c_str());
  return seconds;
}

// Every document text of a database, in order.
std::vector<std::string> DocumentTexts(const std::string& database) {
  std::vector<std::string> texts;
  const uint32_t db = EngOpenDatabase(database.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
  std::string text;
  for (uint64_t id = EngFirstDocument(db, KSENG_WALK_DOCUMENTS); id != 0;
       id = EngNextDocument(db, id, KSENG_WALK_DOCUMENTS)) {
    uint64_t length = 0;
    EngGetDocumentText(db, id, nullptr, 0, &length);
    text.resize(length + 1);
    EngGetDocumentText(db, id, text.data(), text.size(), &length);
    texts.emplace_back(text.data(), length);
  }
  EngCloseDatabase(db);
  return texts;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string csv = argc > 1 ? argv[1] : bench::BenchDataFile("people.csv");
  const std::string folder = bench::WorkFolder(argc > 2 ? argv[2] : nullptr);
  std::ifstream probe(csv, std::ios::binary | std::ios::ate);
  if (!probe) Fail("cannot read " + csv);
  const double megabytes = static_cast<double>(probe.tellg()) / 1e6;

  // Best of three rounds for each side, as the machine's load varies.
  const std::string database = folder + "/delimited_bench.kst";
  double shell = 1e9;
  ImportFigures imported;
  double best_documents_only = 1e9;
  double best_index = 1e9;
  double best_total = 1e9;
  const long memory_before = PeakResidentKilobytes();
  for (int round = 0; round < 3; ++round) {
    shell = std::min(shell, TimeShellImport(folder + "/delimited_bench_shell.db", csv));
    const ImportFigures figures = TimeImport(database, csv);
    // Each figure is its own best: the documents, the index and the whole.
    if (figures.seconds - figures.index_seconds < best_documents_only) {
      best_documents_only = figures.seconds - figures.index_seconds;
    }
    best_index = std::min(best_index, figures.index_seconds);
    best_total = std::min(best_total, figures.seconds);
    imported = figures;
  }
  const long memory_after = PeakResidentKilobytes();
  const std::vector<std::string> texts = DocumentTexts(database);
  std::error_code size_error;
  const double database_megabytes =
      static_cast<double>(std::filesystem::file_size(database, size_error)) / 1e6;
  unlink(database.c_str());
  double plain_fts = 1e9;
  double tuned_fts = 1e9;
  for (int round = 0; round < 2; ++round) {
    plain_fts = std::min(plain_fts, bench::TimePlainFts(folder + "/delimited_bench_fts.db", texts.size(), [&](size_t i) { return std::string_view(texts[i]); }, 0));
    tuned_fts =
        std::min(tuned_fts, bench::TimePlainFts(folder + "/delimited_bench_fts.db", texts.size(), [&](size_t i) { return std::string_view(texts[i]); }, 16 << 20));
  }

  const double rows = imported.documents;
  const double documents_only = best_documents_only;
  fmt::print("{}: {:.1f} MB; the import made {} documents\n", csv, megabytes, imported.documents);
  fmt::print("  sqlite3 .import --csv        {:7.3f} s  {:6.3f} M rows/s  {:6.1f} MB/s\n", shell,
             rows / shell / 1e6, megabytes / shell);
  fmt::print(
      "  import, documents only       {:7.3f} s  {:6.3f} M rows/s  {:6.1f} MB/s  "
      "{:.2f}x .import\n",
      documents_only, rows / documents_only / 1e6, megabytes / documents_only,
      shell / documents_only);
  fmt::print("  import's full-text index     {:7.3f} s  {:6.3f} M docs/s\n", best_index,
             rows / best_index / 1e6);
  fmt::print(
      "  SQLite FTS5, same texts      {:7.3f} s  {:6.3f} M docs/s  (index {:.2f}x its time)\n",
      plain_fts, rows / plain_fts / 1e6, best_index / plain_fts);
  fmt::print(
      "  ... with the engine's 16 MB   {:7.3f} s  {:6.3f} M docs/s  (index {:.2f}x its time)\n",
      tuned_fts, rows / tuned_fts / 1e6, best_index / tuned_fts);
  fmt::print("  import in all                {:7.3f} s  {:6.3f} M rows/s\n", best_total,
             rows / best_total / 1e6);
  fmt::print("  database file                {:7.1f} MB ({:.1f}x the CSV)\n", database_megabytes,
             database_megabytes / megabytes);
  fmt::print("  peak memory                  {:.1f} MB before the import, {:.1f} MB after\n",
             static_cast<double>(memory_before) / 1024.0,
             static_cast<double>(memory_after) / 1024.0);
  return 0;
}
