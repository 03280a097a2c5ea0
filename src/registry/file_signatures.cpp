#include "registry/file_signatures.h"

#include <algorithm>
#include <cctype>

namespace ks::registry {
namespace {

bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

bool SameIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && SameIgnoringCase(text.substr(0, prefix.size()), prefix);
}

bool AtIgnoringCase(std::string_view text, size_t offset, std::string_view mark) {
  return text.size() >= offset + mark.size() && SameIgnoringCase(text.substr(offset, mark.size()), mark);
}

bool HoldsIgnoringCase(std::string_view text, std::string_view mark) {
  const auto found = std::search(text.begin(), text.end(), mark.begin(), mark.end(), [](char x, char y) {
    return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
  });
  return found != text.end();
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace

bool IsPictureSignature(std::string_view opening) {
  using namespace std::string_view_literals;
  if (opening.size() >= 5 && StartsWith(opening, "GIF") && IsDigit(opening[3]) && IsDigit(opening[4])) {
    return true;
  }
  if (AtIgnoringCase(opening, 6, "JFIF") || AtIgnoringCase(opening, 6, "Exif")) return true;
  if (StartsWith(opening, "BM")) return true;
  // Further marks: a JPEG without a JFIF or Exif segment (Adobe's), PNG, and
  // TIFF in either byte order.
  return StartsWith(opening, "\xFF\xD8\xFF"sv) || StartsWith(opening, "\x89PNG\r\n\x1A\n"sv) ||
         StartsWith(opening, "II*\0"sv) || StartsWith(opening, "MM\0*"sv);
}

bool IsArchiveSignature(std::string_view opening) {
  using namespace std::string_view_literals;
  if (StartsWith(opening, "PK\3\4"sv) || StartsWith(opening, "PK\5\6"sv)) return true;
  // Other archives and compressed files, whose bytes no importer reads.
  // bzip2 is taken only with its first block's mark, so that a text that
  // happens to begin "BZh" stays text.
  if (StartsWith(opening, "\x1F\x8B"sv)) return true;
  if (opening.size() >= 10 && StartsWith(opening, "BZh") && opening[3] >= '1' && opening[3] <= '9' &&
      opening.substr(4, 6) == "\x31\x41\x59\x26\x53\x59"sv) {
    return true;
  }
  return StartsWith(opening, "\xFD" "7zXZ\0"sv) || StartsWith(opening, "7z\xBC\xAF\x27\x1C"sv) ||
         StartsWith(opening, "Rar!\x1A\x07"sv);
}

bool IsRichTextSignature(std::string_view opening) {
  return StartsWithIgnoringCase(opening, "{\\rtf");
}

bool IsEudoraMailboxSignature(std::string_view opening) {
  return StartsWith(opening, "From ???@???");
}

bool IsStandardMailboxSignature(std::string_view opening) {
  std::string_view start = opening;
  if (StartsWith(start, "\xEF\xBB\xBF")) start.remove_prefix(3);
  const size_t text = start.find_first_not_of("\r\n");
  if (text != std::string_view::npos && StartsWith(start.substr(text), "From ")) return true;
  return opening.find("\r\nFrom ") != std::string_view::npos;
}

bool IsPdfSignature(std::string_view opening) {
  return StartsWithIgnoringCase(opening, "%PDF-");
}

std::string TextOfOpeningBlock(std::string_view opening) {
  const bool little_endian = StartsWith(opening, "\xFF\xFE");
  if (!little_endian && !StartsWith(opening, "\xFE\xFF")) return std::string(opening);
  std::string text;
  for (size_t i = 2; i + 1 < opening.size(); i += 2) {
    const auto low = static_cast<unsigned char>(opening[little_endian ? i : i + 1]);
    const auto high = static_cast<unsigned char>(opening[little_endian ? i + 1 : i]);
    text.push_back(high == 0 ? static_cast<char>(low) : '?');
  }
  return text;
}

bool IsHtmlSignature(std::string_view opening) {
  const std::string text = TextOfOpeningBlock(opening);
  const std::string_view before_zero = std::string_view(text).substr(0, text.find('\0'));
  return HoldsIgnoringCase(before_zero, "<html") || HoldsIgnoringCase(before_zero, "</html");
}

bool IsPlainTextSignature(std::string_view opening) {
  const std::string text = TextOfOpeningBlock(opening);
  const std::string_view window = std::string_view(text).substr(0, kPlainTextWindow);
  return !window.empty() && window.find('\0') == std::string_view::npos;
}

bool IsExportTextSignature(std::string_view opening) {
  return std::all_of(opening.begin(), opening.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x20 || byte == 0 || byte == '\t' || byte == '\n' || byte == '\v' ||
           byte == '\f' || byte == '\r' || byte == 0x1A || byte == 0x1B;
  });
}

bool IsWordPerfectSignature(std::string_view opening) {
  return AtIgnoringCase(opening, 1, "WPC");
}

}  // namespace ks::registry
