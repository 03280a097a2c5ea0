// Throughput of importing the benchmark's large text file (pages cut at form
// feeds) through the exported interface, beside reading the same file and a
// plain SQLite insert of the same pages, all measured in the same run.
//
//   import_bench [notes.txt] [folder]
//
// The file defaults to $BENCH_DATA/notes.txt (BENCH_DATA defaults to
// ${TMPDIR:-/tmp}/bench-data; make it with the shared generators:
// "python3 gen_text.py --scale 1").  folder (or TMPDIR, else /tmp) receives
// the database files, removed afterwards.  Each figure is the best of three.
//
// The import's time includes the engine's full-text index, which is brought
// up to date (with the last commit) in EngEndAdd before the import returns.
// end_add_timer.h times every EngEndAdd the import library makes, so the
// index's cost is shown on its own line.
#include <fcntl.h>
#include <fmt/format.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "bench_support.h"
#include "end_add_timer.h"
#include "ks_eng5.h"
#include "ks_imp.h"

namespace {

using bench::Clock;
using bench::Fail;
using bench::Seconds;

// Reads the file block by block and throws the bytes away, as cat > /dev/null.
double TimeRead(const std::string& path, std::string* whole) {
  const auto start = Clock::now();
  const int fd = open(path.c_str(), O_RDONLY);
  if (fd < 0) Fail("cannot read " + path);
  std::vector<char> block(1 << 20);
  ssize_t got;
  while ((got = read(fd, block.data(), block.size())) > 0) {
    if (whole != nullptr) whole->append(block.data(), static_cast<size_t>(got));
  }
  close(fd);
  return Seconds(start);
}

// The pages of the file as the import cuts them: a line holding a single
// form feed separates two pages and belongs to neither.
std::vector<std::string_view> Pages(std::string_view text) {
  std::vector<std::string_view> pages;
  size_t start = 0;
  for (size_t at; (at = text.find("\f\r\n", start)) != std::string_view::npos; start = at + 3) {
    pages.push_back(text.substr(start, at - start));
  }
  pages.push_back(text.substr(start));
  return pages;
}

struct ImportFigures {
  double seconds = 0;
  double index_seconds = 0;
  uint32_t documents = 0;
};

ImportFigures TimeImport(const std::string& database, const std::string& input) {
  unlink(database.c_str());
  if (!EngCreateDatabase(database.c_str(), nullptr, nullptr, 0)) Fail("cannot create database");
  const auto start = Clock::now();
  const uint32_t handle = KSIMP_InitImportUsingFileName(database.c_str());
  if (handle == 0) Fail("cannot start the import");
  if (!KSIMP_AddFileToImport(handle, input.c_str(), 1000, 1, 0, nullptr, 0, nullptr, 2, 0, nullptr,
                             1, 0, nullptr, 0, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, 0,
                             nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0)) {
    Fail("cannot queue " + input);
  }
  ImportFigures figures;
  bench::end_add_seconds = 0;
  if (KSIMP_Import(handle, 0, 0, nullptr, &figures.documents) != 1) Fail("the import failed");
  figures.seconds = Seconds(start);
  figures.index_seconds = bench::end_add_seconds;
  unlink(database.c_str());
  return figures;
}

struct EngineFigures {
  double adding = 0;
  double index = 0;
};

EngineFigures TimeEngine(const std::string& database, const std::vector<std::string_view>& pages) {
  unlink(database.c_str());
  if (!EngCreateDatabase(database.c_str(), nullptr, nullptr, 0)) Fail("cannot create database");
  const uint32_t db = EngOpenDatabase(database.c_str(), KSENG_ACCESS_READWRITE, 2);
  char marker = '[';
  EngineFigures figures;
  auto start = Clock::now();
  EngBeginAdd(db, &marker);
  uint64_t previous = 0;
  for (const auto page : pages) {
    int32_t status = EngAddDocument(db, page.data(), 1, static_cast<uint32_t>(page.size()),
                                    KSENG_KIND_TEXT, KSENG_LOC_END, previous, nullptr, 0);
    while (status == KSENG_STATUS_SAVE_FIRST) {
      status = EngSaveDocument(db, nullptr, nullptr, 0, nullptr);
    }
    if (status != KSENG_STATUS_TAKEN ||
        EngSaveDocument(db, nullptr, nullptr, 1, &previous) != KSENG_STATUS_TAKEN) {
      Fail("the engine refused a page");
    }
  }
  figures.adding = Seconds(start);
  start = Clock::now();
  EngEndAdd(db, 0, 0, marker, nullptr);
  figures.index = Seconds(start);
  EngCloseDatabase(db);
  unlink(database.c_str());
  return figures;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string input = argc > 1 ? argv[1] : bench::BenchDataFile("notes.txt");
  const std::string folder = bench::WorkFolder(argc > 2 ? argv[2] : nullptr);
  std::string text;
  TimeRead(input, &text);  // warms the page cache and keeps the bytes for the plain insert
  const double megabytes = static_cast<double>(text.size()) / 1e6;
  const std::vector<std::string_view> pages = Pages(text);

  double read = 1e9, plain = 1e9, fts = 1e9, import = 1e9, import_index = 1e9, adding = 1e9,
         index = 1e9;
  uint32_t documents = 0;
  for (int round = 0; round < 3; ++round) {
    read = std::min(read, TimeRead(input, nullptr));
    plain =
        std::min(plain, bench::TimePlainBlobInsert(folder + "/import_bench_plain.db", pages.size(),
                                                   [&](size_t i) { return pages[i]; }));
    fts = std::min(fts, bench::TimePlainFts(folder + "/import_bench_fts.db", pages.size(),
                                            [&](size_t i) { return pages[i]; }, 16 << 20));
    const ImportFigures imported = TimeImport(folder + "/import_bench.kst", input);
    if (imported.seconds < import) {
      import = imported.seconds;
      import_index = imported.index_seconds;
    }
    documents = imported.documents;
    const EngineFigures engine = TimeEngine(folder + "/import_bench_engine.kst", pages);
    adding = std::min(adding, engine.adding);
    index = std::min(index, engine.index);
  }

  fmt::print("{}: {:.1f} MB, {} pages; the import made {} documents\n", input, megabytes,
             pages.size(), documents);
  fmt::print("  read (cat)                  {:7.3f} s  {:8.1f} MB/s\n", read, megabytes / read);
  fmt::print("  plain SQLite insert         {:7.3f} s  {:8.1f} MB/s\n", plain, megabytes / plain);
  fmt::print("  SQLite FTS5, same pages     {:7.3f} s  {:8.1f} MB/s  (16 MB term buffer)\n", fts,
             megabytes / fts);
  fmt::print("  import incl. index          {:7.3f} s  {:8.1f} MB/s  {:.2f}x the plain insert; "
             "{:.2f}x the time of the plain insert and FTS5\n",
             import, megabytes / import, plain / import, import / (plain + fts));
  fmt::print("  engine adding, no index     {:7.3f} s  {:8.1f} MB/s  {:.2f}x the plain insert\n",
             adding, megabytes / adding, plain / adding);
  fmt::print("  engine's EngEndAdd (index)  {:7.3f} s  {:8.1f} MB/s\n", index, megabytes / index);
  fmt::print("  import's EngEndAdd (index)  {:7.3f} s  {:8.1f} MB/s\n", import_index,
             megabytes / import_index);
  const double documents_only = import - import_index;
  fmt::print("  import, documents only      {:7.3f} s  {:8.1f} MB/s  {:.2f}x the plain insert\n",
             documents_only, megabytes / documents_only, plain / documents_only);
  return 0;
}
