// Utf16Decoder: turns UTF-16 text, handed over in pieces of any size, into
// UTF-8.  A code unit or surrogate pair cut by the end of a piece waits for
// the next one; what cannot be decoded (a lone surrogate, an odd last byte)
// becomes U+FFFD, so that a damaged file still imports everything else.
#pragma once

#include <iconv.h>

#include <string>
#include <string_view>

#include "core/text_decoder.h"

namespace ks::core {

class Utf16Decoder final : public TextDecoder {
 public:
  enum class ByteOrder { kLittleEndian, kBigEndian };

  // Throws std::runtime_error when the system cannot convert UTF-16.
  explicit Utf16Decoder(ByteOrder order);
  ~Utf16Decoder() override;
  Utf16Decoder(const Utf16Decoder&) = delete;
  Utf16Decoder& operator=(const Utf16Decoder&) = delete;

  // Appends the UTF-8 form of `input` to `out`.  `last` says no more input
  // follows: whatever is left undecoded is then given as U+FFFD.
  void Append(std::string_view input, bool last, std::string& out) override;
  size_t HeldBack() const override { return carry_.size(); }

 private:
  iconv_t converter_;
  std::string carry_;  // the start of a unit or pair cut by the end of a piece
};

}  // namespace ks::core
