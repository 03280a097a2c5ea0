// Import handle records: how handles are made, their counters, and what
// every query answers for a handle that does not exist.
#include <gtest/gtest.h>

#include <set>

#include "api/import_session.h"
#include "core/error_codes.h"
#include "ks_imp.h"

namespace {

TEST(ImportHandles, HandlesAreNonZeroAndDistinctEvenWhenTheDrawRepeats) {
  CImportSession session;
  std::set<uint32_t> handles;
  for (int i = 0; i < 1000; ++i) handles.insert(session.handles().Create(1, false));  // same second
  for (int i = 0; i < 50; ++i) {
    session.handles().SeedGenerator(1234);  // every handle starts from the same draw
    handles.insert(session.handles().Create(1, false));
  }
  EXPECT_EQ(handles.size(), 1050u);
  EXPECT_EQ(handles.count(0), 0u);
}

TEST(ImportHandles, RefusedInitRecordsItsErrorAgainstHandleZero) {
  // A missing file name (91) is checked by the C host test.
  CImportSession session;
  EXPECT_EQ(session.InitImportUsingFileHandle(0), 0u);
  EXPECT_EQ(session.GetLastImportError(0), error_code::kInvalidDatabaseHandle);
}

TEST(ImportHandles, CountersChangeOnlyThroughTheirHandleAndTotalBytesStopAt32Bits) {
  CImportSession session;
  const uint32_t a = session.handles().Create(1, false);
  const uint32_t b = session.handles().Create(1, false);
  session.handles().AddTotalBytes(a, 100);
  session.handles().AddCurrentBytes(a, 30);
  session.handles().SetDocumentsAdded(a, 3);
  EXPECT_EQ(session.handles().TotalBytes(b) + session.handles().CurrentBytes(b) +
                session.handles().DocumentsAdded(b),
            0u);
  session.handles().AddTotalBytes(a, 0xFFFFFFF0u);
  EXPECT_EQ(session.handles().TotalBytes(a), 0xFFFFFFFFu);
}

TEST(UnknownHandle, EveryQueryAnswersItsNotFoundValue) {
  CImportSession session;
  const uint32_t unknown = 12345;
  EXPECT_FALSE(session.handles().Exists(unknown));
  EXPECT_FALSE(session.handles().Find(unknown));
  EXPECT_FALSE(session.handles().SetAborted(unknown));
  EXPECT_FALSE(session.handles().IsAborted(unknown));
  EXPECT_FALSE(session.handles().AddTotalBytes(unknown, 1));
  SETDATA record;
  record.import_handle = unknown;
  record.file_name = "a.txt";
  EXPECT_FALSE(session.queue().Append(record));
  EXPECT_FALSE(session.queue().First(unknown));
  EXPECT_EQ(session.GetLastImportError(unknown), error_code::kInternal);

  // The exports answer 0 (this handle is never made live by these tests).
  char name[4096] = "untouched";
  EXPECT_EQ(KSIMP_GetTotalBytes(unknown), 0u);
  EXPECT_EQ(KSIMP_GetCurBytes(unknown), 0u);
  EXPECT_EQ(KSIMP_GetNumDocsAdded(unknown), 0u);
  EXPECT_EQ(KSIMP_GetCurFile(unknown, name), 0u);
  EXPECT_STREQ(name, "untouched");
  EXPECT_EQ(KSIMP_Abort(unknown), 0u);
  EXPECT_EQ(KSIMP_IsLogData(unknown), 0u);
  EXPECT_EQ(KSIMP_Import(unknown, 0, 0, nullptr, nullptr), 0u);
}

}  // namespace
