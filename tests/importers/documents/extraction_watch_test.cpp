// The PDF import's progress thread alone, with hooks in place of the library
// and the import: what the real library never shows on demand.  Progress
// passed on and an abort reaching the library are the PDF import's tests.
#include "importers/documents/extraction_watch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

// A library that "extracts" until asked to stop or told the work is done.
struct FakeLibrary {
  std::atomic<int> processed{0};
  std::atomic<int> aborts{0};
  std::atomic<bool> import_aborted{false};
  std::atomic<uint64_t> last_reported{0};
  std::vector<uint64_t> reported;  // only the watch's thread appends, read after Finish

  ExtractionWatch::Hooks Hooks() {
    return {[this] { return processed.load(); }, [this] { aborts.fetch_add(1); },
            [this] { return import_aborted.load(); },
            [this](uint64_t bytes) {
              reported.push_back(bytes);
              last_reported.store(bytes);
            }};
  }
};

TEST(ExtractionWatch, RepeatsTheAbortUntilTheExtractionReturns) {
  // The library forgets an abort asked before its extraction began: the
  // watch asks again each poll until it is told the extraction is over.
  FakeLibrary library;
  library.import_aborted.store(true);
  ExtractionWatch watch(library.Hooks(), 1ms);
  std::this_thread::sleep_for(30ms);
  watch.Finish();
  const int asked = library.aborts.load();
  EXPECT_GE(asked, 3);
  std::this_thread::sleep_for(10ms);
  EXPECT_EQ(library.aborts.load(), asked) << "nothing after the done event";
}

TEST(ExtractionWatch, FinishJoinsTheThreadAndMayBeCalledAgain) {
  FakeLibrary library;
  ExtractionWatch watch(library.Hooks());
  watch.Finish();
  watch.Finish();
  library.processed.store(5);
  std::this_thread::sleep_for(5ms);
  EXPECT_TRUE(library.reported.empty()) << "the thread is gone";
}

}  // namespace
