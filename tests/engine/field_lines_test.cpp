// FieldLines: reading back the "name[ value ]" lines at the head of an entry.
// Composing them in the form's order shows in the entries test, through the
// engine.
#include "engine/field_lines.h"

#include <gtest/gtest.h>

namespace ks::engine {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs AsPairs(const std::vector<FieldValue>& fields) {
  Pairs pairs;
  for (const FieldValue& field : fields) {
    pairs.emplace_back(field.name, field.value.value_or("<absent>"));
  }
  return pairs;
}

TEST(FieldLines, ParsesLeadingFieldLinesAndStopsAtFreeText) {
  std::string text = "Name[ Ann ]\r\nCity[  ]\nfree text[ not ] a field\r\nName[ again ]\r\n";
  ParsedFieldLines parsed = ParseFieldLines(text, '[');
  EXPECT_EQ(AsPairs(parsed.fields), (Pairs{{"Name", "Ann"}, {"City", ""}}));
  EXPECT_EQ(text.substr(parsed.end), "free text[ not ] a field\r\nName[ again ]\r\n");
}

TEST(FieldLines, ARepeatedNameOrAnUnendedLineIsNotAField) {
  EXPECT_EQ(ParseFieldLines("A[ 1 ]\r\nA[ 2 ]\r\n", '[').fields.size(), 1u);
  EXPECT_EQ(ParseFieldLines("A[ 1 ]", '[').fields.size(), 0u);
  EXPECT_EQ(ParseFieldLines("[ 1 ]\r\n", '[').fields.size(), 0u);
}

}  // namespace
}  // namespace ks::engine
