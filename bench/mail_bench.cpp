// Throughput and memory of importing the benchmark's mailbox (one document
// per message, standard mailbox type) through the exported interface, beside
// SQLite's own FTS5 over the same document texts and Python's mailbox, email
// and sqlite3 modules over the same file, all measured in the same run.
//
//   mail_bench [mail.mbox] [folder] [copies]
//
// The mailbox defaults to $BENCH_DATA/mail.mbox (BENCH_DATA defaults to
// ${TMPDIR:-/tmp}/bench-data; make it with "python3 gen_mbox.py --scale 1").
// folder (or TMPDIR, else /tmp) receives the databases and the larger
// mailbox, removed afterwards.  copies (default 4) is how many times the
// mailbox is repeated in the larger mailbox whose memory is also measured;
// 0 leaves that run out.
//
// Each import runs in a child process of its own (this program, started
// again with --import), so that its memory is its own: peak memory is the
// highest anonymous resident size (RssAnon, sampled every 2 ms), which
// leaves out the pages of the mapped mailbox, beside the process's whole
// high-water mark (VmHWM).  The import's time is split into the documents
// and the full-text index (EngEndAdd, timed by end_add_timer.h).  Every
// figure is given as time on the clock and as processor time of the working
// thread, which other work on the machine disturbs less.  The import is the
// best of three rounds, FTS5 the best of two.  Python is /usr/bin/python3.
#include <fcntl.h>
#include <fmt/format.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "bench_support.h"
#include "end_add_timer.h"
#include "importers/mail/eudora_message.h"
#include "importers/mail/mailbox_bytes.h"
#include "importers/mail/mailbox_reader.h"
#include "ks_eng5.h"
#include "ks_imp.h"
#include "python_mail_baseline.h"

namespace {

using bench::Clock;
using bench::Fail;
using bench::Seconds;

constexpr int32_t kStandardMailbox = 1060;

// A field of /proc/self/status in kB ("VmHWM", "RssAnon"), 0 when absent.
long StatusKilobytes(const char* field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  const size_t length = std::strlen(field);
  while (std::getline(status, line)) {
    if (line.compare(0, length, field) == 0 && line.size() > length && line[length] == ':') {
      return std::strtol(line.c_str() + length + 1, nullptr, 10);
    }
  }
  return 0;
}

// The highest RssAnon seen while it runs, sampled on a thread of its own.
class AnonymousPeak {
 public:
  AnonymousPeak() : peak_(StatusKilobytes("RssAnon")) {
    sampler_ = std::thread([this] {
      while (!done_.load()) {
        peak_.store(std::max(peak_.load(), StatusKilobytes("RssAnon")));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
      }
    });
  }
  long Stop() {
    done_.store(true);
    sampler_.join();
    return std::max(peak_.load(), StatusKilobytes("RssAnon"));
  }

