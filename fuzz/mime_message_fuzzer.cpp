// Fuzzes MimeMessage: finding the MIME parts of a message, choosing its text
// and decoding it, and decoding its attachments; and SplitMultipart alone.
//
// Input: a byte of options (its low bit: the code page for undeclared text,
// Windows-1252 or KOI8-R; the rest picks a boundary of one to eight
// characters for the SplitMultipart check), then the message text, cut into
// header and body at its first empty line as the composer cuts it.
//
// Checks: every part's body lies inside the message, in order of
// appearance, and there are at most kMostParts; the chosen part is a text
// part; the text is valid UTF-8 with CR LF line ends, and reading the same
// message again gives the same text; every attachment has a file name (the
// base name of its path), its length is its content's size, and its content
// is no larger than the part it comes from (Base64 gives three bytes for
// four characters at most); SplitMultipart's parts lie inside the body, in
// order, without overlap, after the preamble.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/charset_converter.h"
#include "fuzz_input.h"
#include "importers/mail/mime_message.h"

namespace {

using ks::mail::AttachmentInfo;
using ks::mail::MimeMessage;

bool Inside(std::string_view part, std::string_view whole) {
  return part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size();
}

bool CrLfOnly(std::string_view text) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n')) return false;
    if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r')) return false;
  }
  return true;
}

void CheckMessage(std::string_view raw, std::string_view code_page) {
  const size_t end = raw.find("\r\n\r\n");
  const std::string_view header = raw.substr(0, end);
  const std::string_view body =
      end == std::string_view::npos ? std::string_view() : raw.substr(end + 4);
  ks::core::CharsetConverter& converter = ks::core::CharsetConverter::ForThisThread();
  const MimeMessage message(header, body, converter, code_page);

  const std::vector<MimeMessage::Part>& parts = message.Parts();
  FUZZ_CHECK(parts.size() <= MimeMessage::kMostParts);
  const char* last = body.data();
  for (const MimeMessage::Part& part : parts) {
    FUZZ_CHECK(Inside(part.body, body));
    // Parts follow one another; an attached message's own follow it.
    FUZZ_CHECK(part.body.data() >= last);
    last = part.body.data();
  }

  const std::string text = message.Text();
  FUZZ_CHECK(ks::core::IsValidUtf8(text));
  FUZZ_CHECK(CrLfOnly(text));
  if (const MimeMessage::Part* chosen = message.ChosenPart()) {
    FUZZ_CHECK(chosen->header.IsText());
  } else {
    FUZZ_CHECK(text.empty());
  }
  FUZZ_CHECK(MimeMessage(header, body, converter, code_page).Text() == text);

  const std::vector<AttachmentInfo> attachments = message.Attachments();
  FUZZ_CHECK(attachments.size() <= parts.size());
  for (const AttachmentInfo& attachment : attachments) {
    FUZZ_CHECK(!attachment.file_name.empty());
    FUZZ_CHECK(attachment.path.ends_with(attachment.file_name));
    FUZZ_CHECK(attachment.length == attachment.content.size());
    FUZZ_CHECK(attachment.content.size() <= body.size());
    FUZZ_CHECK(attachment.flag == 0);
  }
}

void CheckSplit(std::string_view body, std::string_view boundary) {
  std::string_view preamble;
  const std::vector<std::string_view> parts =
      ks::mail::SplitMultipart(body, boundary, 64, &preamble);
  FUZZ_CHECK(parts.size() <= 64);
  FUZZ_CHECK(preamble.data() == body.data() && Inside(preamble, body));
  const char* end = preamble.data() + preamble.size();
  for (const std::string_view part : parts) {
    FUZZ_CHECK(Inside(part, body));
    FUZZ_CHECK(part.data() >= end);
    end = part.data() + part.size();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ks::fuzz::FuzzInput in(data, size);
  const uint8_t options = in.Byte();
  const std::string_view code_page = (options & 1) != 0 ? "KOI8-R" : "WINDOWS-1252";
  const std::string raw(in.Rest());
  CheckMessage(raw, code_page);
  const size_t boundary_size = 1 + (options >> 1) % 8;
  CheckSplit(raw, std::string_view(raw).substr(0, std::min(boundary_size, raw.size())));
  return 0;
}
