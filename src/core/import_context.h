// ImportContext: everything an importer may reach outside itself while it
// imports one file: the queued options it was created for, the database, the
// abort test, the error and log records and the progress counters the host
// polls.  The import run hands one to every importer; importers and the
// document writer never reach the session or any other global.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/protected_database.h"
#include "core/setdata.h"
#include "core/source_decoding.h"

// Where the files that a mail message names (its saved attachments) may be
// read from, and how large one may be.  Names found inside an input are
// untrusted: a file is read only from the mailbox's own folder tree and these
// folders, after resolving ".." and symbolic links.
struct AttachmentRules {
  static constexpr uint64_t kDefaultMaxBytes = uint64_t{256} << 20;

  std::vector<std::string> folders;  // besides the mailbox's own folder
  uint64_t max_bytes = kDefaultMaxBytes;
};

class ImportContext {
 public:
  virtual ~ImportContext() = default;

  virtual uint32_t import_handle() const = 0;
  // The queued record for this one file: file_name is the one name the
  // importer reads, file_type the type its importer was created for.
  virtual const SETDATA& options() const = 0;
  // The engine handle of the target database.
  virtual uint32_t database() const = 0;
  // Where attachment files named inside the source may be read from.
  virtual const AttachmentRules& attachment_rules() const = 0;

  // The code pages of undeclared 8-bit text, as the user configured them.
  virtual const ks::core::SourceCodePages& code_pages() const {
    static const ks::core::SourceCodePages kDefaults;
    return kDefaults;
  }

  // Who asks a person for the login group and password of a protected
  // database the importer opens (another Kestro database as a source);
  // none when the host gave no way to ask.
  virtual ks::core::PasswordPrompt* password_prompt() { return nullptr; }

  // Whether the host asked the import to stop.
  virtual bool IsAborted() = 0;
  // Records an error code against the import (the first one recorded is
  // the one the host reads).
  virtual void RecordError(uint32_t code) = 0;
  // Adds one line, without its line end, to the import log.
  virtual void Log(std::string_view line) = 0;

  // Progress over the whole import: the files before this one have brought
  // the counter to CurrentBytes() when the importer starts.
  virtual uint64_t CurrentBytes() = 0;
  virtual void SetCurrentBytes(uint64_t bytes) = 0;
  virtual void AddDocumentsAdded(uint32_t count) = 0;

  // The last document the import wrote, so that the documents of the next
  // file follow those of this one; 0 before the first.
  virtual uint64_t LastDocument() = 0;
  virtual void SetLastDocument(uint64_t document) = 0;
  // A document saved: it becomes the last one, the count of documents added
  // goes up by one and the progress moves to `bytes`, in one step (this runs
  // once per imported row).
  virtual void RecordDocumentSaved(uint64_t document, uint64_t bytes) = 0;

  // How far a source that numbers its messages was imported: for an IMAP
  // mailbox, the UID up to which every message of the import was taken
  // (its document saved, or left out by the date ranges).  A profile's run
  // keeps it when the import ends early, so that its next run starts after
  // it rather than at the start again.
  virtual void SetImportedUpTo(uint64_t /*mark*/) {}

  // Mail: imports `content`, an attachment named `file_name` of the
  // document saved last, into the end of that document's text through the
  // importer of its type.  False, with a log line saying why, when its type
  // has no importer or its import fails; the message's document stays.
  virtual bool ImportAttachmentIntoDocument(const std::string& /*file_name*/,
                                            std::string_view /*content*/) {
    return false;
  }
};
