// Imports one mail attachment into the end of its message's document: the
// attachment is saved to a private temporary file, listed in the session
// (so that an abort can remove it), imported through the importer of its
// type under an import handle of its own, and then removed again, whatever
// happened.
#pragma once

#include <string>
#include <string_view>

#include "api/import_session.h"
#include "core/import_context.h"

// `message_import` is the context of the running mail import; the message's
// document is the last one it saved.  True when the attachment's text was
// appended whole.  False, with one line in the mail import's log, when there
// is no such document, the type has no importer, the file cannot be written
// or its import fails; false without a line when the import was aborted.
// The mail import's error, progress and documents added are left as they
// were.
bool ImportAttachmentIntoDocument(CImportSession& session, ImportContext& message_import,
                                  const std::string& file_name, std::string_view content);
