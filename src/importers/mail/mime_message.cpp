#include "importers/mail/mime_message.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "importers/mail/base64_coder.h"
#include "importers/mail/mime_encoded_words.h"
#include "importers/mail/mime_quoted_printable.h"

namespace ks::mail {

namespace {

// Encodings that leave the body as it stands (an unknown one too: the
// bytes are all there is).
bool IsBase64(std::string_view encoding) {
  return encoding == "base64";
}
bool IsQuotedPrintable(std::string_view encoding) {
  return encoding == "quoted-printable";
}

bool OnlyBlanks(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c == ' ' || c == '\t'; });
}

// The last path element of a name a part gives itself ("C:\Mail\x.doc"
// names x.doc), or the name when that is empty.
std::string BaseName(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  if (slash == std::string::npos || slash + 1 == path.size()) return path;
  return path.substr(slash + 1);
}

// A name for a part that gives none: its number and an extension from its
// type.
std::string MadeUpName(const MimeHeader& header, size_t number) {
  std::string extension = "bin";
  if (header.type == "image" && header.subtype.size() <= 8 &&
      std::all_of(header.subtype.begin(), header.subtype.end(),
                  [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); })) {
    extension = header.subtype == "jpeg" ? "jpg" : header.subtype;
  } else if (header.type == "text") {
    extension = header.subtype == "html" ? "html" : "txt";
  } else if (header.type == "application" && header.subtype == "pdf") {
    extension = "pdf";
  }
  return fmt::format("part{}.{}", number, extension);
}

// The name of an attached message: its subject, which is how mail programs
// show it, without the characters a file name cannot hold.
std::string MessageFileName(std::string_view message, ks::core::CharsetConverter& converter,
                            std::string_view code_page) {
  const PartText inner = SplitPart(message);
  std::string subject = DecodeHeaderValue(HeaderFieldValue(inner.header, "subject"), converter,
                                          code_page);
  for (char& c : subject) {
    if (std::strchr("/\\:*?\"<>|", c) != nullptr || static_cast<unsigned char>(c) < 0x20) c = '_';
  }
  if (subject.size() > 200) subject.resize(200);
  if (subject.empty()) subject = "message";
  return subject + ".eml";
}

}  // namespace

std::vector<std::string_view> SplitMultipart(std::string_view body, std::string_view boundary,
                                             size_t most_parts, std::string_view* preamble) {
  std::vector<std::string_view> parts;
  size_t part_start = std::string_view::npos;  // npos in the preamble
  bool in_preamble = true;
  if (preamble != nullptr) *preamble = body;
  for (size_t at = 0, next = 0; at < body.size(); at = next) {
    const size_t newline = body.find('\n', at);
    next = newline == std::string_view::npos ? body.size() : newline + 1;
    std::string_view line = body.substr(at, next - at);
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.remove_suffix(1);
    if (line.size() < 2 + boundary.size() || line[0] != '-' || line[1] != '-' ||
        line.compare(2, boundary.size(), boundary) != 0) {
      continue;
    }
    std::string_view rest = line.substr(2 + boundary.size());
    const bool closing = rest.starts_with("--");
    if (closing) rest.remove_prefix(2);
    if (!OnlyBlanks(rest)) continue;
    // The line end before a boundary line belongs to the boundary.
    const size_t start = part_start == std::string_view::npos ? 0 : part_start;
    size_t end = at;
    if (end > start && body[end - 1] == '\n') --end;
    if (end > start && body[end - 1] == '\r') --end;
    if (in_preamble && preamble != nullptr) *preamble = body.substr(0, end);
    in_preamble = false;
    if (part_start != std::string_view::npos && parts.size() < most_parts) {
      parts.push_back(body.substr(part_start, end - part_start));
    }
    part_start = closing ? std::string_view::npos : next;
    if (closing) return parts;
  }
  if (part_start != std::string_view::npos && parts.size() < most_parts) {
    parts.push_back(body.substr(part_start));
  }
  return parts;
}

MimeMessage::MimeMessage(std::string_view header, std::string_view body,
                         ks::core::CharsetConverter& converter, std::string_view code_page)
    : converter_(converter), code_page_(code_page) {
  Walk(header, body, 0, "text/plain", false);
  if (parts_.size() == 1 && !parts_[0].header.has_mime_version &&
      !parts_[0].header.has_content_type) {
    parts_[0].plain_message = true;
  }
  ChooseText();
}

