// ImportOptions: the options of one queued source, as a value.  They arrive
// in the queue record (SETDATA) from KSIMP_AddFileToImport or the dialogs,
// are narrowed to what the source's file type offers (ForcedToMask), and are
// read by the importer when it is prepared.
//
// Yes/No options are kept as bool: the queue record's "non-zero means yes"
// becomes true, and is written back as 1.
#pragma once

#include <cstdint>
#include <string>

#include "core/setdata.h"
#include "ks_eng5.h"
#include "ks_imp.h"

namespace ks::core {

// Where new documents are placed.  Codes not listed here are kept as given;
// they display as "End of File" and are left to the document writer.
namespace import_location {
inline constexpr int32_t kEndOfFile = KSIMP_LOC_END;
inline constexpr int32_t kAfterCurrentDocument = KSIMP_LOC_AFTER_CURRENT;
inline constexpr int32_t kAfterNamedDocument = KSIMP_LOC_AFTER_NAMED;
inline constexpr int32_t kEndOfCurrentDocument = KSIMP_LOC_END_OF_CURRENT;
inline constexpr int32_t kTopOfFile = KSIMP_LOC_TOP;
}  // namespace import_location

// The library hands the host's location to the engine unchanged.
static_assert(KSIMP_LOC_END == KSENG_LOC_END &&
              KSIMP_LOC_AFTER_CURRENT == KSENG_LOC_AFTER_CURRENT &&
              KSIMP_LOC_AFTER_NAMED == KSENG_LOC_AFTER_NAMED &&
              KSIMP_LOC_END_OF_CURRENT == KSENG_LOC_END_OF_CURRENT &&
              KSIMP_LOC_TOP == KSENG_LOC_TOP);

// How a source is cut into documents; several bits may be set.  No bit: the
// whole source is one document.
namespace delimiter_bit {
inline constexpr int32_t kBlankLine = KSIMP_DELIM_BLANK_LINE;
inline constexpr int32_t kPageBreak = KSIMP_DELIM_PAGE_BREAK;
inline constexpr int32_t kEveryNLines = KSIMP_DELIM_EVERY_N_LINES;
inline constexpr int32_t kString = KSIMP_DELIM_STRING;
inline constexpr int32_t kAny = kBlankLine | kPageBreak | kEveryNLines | kString;
}  // namespace delimiter_bit

enum class SortOrder : int32_t { kAscending = 0, kDescending = 1 };

// Result of a refused option change: the message to show (its text and
// caption come from MessageText and MessageCaption).  0 means accepted.
namespace option_change {
inline constexpr uint32_t kAccepted = 0;
inline constexpr uint32_t kCannotSetSaveAttachments = 14045;
inline constexpr uint32_t kCannotSetDocumentDelimiter = 14053;
}  // namespace option_change

struct ImportOptions {
  // The default-constructed value holds every option's default: the value
  // an option takes when the file type does not offer it.
  bool file_origin_ansi = true;  // false: the source is in the DOS (OEM) code page

  int32_t import_location = import_location::kEndOfFile;
  bool use_named_document = false;
  std::string named_document;  // the document that location 3 places after

  int32_t delimiter_flags = 0;  // delimiter_bit values
  int32_t delimiter_lines = 0;  // the N of "every N lines"
  std::string delimiter_string;

  bool use_entry_form = false;
  std::string entry_form_name;

  bool auto_field_recognition = false;
  std::string date_from;  // date texts as typed; empty: open-ended
  std::string date_to;
  std::string message_date_from;
  std::string message_date_to;
  SortOrder sort_order = SortOrder::kAscending;
  bool use_stored_settings = false;
  bool full_header = false;
  bool save_attachments = false;
  // Mail: each attachment is imported into the message's document text
  // through the importer of its type.  Offered with "Save Attachments".
  bool import_attachments = false;
  std::string filter_name;  // a filter of the external filter program; empty: none

  // Not an option of the mask: a property of where the file came from.
  bool delete_after_import = false;
  // Not an option of the mask either: set by an e-mail profile run that
  // imports only what is new.  A mailbox importer starts reading at this
  // byte offset, which is the start of a message's separator line.
  uint64_t start_offset = 0;

  // The options carried by a queue record.  The entry form name and the
  // named document are taken only when their flags are set, and a non-zero
  // sort order means descending.
  static ImportOptions FromSetData(const SETDATA& record);

  // Writes the options into a queue record, leaving its handle, file, type
  // and server fields alone.
  void WriteTo(SETDATA& record) const;

  // These options narrowed to a file type: every option whose mask bit is
  // clear takes its default, whatever it held before, so nothing chosen for
  // an earlier source survives.  For the import location the default is
  // end of file (1): a type that does not offer the option imports there,
  // whether the code given was below 1 or another place.  An offered
  // location is kept as given.
  ImportOptions ForcedToMask(uint32_t option_mask) const;

  bool HasDocumentDelimiter() const { return (delimiter_flags & delimiter_bit::kAny) != 0; }

  // The changes a user makes in the dialog, where a document delimiter and
  // saving attachments exclude each other.  Each returns
  // option_change::kAccepted after making the change, or the message to
  // show, leaving every option as it was.  Turning either off is always
  // accepted.
  uint32_t TrySetSaveAttachments(bool save);
  uint32_t TrySetDocumentDelimiter(int32_t flags, int32_t lines, std::string string);

  bool operator==(const ImportOptions&) const = default;
};

}  // namespace ks::core
