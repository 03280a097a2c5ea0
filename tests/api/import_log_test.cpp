// The import log as hosts read it: joined texts, one removal per read (the
// newest entry of the whole log), the "size + 1" test, and a buffer that is
// never written past.
#include "api/import_log.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(ImportLog, ReadJoinsTheHandlesTextsAndRemovesTheNewestEntryOfAnyHandle) {
  ImportLog log;
  log.Add(1, "first;");
  log.Add(2, "second;");
  log.Add(1, "third;");
  char buffer[64];

  ASSERT_EQ(log.Read(1, buffer, sizeof buffer), 1u);
  EXPECT_STREQ(buffer, "first;third;");
  EXPECT_EQ(log.EntryCount(), 2u);

  ASSERT_EQ(log.Read(1, buffer, sizeof buffer), 1u);
  EXPECT_STREQ(buffer, "first;");
  EXPECT_EQ(log.EntryCount(), 1u) << "the entry of handle 2 went";
  EXPECT_FALSE(log.HasText(2));
}

TEST(ImportLog, TextUpToSizePlusOnePassesButIsCutToTheBufferAndLongerReturns3) {
  ImportLog log;
  log.Add(1, "abcd");
  log.Add(1, "efgh");
  char memory[10];
  std::memset(memory, '#', sizeof memory);
  EXPECT_EQ(log.Read(1, memory, 6), 3u) << "8 characters do not pass for 6";
  EXPECT_STREQ(memory, "abcd") << "texts copied before the overflow stay";
  EXPECT_EQ(log.EntryCount(), 2u);

  std::memset(memory, '#', sizeof memory);
  EXPECT_EQ(log.Read(1, memory, 7), 1u) << "8 characters pass for 7";
  EXPECT_STREQ(memory, "abcdef");
  EXPECT_EQ(std::string(memory + 7, 3), "###") << "nothing written past the buffer";
  EXPECT_EQ(log.EntryCount(), 1u);
}

TEST(ImportLog, NothingToReadReturns0AndZeroesTheBufferOnlyWhenTheLogHasEntries) {
  ImportLog log;
  char buffer[8] = "keep";
  EXPECT_EQ(log.Read(1, buffer, sizeof buffer), 0u);
  EXPECT_STREQ(buffer, "keep");

  log.Add(2, "other");
  log.Add(1, "");
  EXPECT_FALSE(log.HasText(1)) << "empty entries are no text";
  EXPECT_EQ(log.Read(1, buffer, sizeof buffer), 0u);
  EXPECT_EQ(std::string(buffer, sizeof buffer), std::string(sizeof buffer, '\0'));
  EXPECT_EQ(log.EntryCount(), 2u) << "nothing removed";
  log.Add(1, "x");
  EXPECT_TRUE(log.HasText(1));
}

}  // namespace
