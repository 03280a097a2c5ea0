// The dialogs and the wizard: their argument checks and codes, and the
// "no dialog available" answer of a build without a windowing toolkit.
#include <gtest/gtest.h>

#include "api/ks_imp_app.h"
#include "core/error_codes.h"
#include "ks_imp.h"

namespace {

class DialogsTest : public ::testing::Test {
 protected:
  void SetUp() override { handle_ = KSIMP_InitImportUsingFileHandle(4242); }
  void TearDown() override { CKS_ImpApp::Instance().Session().ReleaseHandle(handle_); }

  int window_ = 0;
  void* parent_ = &window_;
  uint32_t handle_ = 0;
};

TEST_F(DialogsTest, UnknownHandleReturns0AndRecordsNothing) {
  const uint32_t unknown = handle_ ^ 0x00FF00FFu;
  uint32_t result = 0;
  EXPECT_EQ(KSIMP_ImportDlg(unknown, parent_, 0, 0, 0, 0, &result), 0u);
  EXPECT_EQ(KSIMP_ImportOutlookDlg(unknown, parent_, &result), 0u);
  EXPECT_EQ(KSIMP_ImportWizard(unknown, parent_, 0, 0), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(unknown), error_code::kInternal);
}

TEST_F(DialogsTest, ImportDlgWithoutParentWindowRecords94) {
  uint32_t result = 0;
  EXPECT_EQ(KSIMP_ImportDlg(handle_, nullptr, 0, 0, 0, 0, &result), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(handle_), error_code::kParentWindowRequired);
}

TEST_F(DialogsTest, ImportWizardWithoutParentWindowRecords94) {
  EXPECT_EQ(KSIMP_ImportWizard(handle_, nullptr, 0, 0), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(handle_), error_code::kParentWindowRequired);
}

TEST_F(DialogsTest, ImportDlgWithoutResultPointerRecords11002) {
  EXPECT_EQ(KSIMP_ImportDlg(handle_, parent_, 0, 0, 0, 0, nullptr), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(handle_), error_code::kHandleNotInImportSet);
}

TEST_F(DialogsTest, OutlookDlgWithoutResultPointerRecords11002) {
  EXPECT_EQ(KSIMP_ImportOutlookDlg(handle_, parent_, nullptr), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(handle_), error_code::kHandleNotInImportSet);
}

TEST_F(DialogsTest, ValidCallSaysInTheLogThatNoDialogIsAvailableAndKeepsTheHandle) {
  uint32_t result = 99;
  EXPECT_EQ(KSIMP_ImportDlg(handle_, parent_, 0, 0, 0, 0, &result), 0u);
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(KSIMP_IsLogData(handle_), 1u);
  EXPECT_EQ(KSIMP_GetLastImportError(handle_), error_code::kInternal) << "no error recorded";
  EXPECT_TRUE(CKS_ImpApp::Instance().Session().handles().Exists(handle_));
  EXPECT_EQ(CKS_ImpApp::Instance().Session().OwnerWindow(), parent_);
}

}  // namespace
