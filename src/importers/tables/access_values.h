// How the stored bytes of an Access column become text, apart from libmdb:
// libmdb's own conversions go through the locale, strftime and a fixed-size
// buffer, so the driver takes the raw bytes of each value from libmdb and
// turns them into text here by the rules of value_text.h.  Every function
// takes the bytes as stored and accepts any length: a value shorter than its
// type needs gives false and appends nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "importers/tables/byte_order.h"

namespace ks::core {
class CharsetConverter;
class Utf16Decoder;
}  // namespace ks::core

namespace ks::tables::access {


// Text of a Jet 4 or ACE file: UTF-16LE, or "compressed" when it starts with
// FF FE (runs of one-byte Latin-1 characters and of UTF-16LE, each 0x00 byte
// switching between them).  Always appends valid UTF-8.
void AppendJet4Text(std::string_view bytes, core::Utf16Decoder& utf16, std::string& out);

// Little-endian integers, signed as Access stores them (a byte is unsigned).
bool AppendByte(std::string_view bytes, std::string& out);
bool AppendInt16(std::string_view bytes, std::string& out);
bool AppendInt32(std::string_view bytes, std::string& out);
bool AppendSingle(std::string_view bytes, std::string& out);
bool AppendDoubleValue(std::string_view bytes, std::string& out);
// Currency: a 64-bit count of ten-thousandths.
bool AppendMoney(std::string_view bytes, std::string& out);
// Decimal: a sign byte, then a 128-bit magnitude as four little-endian 32-bit
// words, the most significant first; `scale` digits after the point.
bool AppendNumeric(std::string_view bytes, int scale, std::string& out);
// Date/time: a double counting days since 1899-12-30.
bool AppendDateTimeValue(std::string_view bytes, std::string& out);
// Extended date/time (Access 2019): ASCII "DDDDDDDDDDDDDDDDDDD:TTTTTTTTTTTTTTTTTTT:P",
// days since 0001-01-01 and the time of day in 100-nanosecond ticks.
bool AppendExtendedDateTime(std::string_view bytes, std::string& out);
// Replication id: a GUID, as {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}.
bool AppendGuid(std::string_view bytes, std::string& out);

// A calculated column (Access 2010) wraps its result: 16 bytes, the length
// of the result as a 32-bit integer, then the result.  Returns the result,
// or nothing when the wrapper does not fit in `bytes`.
bool UnwrapCalculated(std::string_view bytes, std::string_view& result);

}  // namespace ks::tables::access
