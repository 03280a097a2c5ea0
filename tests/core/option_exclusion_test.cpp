// A document delimiter and saving attachments exclude each other: trying to
// set one while the other is set is refused with its message, and nothing
// changes.
#include <gtest/gtest.h>

#include "core/import_options.h"

namespace ks::core {
namespace {

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

TEST(OptionExclusion, EachIsRefusedWithItsMessageWhileTheOtherIsSetAndNothingChanges) {
  ImportOptions delimited = WithBlankLineDelimiter();
  EXPECT_EQ(delimited.TrySetSaveAttachments(true), 14045u);
  EXPECT_EQ(delimited, WithBlankLineDelimiter());
  for (const int32_t flags : {1, 2, 4, 8, 3}) {
    ImportOptions o = SavingAttachments();
    EXPECT_EQ(o.TrySetDocumentDelimiter(flags, 10, "--"), 14053u) << "flags " << flags;
    EXPECT_EQ(o, SavingAttachments()) << "flags " << flags;
  }
}

TEST(OptionExclusion, EitherIsAcceptedWhenTheOtherIsOffAndTurningEitherOffAlwaysIs) {
  ImportOptions o;
  EXPECT_EQ(o.TrySetSaveAttachments(true), option_change::kAccepted);
  EXPECT_TRUE(o.save_attachments);
  ImportOptions d;
  EXPECT_EQ(d.TrySetDocumentDelimiter(4, 30, ""), option_change::kAccepted);
  EXPECT_EQ(d.delimiter_flags, 4);
  EXPECT_EQ(d.delimiter_lines, 30);

  ImportOptions saving = SavingAttachments();
  EXPECT_EQ(saving.TrySetDocumentDelimiter(0, 0, ""), option_change::kAccepted);
  EXPECT_EQ(saving.TrySetSaveAttachments(false), option_change::kAccepted);
  EXPECT_FALSE(saving.save_attachments);
  ImportOptions delimited = WithBlankLineDelimiter();
  EXPECT_EQ(delimited.TrySetSaveAttachments(false), option_change::kAccepted);
  EXPECT_EQ(delimited.TrySetDocumentDelimiter(0, 0, ""), option_change::kAccepted);
  EXPECT_FALSE(delimited.HasDocumentDelimiter());
  EXPECT_EQ(delimited.TrySetSaveAttachments(true), option_change::kAccepted);
}

}  // namespace
}  // namespace ks::core
