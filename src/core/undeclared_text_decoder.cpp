#include "core/undeclared_text_decoder.h"

#include <utility>

namespace ks::core {

size_t Utf8SafeCut(std::string_view text, size_t limit) {
  if (limit >= text.size()) return text.size();
  // Back over the continuation bytes before the cut to the byte that leads
  // them; a character of four bytes has three of them at most.
  size_t cut = limit;
  for (int back = 0; back < 3 && cut > 0; ++back) {
    if ((static_cast<unsigned char>(text[cut]) & 0xC0) != 0x80) break;
    --cut;
  }
  const auto lead = static_cast<unsigned char>(text[cut]);
  if (cut > 0 && (lead & 0xC0) == 0x80) return limit;  // no character here: any cut will do
  return cut > 0 ? cut : limit;
}

UndeclaredTextDecoder::UndeclaredTextDecoder(std::string code_page, size_t longest_judged_line)
    : code_page_(std::move(code_page)),
      longest_judged_line_(longest_judged_line == 0 ? 1 : longest_judged_line) {}

void UndeclaredTextDecoder::AppendJudged(std::string_view line, std::string& out) {
  if (IsValidUtf8(line)) {
    out += line;
  } else {
    converter_.AppendUndeclared(line, out, code_page_);
  }
}

void UndeclaredTextDecoder::AppendLines(std::string_view text, std::string& out) {
  // The usual case, a whole block of ASCII or UTF-8, goes through at once:
  // every line of it would be kept anyway.
  if (IsValidUtf8(text)) {
    out += text;
    return;
  }
  while (!text.empty()) {
    const size_t end = text.find_first_of("\r\n");
    std::string_view line = text.substr(0, end == std::string_view::npos ? text.size() : end + 1);
    text.remove_prefix(line.size());
    // Cut from the line's start as Append cuts a line still unfinished, so
    // the blocks a source arrives in never change what comes out.
    while (line.size() > longest_judged_line_) {
      const size_t part = Utf8SafeCut(line, longest_judged_line_);
      AppendJudged(line.substr(0, part), out);
      line.remove_prefix(part);
    }
    AppendJudged(line, out);
  }
}

void UndeclaredTextDecoder::Append(std::string_view input, bool last, std::string& out) {
  std::string joined;
  std::string_view text = input;
  if (!carry_.empty()) {
    joined = std::move(carry_);
    joined.append(input);
    text = joined;
    carry_.clear();
  }
  if (last) {
    AppendLines(text, out);
    return;
  }
  const size_t line_end = text.find_last_of("\r\n");
  size_t taken = line_end == std::string_view::npos ? 0 : line_end + 1;
  AppendLines(text.substr(0, taken), out);
  // A line that never ends is judged in parts, so that memory stays bounded.
  while (text.size() - taken > longest_judged_line_) {
    const size_t part = Utf8SafeCut(text.substr(taken), longest_judged_line_);
    AppendLines(text.substr(taken, part), out);
    taken += part;
  }
  carry_.assign(text.substr(taken));
}

}  // namespace ks::core
