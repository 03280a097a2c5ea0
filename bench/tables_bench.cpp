// Throughput and memory of importing database tables: people.dbf (dBase,
// 1,000,000 rows, one in a thousand deleted) and people.xlsx (100,000 rows),
// each beside an independent reader of the same file in the same run
// (dbfread and openpyxl in read-only mode, writing the same documents to
// SQLite: tables_baseline.py).
//
//   tables_bench [folder]
//
// The files come from $BENCH_DATA (default ${TMPDIR:-/tmp}/bench-data; make
// them with "python3 gen_tables.py --scale 1").  folder (or TMPDIR, else
// /tmp) receives the databases, removed afterwards.  Each import is the best
// of three rounds, the baselines the best of two.  Each import runs in a
// child process, whose peak resident memory is the figure given; the dBase
// import is also run on its first half, to show that the peak does not grow
// with the table.  The baselines need /usr/bin/python3 with python3-dbfread
// and python3-openpyxl.
#include <fmt/format.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
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

struct ImportFigures {
  double seconds = 0;        // in all
  double index_seconds = 0;  // EngEndAdd: the last commit and the index
  uint32_t documents = 0;
  double peak_megabytes = 0;  // the child's peak resident size
};

// Imports `file` as `type` into a new database, in this process.
ImportFigures ImportHere(const std::string& database, const std::string& file, int32_t type) {
  unlink(database.c_str());
  if (!EngCreateDatabase(database.c_str(), nullptr, nullptr, 0)) Fail("cannot create database");
  const auto start = Clock::now();
  const uint32_t handle = KSIMP_InitImportUsingFileName(database.c_str());
  if (handle == 0) Fail("cannot start the import");
  if (!KSIMP_AddFileToImport(handle, file.c_str(), type, 1, 0, nullptr, 0, nullptr, 0, 0, nullptr,
                             1, 0, nullptr, 0, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, 0,
                             nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0)) {
    Fail("cannot queue " + file);
  }
  ImportFigures figures;
  bench::end_add_seconds = 0;
  if (KSIMP_Import(handle, 0, 0, nullptr, &figures.documents) != 1) Fail("the import of " + file + " failed");
  figures.seconds = Seconds(start);
  figures.index_seconds = bench::end_add_seconds;
  unlink(database.c_str());
  return figures;
}

// The same in a child process, so that its peak memory is its own.
ImportFigures ImportInChild(const std::string& database, const std::string& file, int32_t type) {
  int pipe_ends[2];
  if (pipe(pipe_ends) != 0) Fail("pipe");
  const pid_t child = fork();
  if (child < 0) Fail("fork");
  if (child == 0) {
    close(pipe_ends[0]);
    const ImportFigures figures = ImportHere(database, file, type);
    const ssize_t written = write(pipe_ends[1], &figures, sizeof figures);
    _exit(written == static_cast<ssize_t>(sizeof figures) ? 0 : 1);
  }
  close(pipe_ends[1]);
  ImportFigures figures;
  const ssize_t got = read(pipe_ends[0], &figures, sizeof figures);
  close(pipe_ends[0]);
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  if (got != static_cast<ssize_t>(sizeof figures) || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    Fail("the import of " + file + " failed in its process");
  }
  figures.peak_megabytes = static_cast<double>(usage.ru_maxrss) / 1024.0;
  return figures;
}

ImportFigures BestOfThree(const std::string& database, const std::string& file, int32_t type) {
  ImportFigures best;
  for (int round = 0; round < 3; ++round) {
    const ImportFigures figures = ImportInChild(database, file, type);
    if (round == 0 || figures.seconds - figures.index_seconds < best.seconds - best.index_seconds) {
      best = figures;
    }
  }
  return best;
}

