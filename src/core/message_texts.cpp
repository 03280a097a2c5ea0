#include "core/message_texts.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <span>

#include "core/error_codes.h"

namespace {

struct MessageRow {
  uint32_t id;
  std::string_view text;
};

// Codes 1000, 12000 and 40003 are recorded but have no text on purpose.
constexpr MessageRow kMessages[] = {
    // 42 is the first name of an entry-form list: no entry form.
    {42, "No"},
    {90, "There are no file sets to import."},
    {91, "You must supply an Kestro filename."},
    {92, "Unable to open Kestro file for importing."},
    {93, "The Kestro file handle for importing is invalid"},
    {94, "A parent window is required for this operation."},
    {95, "You must supply a file name to import"},
    {97, "Unable to set Kestro import parameters."},
    {98, "Unable to save Kestro document."},
    // 130 and 131 say why another Kestro database is not imported.
    {130, "File: \"%1\" is not an Kestro 5 file, and will not be imported."},
    {131, "Error: %1 in file %2, this file will not be imported."},
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
     "There was a sharing violation on %s.  Make sure another application does not have the file "
     "open."},
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
     "WordPerfect not properly installed.\nTo import WordPerfect files, you must have WordPerfect "
     "installed on your computer."},
    {12007,
     "Microsoft Word not properly installed.\nTo import Microsoft Word files, you must have "
     "Microsoft Word installed on your computer."},
    // 13000-13012 say why a column header string did not validate; the
    // blank that ends 13000 and the two in 13004 belong to the texts.
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
    // 14039-14042: a Kestro database of an older version.  The two blanks
    // after "format." in 14042 belong to the text.
    {14039,
     "This file needs to be converted to the Version 5 format before importing.\n\nConvert file"},
    {14040, "Unable to save backup copy of the file"},
    {14041, "Kestro 4 (*.kst)"},
    {14042,
     "This file is an Kestro 4 file, not an Kestro 5 file.  Before you can import this file into "
     "Kestro 5, you need to choose FILE -> OPEN and open it in Kestro 5. This will convert the "
     "file to Kestro 5 format."},
    // 14045 and 14053 refuse an option change in the import dialog (their
    // captions are below); the two blanks before "when" belong to the text.
    {14045,
     "You cannot set the Save Attachments option  when a document Delimiter is defined.\n\nSet "
     "the Document Delimiter to \"None\" before selecting the Save Attachments option."},
    // 14046-14109 belong to the link-or-attach import: its type's name and
    // description, its document texts (14048 the plain fallback, 14099 the
    // field name, 14102 the paragraph style) and its attachment choice.
    {14046, "Any File - Link or Attach Only (*.*)"},
    {14047,
     "All other file types.  Allows importing of the file(s) as attachments or provide a "
     "hypertext link to the file(s)"},
    {14048, "File%c %s]"},
    {14049, "Encryped PDF file encountered.  Unable to import the file."},
    {14052,
     "This option lets you save the original file you import as an attachment to your Kestro "
     "document."},
    {14053,
     "You cannot define a Document Delimiter when the Save Attachments option is set to "
     "\"Yes\".\n\nSet the Save Attachments option to \"No\" before you set the Document "
     "Delimiter."},
    {14085, "The password you have entered is invalid, please try again."},
    {14094, "&Do not save file as an attachment"},
    {14096, "&Save original file as an attachment"},
    {14099, "File%c"},
    {14102, "Normal"},
    {14109, "Import Attachments into Document"},
    {14127, "Importing Attachment(s)"},
    // 14400-14412: e-mail profiles.  The run's messages go to the log, those
    // of 14404 and 14405 with their line end; 14406-14410 are shown in a box
    // with the captions below ("Incompete" is spelt as hosts have always
    // shown it).
    {14400, "\"%s\" Profile - The mailbox \"%s\" is empty"},
    {14401, "\"%s\" Profile - There are no messages in the selected date range."},
    {14402, "\"%s\" Profile - Unable to open mailbox %s"},
    {14403, "\"%s\" Profile - No new messages since last import."},
    {14404, "Email profile %s.  Cannot open Kestro file %s.\r\n"},
    {14405, "Email profile %s.  Insufficient security rights to import into \"%s\"\r\n"},
    {14406, "The profile \"%s\" requires more information.\n\nPlease complete the Wizard."},
    {14407, "A Profile named \"%s\" already exists\n\nPlease select another name for this Profile"},
    {14408, "The profile name contains one or more invalid characters"},
    {14409, "The profile name is invalid"},
    {14410, "Are you sure you want to delete the \"%s\" profile"},
    {14411, "Error with one or more profiles"},
    {14412,
     "A profile configuration file named \"%s\" already exists.\n\nDo you want to overwrite this "
     "file."},
    {14600, "Unable to connect to the mail server %s."},
    {14601, "The mail server %s refused the user name or password."},
    {14602, "The mail server %s did not answer in time."},
    {14603, "The connection to the mail server %s was lost."},
    {14604, "The certificate of the mail server %s could not be verified."},
    {14605, "The mail server %s does not offer a secure connection (STARTTLS)."},
    {14606, "The mailbox %s could not be opened on the mail server."},
    {14607, "The mail server %s sent a reply that could not be read."},
};

// The titles of the messages that are shown in a message box.
constexpr MessageRow kCaptions[] = {
    {14045, "Cannot Set Save Attachments"},
    {14053, "Cannot Set Document Delimiter"},
    {14406, "Incompete Email Profile"},
    {14407, "Duplicate Email Profile"},
    {14408, "Invalid Profile Name"},
    {14409, "Invalid Profile Name"},
    {14410, "Delete Email Profile"},
};

std::string_view FindText(std::span<const MessageRow> rows, uint32_t id) {
  const auto row =
      std::find_if(rows.begin(), rows.end(), [id](const MessageRow& r) { return r.id == id; });
  return row == rows.end() ? std::string_view{} : row->text;
}

}  // namespace

std::string_view MessageText(uint32_t id) {
  return FindText(kMessages, id);
}

std::string_view MessageCaption(uint32_t id) {
  return FindText(kCaptions, id);
}

std::string_view ErrorText(uint32_t code) {
  std::string_view text = MessageText(code);
  return text.empty() ? MessageText(error_code::kInternal) : text;
}

uint32_t CopyErrorText(uint32_t code, char* buffer, int32_t size) {
  return CopyTextStrictly(ErrorText(code), buffer, size);
}

uint32_t CopyTextStrictly(std::string_view text, char* buffer, int32_t size) {
  if (buffer == nullptr) return 0;
  if (static_cast<int64_t>(text.size()) + 1 >= size) return 0;
  std::memcpy(buffer, text.data(), text.size());
  buffer[text.size()] = '\0';
  return 1;
}
