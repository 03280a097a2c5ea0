// Throughput of adding documents through the engine's C interface, beside a
// plain SQLite insert of the same bytes measured in the same run.
//
//   engine_bench [scale] [folder] [rounds]
//
// scale (or KS_BENCH_SCALE) multiplies the document counts: 1 gives
// 1,000,000 documents of ~200 bytes and 10,000 of 100 KB; 0.01 is a quick
// run.  folder (or TMPDIR, else /tmp) receives the database files, which are
// removed afterwards.  rounds (or KS_BENCH_ROUNDS, default 3) repeats each
// measurement, the plain insert and the engine taking turns, and keeps the
// fastest of each: on a shared machine the slower rounds measure the
// neighbours.  Adding is timed from EngBeginAdd to the last
// EngSaveDocument, batch commits on the way included; EngEndAdd, which
// commits the last batch and builds the full-text index for everything added,
// is timed on its own line.  (At full scale the 1,000,000 small documents
// fill whole batches of 50,000, so all of their commits fall inside the
// adding time and EngEndAdd is indexing alone; of the large documents the
// last 160, 1.6% of the bytes, are committed by EngEndAdd.)  The plain insert
// runs in one transaction with the engine's pragmas and includes its commit.
#include <fmt/format.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "ks_eng5.h"

namespace {

using bench::Clock;
using bench::Seconds;

// Text that looks like imported prose (words from a vocabulary of a few
// thousand, CR LF lines), so the full-text index does realistic work.
std::vector<std::string> MakeTexts(size_t count, size_t size, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<std::string> vocabulary;
  for (int i = 0; i < 5000; ++i) {
    std::string word;
    int length = 2 + static_cast<int>(random() % 9);
    for (int c = 0; c < length; ++c) word += static_cast<char>('a' + random() % 26);
    vocabulary.push_back(word);
  }
  std::vector<std::string> texts(count);
  for (std::string& text : texts) {
    size_t line = 0;
    while (text.size() < size) {
      text += vocabulary[random() % vocabulary.size()];
      text += (++line % 12 == 0) ? "\r\n" : " ";
    }
    text.resize(size);
  }
  return texts;
}

struct Figures {
  double seconds = 0;      // EngBeginAdd to the last EngSaveDocument
  double end_seconds = 0;  // EngEndAdd: indexing, and the commit of the last batch
};

Figures RunEngine(const std::string& path, const std::vector<std::string>& texts, size_t count) {
  Figures figures;
  unlink(path.c_str());
  if (EngCreateDatabase(path.c_str(), nullptr, nullptr, 0) == 0) {
    fmt::print(stderr, "create failed: {}\n", EngLastError(0));
    std::exit(1);
  }
  uint32_t db = EngOpenDatabase(path.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
  char marker = '[';
  auto start = Clock::now();
  EngBeginAdd(db, &marker);
  uint64_t previous = 0;
  for (size_t i = 0; i < count; ++i) {
    const std::string& text = texts[i % texts.size()];
    // As the importer's document writer does: the previous document is the
    // anchor, so one import stays together.
    int32_t status = EngAddDocument(db, text.data(), 1, static_cast<uint32_t>(text.size()),
                                    KSENG_KIND_TEXT, KSENG_LOC_END, previous, nullptr, 0);
    if (status == KSENG_STATUS_SAVE_FIRST)
      status = EngSaveDocument(db, nullptr, nullptr, 0, nullptr);
    if (status != KSENG_STATUS_TAKEN ||
        EngSaveDocument(db, nullptr, nullptr, 1, &previous) != KSENG_STATUS_TAKEN) {
      fmt::print(stderr, "adding failed: {}\n", EngLastError(0));
      std::exit(1);
    }
  }
  figures.seconds = Seconds(start);
  auto end_start = Clock::now();
  uint32_t added = 0;
  EngEndAdd(db, KSENG_KIND_TEXT, previous, marker, &added);
  figures.end_seconds = Seconds(end_start);
  if (added != count) fmt::print(stderr, "EngEndAdd counted {} of {}\n", added, count);
  EngCloseDatabase(db);
  return figures;
}

void Compare(const char* title, const std::string& folder, size_t count, size_t size,
             size_t distinct, int rounds) {
  std::vector<std::string> texts = MakeTexts(distinct, size, 42);
  double megabytes = static_cast<double>(count) * static_cast<double>(size) / 1e6;
  std::string engine_path = folder + "/engine_bench.kst";
  std::string plain_path = folder + "/engine_bench_plain.db";

  double plain = 1e300;
  Figures engine{1e300, 1e300};
  for (int round = 0; round < rounds; ++round) {
    plain = std::min(
        plain, bench::TimePlainBlobInsert(plain_path, count, [&](size_t i) -> std::string_view {
          return texts[i % texts.size()];
        }));
    unlink(plain_path.c_str());
    Figures figures = RunEngine(engine_path, texts, count);
    unlink(engine_path.c_str());
    engine.seconds = std::min(engine.seconds, figures.seconds);
    engine.end_seconds = std::min(engine.end_seconds, figures.end_seconds);
  }

  fmt::print("{}: {} documents of {} bytes ({:.1f} MB), best of {} rounds\n", title, count, size,
             megabytes, rounds);
  double total = engine.seconds + engine.end_seconds;
  auto line = [&](const char* what, double seconds, bool ratio) {
    fmt::print("  {:<44} {:8.3f} s {:10.0f} docs/s {:7.1f} MB/s", what, seconds,
               static_cast<double>(count) / seconds, megabytes / seconds);
    if (ratio) fmt::print("  ratio {:.2f}", seconds / plain);
    fmt::print("\n");
  };
  line("plain SQLite insert, one transaction", plain, false);
  line("engine adding: BeginAdd .. last SaveDocument", engine.seconds, true);
  line("EngEndAdd: full-text indexing (+ last commit)", engine.end_seconds, false);
  line("engine adding and indexing, to EngEndAdd", total, true);
}

}  // namespace

int main(int argc, char** argv) {
  double scale = 1.0;
  if (const char* env = std::getenv("KS_BENCH_SCALE")) scale = std::atof(env);
  if (argc > 1) scale = std::atof(argv[1]);
  if (scale <= 0) scale = 1.0;
  const std::string folder = bench::WorkFolder(argc > 2 ? argv[2] : nullptr);
  int rounds = 3;
  if (const char* env = std::getenv("KS_BENCH_ROUNDS")) rounds = std::atoi(env);
  if (argc > 3) rounds = std::atoi(argv[3]);
  if (rounds < 1) rounds = 1;
  auto scaled = [&](double count) {
    return std::max<size_t>(1, static_cast<size_t>(count * scale));
  };
  Compare("(a) small documents", folder, scaled(1000000), 200, 4096, rounds);
  Compare("(b) large documents", folder, scaled(10000), 100 * 1024, 64, rounds);
  return 0;
}
