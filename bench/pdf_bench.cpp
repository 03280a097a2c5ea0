// Pages per second of the PDF import through the exported interface (the
// KS_Pdf module found beside the library), beside pdftotext reading the same
// file in the same run.
//
//   pdf_bench [report.pdf] [folder] [rounds]
//
// The file defaults to $BENCH_DATA/report.pdf (BENCH_DATA defaults to
// ${TMPDIR:-/tmp}/bench-data; make it with the shared generators:
// "python3 gen_pdf.py --scale 1", which needs enscript and ghostscript).
// folder (or TMPDIR, else /tmp) receives the database, removed afterwards.
// rounds (default 5) alternate pdftotext and the import; each figure is the
// best round.
//
// Both sides are timed on the clock and in processor time (the import's
// process, both of its threads; pdftotext's child process), which other work
// on a shared machine disturbs less.  The import's time includes storing the
// one document and the engine's full-text index (EngEndAdd, timed by
// end_add_timer.h), which pdftotext does not do; the extraction's own share,
// the import without EngEndAdd, is shown on its own line.
#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "bench_support.h"
#include "end_add_timer.h"
#include "ks_eng5.h"
#include "ks_imp.h"

extern char** environ;

namespace {

using bench::Clock;
using bench::Fail;
using bench::Seconds;

struct Timing {
  double seconds = 1e9;      // on the clock
  double cpu_seconds = 1e9;  // processor time, user and system
  double index_seconds = 0;  // of that, in EngEndAdd (the import only)
  double index_cpu_seconds = 0;
  void KeepBest(const Timing& other) {
    if (other.seconds < seconds) {
      seconds = other.seconds;
      index_seconds = other.index_seconds;
    }
    if (other.cpu_seconds < cpu_seconds) {
      cpu_seconds = other.cpu_seconds;
      index_cpu_seconds = other.index_cpu_seconds;
    }
  }
};

double CpuSeconds(const rusage& usage) {
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// pdftotext with its defaults, the text written to /dev/null.
Timing TimePdftotext(const std::string& pdf) {
  const char* argv[] = {"pdftotext", pdf.c_str(), "/dev/null", nullptr};
  Timing timing;
  const auto start = Clock::now();
  pid_t child = 0;
  if (posix_spawnp(&child, "pdftotext", nullptr, nullptr, const_cast<char**>(argv), environ) != 0) {
    Fail("cannot run pdftotext (Debian package poppler-utils)");
  }
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    Fail("pdftotext failed on " + pdf);
  }
  timing.seconds = Seconds(start);
  timing.cpu_seconds = CpuSeconds(usage);
  return timing;
}

// The pages of the one document the import made: pdftotext's text, whose
// every page ends with a form feed.
long PagesImported(const std::string& database) {
  const uint32_t db = EngOpenDatabase(database.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
  const uint64_t id = EngFirstDocument(db, KSENG_WALK_DOCUMENTS);
  uint64_t length = 0;
  EngGetDocumentText(db, id, nullptr, 0, &length);
  std::string text(length + 1, '\0');
  EngGetDocumentText(db, id, text.data(), text.size(), &length);
  text.resize(length);
  EngCloseDatabase(db);
  return std::count(text.begin(), text.end(), '\f');
}

Timing TimeImport(const std::string& database, const std::string& pdf, long* pages) {
  unlink(database.c_str());
  if (!EngCreateDatabase(database.c_str(), nullptr, nullptr, 0)) Fail("cannot create database");
  rusage before{};
  getrusage(RUSAGE_SELF, &before);
  const auto start = Clock::now();
  const uint32_t handle = KSIMP_InitImportUsingFileName(database.c_str());
  if (handle == 0) Fail("cannot start the import");
  if (!KSIMP_AddFileToImport(handle, pdf.c_str(), KSIMP_TYPE_PDF, 1, 0, nullptr, 0, nullptr, 0, 0,
                             nullptr, 1, 0, nullptr, 0, 0, nullptr, 0, nullptr, 0, nullptr, nullptr,
                             0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0,
                             0)) {
    Fail("cannot queue " + pdf);
  }
  bench::end_add_seconds = 0;
  bench::end_add_cpu_seconds = 0;
  uint32_t documents = 0;
  if (KSIMP_Import(handle, 0, 0, nullptr, &documents) != 1 || documents != 1) {
    Fail("the import failed (is libKS_Pdf.so beside the library?)");
  }
  Timing timing;
  timing.seconds = Seconds(start);
  rusage after{};
  getrusage(RUSAGE_SELF, &after);
  timing.cpu_seconds = CpuSeconds(after) - CpuSeconds(before);
  timing.index_seconds = bench::end_add_seconds;
  timing.index_cpu_seconds = bench::end_add_cpu_seconds;
  *pages = PagesImported(database);
  unlink(database.c_str());
  return timing;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string pdf = argc > 1 ? argv[1] : bench::BenchDataFile("report.pdf");
  const std::string folder = bench::WorkFolder(argc > 2 ? argv[2] : nullptr);
  const int rounds = argc > 3 ? std::max(1, std::atoi(argv[3])) : 5;
  if (access(pdf.c_str(), R_OK) != 0) Fail(pdf + " is missing (python3 gen_pdf.py --scale 1)");
  const std::string database = folder + "/pdf_bench.kst";

  Timing pdftotext, import;
  long pages = 0;
  TimePdftotext(pdf);  // warms the page cache and poppler's own files
  for (int round = 0; round < rounds; ++round) {
    pdftotext.KeepBest(TimePdftotext(pdf));
    import.KeepBest(TimeImport(database, pdf, &pages));
  }
  const auto rate = [pages](double seconds) { return static_cast<double>(pages) / seconds; };
  const auto line = [&](const char* name, double seconds, double cpu_seconds) {
    fmt::print(
        "  {:<28}{:7.3f} s {:6.0f} pages/s   {:7.3f} s {:6.0f} pages/s   ratio {:.2f} / {:.2f}\n",
        name, seconds, rate(seconds), cpu_seconds, rate(cpu_seconds), pdftotext.seconds / seconds,
        pdftotext.cpu_seconds / cpu_seconds);
  };

  fmt::print("{}: {} pages, best of {} rounds\n", pdf, pages, rounds);
  fmt::print("{:30}{:<27}{:<26}{}\n", "", "clock", "processor time",
             "pages/s over pdftotext's (clock / processor)");
  line("pdftotext", pdftotext.seconds, pdftotext.cpu_seconds);
  line("import incl. index", import.seconds, import.cpu_seconds);
  line("import, no EngEndAdd", import.seconds - import.index_seconds,
       import.cpu_seconds - import.index_cpu_seconds);
  fmt::print("  import's EngEndAdd (index) {:7.3f} s                    {:7.3f} s\n",
             import.index_seconds, import.index_cpu_seconds);
  return 0;
}
