// The message table: the text of every error code (and of the few other
// strings the library shows), kept byte for byte as hosts have always seen
// them, misspellings included.
#pragma once

#include <cstdint>
#include <string_view>

// The text whose identifier is `id`; empty when there is none.
std::string_view MessageText(uint32_t id);

// The title of the message box that shows message `id`; empty when the
// message is not shown in one.
std::string_view MessageCaption(uint32_t id);

// The text shown for an error code: its own, or the internal-error text when
// the code has none (or an empty one).
std::string_view ErrorText(uint32_t code);

// Copies ErrorText(code) with its terminator into `buffer` only when the two
// are strictly shorter than `size`; returns 1 then, else 0 with the buffer
// untouched.
uint32_t CopyErrorText(uint32_t code, char* buffer, int32_t size);

// Copies `text` with its terminator when the two are strictly shorter than
// `size` (the rule of every text the library hands a host); returns 1 then,
// else 0 with the buffer untouched.
uint32_t CopyTextStrictly(std::string_view text, char* buffer, int32_t size);
