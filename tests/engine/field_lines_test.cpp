// FieldLines: composing and reading back the "name[ value ]" lines of entries.
#include "engine/field_lines.h"

#include <gtest/gtest.h>

namespace ks::engine {
namespace {

TEST(FieldLines, ComposesOneCrLfLinePerFieldWithTheMarker) {
  std::vector<FieldValue> fields{{"Name", "Ann"}, {"City", ""}};
  EXPECT_EQ(ComposeFieldLines(fields, '['), "Name[ Ann ]\r\nCity[  ]\r\n");
  EXPECT_EQ(ComposeFieldLines(fields, '#'), "Name# Ann ]\r\nCity#  ]\r\n");
}

TEST(FieldLines, ParsesLeadingFieldLinesAndStopsAtFreeText) {
  std::string text = "Name[ Ann ]\r\nCity[  ]\nfree text[ not ] a field\r\nName[ again ]\r\n";
  ParsedFieldLines parsed = ParseFieldLines(text, '[');
  ASSERT_EQ(parsed.fields.size(), 2u);
  EXPECT_EQ(parsed.fields[0].name, "Name");
  EXPECT_EQ(parsed.fields[0].value, "Ann");
  EXPECT_EQ(parsed.fields[1].name, "City");
  EXPECT_EQ(parsed.fields[1].value, "");
  EXPECT_EQ(text.substr(parsed.end), "free text[ not ] a field\r\nName[ again ]\r\n");
}

TEST(FieldLines, ARepeatedNameOrAnUnendedLineIsNotAField) {
  EXPECT_EQ(ParseFieldLines("A[ 1 ]\r\nA[ 2 ]\r\n", '[').fields.size(), 1u);
  EXPECT_EQ(ParseFieldLines("A[ 1 ]", '[').fields.size(), 0u);
  EXPECT_EQ(ParseFieldLines("[ 1 ]\r\n", '[').fields.size(), 0u);
}

TEST(FieldLines, OrdersFormFieldsFirstThenOthersAsGiven) {
  std::vector<FieldValue> given{{"x", "1"}, {"B", "2"}, {"y", "3"}, {"A", "4"}};
  auto ordered = OrderForForm(given, {"A", "B", "C"});
  std::vector<std::string> names;
  for (auto& f : ordered) names.push_back(f.name);
  EXPECT_EQ(names, (std::vector<std::string>{"A", "B", "x", "y"}));
}

}  // namespace
}  // namespace ks::engine
