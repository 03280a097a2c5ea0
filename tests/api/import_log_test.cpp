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

TEST(ImportLog, TextLongerThanSizePlusOneReturns3AndKeepsEverything) {
  ImportLog log;
  log.Add(1, "abcd");
  log.Add(1, "efgh");
  char buffer[6];
  EXPECT_EQ(log.Read(1, buffer, sizeof buffer), 3u);
  EXPECT_STREQ(buffer, "abcd") << "texts copied before the overflow stay";
  EXPECT_EQ(log.EntryCount(), 2u);
}

TEST(ImportLog, TextOfSizePlusOnePassesTheTestButIsCutToTheBuffer) {
  ImportLog log;
  log.Add(1, "abcdefg");  // 7 characters: accepted for a buffer of 6
  char memory[10];
  std::memset(memory, '#', sizeof memory);
  EXPECT_EQ(log.Read(1, memory, 6), 1u);
  EXPECT_STREQ(memory, "abcde");
  EXPECT_EQ(std::string(memory + 6, 4), "####") << "nothing written past the buffer";
  EXPECT_EQ(log.EntryCount(), 0u);
}

TEST(ImportLog, EmptyLogLeavesTheBufferUntouched) {
  ImportLog log;
  char buffer[8] = "keep";
  EXPECT_EQ(log.Read(1, buffer, sizeof buffer), 0u);
  EXPECT_STREQ(buffer, "keep");
}

TEST(ImportLog, NoTextForTheHandleReturns0WithAZeroedBufferAndRemovesNothing) {
  ImportLog log;
  log.Add(2, "other");
  log.Add(1, "");
  char buffer[8] = "keep";
  EXPECT_EQ(log.Read(1, buffer, sizeof buffer), 0u);
  EXPECT_EQ(std::string(buffer, sizeof buffer), std::string(sizeof buffer, '\0'));
  EXPECT_EQ(log.EntryCount(), 2u);
}

TEST(ImportLog, HasTextIgnoresEmptyEntries) {
  ImportLog log;
  log.Add(1, "");
  EXPECT_FALSE(log.HasText(1));
  log.Add(1, "x");
  EXPECT_TRUE(log.HasText(1));
}

}  // namespace
