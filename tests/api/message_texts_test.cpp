// Golden texts: every message exactly as hosts have always seen it, slips
// included (misspellings, double or trailing blanks, a missing full stop,
// raw placeholders), read through KSIMP_ImportErrorToString, and the
// buffer-size rule of that call; the texts of failed file operations, which
// are messages of this table with the file name put in.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "core/file_error_text.h"
#include "ks_imp.h"

namespace {

std::string TextOf(uint32_t code) {
  char buffer[512];
  if (KSIMP_ImportErrorToString(code, buffer, sizeof buffer) != 1) return "<not copied>";
  return buffer;
}

const char kInternal[] = "An internal error has occured";

TEST(MessageTexts, EveryCodeHasItsExactText) {
  const std::pair<uint32_t, const char*> golden[] = {
      {90, "There are no file sets to import."},
      {91, "You must supply an Kestro filename."},
      {92, "Unable to open Kestro file for importing."},
      {93, "The Kestro file handle for importing is invalid"},
      {94, "A parent window is required for this operation."},
      {95, "You must supply a file name to import"},
      {97, "Unable to set Kestro import parameters."},
      {98, "Unable to save Kestro document."},
      {11000, "No error occurred."},
      {11001, "An internal error has occured"},
      {11002, "The handle does not exist in the import set."},
      {11003, "Insufficient memory to add string to ComboBox"},
      {11004, "An unspecified error occurred."},
      {11005, "Unable to add new import to the list."},
      {11006, "The file %s, could not be located."},
      {11007, "All or part of the path %s, is invalid."},
      {11008, "The permitted number of open files was exceeded."},
      {11009, "unable to open file"},
      {11010, "There was an attempt to use an invalid file handle."},
      {11011, "The current working directory cannot be removed."},
      {11012, "There are no more directory entries."},
      {11013, "There was an error trying to set the file pointer for %s."},
      {11014, "There was a hardware error."},
      {11015,
       "There was a sharing violation on %s.  Make sure another application does not have "
       "the file open."},
      {11016, "There was an attempt to lock a region that was already locked of %s."},
      {11017, "The disk is full."},
      {11019, "The end of file %s, was reached."},
      {11020, "You choose the wrong file type for this file.  Please try another file type."},
      {11021, "Engine Error"},
      {11024, "Could not open file."},
      {11025, "Could not create instance of ADO object."},
      {11026, "Please check that the database you are trying to import is not password protected."},
      {11030, "The character set named for the file is unknown."},
      {12003, "The file is of an unsupported type."},
      {12006,
       "WordPerfect not properly installed.\nTo import WordPerfect files, you must have "
       "WordPerfect installed on your computer."},
      {12007,
       "Microsoft Word not properly installed.\nTo import Microsoft Word files, you must "
       "have Microsoft Word installed on your computer."},
      {13000, "Type string missing "},
      {13001, "String must be either CSV or FXD."},
      {13002, "Number of fields missing."},
      {13003, "Number of fields must be greater than or eqaul to 0."},
      {13004, "Length of Name  field must be greater than or equal to 0."},
      {13005, "Column position must be greater than or eqaul to 0."},
      {13006, "Column position is missing."},
      {13007, "Length of delimiter list must be greater than 0."},
      {13008, "Delimiter string is missing."},
      {13009, "TreatConsectiveDelimitersAsOne must be either 0 or 1."},
      {13010, "Length of field must be eqaul to or greater than 0."},
      {13011, "Length of field missing."},
      {13012, "Invalid column header string."},
      {14000, "Could not copy Entry Form"},
      {14001, "Could not open entry form."},
      {14003, "The %1 database contains no tables and will not be imported."},
      {14004, "This file contains no table and will not be imported."},
      {14045,
       "You cannot set the Save Attachments option  when a document Delimiter is defined.\n\nSet "
       "the Document Delimiter to \"None\" before selecting the Save Attachments option."},
      {14049, "Encryped PDF file encountered.  Unable to import the file."},
      {14127, "Importing Attachment(s)"},
      // Another Kestro database as a source, and protected databases.
      {42, "No"},
      {130, "File: \"%1\" is not an Kestro 5 file, and will not be imported."},
      {131, "Error: %1 in file %2, this file will not be imported."},
      {14039,
       "This file needs to be converted to the Version 5 format before importing.\n\nConvert "
       "file"},
      {14040, "Unable to save backup copy of the file"},
      {14041, "Kestro 4 (*.kst)"},
      {14042,
       "This file is an Kestro 4 file, not an Kestro 5 file.  Before you can import this file "
       "into Kestro 5, you need to choose FILE -> OPEN and open it in Kestro 5. This will "
       "convert the file to Kestro 5 format."},
      {14085, "The password you have entered is invalid, please try again."},
      // The link-or-attach import.
      {14046, "Any File - Link or Attach Only (*.*)"},
      {14047,
       "All other file types.  Allows importing of the file(s) as attachments or provide a "
       "hypertext link to the file(s)"},
      {14048, "File%c %s]"},
      {14052,
       "This option lets you save the original file you import as an attachment to your Kestro "
       "document."},
      {14094, "&Do not save file as an attachment"},
      {14096, "&Save original file as an attachment"},
      {14099, "File%c"},
      {14102, "Normal"},
      {14109, "Import Attachments into Document"},
  };
  for (const auto& [code, text] : golden) EXPECT_EQ(TextOf(code), text) << "code " << code;
}

TEST(MessageTexts, CodesWithoutTextGiveTheInternalErrorText) {
  for (uint32_t code : {0u, 1000u, 11018u, 12000u, 40003u, 99999u}) {
    EXPECT_EQ(TextOf(code), kInternal) << "code " << code;
  }
}

TEST(ImportErrorToString, BufferMustBeAtLeastTwoBytesLongerThanTheTextAndIsNeverOverrun) {
  const int32_t length = static_cast<int32_t>(std::strlen(kInternal));
  char buffer[64];
  std::memset(buffer, '#', sizeof buffer);
  EXPECT_EQ(KSIMP_ImportErrorToString(11001, buffer, length + 1), 0u);
  EXPECT_EQ(std::string(buffer, sizeof buffer), std::string(sizeof buffer, '#'));
  EXPECT_EQ(KSIMP_ImportErrorToString(11001, buffer, length + 2), 1u);
  EXPECT_STREQ(buffer, kInternal);
  EXPECT_EQ(buffer[length + 1], '#') << "nothing is written after the terminator";

  char kept[8] = "keep";
  EXPECT_EQ(KSIMP_ImportErrorToString(90, nullptr, 100), 0u);
  EXPECT_EQ(KSIMP_ImportErrorToString(90, kept, 0), 0u);
  EXPECT_EQ(KSIMP_ImportErrorToString(90, kept, -5), 0u);
  EXPECT_STREQ(kept, "keep");
}

TEST(FileErrorText, EachCauseGivesItsMessageWithTheFileNameWhereItBelongs) {
  const uint32_t message_of_cause[] = {11000, 11004, 11006, 11007, 11008, 11009, 11010, 11011,
                                       11012, 11013, 11014, 11015, 11016, 11017, 11019};
  for (int cause = -1; cause <= 15; ++cause) {
    std::string expected;
    if (cause >= 0 && cause <= 14) {
      expected = TextOf(message_of_cause[cause]);
      if (const size_t at = expected.find("%s"); at != std::string::npos) {
        expected.replace(at, 2, "a.txt");
      }
    }
    EXPECT_EQ(FileErrorText(cause, "a.txt"), expected) << "cause " << cause;
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