void MimeMessage::Walk(std::string_view header, std::string_view body, int depth,
                       std::string_view default_type, bool encapsulated) {
  if (parts_.size() >= kMostParts) return;
  MimeHeader mime = ParseMimeHeader(header, converter_, code_page_, default_type);
  if (mime.IsMultipart()) {
    if (depth >= kMostDepth) return;
    // An empty boundary is no boundary by the rules, but lines of "--"
    // alone are what its writer meant.
    std::string_view preamble = body;
    const std::vector<std::string_view> bodies =
        !mime.has_boundary
            ? std::vector<std::string_view>()
            : SplitMultipart(body, mime.boundary, kMostParts - parts_.size(), &preamble);
    if (!bodies.empty()) {
      const std::string_view inner_default =
          mime.subtype == "digest" ? "message/rfc822" : "text/plain";
      for (const std::string_view part : bodies) {
        const PartText text = SplitPart(part);
        Walk(text.header, text.body, depth + 1, inner_default, encapsulated);
      }
      return;
    }
    // No boundary, or none in the body that opens a part: what is there
    // (before a closing boundary line) is text, as it stands (a multipart
    // body has no transfer encoding of its own).
    body = preamble;
    mime.type = "text";
    mime.subtype = "plain";
    mime.transfer_encoding.clear();
  }
  const bool as_written = !IsBase64(mime.transfer_encoding) &&
                          !IsQuotedPrintable(mime.transfer_encoding);
  const bool message = mime.IsMessage();
  parts_.push_back({std::move(mime), body, encapsulated, false});
  if (message && as_written && depth < kMostDepth) {
    const PartText inner = SplitPart(body);
    Walk(inner.header, inner.body, depth + 1, "text/plain", true);
  }
}

void MimeMessage::ChooseText() {
  // Outside attached messages first; their text only when there is no other.
  // A part with nothing but blanks is passed over while another has text
  // (an empty plain alternative to HTML, a status report's empty fields).
  size_t first_blank = kNone;
  for (const bool encapsulated : {false, true}) {
    for (const std::string_view subtype : {"plain", "html"}) {
      for (size_t i = 0; i < parts_.size(); ++i) {
        const Part& part = parts_[i];
        if (part.encapsulated != encapsulated || !part.header.IsText() ||
            part.header.subtype != subtype || part.header.IsAttachment()) {
          continue;
        }
        if (part.body.find_first_not_of(" \t\r\n") != std::string_view::npos) {
          chosen_ = i;
          return;
        }
        if (first_blank == kNone) first_blank = i;
      }
    }
  }
  chosen_ = first_blank;
}

std::string MimeMessage::Decoded(const Part& part) {
  const std::string_view encoding = part.header.transfer_encoding;
  if (!part.plain_message && IsBase64(encoding)) return Base64Coder::DecodeMime(part.body);
  if (!part.plain_message && IsQuotedPrintable(encoding)) return DecodeQuotedPrintable(part.body);
  return std::string(part.body);
}

std::string MimeMessage::Text() const {
  if (!HasText()) return {};
  const Part& part = parts_[chosen_];
  std::string text;
  const bool as_written = part.plain_message ||
                          (!IsBase64(part.header.transfer_encoding) &&
                           !IsQuotedPrintable(part.header.transfer_encoding));
  const std::string decoded = as_written ? std::string() : Decoded(part);
  const std::string_view bytes = as_written ? part.body : std::string_view(decoded);
  if (part.plain_message) {
    converter_.AppendUndeclared(bytes, text, code_page_);
  } else {
    converter_.AppendText(part.header.charset, bytes, text, code_page_);
  }
  MakeCrLf(text);
  return text;
}

std::vector<AttachmentInfo> MimeMessage::Attachments() const {
  std::vector<AttachmentInfo> attachments;
  for (size_t i = 0; i < parts_.size(); ++i) {
    const Part& part = parts_[i];
    if (i == chosen_ || part.encapsulated) continue;
    const MimeHeader& header = part.header;
    if (header.IsText() && !header.IsAttachment()) continue;
    AttachmentInfo info;
    if (header.IsMessage()) {
      info.kind = AttachmentInfo::kAttachedMessage;
      info.path = header.FileName().empty() ? MessageFileName(part.body, converter_, code_page_)
                                            : header.FileName();
    } else {
      info.path = header.FileName().empty() ? MadeUpName(header, attachments.size() + 1)
                                            : header.FileName();
    }
    info.file_name = BaseName(info.path);
    info.content = Decoded(part);
    info.length = static_cast<uint32_t>(
        std::min<size_t>(info.content.size(), std::numeric_limits<uint32_t>::max()));
    attachments.push_back(std::move(info));
  }
  return attachments;
}

void MimeMessage::MakeCrLf(std::string& text) {
  // Most text has CR LF throughout already: find the first line end that
  // is not one before copying anything.
  const char* const data = text.data();
  const size_t size = text.size();
  size_t at = size;
  for (const void* cr = std::memchr(data, '\r', size); cr != nullptr;) {
    const auto i = static_cast<size_t>(static_cast<const char*>(cr) - data);
    if (i + 1 == size || data[i + 1] != '\n') {
      at = i;
      break;
    }
    cr = std::memchr(data + i + 1, '\r', size - i - 1);
  }
  for (const void* lf = std::memchr(data, '\n', at); lf != nullptr;) {
    const auto i = static_cast<size_t>(static_cast<const char*>(lf) - data);
    if (i == 0 || data[i - 1] != '\r') {
      at = i;
      break;
    }
    lf = std::memchr(data + i + 1, '\n', at - i - 1);
  }
  if (at == size) return;
  std::string fixed;
  fixed.reserve(text.size() + text.size() / 32 + 2);
  fixed.append(text, 0, at);
  for (size_t i = at; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r') {
      fixed += "\r\n";
      if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
    } else if (c == '\n') {
      fixed += "\r\n";
    } else {
      fixed += c;
    }
  }
  text = std::move(fixed);
}

}  // namespace ks::mail
