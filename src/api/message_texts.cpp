#include "api/message_texts.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "api/error_codes.h"

namespace {

struct MessageRow {
  uint32_t id;
  std::string_view text;
};

// Codes 1000, 12000 and 40003 are recorded but have no text on purpose.
constexpr MessageRow kMessages[] = {
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
    {12003, "The file is of an unsupported type."},
    {12006,
     "WordPerfect not properly installed.\nTo import WordPerfect files, you must have WordPerfect "
     "installed on your computer."},
    {12007,
     "Microsoft Word not properly installed.\nTo import Microsoft Word files, you must have "
     "Microsoft Word installed on your computer."},
    {14000, "Could not copy Entry Form"},
    {14001, "Could not open entry form."},
    {14003, "The %1 database contains no tables and will not be imported."},
    {14004, "This file contains no table and will not be imported."},
    {14049, "Encryped PDF file encountered.  Unable to import the file."},
    {14127, "Importing Attachment(s)"},
};

}  // namespace

std::string_view MessageText(uint32_t id) {
  const auto* row = std::find_if(std::begin(kMessages), std::end(kMessages),
                                 [id](const MessageRow& r) { return r.id == id; });
  return row == std::end(kMessages) ? std::string_view{} : row->text;
}

std::string_view ErrorText(uint32_t code) {
  std::string_view text = MessageText(code);
  return text.empty() ? MessageText(error_code::kInternal) : text;
}

uint32_t CopyErrorText(uint32_t code, char* buffer, int32_t size) {
  if (buffer == nullptr) return 0;
  std::string_view text = ErrorText(code);
  if (static_cast<int64_t>(text.size()) + 1 >= size) return 0;
  std::memcpy(buffer, text.data(), text.size());
  buffer[text.size()] = '\0';
  return 1;
}
