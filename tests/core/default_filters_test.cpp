// The default file-type list: its order and texts, the option each type
// offers, and the two entries that depend on what is installed.
#include "core/default_filters.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "core/file_type_listing.h"
#include "core/option_mask.h"

namespace ks::core {
namespace {

using enum ImportOption;

const InstalledHelpers kNothingInstalled{};
const InstalledHelpers kVisualFoxPro{false, FoxProDriver::kVisualFoxPro};

std::vector<int32_t> FileTypesOf(const std::vector<ImportFilter>& filters) {
  std::vector<int32_t> types;
  for (const auto& f : filters) types.push_back(f.file_type);
  return types;
}

const ImportFilter& FilterOf(const std::vector<ImportFilter>& filters, int32_t file_type) {
  for (const auto& f : filters) {
    if (f.file_type == file_type) return f;
  }
  throw std::out_of_range("no filter for type " + std::to_string(file_type));
}

// What each type offers, written out option by option as the product
// describes them rather than as mask numbers.
std::map<int32_t, std::vector<ImportOption>> OptionsEachTypeOffers() {
  const std::vector<ImportOption> word_processing = {
      kFileOrigin,           kImportLocation, kDocumentDelimiter, kEntryForm,
      kAutoFieldRecognition, kDateRange,      kSortOrder,         kSaveAttachments};
  const std::vector<ImportOption> dos_and_foxpro = {
      kFileOrigin, kImportLocation, kEntryForm, kAutoFieldRecognition, kDateRange, kSortOrder};
  const std::vector<ImportOption> mail = {kFileOrigin,           kImportLocation, kEntryForm,
                                          kAutoFieldRecognition, kDateRange,      kSortOrder,
                                          kMessageDateRange,     kFullHeader,     kSaveAttachments};
  return {
      {1000, word_processing},
      {1002, dos_and_foxpro},
      {1010, {kImportLocation, kAutoFieldRecognition, kDateRange, kSortOrder}},
      {1005, mail},
      {1060, mail},
      {1004,
       {kFileOrigin, kImportLocation, kEntryForm, kAutoFieldRecognition, kDateRange, kSortOrder,
        kUseStoredSettings}},
      {108, word_processing},
      {1056, word_processing},
      {1057, word_processing},
      {19, word_processing},
      {1114, dos_and_foxpro},
      {1058,
       {kFileOrigin, kImportLocation, kDocumentDelimiter, kEntryForm, kSortOrder,
        kUseStoredSettings, kSaveAttachments}},
      {1059, mail},
      {1061, {kImportLocation, kEntryForm, kDateRange, kSortOrder, kSaveAttachments}},
  };
}

TEST(DefaultFilters, ListsTheTypesInTheOrderShownToUsers) {
  EXPECT_EQ(FileTypesOf(DefaultImportFilters(kVisualFoxPro)),
            (std::vector<int32_t>{1000, 1002, 1010, 1005, 1060, 1004, 108, 1056, 1057, 19, 1114,
                                  1058, 1059, 1061}));
}

TEST(DefaultFilters, EachTypeOffersExactlyItsDescribedOptions) {
  const auto filters = DefaultImportFilters(kVisualFoxPro);
  const auto expected = OptionsEachTypeOffers();
  ASSERT_EQ(filters.size(), expected.size());
  for (const auto& filter : filters) {
    EXPECT_EQ(OfferedOptions(filter.option_mask), expected.at(filter.file_type))
        << filter.name << " (mask " << filter.option_mask << ")";
  }
}

TEST(DefaultFilters, EveryFilterCarriesTheStoredConstantFive) {
  for (const auto& filter : DefaultImportFilters(kVisualFoxPro)) {
    EXPECT_EQ(filter.stored_constant, 5) << filter.name;
  }
}

TEST(DefaultFilters, TextsAreKeptAsUsersKnowThem) {
  const auto filters = DefaultImportFilters(kVisualFoxPro);
  EXPECT_EQ(FilterOf(filters, 1002).name, "Kestro DOS (*.txt) ");
  EXPECT_EQ(FilterOf(filters, 1002).description,
            "ASCII files that were exported from Kestro using the Kestro Dos file type.  These "
            "files contain special characters that indicate where documents are to end when "
            "imported.");
  EXPECT_EQ(FilterOf(filters, 1004).name, "Text Delimited (*.csv, *.dat, *.prn *.txt)");
  EXPECT_EQ(FilterOf(filters, 1004).extensions, "csv dat prn txt");
  EXPECT_EQ(FilterOf(filters, 1056).description,
            "These are Word files. This includes Word for  Windows 95, Word 97, and Word 2000.  ");
  EXPECT_EQ(FilterOf(filters, 19).description.substr(0, 6), "Thses ");
  EXPECT_EQ(FilterOf(filters, 1114).description,
            "This are Microsoft FoxPro and Visual FoxPro data base files.");
  EXPECT_EQ(FilterOf(filters, 1061).extensions, "*");
}

TEST(DefaultFilters, DelimitedDescriptionKeepsItsKnownBeginning) {
  const std::string beginning =
      "ASCII text files that contain fielded information.  Fields could be sperated (delimited) "
      "by a comma, a tab, a space, or a character you define.  Fields could also";
  const std::string description =
      FilterOf(DefaultImportFilters(kNothingInstalled), 1004).description;
  EXPECT_EQ(description.substr(0, beginning.size()), beginning);
  EXPECT_GT(description.size(), beginning.size() + 1);
  EXPECT_EQ(description.back(), '.');
}

TEST(DefaultFilters, WithoutFoxProDriverThereAreThirteenAndNoFoxPro) {
  const auto filters = DefaultImportFilters(kNothingInstalled);
  EXPECT_EQ(filters.size(), 13u);
  for (const auto& filter : filters) {
    EXPECT_EQ(filter.name.find("FoxPro"), std::string::npos);
    EXPECT_NE(filter.file_type, 1114);
    EXPECT_NE(filter.file_type, 1109);
  }
}

TEST(DefaultFilters, VisualFoxProDriverOffersTablesAndDatabasesAsType1114) {
  const auto filters = DefaultImportFilters(kVisualFoxPro);
  ASSERT_EQ(filters.size(), 14u);
  EXPECT_EQ(filters[10].name, "Microsoft FoxPro, Visual FoxPro (*.dbf, *.dbc)");
  EXPECT_EQ(filters[10].extensions, "dbf dbc");
  EXPECT_EQ(filters[10].file_type, 1114);
  EXPECT_EQ(filters[10].option_mask, 123u);
}

TEST(DefaultFilters, OlderFoxProDriverOffersTablesOnlyAsType1109) {
  const auto filters = DefaultImportFilters({false, FoxProDriver::kFoxPro});
  ASSERT_EQ(filters.size(), 14u);
  EXPECT_EQ(filters[10].extensions, "dbf");
  EXPECT_EQ(filters[10].file_type, 1109);
  EXPECT_EQ(filters[10].option_mask, 123u);
}

TEST(DefaultFilters, FilterProgramAddsUseFilterToTheMarkedTypesOnly) {
  const auto plain = DefaultImportFilters(kVisualFoxPro);
  const auto with_program = DefaultImportFilters({true, FoxProDriver::kVisualFoxPro});
  const std::vector<int32_t> marked = {1000, 1005, 1060, 1004, 108, 19};
  ASSERT_EQ(plain.size(), with_program.size());
  for (size_t i = 0; i < plain.size(); ++i) {
    const bool is_marked =
        std::find(marked.begin(), marked.end(), plain[i].file_type) != marked.end();
    EXPECT_FALSE(Offers(plain[i].option_mask, kUseFilter)) << plain[i].name;
    EXPECT_EQ(with_program[i].option_mask, plain[i].option_mask | (is_marked ? 2048u : 0u))
        << plain[i].name;
  }
}

TEST(FileTypeListing, GivesEachTypeItsTextsMaskAndOfferedRowLabels) {
  const auto filters = DefaultImportFilters(kNothingInstalled);
  const auto offers = DescribeFileTypes(filters);
  ASSERT_EQ(offers.size(), filters.size());
  const FileTypeOffer& kestro = offers[2];
  EXPECT_EQ(kestro.file_type, 1010);
  EXPECT_EQ(kestro.name, "Kestro 5 (*.kst)");
  EXPECT_EQ(kestro.extensions, "kst");
  EXPECT_EQ(kestro.description, "Kestro version 5.x file format");
  EXPECT_EQ(kestro.option_mask, 114u);
  EXPECT_EQ(kestro.offered_options,
            (std::vector<std::string_view>{"Import Location", "Auto Field Recognition",
                                           "Date Range", "Sort Order"}));
}

}  // namespace
}  // namespace ks::core
