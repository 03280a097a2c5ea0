// TextDecoder: turns the bytes of a source, handed over in pieces of any
// size, into UTF-8, the character set of the database.  A piece may end in
// the middle of a character or a line; a decoder holds such a tail back and
// decodes it with the next piece, so that splitting a source into blocks
// never changes what comes out.  Whatever the input, the output is valid
// UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ks::core {

class TextDecoder {
 public:
  virtual ~TextDecoder() = default;

  // Appends the UTF-8 form of `input` to `out`.  `last` says no more input
  // follows: whatever was held back is then decoded too.
  virtual void Append(std::string_view input, bool last, std::string& out) = 0;

  // Bytes of the input given so far that are held back for the next piece,
  // so that positions in the output can be traced back to the source.
  virtual size_t HeldBack() const = 0;
};

}  // namespace ks::core