 private:
  std::atomic<long> peak_;
  std::atomic<bool> done_{false};
  std::thread sampler_;
};

struct ImportFigures {
  double seconds = 0;
  double index_seconds = 0;
  double cpu_seconds = 0;  // processor time of the importing thread
  double index_cpu_seconds = 0;
  uint32_t documents = 0;
  long anon_before_kb = 0;  // RssAnon when the import began
  long anon_peak_kb = 0;
  long hwm_kb = 0;
};

// The child's side: imports `mailbox` into a new `database` (kept for the
// parent) and prints its figures on one line.
int ImportInThisProcess(const std::string& mailbox, const std::string& database) {
  unlink(database.c_str());
  if (!EngCreateDatabase(database.c_str(), nullptr, nullptr, 0)) Fail("cannot create database");
  ImportFigures figures;
  figures.anon_before_kb = StatusKilobytes("RssAnon");
  AnonymousPeak peak;
  const auto start = Clock::now();
  const uint32_t handle = KSIMP_InitImportUsingFileName(database.c_str());
  if (handle == 0) Fail("cannot start the import");
  if (!KSIMP_AddFileToImport(handle, mailbox.c_str(), kStandardMailbox, 1, 0, nullptr, 0, nullptr,
                             0, 0, nullptr, 1, 0, nullptr, 0, 0, nullptr, 0, nullptr, 0, nullptr,
                             nullptr, 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                             nullptr, 0, 0)) {
    Fail("cannot queue " + mailbox);
  }
  bench::end_add_seconds = 0;
  bench::end_add_cpu_seconds = 0;
  const double cpu_start = bench::ThreadCpuSeconds();
  if (KSIMP_Import(handle, 0, 0, nullptr, &figures.documents) != 1) Fail("the import failed");
  figures.cpu_seconds = bench::ThreadCpuSeconds() - cpu_start;
  figures.seconds = Seconds(start);
  figures.index_seconds = bench::end_add_seconds;
  figures.index_cpu_seconds = bench::end_add_cpu_seconds;
  figures.anon_peak_kb = peak.Stop();
  figures.hwm_kb = StatusKilobytes("VmHWM");
  fmt::print("{} {} {} {} {} {} {} {}\n", figures.seconds, figures.index_seconds,
             figures.cpu_seconds, figures.index_cpu_seconds, figures.documents,
             figures.anon_before_kb, figures.anon_peak_kb, figures.hwm_kb);
  return 0;
}

// The parent's side: runs one import in a child process.
ImportFigures ImportInChild(const std::string& mailbox, const std::string& database) {
  char self[4096] = {};
  const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
  if (length <= 0) Fail("cannot find this program");
  const std::string command =
      fmt::format("'{}' --import '{}' '{}'", std::string(self, static_cast<size_t>(length)),
                  mailbox, database);
  FILE* child = popen(command.c_str(), "r");
  if (child == nullptr) Fail("cannot start " + command);
  ImportFigures figures;
  const int read = fscanf(child, "%lf %lf %lf %lf %u %ld %ld %ld", &figures.seconds,
                          &figures.index_seconds, &figures.cpu_seconds, &figures.index_cpu_seconds,
                          &figures.documents, &figures.anon_before_kb, &figures.anon_peak_kb,
                          &figures.hwm_kb);
  if (pclose(child) != 0 || read != 8) Fail("the import in " + command + " failed");
  return figures;
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

struct Timed {
  double seconds = 1e9;
  double cpu_seconds = 1e9;
  void KeepBest(const Timed& other) {
    seconds = std::min(seconds, other.seconds);
    cpu_seconds = std::min(cpu_seconds, other.cpu_seconds);
  }
};

// SQLite's FTS5 index built over the same texts in one transaction, with the
// engine's 16 MB in-memory term buffer.
Timed TimePlainFts(const std::string& database, const std::vector<std::string>& texts) {
  unlink(database.c_str());
  sqlite3* db = nullptr;
  sqlite3_open(database.c_str(), &db);
  sqlite3_exec(db,
               "PRAGMA journal_mode = DELETE; PRAGMA synchronous = FULL; "
               "CREATE VIRTUAL TABLE f USING fts5(body, content='', columnsize=0);"
               "INSERT INTO f(f, rank) VALUES('hashsize', 16777216);",
               nullptr, nullptr, nullptr);
  sqlite3_stmt* insert = nullptr;
  sqlite3_prepare_v2(db, "INSERT INTO f(rowid, body) VALUES(?1, ?2)", -1, &insert, nullptr);
  const auto start = Clock::now();
  const double cpu_start = bench::ThreadCpuSeconds();
  sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
  int64_t rowid = 0;
  for (const auto& text : texts) {
    sqlite3_bind_int64(insert, 1, ++rowid);
    sqlite3_bind_text(insert, 2, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
    if (sqlite3_step(insert) != SQLITE_DONE) Fail(sqlite3_errmsg(db));
    sqlite3_reset(insert);
  }
  sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
  const Timed timed{Seconds(start), bench::ThreadCpuSeconds() - cpu_start};
  sqlite3_finalize(insert);
  sqlite3_close(db);
  unlink(database.c_str());
  return timed;
}

// The mailbox reader alone over the mapped mailbox, and with each message
// composed as the import does (without the engine): where the time of the
// documents goes.
struct Stages {
  Timed reader;
  Timed composer;  // reader and composer
  uint64_t messages = 0;
};

Timed WalkMailbox(const std::string& mailbox, bool compose, uint64_t* messages) {
  const int fd = open(mailbox.c_str(), O_RDONLY);
  if (fd < 0) Fail("cannot read " + mailbox);
  const auto size = static_cast<uint64_t>(lseek(fd, 0, SEEK_END));
  std::unique_ptr<MappedMailbox> bytes = MappedMailbox::Map(fd, size);
  close(fd);
  if (!bytes) Fail("cannot map " + mailbox);
  const auto start = Clock::now();
  const double cpu_start = bench::ThreadCpuSeconds();
  MailboxReader reader(*bytes, MailboxReader::Mode::kStandard, size);
  size_t kept = 0;  // so that nothing is optimised away
  *messages = 0;
  while (const std::optional<MailboxReader::Message> found = reader.Next()) {
    ++*messages;
    if (!compose) {
      kept += found->raw_text.size();
      continue;
    }
    CStdMessage message;
    message.SetSeparatorLine(std::string(found->separator_line));
    message.SetMailBox("mail");
    message.SetRawText(std::string(found->raw_text));
    kept += message.DocumentText().size();
  }
  if (kept == 0) Fail("the mailbox gave no text");
  return {Seconds(start), bench::ThreadCpuSeconds() - cpu_start};
}

Stages TimeStages(const std::string& mailbox) {
  Stages stages;
  for (int round = 0; round < 3; ++round) {
    stages.reader.KeepBest(WalkMailbox(mailbox, false, &stages.messages));
    stages.composer.KeepBest(WalkMailbox(mailbox, true, &stages.messages));
  }
  return stages;
}

// `copies` copies of the mailbox one after another: a mailbox of as many
// times the messages.
void WriteRepeated(const std::string& mailbox, const std::string& larger, int copies) {
  const int out = open(larger.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (out < 0) Fail("cannot write " + larger);
  std::vector<char> block(1 << 20);
  for (int copy = 0; copy < copies; ++copy) {
    const int in = open(mailbox.c_str(), O_RDONLY);
    if (in < 0) Fail("cannot read " + mailbox);
    ssize_t got;
    while ((got = read(in, block.data(), block.size())) > 0) {
      if (write(out, block.data(), static_cast<size_t>(got)) != got) Fail("cannot write " + larger);
    }
    close(in);
  }
  close(out);
}

double Megabytes(long kilobytes) {
  return static_cast<double>(kilobytes) / 1024.0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::string(argv[1]) == "--import") return ImportInThisProcess(argv[2], argv[3]);
  const std::string mailbox = argc > 1 ? argv[1] : bench::BenchDataFile("mail.mbox");
  const std::string folder = bench::WorkFolder(argc > 2 ? argv[2] : nullptr);
  const int copies = argc > 3 ? std::atoi(argv[3]) : 4;
  std::error_code size_error;
  const uintmax_t bytes = std::filesystem::file_size(mailbox, size_error);
  if (size_error) Fail("cannot read " + mailbox);
  const double megabytes = static_cast<double>(bytes) / 1e6;
  WriteRepeated(mailbox, "/dev/null", 1);  // warms the page cache

  const std::string database = folder + "/mail_bench.kst";
  ImportFigures last;
  Timed documents, index, total;
  long anon_peak = 0, hwm = 0;
  for (int round = 0; round < 3; ++round) {
    const ImportFigures figures = ImportInChild(mailbox, database);
    // Each figure is its own best: the documents, the index and the whole.
    documents.KeepBest({figures.seconds - figures.index_seconds,
                        figures.cpu_seconds - figures.index_cpu_seconds});
    index.KeepBest({figures.index_seconds, figures.index_cpu_seconds});
    total.KeepBest({figures.seconds, figures.cpu_seconds});
    anon_peak = std::max(anon_peak, figures.anon_peak_kb);
    hwm = std::max(hwm, figures.hwm_kb);
    last = figures;
  }
  const std::vector<std::string> texts = DocumentTexts(database);
  unlink(database.c_str());
  Timed fts;
  for (int round = 0; round < 2; ++round) {
    fts.KeepBest(TimePlainFts(folder + "/mail_bench_fts.db", texts));
  }
  const bench::PythonMailFigures python = bench::TimePythonMail("mailbox.mbox(path)", mailbox, folder);
  const Stages stages = TimeStages(mailbox);

  const double messages = last.documents;
  auto line = [&](const char* what, const Timed& timed) {
    fmt::print("  {:<30} {:7.3f} s {:9.0f} messages/s   CPU {:7.3f} s {:9.0f} messages/s\n", what,
               timed.seconds, messages / timed.seconds, timed.cpu_seconds,
               messages / timed.cpu_seconds);
  };
  fmt::print("{}: {:.1f} MB; the import made {} documents\n", mailbox, megabytes, last.documents);
  line("mailbox reader alone", stages.reader);
  line("reader and composer, no engine", stages.composer);
  line("import, documents only", documents);
  line("import's full-text index", index);
  line("SQLite FTS5, same texts", fts);
  line("import in all", total);
  line("Python mailbox+email+sqlite3", {python.seconds, python.cpu_seconds});
  fmt::print("  documents only: {:.1f} MB/s; {:.1f}x Python's speed; index {:.2f}x FTS5's time\n",
             megabytes / documents.seconds, python.seconds / documents.seconds,
             index.seconds / fts.seconds);
  fmt::print("  peak memory: {:.1f} MB anonymous ({:.1f} MB before the import); "
             "{:.1f} MB with the mapped mailbox (VmHWM)\n",
             Megabytes(anon_peak), Megabytes(last.anon_before_kb), Megabytes(hwm));

  if (copies > 1) {
    const std::string larger = folder + "/mail_bench_large.mbox";
    WriteRepeated(mailbox, larger, copies);
    const ImportFigures large = ImportInChild(larger, database);
    unlink(database.c_str());
    unlink(larger.c_str());
    const double large_documents = large.seconds - large.index_seconds;
    fmt::print(
        "  {} copies ({:.0f} MB, {} documents): documents only {:.3f} s, {:.0f} messages/s "
        "(CPU {:.3f} s); peak memory {:.1f} MB anonymous, {:.1f} MB VmHWM\n",
        copies, megabytes * copies, large.documents, large_documents,
        static_cast<double>(large.documents) / large_documents,
        large.cpu_seconds - large.index_cpu_seconds, Megabytes(large.anon_peak_kb),
        Megabytes(large.hwm_kb));
  }
  return 0;
}
