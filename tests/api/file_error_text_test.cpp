// The text of a failed file operation, by cause, with the file name put where
// the text names it.
#include "core/file_error_text.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

TEST(FileErrorText, EachCauseGivesItsTextWithTheFileNameWhereItBelongs) {
  // These double as the golden check of the file-error messages: the lower
  // case "unable" and the double blank after "a.txt." stay as hosts know them.
  const char* const expected[] = {
      "No error occurred.",
      "An unspecified error occurred.",
      "The file a.txt, could not be located.",
      "All or part of the path a.txt, is invalid.",
      "The permitted number of open files was exceeded.",
      "unable to open file",
      "There was an attempt to use an invalid file handle.",
      "The current working directory cannot be removed.",
      "There are no more directory entries.",
      "There was an error trying to set the file pointer for a.txt.",
      "There was a hardware error.",
      "There was a sharing violation on a.txt.  Make sure another application does not have the "
      "file open.",
      "There was an attempt to lock a region that was already locked of a.txt.",
      "The disk is full.",
      "The end of file a.txt, was reached.",
  };
  for (int cause = -1; cause <= 15; ++cause) {
    const bool listed = cause >= 0 && cause <= 14;
    EXPECT_EQ(FileErrorText(cause, "a.txt"), listed ? expected[cause] : "") << "cause " << cause;
  }
  EXPECT_EQ(FileErrorText(FileErrorCause::kFileNotFound, "100%s.txt"),
            "The file 100%s.txt, could not be located.")
      << "a name holding a percent sign goes in literally";
}

TEST(FileErrorCauseFromErrno, CommonFailuresMapToTheirCause) {
  EXPECT_EQ(FileErrorCauseFromErrno(0), FileErrorCause::kNone);
  EXPECT_EQ(FileErrorCauseFromErrno(ENOENT), FileErrorCause::kFileNotFound);
  EXPECT_EQ(FileErrorCauseFromErrno(ENOTDIR), FileErrorCause::kBadPath);
  EXPECT_EQ(FileErrorCauseFromErrno(EMFILE), FileErrorCause::kTooManyOpenFiles);
  EXPECT_EQ(FileErrorCauseFromErrno(EACCES), FileErrorCause::kAccessDenied);
  EXPECT_EQ(FileErrorCauseFromErrno(EPERM), FileErrorCause::kAccessDenied);
  EXPECT_EQ(FileErrorCauseFromErrno(EISDIR), FileErrorCause::kInvalidFile);
  EXPECT_EQ(FileErrorCauseFromErrno(ENOSPC), FileErrorCause::kDiskFull);
  EXPECT_EQ(FileErrorCauseFromErrno(EIO), FileErrorCause::kHardwareError);
  EXPECT_EQ(FileErrorCauseFromErrno(EPROTO), FileErrorCause::kGeneric);
}

}  // namespace
