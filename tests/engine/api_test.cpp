// The C boundary: handles, the per-thread last error, buffer rules, display
// settings and arguments that C callers get wrong.
#include <thread>

#include "engine_test_support.h"

namespace ks::engine::test {
namespace {

// Callers allocate this record themselves, so its layout must never drift.
static_assert(sizeof(KSENG_FIELD) == 272);
static_assert(offsetof(KSENG_FIELD, flags) == 256);
static_assert(offsetof(KSENG_FIELD, count) == 260);
static_assert(offsetof(KSENG_FIELD, value) == 264);

using ApiTest = DatabaseTest;

TEST_F(ApiTest, UnknownOrClosedHandleFailsEveryCallWithHandleError) {
  uint32_t bogus = db_ + 1;
  EXPECT_FAILS(EngFirstDocument(bogus, KSENG_WALK_DOCUMENTS), 0u, KSENG_ERR_HANDLE);
  EXPECT_FAILS(EngFindDocument(bogus, KSENG_KIND_TEXT, "x"), -1, KSENG_ERR_HANDLE);
  EXPECT_FAILS(EngSearch(bogus, "x", nullptr, 0), -1, KSENG_ERR_HANDLE);
  EXPECT_FAILS(EngCloseDatabase(bogus), 0, KSENG_ERR_HANDLE);
  EXPECT_FAILS(EngCloseDatabase(0), 0, KSENG_ERR_HANDLE);
  ASSERT_EQ(EngCloseDatabase(db_), 1);
  EXPECT_FAILS(EngCloseDatabase(db_), 0, KSENG_ERR_HANDLE);
  db_ = 0;
}

TEST_F(ApiTest, LastErrorBelongsToTheCallingThread) {
  EXPECT_FAILS(EngFirstDocument(db_ + 1, KSENG_WALK_DOCUMENTS), 0u, KSENG_ERR_HANDLE);
  uint32_t seen_by_other = 99;
  std::thread other([&] {
    seen_by_other = EngLastError(0);
    EXPECT_EQ(EngOpenDatabase(Path("absent.kst").c_str(), KSENG_ACCESS_READ, 1), 0u);
  });
  other.join();
  EXPECT_EQ(seen_by_other, static_cast<uint32_t>(KSENG_OK));
  EXPECT_EQ(EngLastError(0), static_cast<uint32_t>(KSENG_ERR_HANDLE));
  // A successful call clears it.
  EXPECT_EQ(EngCountDocuments(db_, KSENG_WALK_DOCUMENTS), 0u);
  EXPECT_EQ(EngLastError(0), static_cast<uint32_t>(KSENG_OK));
}

TEST_F(ApiTest, HandlesOfSeveralDatabasesWorkFromSeveralThreads) {
  std::vector<std::thread> threads;
  std::vector<int> counts(4, -1);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      std::string path = Path("t" + std::to_string(t) + ".kst");
      EngCreateDatabase(path.c_str(), nullptr, nullptr, 0);
      uint32_t db = EngOpenDatabase(path.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
      for (int i = 0; i < 50; ++i) AddDocument(db, "thread " + std::to_string(t));
      counts[t] = static_cast<int>(EngCountDocuments(db, KSENG_WALK_DOCUMENTS));
      EngCloseDatabase(db);
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(counts, (std::vector<int>{50, 50, 50, 50}));
}

TEST_F(ApiTest, DocumentTextReportsItsLengthAndNeedsRoomForTheTerminator) {
  uint64_t id = AddDocument(db_, "hello");
  uint64_t length = 0;
  EXPECT_FAILS(EngGetDocumentText(db_, id, nullptr, 0, &length), 0, KSENG_ERR_BUFFER);
  EXPECT_EQ(length, 5u);
  char buffer[6] = {'?', '?', '?', '?', '?', '?'};
  EXPECT_EQ(EngGetDocumentText(db_, id, buffer, 5, &length), 0);
  EXPECT_EQ(buffer[0], '?');
  EXPECT_EQ(EngGetDocumentText(db_, id, buffer, 6, &length), 1);
  EXPECT_STREQ(buffer, "hello");
  EXPECT_FAILS(EngGetDocumentText(db_, id + 100, buffer, 6, &length), 0, KSENG_ERR_NO_DOCUMENT);
}

TEST_F(ApiTest, NamesAreSetRemovedAndFoundFirstInDatabaseOrder) {
  uint64_t b = AddDocument(db_, "b");
  uint64_t a = AddDocument(db_, "a", KSENG_LOC_TOP);
  ASSERT_EQ(EngSetDocumentName(db_, b, "Same"), 1);
  ASSERT_EQ(EngSetDocumentName(db_, a, "Same"), 1);
  EXPECT_EQ(EngFindDocument(db_, KSENG_KIND_TEXT, "Same"), static_cast<int64_t>(a));
  ASSERT_EQ(EngSetDocumentName(db_, a, nullptr), 1);
  EXPECT_EQ(EngFindDocument(db_, KSENG_KIND_TEXT, "Same"), static_cast<int64_t>(b));
  EXPECT_EQ(DocumentName(db_, a), "");
  char small[4];
  EXPECT_FAILS(EngGetDocumentName(db_, b, small, sizeof small), 0, KSENG_ERR_BUFFER);
  EXPECT_FAILS(EngFindDocument(db_, 7, "Same"), -1, KSENG_ERR_ARGUMENT);
}

TEST_F(ApiTest, CurrentDocumentAndWalkStartMustBeExistingDocuments) {
  const char* fields[] = {"F"};
  uint64_t form = EngCreateForm(db_, "Form", fields, 1);
  uint64_t id = AddDocument(db_, "x");
  EXPECT_FAILS(EngSetCurrentDocument(db_, 12345), 0, KSENG_ERR_NO_DOCUMENT);
  EXPECT_EQ(EngSetCurrentDocument(db_, form), 0);
  EXPECT_FAILS(EngNextDocument(db_, 4444, KSENG_WALK_DOCUMENTS), 0u, KSENG_ERR_NO_DOCUMENT);
  EXPECT_FAILS(EngFirstDocument(db_, 3), 0u, KSENG_ERR_ARGUMENT);  // no such filter
  ASSERT_EQ(EngSetCurrentDocument(db_, id), 1);
  EXPECT_EQ(EngGetCurrentDocument(db_), id);
  ASSERT_EQ(EngSetCurrentDocument(db_, 0), 1);
  EXPECT_EQ(EngGetCurrentDocument(db_), 0u);
}

TEST_F(ApiTest, NullArgumentsAreArgumentErrorsNotCrashes) {
  EXPECT_FAILS(AddPiece(db_, nullptr), 0, KSENG_ERR_ARGUMENT);
  EXPECT_FAILS(EngAddDocument(db_, "x", 1, 0, KSENG_KIND_TEXT, KSENG_LOC_END, 0, nullptr, 2), 0,
               KSENG_ERR_ARGUMENT);
  EXPECT_EQ(EngFindDocument(db_, KSENG_KIND_TEXT, nullptr), -1);
  EXPECT_EQ(EngCreateForm(db_, nullptr, nullptr, 0), 0u);
  EXPECT_FAILS(EngCreateDatabase(nullptr, nullptr, nullptr, 0), 0, KSENG_ERR_ARGUMENT);
  KSENG_FIELD unterminated;
  std::memset(&unterminated, 'x', sizeof unterminated);
  unterminated.flags = KSENG_FIELD_FLAGS;
  unterminated.count = 1;
  unterminated.value = "v";
  EXPECT_FAILS(EngAddDocumentWithFormEx(db_, "t", 1, 0, KSENG_KIND_TEXT, KSENG_LOC_END, 0, 0,
                                        nullptr, 0, &unterminated, 1, 0, 0, 0),
               0, KSENG_ERR_ARGUMENT);
}

}  // namespace
}  // namespace ks::engine::test
