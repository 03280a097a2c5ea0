#include "write_document.h"

#include <algorithm>
#include <vector>

#include "code_page_text.h"
#include "word_bytes.h"
#include "word_error.h"
#include "word_text_builder.h"

namespace ks::word {
namespace {

constexpr size_t kPageSize = 128;
constexpr uint16_t kWriteIdent = 0xBE31;
constexpr uint16_t kWriteWithObjectsIdent = 0xBE32;
constexpr uint16_t kWriteTool = 0xAB00;
// Paragraph property byte 16: the running-head and picture flags.
constexpr size_t kPapFlagsByte = 16;
constexpr unsigned char kRunningHead = 0x06;
constexpr unsigned char kPicture = 0x10;

struct Paragraph {
  uint32_t end = 0;  // file offset one past its last byte
  bool skipped = false;
};

// The paragraph runs of the property pages [first, last) that describe the
// text [128, fc_mac).
std::vector<Paragraph> ReadParagraphs(std::string_view bytes, uint32_t first, uint32_t last,
                                      uint32_t fc_mac) {
  std::vector<Paragraph> paragraphs;
  for (uint64_t page = first; page < last && (page + 1) * kPageSize <= bytes.size(); ++page) {
    const char* at = bytes.data() + page * kPageSize;
    const unsigned count = static_cast<unsigned char>(at[kPageSize - 1]);
    for (unsigned i = 0; i < count && 4 + (i + 1) * 6 <= kPageSize - 1; ++i) {
      Paragraph paragraph;
      paragraph.end = Le32(at + 4 + i * 6);
      const uint16_t property = Le16(at + 4 + i * 6 + 4);
      if (property != 0xFFFF && size_t{4} + property < kPageSize - 1) {
        const size_t length = static_cast<unsigned char>(at[4 + property]);
        const size_t flags_at = 4 + property + 1 + kPapFlagsByte;
        if (length > kPapFlagsByte && flags_at < kPageSize - 1) {
          const auto flags = static_cast<unsigned char>(at[flags_at]);
          paragraph.skipped = (flags & (kRunningHead | kPicture)) != 0;
        }
      }
      paragraphs.push_back(paragraph);
      if (paragraph.end >= fc_mac) return paragraphs;
    }
  }
  return paragraphs;
}

}  // namespace

bool LooksLikeWrite(std::string_view bytes) {
  if (bytes.size() < kPageSize) return false;
  const uint16_t ident = Le16(bytes.data());
  return (ident == kWriteIdent || ident == kWriteWithObjectsIdent) && Le16(bytes.data() + 2) == 0 &&
         Le16(bytes.data() + 4) == kWriteTool;
}

std::string ReadWriteText(std::string_view bytes) {
  if (!LooksLikeWrite(bytes)) throw WordError("the file is not a Write document");
  const uint32_t fc_mac = std::min<uint32_t>(Le32(bytes.data() + 14), static_cast<uint32_t>(std::min<size_t>(bytes.size(), UINT32_MAX)));
  if (fc_mac < kPageSize) return {};
  const uint32_t paragraph_pages = Le16(bytes.data() + 18);
  const uint32_t font_pages = Le16(bytes.data() + 20);
  std::vector<Paragraph> paragraphs =
      ReadParagraphs(bytes, paragraph_pages, std::max(font_pages, paragraph_pages), fc_mac);
  WordTextBuilder builder;
  uint32_t at = kPageSize;
  std::string run;
  auto add = [&](uint32_t from, uint32_t to) {
    // Write ends paragraphs with CR LF and lines with LF alone: each is one
    // line end.
    run.clear();
    for (uint32_t i = from; i < to; ++i) {
      const char c = bytes[i];
      if (c == '\r') continue;
      run += c == '\n' ? '\r' : c;
    }
    AddCodePageText(run, 1252, builder);
  };
  for (const Paragraph& paragraph : paragraphs) {
    const uint32_t end = std::min(paragraph.end, fc_mac);
    if (end <= at) continue;
    if (!paragraph.skipped) add(at, end);
    at = end;
  }
  if (at < fc_mac) add(at, fc_mac);
  builder.EndStory();
  return builder.Take();
}

}  // namespace ks::word
