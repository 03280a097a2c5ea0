// The PDF import's progress thread alone, with hooks in place of the library
// and the import.
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

TEST(ExtractionWatch, PassesProgressOnAsItChanges) {
  FakeLibrary library;
  ExtractionWatch watch(library.Hooks());
  for (int bytes : {100, 200, 300}) {
    library.processed.store(bytes);
    while (library.last_reported.load() != static_cast<uint64_t>(bytes)) {
      std::this_thread::yield();
    }
  }
  watch.Finish();
  EXPECT_EQ(library.reported, (std::vector<uint64_t>{100, 200, 300}));
  EXPECT_EQ(library.aborts.load(), 0) << "no abort after an extraction that was not aborted";
  EXPECT_FALSE(watch.AbortSent());
}

TEST(ExtractionWatch, AnAbortOfTheImportReachesTheLibraryWithinOnePoll) {
  FakeLibrary library;
  ExtractionWatch watch(library.Hooks());
  library.import_aborted.store(true);
  const auto asked = std::chrono::steady_clock::now();
  while (library.aborts.load() == 0) std::this_thread::yield();
  const auto seen = std::chrono::steady_clock::now();
  // A poll is 1 ms; allow for a loaded machine.
  EXPECT_LT(seen - asked, 200ms);
  watch.Finish();
  EXPECT_TRUE(watch.AbortSent());
}

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

TEST(ExtractionWatch, TheDestructorFinishes) {
  FakeLibrary library;
  library.processed.store(7);
  { ExtractionWatch watch(library.Hooks()); }
  // Nothing to assert beyond a clean end: a thread left running would
  // terminate the program here.
  SUCCEED();
}

}  // namespace
