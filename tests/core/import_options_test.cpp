// Import options: carried in from the queue record, narrowed to what a
// source's file type offers, the two that exclude each other, and the option
// mask's rows and labels.
#include "core/import_options.h"

#include <gtest/gtest.h>

#include <functional>
#include <iterator>

#include "core/option_mask.h"

namespace ks::core {
namespace {

constexpr uint32_t kEverything = 4095;

// A queue record whose every option differs from its default, and the
// options it carries.
const SETDATA kEveryOptionSet = [] {
  SETDATA r;
  r.import_handle = 77;
  r.file_name = "a.txt|b.txt";
  r.file_type = 1000;
  r.import_location = 3;
  r.use_entry_form = 1;
  r.entry_form_name = "Contacts";
  r.use_named_document = 1;
  r.named_document = "Minutes";
  r.delimiter_flags = 4;
  r.delimiter_lines = 12;
  r.delimiter_string = "----";
  r.file_origin_ansi = 0;
  r.auto_field_recognition = 1;
  r.date_from = "01/01/2001";
  r.sort_order = 1;
  r.use_stored_settings = 1;
  r.date_to = "12/31/2001";
  r.full_header = 1;
  r.message_date_from = "02/01/2001";
  r.save_attachments = 1;
  r.message_date_to = "02/28/2001";
  r.filter_name = "Clean up";
  r.delete_after_import = 1;
  r.imap_server = "mail.example.org";
  return r;
}();
const ImportOptions kEverySet = [] {
  ImportOptions o;
  o.file_origin_ansi = false;
  o.import_location = 3;
  o.use_named_document = true;
  o.named_document = "Minutes";
  o.delimiter_flags = 4;
  o.delimiter_lines = 12;
  o.delimiter_string = "----";
  o.use_entry_form = true;
  o.entry_form_name = "Contacts";
  o.auto_field_recognition = true;
  o.date_from = "01/01/2001";
  o.date_to = "12/31/2001";
  o.message_date_from = "02/01/2001";
  o.message_date_to = "02/28/2001";
  o.sort_order = SortOrder::kDescending;
  o.use_stored_settings = true;
  o.full_header = true;
  o.save_attachments = true;
  o.filter_name = "Clean up";
  o.delete_after_import = true;
  return o;
}();

TEST(ImportOptionsFromSetData, TakesEachArgumentAsItsOptionAndDefaultsFromADefaultRecord) {
  EXPECT_EQ(ImportOptions::FromSetData(kEveryOptionSet), kEverySet);
  EXPECT_EQ(ImportOptions::FromSetData(SETDATA{}), ImportOptions{});
}

TEST(ImportOptionsForcedToMask, EachClearBitForcesOnlyItsOwnFieldsToTheirDefaults) {
  using enum ImportOption;
  using O = ImportOptions;
  const auto reset = [](auto... fields) {
    return std::function<void(O&)>([=](O& o) { ((o.*fields = O{}.*fields), ...); });
  };
  const std::pair<ImportOption, std::function<void(O&)>> own_fields[] = {
      {kFileOrigin, reset(&O::file_origin_ansi)},
      {kImportLocation, reset(&O::import_location, &O::use_named_document, &O::named_document)},
      {kDocumentDelimiter, reset(&O::delimiter_flags, &O::delimiter_lines, &O::delimiter_string)},
      {kEntryForm, reset(&O::use_entry_form, &O::entry_form_name)},
      {kAutoFieldRecognition, reset(&O::auto_field_recognition)},
      {kDateRange, reset(&O::date_from, &O::date_to)},
      {kSortOrder, reset(&O::sort_order)},
      {kUseStoredSettings, reset(&O::use_stored_settings)},
      {kMessageDateRange, reset(&O::message_date_from, &O::message_date_to)},
      {kFullHeader, reset(&O::full_header)},
      {kSaveAttachments, reset(&O::save_attachments)},
      {kUseFilter, reset(&O::filter_name)},
  };
  ASSERT_EQ(std::size(own_fields), std::size(kOptionsInMaskOrder));
  // A type outside the list keeps every option (add_file_to_import_test.cpp);
  // one that offers none gives every default.
  ImportOptions defaults;
  defaults.delete_after_import = true;  // a property of the file, not an option
  EXPECT_EQ(kEverySet.ForcedToMask(0), defaults);
  for (const auto& [option, reset_own_fields] : own_fields) {
    ImportOptions expected = kEverySet;
    reset_own_fields(expected);
    EXPECT_EQ(kEverySet.ForcedToMask(kEverything & ~static_cast<uint32_t>(option)), expected)
        << OptionRowLabel(option);
  }
}

// ---- A document delimiter and saving attachments exclude each other: trying
// to set one while the other is set is refused with its message, and nothing
// changes.

ImportOptions WithBlankLineDelimiter() {
  ImportOptions o;
  o.delimiter_flags = delimiter_bit::kBlankLine;
  return o;
}

ImportOptions SavingAttachments() {
  ImportOptions o;
  o.save_attachments = true;
  return o;
}

TEST(OptionExclusion, EachIsRefusedWithItsMessageWhileTheOtherIsSetAndAcceptedOnceItIsOff) {
  ImportOptions delimited = WithBlankLineDelimiter();
  EXPECT_EQ(delimited.TrySetSaveAttachments(true), 14045u);
  EXPECT_EQ(delimited, WithBlankLineDelimiter());
  for (const int32_t flags : {1, 2, 4, 8, 3}) {
    ImportOptions o = SavingAttachments();
    EXPECT_EQ(o.TrySetDocumentDelimiter(flags, 10, "--"), 14053u) << "flags " << flags;
    EXPECT_EQ(o, SavingAttachments()) << "flags " << flags;
  }
  // Turning either off is always accepted, and frees the other.
  EXPECT_EQ(delimited.TrySetSaveAttachments(false), option_change::kAccepted);
  EXPECT_EQ(delimited.TrySetDocumentDelimiter(0, 0, ""), option_change::kAccepted);
  EXPECT_FALSE(delimited.HasDocumentDelimiter());
  EXPECT_EQ(delimited.TrySetSaveAttachments(true), option_change::kAccepted);
  EXPECT_EQ(delimited.TrySetDocumentDelimiter(0, 0, ""), option_change::kAccepted);
  EXPECT_EQ(delimited.TrySetSaveAttachments(false), option_change::kAccepted);
  EXPECT_EQ(delimited.TrySetDocumentDelimiter(4, 30, ""), option_change::kAccepted);
  EXPECT_EQ(delimited.delimiter_lines, 30);
}

// ---- The option mask: which bit offers which row, and the rows' labels.

TEST(OptionMask, EveryKnownBitOffersItsRowWithItsLabelInBitOrderAndOtherBitsNothing) {
  EXPECT_EQ(OfferedOptionLabels(4095),
            (std::vector<std::string_view>{
                "File Origin", "Import Location", "Document Delimiter", "Import into Entry Form",
                "Auto Field Recognition", "Date Range", "Sort Order", "Use Stored Settings",
                "Message Date Range", "Full Header", "Save Attachments", "Use Filter"}));
  EXPECT_TRUE(OfferedOptions(0).empty());
  EXPECT_TRUE(OfferedOptions(0xFFFFF000u).empty());
  EXPECT_EQ(OfferedOptions(4096 | 2), std::vector<ImportOption>{ImportOption::kImportLocation});
}

}  // namespace
}  // namespace ks::core