// The baseline's seconds for `file`, best of two.
double TimeBaseline(const std::string& script, const std::string& file, const std::string& database) {
  double best = 1e9;
  for (int round = 0; round < 2; ++round) {
    unlink(database.c_str());
    const std::string command = fmt::format("/usr/bin/python3 '{}' '{}' '{}'", script, file, database);
    FILE* out = popen(command.c_str(), "r");
    if (out == nullptr) Fail("cannot run " + command);
    long rows = 0;
    double seconds = 0;
    const int read = fscanf(out, "%ld %lf", &rows, &seconds);
    if (pclose(out) != 0 || read != 2) Fail("the baseline failed: " + command);
    best = std::min(best, seconds);
  }
  for (const char* suffix : {"", "-wal", "-shm"}) unlink((database + suffix).c_str());
  return best;
}

// The first half of a dBase file's records, as a table of its own.
std::string FirstHalfOf(const std::string& dbf, const std::string& folder) {
  std::ifstream in(dbf, std::ios::binary);
  char header[32];
  if (!in.read(header, sizeof header)) Fail("cannot read " + dbf);
  uint32_t records = 0;
  uint16_t header_length = 0, record_length = 0;
  std::memcpy(&records, header + 4, 4);
  std::memcpy(&header_length, header + 8, 2);
  std::memcpy(&record_length, header + 10, 2);
  records /= 2;
  std::memcpy(header + 4, &records, 4);
  std::vector<char> rest(header_length - sizeof header + size_t{records} * record_length);
  if (!in.read(rest.data(), static_cast<std::streamsize>(rest.size()))) Fail("cannot read " + dbf);
  const std::string half = folder + "/tables_bench_half.dbf";
  std::ofstream out(half, std::ios::binary | std::ios::trunc);
  out.write(header, sizeof header);
  out.write(rest.data(), static_cast<std::streamsize>(rest.size()));
  out.put('\x1a');
  return half;
}

void Report(const std::string& file, const ImportFigures& imported, const std::string& baseline_name,
            double baseline) {
  const double rows = imported.documents;
  const double documents_only = imported.seconds - imported.index_seconds;
  fmt::print("{}: the import made {} documents\n", file, imported.documents);
  fmt::print("  {:<28} {:7.3f} s  {:6.3f} M rows/s\n", baseline_name, baseline, rows / baseline / 1e6);
  fmt::print("  import, documents only       {:7.3f} s  {:6.3f} M rows/s  {:.2f}x the baseline\n",
             documents_only, rows / documents_only / 1e6, baseline / documents_only);
  fmt::print("  import's full-text index     {:7.3f} s\n", imported.index_seconds);
  fmt::print("  import in all                {:7.3f} s  {:6.3f} M rows/s\n", imported.seconds,
             rows / imported.seconds / 1e6);
  fmt::print("  peak memory                  {:.1f} MB\n", imported.peak_megabytes);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string folder = bench::WorkFolder(argc > 1 ? argv[1] : nullptr);
  const std::string dbf = bench::BenchDataFile("people.dbf");
  const std::string xlsx = bench::BenchDataFile("people.xlsx");
  const std::string script = (std::filesystem::path(__FILE__).parent_path() / "tables_baseline.py").string();
  const std::string database = folder + "/tables_bench.kst";
  const std::string baseline_database = folder + "/tables_bench_baseline.db";
  for (const std::string& file : {dbf, xlsx}) {
    if (!std::filesystem::exists(file)) Fail("cannot read " + file + " (make it with gen_tables.py --scale 1)");
  }

  const ImportFigures dbf_import = BestOfThree(database, dbf, KSIMP_TYPE_DBASE);
  Report(dbf, dbf_import, "dbfread, same documents", TimeBaseline(script, dbf, baseline_database));
  const std::string half = FirstHalfOf(dbf, folder);
  const ImportFigures half_import = ImportInChild(database, half, KSIMP_TYPE_DBASE);
  unlink(half.c_str());
  fmt::print("  peak memory on its first half {:.1f} MB ({} documents)\n", half_import.peak_megabytes,
             half_import.documents);

  const ImportFigures xlsx_import = BestOfThree(database, xlsx, KSIMP_TYPE_EXCEL);
  Report(xlsx, xlsx_import, "openpyxl read-only, same", TimeBaseline(script, xlsx, baseline_database));
  return 0;
}
