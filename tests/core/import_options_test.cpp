// Import options: carried in and out of the queue record, and narrowed to
// what a source's file type offers.
#include "core/import_options.h"

#include <gtest/gtest.h>

#include "core/option_mask.h"

namespace ks::core {
namespace {

constexpr uint32_t kEverything = 4095;

// A queue record whose every option differs from its default.
SETDATA RecordWithEveryOptionSet() {
  SETDATA record;
  record.import_handle = 77;
  record.file_name = "a.txt|b.txt";
  record.file_type = 1000;
  record.import_location = 3;
  record.use_entry_form = 1;
  record.entry_form_name = "Contacts";
  record.use_named_document = 1;
  record.named_document = "Minutes";
  record.delimiter_flags = 4;
  record.delimiter_lines = 12;
  record.delimiter_string = "----";
  record.file_origin_ansi = 0;
  record.auto_field_recognition = 1;
  record.date_from = "01/01/2001";
  record.sort_order = 1;
  record.use_stored_settings = 1;
  record.date_to = "12/31/2001";
  record.full_header = 1;
  record.message_date_from = "02/01/2001";
  record.save_attachments = 1;
  record.message_date_to = "02/28/2001";
  record.filter_name = "Clean up";
  record.delete_after_import = 1;
  record.imap_server = "mail.example.org";
  return record;
}

ImportOptions OptionsWithEverySet() {
  return ImportOptions::FromSetData(RecordWithEveryOptionSet());
}

TEST(ImportOptionsFromSetData, TakesEachArgumentAsItsOption) {
  const ImportOptions o = OptionsWithEverySet();
  EXPECT_FALSE(o.file_origin_ansi);
  EXPECT_EQ(o.import_location, 3);
  EXPECT_TRUE(o.use_named_document);
  EXPECT_EQ(o.named_document, "Minutes");
  EXPECT_EQ(o.delimiter_flags, 4);
  EXPECT_EQ(o.delimiter_lines, 12);
  EXPECT_EQ(o.delimiter_string, "----");
  EXPECT_TRUE(o.use_entry_form);
  EXPECT_EQ(o.entry_form_name, "Contacts");
  EXPECT_TRUE(o.auto_field_recognition);
  EXPECT_EQ(o.date_from, "01/01/2001");
  EXPECT_EQ(o.date_to, "12/31/2001");
  EXPECT_EQ(o.message_date_from, "02/01/2001");
  EXPECT_EQ(o.message_date_to, "02/28/2001");
  EXPECT_EQ(o.sort_order, SortOrder::kDescending);
  EXPECT_TRUE(o.use_stored_settings);
  EXPECT_TRUE(o.full_header);
  EXPECT_TRUE(o.save_attachments);
  EXPECT_EQ(o.filter_name, "Clean up");
  EXPECT_TRUE(o.delete_after_import);
}

TEST(ImportOptionsFromSetData, IgnoresNamesWhoseFlagsAreOff) {
  SETDATA record = RecordWithEveryOptionSet();
  record.use_entry_form = 0;
  record.use_named_document = 0;
  const ImportOptions o = ImportOptions::FromSetData(record);
  EXPECT_EQ(o.entry_form_name, "");
  EXPECT_EQ(o.named_document, "");
}

TEST(ImportOptionsFromSetData, DefaultRecordGivesDefaultOptions) {
  EXPECT_EQ(ImportOptions::FromSetData(SETDATA{}), ImportOptions{});
}

TEST(ImportOptionsWriteTo, RoundTripsEveryOptionAndLeavesOtherFieldsAlone) {
  const SETDATA original = RecordWithEveryOptionSet();
  SETDATA written;
  written.import_handle = 5;
  written.file_name = "other.txt";
  written.file_type = 19;
  written.imap_server = "kept";
  OptionsWithEverySet().WriteTo(written);
  EXPECT_EQ(ImportOptions::FromSetData(written), OptionsWithEverySet());
  EXPECT_EQ(written.import_handle, 5u);
  EXPECT_EQ(written.file_name, "other.txt");
  EXPECT_EQ(written.file_type, 19);
  EXPECT_EQ(written.imap_server, "kept");
  EXPECT_EQ(written.sort_order, original.sort_order);
  EXPECT_EQ(written.file_origin_ansi, 0);
}

TEST(ImportOptionsForcedToMask, OfferedOptionsKeepTheirValues) {
  EXPECT_EQ(OptionsWithEverySet().ForcedToMask(kEverything), OptionsWithEverySet());
}

TEST(ImportOptionsForcedToMask, EachClearBitForcesOnlyItsOwnOption) {
  const ImportOptions defaults;
  const ImportOptions all = OptionsWithEverySet();
  for (const ImportOption option : kOptionsInMaskOrder) {
    const ImportOptions o = all.ForcedToMask(kEverything & ~static_cast<uint32_t>(option));
    ImportOptions expected = all;
    switch (option) {
      case ImportOption::kFileOrigin:
        expected.file_origin_ansi = defaults.file_origin_ansi;
        break;
      case ImportOption::kImportLocation:
        expected.import_location = defaults.import_location;
        expected.use_named_document = defaults.use_named_document;
        expected.named_document = defaults.named_document;
        break;
      case ImportOption::kDocumentDelimiter:
        expected.delimiter_flags = defaults.delimiter_flags;
        expected.delimiter_lines = defaults.delimiter_lines;
        expected.delimiter_string = defaults.delimiter_string;
        break;
      case ImportOption::kEntryForm:
        expected.use_entry_form = defaults.use_entry_form;
        expected.entry_form_name = defaults.entry_form_name;
        break;
      case ImportOption::kAutoFieldRecognition:
        expected.auto_field_recognition = defaults.auto_field_recognition;
        break;
      case ImportOption::kDateRange:
        expected.date_from = defaults.date_from;
        expected.date_to = defaults.date_to;
        break;
      case ImportOption::kSortOrder:
        expected.sort_order = defaults.sort_order;
        break;
      case ImportOption::kUseStoredSettings:
        expected.use_stored_settings = defaults.use_stored_settings;
        break;
      case ImportOption::kMessageDateRange:
        expected.message_date_from = defaults.message_date_from;
        expected.message_date_to = defaults.message_date_to;
        break;
      case ImportOption::kFullHeader:
        expected.full_header = defaults.full_header;
        break;
      case ImportOption::kSaveAttachments:
        expected.save_attachments = defaults.save_attachments;
        break;
      case ImportOption::kUseFilter:
        expected.filter_name = defaults.filter_name;
        break;
    }
    EXPECT_EQ(o, expected) << OptionRowLabel(option);
  }
}

TEST(ImportOptionsForcedToMask, DefaultsAreThoseUsersAreTold) {
  const ImportOptions o = OptionsWithEverySet().ForcedToMask(0);
  EXPECT_TRUE(o.file_origin_ansi);
  EXPECT_EQ(o.import_location, 1);
  EXPECT_EQ(o.delimiter_flags, 0);
  EXPECT_FALSE(o.use_entry_form);
  EXPECT_EQ(o.entry_form_name, "");
  EXPECT_FALSE(o.auto_field_recognition);
  EXPECT_EQ(o.sort_order, SortOrder::kAscending);
  EXPECT_FALSE(o.use_stored_settings);
  EXPECT_FALSE(o.full_header);
  EXPECT_FALSE(o.save_attachments);
  EXPECT_EQ(o.filter_name, "");
}

TEST(ImportOptionsForcedToMask, TypeWithoutLocationImportsAtTheEndWhateverTheCode) {
  const uint32_t no_location = kEverything & ~static_cast<uint32_t>(ImportOption::kImportLocation);
  for (const int32_t code : {0, -3, 2, 3, 4, 6}) {
    ImportOptions o;
    o.import_location = code;
    EXPECT_EQ(o.ForcedToMask(no_location).import_location, 1) << "code " << code;
  }
}

}  // namespace
}  // namespace ks::core
