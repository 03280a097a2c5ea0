// Queuing sources through KSIMP_AddFileToImport: what is refused, what each
// source adds to the total bytes, and how the 33 arguments land in the queued
// record.
#include <gtest/gtest.h>

#include <string>

#include "api/ks_imp_app.h"
#include "core/error_codes.h"
#include "ks_imp.h"
#include "stub_importer.h"
#include "write_file.h"

namespace {

uint32_t AddFile(uint32_t handle, const char* name, int32_t type = 1000) {
  return KSIMP_AddFileToImport(handle, name, type, 1, 0, nullptr, 0, nullptr, 0, 0, nullptr, 1, 0,
                               nullptr, 0, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, 0,
                               nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0);
}

class AddFileToImportTest : public ::testing::Test {
 protected:
  void SetUp() override { handle_ = KSIMP_InitImportUsingFileHandle(4242); }
  void TearDown() override { session().ReleaseHandle(handle_); }
  static CImportSession& session() { return CKS_ImpApp::Instance().Session(); }

  TempDir dir_;
  uint32_t handle_ = 0;
};

TEST_F(AddFileToImportTest, TotalBytesGrowByTheLengthOfEachNameOfTheSource) {
  const std::string a = WriteFile(dir_, "a.txt", std::string(123, 'x'));
  const std::string b = WriteFile(dir_, "b.txt", std::string(7, 'x'));
  EXPECT_EQ(AddFile(handle_, a.c_str()), 1u);
  EXPECT_EQ(KSIMP_GetTotalBytes(handle_), 123u);
  EXPECT_EQ(AddFile(handle_, (a + "| " + b).c_str()), 1u);
  EXPECT_EQ(KSIMP_GetTotalBytes(handle_), 253u);
}

TEST_F(AddFileToImportTest, SourcesWithoutARegularFileAreQueuedWithTheirFixedSize) {
  // A missing file or a folder counts 0: the importer reports the failure
  // when the import reaches it.  An Outlook folder counts as an empty one.
  EXPECT_EQ(AddFile(handle_, (dir_.path() / "missing.txt").c_str()), 1u);
  EXPECT_EQ(AddFile(handle_, dir_.path().c_str()), 1u);
  EXPECT_EQ(KSIMP_GetTotalBytes(handle_), 0u);
  EXPECT_EQ(AddFile(handle_, "Inbox", KSIMP_TYPE_OUTLOOK_FOLDER), 1u);
  EXPECT_EQ(KSIMP_GetTotalBytes(handle_), 2000u);
  EXPECT_EQ(session().queue().Count(handle_), 3u);
  EXPECT_EQ(KSIMP_IsLogData(handle_), 0u);
}

TEST_F(AddFileToImportTest, RefusedSourcesQueueNothingAndRecordTheirError) {
  // An IMAP source without a server names nothing to connect to.
  EXPECT_EQ(AddFile(handle_, "INBOX", KSIMP_TYPE_IMAP_SERVER), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(handle_), error_code::kImapCannotConnect);
  const uint32_t other = KSIMP_InitImportUsingFileHandle(4242);  // only a first error is reported
  EXPECT_EQ(AddFile(other, ""), 0u);
  EXPECT_EQ(AddFile(other, nullptr), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(other), error_code::kNoFileNameToImport);
  EXPECT_EQ(session().queue().Count(handle_) + session().queue().Count(other), 0u);
  session().ReleaseHandle(other);
  const uint32_t unknown = handle_ ^ 0x5A5A5A5Au;
  EXPECT_EQ(AddFile(unknown, WriteFile(dir_, "a.txt", "x").c_str()), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(unknown), error_code::kCannotQueueImport);
}

TEST_F(AddFileToImportTest, EveryArgumentLandsInItsFieldOfTheQueuedRecord) {
  // Fixed width (9999) is reached through the delimited wizard, not the
  // type list, and so keeps every option as given.
  ASSERT_EQ(KSIMP_AddFileToImport(handle_, "f.txt", 9999, 3, 1, "Form", 1, "Doc", 5, 12, "--", 0, 1,
                                  "01/02/2003", 1, 1, "04/05/2006", 1, "m-from", 1, "m-to",
                                  "filter", 1, 0, "imap.host", "user", "secret", "INBOX", "fw.host",
                                  "fw-user", "fw-secret", 2, 0x1003E1),
            1u);
  const auto record = session().queue().First(handle_);
  ASSERT_TRUE(record);
  // Only the low 16 bits of the port are kept.
  EXPECT_EQ(Fields(*record),
            std::make_tuple(handle_, "f.txt", 9999, 3, 1, "Form", 1, "Doc", 5, 12, "--", 0, 1,
                            "01/02/2003", 1, 1, "04/05/2006", 1, "m-from", 1, "m-to", "filter", 1,
                            0, "imap.host", "user", "secret", "INBOX", "fw.host", "fw-user",
                            "fw-secret", 2, 0x03E1));
}

TEST_F(AddFileToImportTest, OptionsTheTypeDoesNotOfferAndNamesWhoseFlagIsOffArriveAsDefaults) {
  // Kestro files (1010) offer the location, auto fields, date range and sort
  // order only: an OEM origin, a delimiter, a form and the mail options are
  // all dropped, whatever the caller passed.
  ASSERT_EQ(
      KSIMP_AddFileToImport(handle_, "f.kst", 1010, 6, 1, "Form", 0, nullptr, 2, 0, nullptr, 0, 1,
                            "a", 1, 1, "b", 1, "m-from", 1, "m-to", "filter", 0, 0, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0),
      1u);
  // Text (1000) offers the location and the entry form, but their names
  // count only with their flags set.
  ASSERT_EQ(
      KSIMP_AddFileToImport(handle_, "g.txt", 1000, 0, 0, "Form", 0, "Doc", 0, 0, nullptr, 1, 0,
                            nullptr, 0, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, 0, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0),
      1u);
  const auto kestro = session().queue().First(handle_);
  ASSERT_TRUE(kestro);
  SETDATA offered = QueuedFile(handle_, "f.kst", 1010);
  offered.import_location = 6;
  offered.auto_field_recognition = 1;
  offered.date_from = "a";
  offered.sort_order = 1;
  offered.date_to = "b";
  EXPECT_EQ(Fields(*kestro), Fields(offered));
  session().queue().RemoveFirst(handle_);
  const auto text = session().queue().First(handle_);
  ASSERT_TRUE(text);
  EXPECT_EQ(text->import_location, 0) << "text offers the location: kept as given";
  EXPECT_EQ(text->entry_form_name, "");
  EXPECT_EQ(text->named_document, "");
}

}  // namespace
