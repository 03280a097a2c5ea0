// ReadDbxMessageText: a message's raw RFC 822 text as an Outlook Express
// folder keeps it, in a chain of blocks, each a 16-byte header and its
// bytes:
//   +0x00 the block's own file offset   +0x08 the count of text bytes it holds
//   +0x04 the size of its body          +0x0C the next block's offset (0: the last)
// The text is the blocks' bytes joined in chain order.
//
// A block must lie inside the file, carry its own offset and hold no more
// than its body; a chain that loops is found (Brent's method: two offsets
// kept, whatever its length) and one whose text would outgrow the file is
// refused, so damage never costs more than the file's size in time or
// memory.
#pragma once

#include <cstdint>
#include <string>

#include "importers/mail/dbx_bytes.h"

// Joins the chain that starts at `first_block` into `text` (replacing what
// it held).  False, with `problem` filled in, at damage; `text` then holds
// what came before it.
bool ReadDbxMessageText(const DbxBytes& file, uint32_t first_block, std::string* text,
                        DbxProblem* problem);
