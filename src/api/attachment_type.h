// Which file type an attachment is imported as, read from the file-type
// table by the extension of its name.
#pragma once

#include <cstdint>
#include <string_view>

// The first type offered to the user whose extensions hold `extension` (lower
// case, no dot) and whose file is the text of a document: plain text, HTML,
// rich text and the word processors' and PDF files, whether or not their
// importer is built yet.  0 for any other extension: a mailbox, a database
// or a table inside a message is not text to append to it.
int32_t AttachmentFileType(std::string_view extension);
