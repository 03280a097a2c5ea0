#include "importers/documents/link_document.h"

#include <fmt/format.h>

#include "core/message_texts.h"
#include "importers/documents/rich_text_text.h"

namespace ks::documents {
namespace {

// The texts as the string table keeps them.
constexpr uint32_t kPlainLinkText = 14048;  // "File%c %s]"
constexpr uint32_t kFieldNameText = 14099;  // "File%c"

}  // namespace

std::string FillLinkText(std::string_view text, char field_marker, std::string_view value) {
  std::string filled(text);
  if (const size_t at = filled.find("%c"); at != std::string::npos) {
    filled.replace(at, 2, 1, field_marker);
  }
  if (const size_t at = filled.find("%s"); at != std::string::npos) filled.replace(at, 2, value);
  return filled;
}

std::string ComposeLinkDocument(const LinkParts& parts) {
  const bool attachment = !parts.attachment_name.empty();
  std::string text = parts.header;
  text += "\\s0\\ri0 ";
  text += FillLinkText(MessageText(kFieldNameText), parts.field_marker);
  text += " {\\*\\hlinkstart {\\type";
  text += fmt::format("{}\\file ", attachment ? kLinkTypeAttachment : kLinkTypeFile);
  AppendRichText(text, parts.database_path);
  text += ";\\title ";
  AppendRichText(text, attachment ? parts.attachment_name : parts.file_path, Hyphens::kNonBreaking);
  text += ";}}";
  AppendRichText(text, parts.file_path);
  text += "{\\*\\hlinkend}]}";
  return text;
}

std::string ComposePlainLinkDocument(char field_marker, std::string_view file_path) {
  return FillLinkText(MessageText(kPlainLinkText), field_marker, file_path);
}

std::string ComposeEntryFieldLine(char field_marker, std::string_view file_path) {
  return FillLinkText(MessageText(kFieldNameText), field_marker) + " " + std::string(file_path) +
         " ]\r\n";
}

std::string AttachmentNameOf(std::string_view file_path, size_t limit) {
  const size_t slash = file_path.find_last_of('/');
  std::string name(slash == std::string_view::npos ? file_path : file_path.substr(slash + 1));
  if (name.size() <= limit) return name;
  size_t cut = limit;
  // Never half a character: back up over UTF-8 continuation bytes.
  while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80) --cut;
  name.resize(cut);
  return name;
}

}  // namespace ks::documents
