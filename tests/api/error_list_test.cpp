// The error list: the first error of a handle is the one reported.
#include "api/error_list.h"

#include <gtest/gtest.h>

#include "api/import_session.h"
#include "core/error_codes.h"

namespace {

TEST(ImportErrorList, FirstErrorOfEachHandleWinsAndAHandleWithoutOneGetsTheInternalError) {
  ImportErrorList errors;
  errors.Record(7, 98);
  errors.Record(8, 92);
  errors.Record(7, 11024);
  EXPECT_EQ(errors.LastError(7), 98u);
  EXPECT_EQ(errors.LastError(8), 92u);
  EXPECT_EQ(errors.LastError(9), error_code::kInternal) << "not the no-error code";
}

TEST(ImportErrorList, ErrorsOutliveTheHandleRecord) {
  CImportSession session;
  const uint32_t handle = session.InitImportUsingFileHandle(3);
  session.RecordError(handle, error_code::kCannotSaveDocument);
  session.Import(handle, 0, 0, nullptr, nullptr);
  ASSERT_FALSE(session.handles().Exists(handle));
  EXPECT_EQ(session.GetLastImportError(handle), error_code::kCannotSaveDocument);
}

}  // namespace
