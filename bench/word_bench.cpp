// Throughput of the Word converter (libKSWord.so, ConvertWord) beside
// antiword on the same large Word 97 document in the same run.  No large
// .doc can be made on this machine by a word processor, so the document is
// written here (word_doc_writer.h): about 6.5 MB of text in 11,000
// paragraphs.  Both readers write their text to a file (ours to its
// converted copy, antiword to /dev/null); each figure is the best of five
// rounds.  The word counts of the two texts are compared first, so that
// both are seen to read the whole document.
//
//   word_bench [folder]
//
// The module is loaded from $KESTRO_MODULE_DIR, else from "src/kestro"
// beside this program's folder (the build tree).  folder (or TMPDIR, else
// /tmp) receives the document, removed afterwards.
#include <dlfcn.h>
#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "bench_support.h"
#include "word_doc_writer.h"

namespace {

using bench::Clock;
using bench::Fail;
using bench::Seconds;

using ConvertWordFunction = int(const char*, char*);

constexpr size_t kParagraphs = 11000;
constexpr int kRounds = 5;
// A printed page holds about 500 words.
constexpr double kWordsPerPage = 500;

std::string ModulePath(const char* program) {
  if (const char* folder = std::getenv("KESTRO_MODULE_DIR"); folder != nullptr && *folder) {
    return std::string(folder) + "/libKSWord.so";
  }
  const std::filesystem::path self = std::filesystem::weakly_canonical(std::filesystem::path(program));
  return (self.parent_path().parent_path() / "src" / "kestro" / "libKSWord.so").string();
}

std::string OutputOf(const std::string& command) {
  std::string out;
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  if (!pipe) return out;
  std::array<char, 65536> buffer;
  size_t n;
  while ((n = fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0) out.append(buffer.data(), n);
  return out;
}

size_t WordCount(const std::string& text) {
  std::istringstream in(text);
  size_t count = 0;
  for (std::string word; in >> word;) ++count;
  return count;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

}  // namespace

int main(int argc, char** argv) {
  const std::string folder = bench::WorkFolder(argc > 1 ? argv[1] : nullptr);
  const std::string document = folder + "/word_bench.doc";
  const std::string text = bench::WordBenchText(kParagraphs);
  const auto [main_stream, table_stream] = bench::WordBenchStreams(text);
  const std::string file = bench::CompoundFileOf({{"WordDocument", main_stream}, {"0Table", table_stream}});
  if (file.empty()) Fail("the document is too large for a compound file without a DIFAT");
  std::ofstream(document, std::ios::binary) << file;
  const double megabytes = static_cast<double>(file.size()) / (1 << 20);

  void* module = dlopen(ModulePath(argv[0]).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) Fail(std::string("cannot load the Word converter: ") + dlerror());
  auto* convert = reinterpret_cast<ConvertWordFunction*>(dlsym(module, "ConvertWord"));
  if (convert == nullptr) Fail("the Word converter has no ConvertWord");

  // Both read the whole document.
  char out[2048] = {};
  if (convert(document.c_str(), out) < 0) Fail(std::string("ConvertWord failed: ") + out);
  const size_t our_words = WordCount(ReadFile(out));
  unlink(out);
  const bool have_antiword = !OutputOf("command -v antiword").empty();
  const std::string antiword = "antiword -w 0 '" + document + "'";
  const size_t their_words = have_antiword ? WordCount(OutputOf(antiword + " 2>/dev/null")) : 0;

  double ours = 1e9, theirs = 1e9;
  for (int round = 0; round < kRounds; ++round) {
    std::fill(std::begin(out), std::end(out), '\0');
    auto start = Clock::now();
    if (convert(document.c_str(), out) < 0) Fail("ConvertWord failed");
    ours = std::min(ours, Seconds(start));
    unlink(out);
    if (have_antiword) {
      start = Clock::now();
      if (std::system((antiword + " > /dev/null 2>&1").c_str()) != 0) {
        Fail("antiword failed on " + document + ": " + OutputOf(antiword + " 2>&1 >/dev/null"));
      }
      theirs = std::min(theirs, Seconds(start));
    }
  }
  dlclose(module);
  if (std::getenv("WORD_BENCH_KEEP") == nullptr) unlink(document.c_str());

  const double pages = static_cast<double>(our_words) / kWordsPerPage;
  fmt::print("document: {:.1f} MB, {} words (about {:.0f} pages)\n", megabytes, our_words, pages);
  fmt::print("ConvertWord: {:.3f} s  {:.1f} MB/s  {:.0f} pages/s\n", ours, megabytes / ours, pages / ours);
  if (!have_antiword) {
    fmt::print("antiword: not installed\n");
    return 0;
  }
  fmt::print("antiword:    {:.3f} s  {:.1f} MB/s  {:.0f} pages/s  ({} words)\n", theirs, megabytes / theirs,
             pages / theirs, their_words);
  fmt::print("ratio (antiword time / ours): {:.2f}x\n", theirs / ours);
  return 0;
}
