// MimeMessage: the MIME structure of one message, the text a reader sees
// and the attachments it carries.
//
// The parts of multipart/* bodies are found at their boundary lines
// ("--boundary" at the start of a line, "--boundary--" closing; preamble and
// epilogue belong to no part; a missing closing line ends the last part at
// the end of the body), 32 levels deep at most.  A message/rfc822 part is an
// attachment as it stands, and its own parts are looked into only when the
// message has no text outside it.  A multipart body in which no boundary
// line is found (mailboxes such as Eudora's store messages already taken
// apart) is plain text.
//
// The text: the first text/plain part that is not an attachment, else the
// first text/html part that is not; its transfer encoding is undone and it
// is converted from its character set (undeclared: the library's rule) to
// UTF-8 with CR LF line ends.  A message with neither MIME-Version nor
// Content-Type is plain text: its body is only converted.  Every other part
// that has a file name, and every part that is not text, is an attachment;
// its content is decoded only when asked for.
//
// Everything is read in one pass per level over views of the message text,
// which the caller keeps alive as long as the MimeMessage.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "core/charset_converter.h"
#include "importers/mail/attachment_info.h"
#include "importers/mail/mime_header.h"

namespace ks::mail {

class MimeMessage {
 public:
  static constexpr int kMostDepth = 32;
  // Parts beyond this many are not read (a message of nothing but boundary
  // lines would otherwise cost far more memory than its size).
  static constexpr size_t kMostParts = 10000;

  MimeMessage(std::string_view header, std::string_view body,
              ks::core::CharsetConverter& converter,
              std::string_view code_page = ks::core::CharsetConverter::kDefaultCodePage);

  bool HasText() const { return chosen_ != kNone; }
  // The text, decoded; empty when the message has no text part.
  std::string Text() const;
  // Every attachment, with its content decoded.
  std::vector<AttachmentInfo> Attachments() const;

  // The parts found, in order (multipart containers are not parts).
  struct Part {
    MimeHeader header;
    std::string_view body;      // as written, still in its transfer encoding
    bool encapsulated = false;  // inside a message/rfc822 part
    bool plain_message = false; // the body of a message that is no MIME at all
  };
  const std::vector<Part>& Parts() const { return parts_; }
  const Part* ChosenPart() const { return HasText() ? &parts_[chosen_] : nullptr; }

  // Line ends made CR LF: LF alone and CR alone each become CR LF.
  static void MakeCrLf(std::string& text);

 private:
  static constexpr size_t kNone = static_cast<size_t>(-1);

  void Walk(std::string_view header, std::string_view body, int depth,
            std::string_view default_type, bool encapsulated);
  void ChooseText();
  // The bytes of a part's body with its transfer encoding undone.
  static std::string Decoded(const Part& part);

  ks::core::CharsetConverter& converter_;
  std::string code_page_;
  std::vector<Part> parts_;
  size_t chosen_ = kNone;
};

// The bodies of the parts of a multipart body cut at `boundary`.  The text
// before the first boundary line (all of it when there is none) goes to
// *preamble when asked for.
std::vector<std::string_view> SplitMultipart(std::string_view body, std::string_view boundary,
                                             size_t most_parts = MimeMessage::kMostParts,
                                             std::string_view* preamble = nullptr);

}  // namespace ks::mail
