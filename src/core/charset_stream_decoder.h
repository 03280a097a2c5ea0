// CharsetStreamDecoder: reads a stream of text in a named character set
// (any that iconv knows: "KOI8-R", "SHIFT_JIS", "UTF-16LE", "CP850", ...)
// as UTF-8, piece by piece.  A character cut by the end of a piece waits for
// the next one; a stateful encoding (ISO-2022-JP, UTF-7) keeps its state
// from piece to piece, as it does through a file.  A byte sequence the
// character set does not define becomes U+FFFD and reading goes on after its
// first byte; a single-byte code page gives its undefined bytes their Latin-1
// characters (see CharsetConverter), so nothing is lost.  "ASCII" reads as
// undeclared text (UndeclaredTextDecoder): 8-bit bytes there are a mislabel.
#pragma once

#include <iconv.h>

#include <memory>
#include <string>
#include <string_view>

#include "core/charset_converter.h"
#include "core/text_decoder.h"
#include "core/undeclared_text_decoder.h"

namespace ks::core {

class CharsetStreamDecoder final : public TextDecoder {
 public:
  // A decoder for `charset`, or null when the system does not know it.
  static std::unique_ptr<CharsetStreamDecoder> For(std::string_view charset);

  ~CharsetStreamDecoder() override;
  CharsetStreamDecoder(const CharsetStreamDecoder&) = delete;
  CharsetStreamDecoder& operator=(const CharsetStreamDecoder&) = delete;

  void Append(std::string_view input, bool last, std::string& out) override;
  size_t HeldBack() const override {
    return undeclared_ ? undeclared_->HeldBack() : carry_.size();
  }

 private:
  CharsetStreamDecoder() = default;
  void AppendUtf8(std::string_view text, bool last, std::string& out);
  void AppendIconv(std::string_view text, bool last, std::string& out);

  CharsetConverter converter_;
  std::string charset_;
  CharsetConverter::Reading reading_ = CharsetConverter::Reading::kUnknown;
  iconv_t iconv_ = reinterpret_cast<iconv_t>(-1);  // open for a multibyte set only
  std::string carry_;  // the start of a character (or line) cut by the end of a piece
  // A stateful set (UTF-7, ISO-2022) is converted a whole line at a time:
  // where iconv reports a broken sequence depends on where its input ends,
  // and at a line end nothing is pending.
  bool whole_lines_ = false;
  // "ASCII" with 8-bit bytes is mislabelled text: read by the rule for
  // undeclared text, as mail's declared ASCII is.
  std::unique_ptr<UndeclaredTextDecoder> undeclared_;
};

}  // namespace ks::core
