// Queuing sources through KSIMP_AddFileToImport: what is refused, what each
// source adds to the total bytes, and how the 33 arguments land in the queued
// record.
#include <gtest/gtest.h>

#include <string>

#include "api/error_codes.h"
#include "api/ks_imp_app.h"
#include "ks_imp.h"
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

TEST_F(AddFileToImportTest, TotalBytesGrowByEachFilesLength) {
  EXPECT_EQ(AddFile(handle_, WriteFile(dir_, "a.txt", std::string(123, 'x')).c_str()), 1u);
  EXPECT_EQ(AddFile(handle_, WriteFile(dir_, "b.txt", std::string(7, 'x')).c_str()), 1u);
  EXPECT_EQ(KSIMP_GetTotalBytes(handle_), 130u);
}

TEST_F(AddFileToImportTest, EachNameOfABarJoinedSourceCounts) {
  const std::string a = WriteFile(dir_, "a.txt", "12345");
  const std::string b = WriteFile(dir_, "b.txt", "123");
  EXPECT_EQ(AddFile(handle_, (a + "| " + b).c_str()), 1u);
  EXPECT_EQ(KSIMP_GetTotalBytes(handle_), 8u);
}

TEST_F(AddFileToImportTest, MissingFileOrFolderIsQueuedWithSizeZero) {
  // The importer reports the failure when the import reaches the file.
  const std::string missing = (dir_.path() / "missing.txt").string();
  EXPECT_EQ(AddFile(handle_, missing.c_str()), 1u);
  EXPECT_EQ(AddFile(handle_, dir_.path().c_str()), 1u);
  EXPECT_EQ(KSIMP_GetTotalBytes(handle_), 0u);
  EXPECT_EQ(session().QueuedCount(handle_), 2u);
  EXPECT_EQ(KSIMP_IsLogData(handle_), 0u);
}

TEST_F(AddFileToImportTest, EmptyOutlookFolderAdds2000) {
  EXPECT_EQ(AddFile(handle_, "Inbox", KSIMP_TYPE_OUTLOOK_FOLDER), 1u);
  EXPECT_EQ(KSIMP_GetTotalBytes(handle_), 2000u);
}

TEST_F(AddFileToImportTest, ImapServerIsRefusedWith11005) {
  EXPECT_EQ(AddFile(handle_, "INBOX", KSIMP_TYPE_IMAP_SERVER), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(handle_), error_code::kCannotQueueImport);
  EXPECT_EQ(session().QueuedCount(handle_), 0u);
}

TEST_F(AddFileToImportTest, EmptyOrNullNameIsRefusedWith95) {
  EXPECT_EQ(AddFile(handle_, ""), 0u);
  EXPECT_EQ(AddFile(handle_, nullptr), 0u);
  EXPECT_EQ(KSIMP_GetLastImportError(handle_), error_code::kNoFileNameToImport);
  EXPECT_EQ(session().QueuedCount(handle_), 0u);
}

TEST_F(AddFileToImportTest, UnknownHandleIsRefusedWith11005AgainstThatHandle) {
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
  const auto record = session().FirstQueued(handle_);
  ASSERT_TRUE(record);
  EXPECT_EQ(record->file_name, "f.txt");
  EXPECT_EQ(record->file_type, 9999);
  EXPECT_EQ(record->import_location, 3);
  EXPECT_EQ(record->entry_form_name, "Form");
  EXPECT_EQ(record->named_document, "Doc");
  EXPECT_EQ(record->delimiter_flags, 5);
  EXPECT_EQ(record->delimiter_lines, 12);
  EXPECT_EQ(record->delimiter_string, "--");
  EXPECT_EQ(record->file_origin_ansi, 0);
  EXPECT_EQ(record->auto_field_recognition, 1);
  EXPECT_EQ(record->date_from, "01/02/2003");
  EXPECT_EQ(record->sort_order, 1);
  EXPECT_EQ(record->use_stored_settings, 1);
  EXPECT_EQ(record->date_to, "04/05/2006");
  EXPECT_EQ(record->full_header, 1);
  EXPECT_EQ(record->message_date_from, "m-from");
  EXPECT_EQ(record->save_attachments, 1);
  EXPECT_EQ(record->message_date_to, "m-to");
  EXPECT_EQ(record->filter_name, "filter");
  EXPECT_EQ(record->delete_after_import, 1);
  EXPECT_EQ(record->imap_server, "imap.host");
  EXPECT_EQ(record->imap_user, "user");
  EXPECT_EQ(record->imap_password, "secret");
  EXPECT_EQ(record->imap_mailbox, "INBOX");
  EXPECT_EQ(record->firewall_server, "fw.host");
  EXPECT_EQ(record->firewall_user, "fw-user");
  EXPECT_EQ(record->firewall_password, "fw-secret");
  EXPECT_EQ(record->firewall_type, 2);
  EXPECT_EQ(record->imap_port, 0x03E1) << "only the low 16 bits are kept";
}

TEST_F(AddFileToImportTest, OptionsTheTypeDoesNotOfferArriveAsTheirDefaults) {
  // Kestro files (1010) offer the location, auto fields, date range and sort
  // order only: an OEM origin, a delimiter, a form and the mail options are
  // all dropped, whatever the caller passed.
  ASSERT_EQ(
      KSIMP_AddFileToImport(handle_, "f.kst", 1010, 6, 1, "Form", 0, nullptr, 2, 0, nullptr, 0, 1,
                            "a", 1, 1, "b", 1, "m-from", 1, "m-to", "filter", 0, 0, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0),
      1u);
  ASSERT_EQ(
      KSIMP_AddFileToImport(handle_, "g.txt", 1000, 0, 0, nullptr, 0, nullptr, 0, 0, nullptr, 1, 0,
                            nullptr, 0, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, 0, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0),
      1u);
  const auto kestro = session().FirstQueued(handle_);
  ASSERT_TRUE(kestro);
  EXPECT_EQ(kestro->import_location, 6);
  EXPECT_EQ(kestro->auto_field_recognition, 1);
  EXPECT_EQ(kestro->date_from, "a");
  EXPECT_EQ(kestro->sort_order, 1);
  EXPECT_EQ(kestro->file_origin_ansi, 1);
  EXPECT_EQ(kestro->delimiter_flags, 0);
  EXPECT_EQ(kestro->use_entry_form, 0);
  EXPECT_EQ(kestro->entry_form_name, "");
  EXPECT_EQ(kestro->use_stored_settings, 0);
  EXPECT_EQ(kestro->full_header, 0);
  EXPECT_EQ(kestro->message_date_from, "");
  EXPECT_EQ(kestro->save_attachments, 0);
  EXPECT_EQ(kestro->filter_name, "");
  session().RemoveFirstQueued(handle_);
  const auto text = session().FirstQueued(handle_);
  ASSERT_TRUE(text);
  EXPECT_EQ(text->import_location, 0) << "text offers the location: kept as given";
}

TEST_F(AddFileToImportTest, EntryFormAndNamedDocumentAreKeptOnlyWhenTheirFlagIsSet) {
  ASSERT_EQ(
      KSIMP_AddFileToImport(handle_, "f.txt", 1000, 1, 0, "Form", 0, "Doc", 0, 0, nullptr, 1, 0,
                            nullptr, 0, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, 0, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0),
      1u);
  const auto record = session().FirstQueued(handle_);
  ASSERT_TRUE(record);
  EXPECT_EQ(record->entry_form_name, "");
  EXPECT_EQ(record->named_document, "");
}

}  // namespace
