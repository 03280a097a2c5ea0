#include "core/undeclared_text_decoder.h"

#include <cstring>
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
  if ((static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) return limit;  // no character here
  if (cut > 0) return cut;
  // The first character reaches past the limit: it goes whole, if it is one.
  const auto lead = static_cast<unsigned char>(text[0]);
  const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
  if (length <= text.size() && IsValidUtf8(text.substr(0, length))) return length;
  return limit;
}

namespace {

// Where the line that starts at `from` ends: just after its CR or LF, or at
// the end of the text.  Two library scans, which run many bytes at a time.
size_t LineEnd(std::string_view text, size_t from) {
  const char* start = text.data() + from;
  const size_t left = text.size() - from;
  const auto* lf = static_cast<const char*>(std::memchr(start, '\n', left));
  const size_t lf_at = lf != nullptr ? static_cast<size_t>(lf - start) : left;
  const auto* cr = static_cast<const char*>(std::memchr(start, '\r', lf_at));
  const size_t end = cr != nullptr ? static_cast<size_t>(cr - start) : lf_at;
  return from + (end < left ? end + 1 : left);
}

}  // namespace

UndeclaredTextDecoder::UndeclaredTextDecoder(std::string code_page, size_t longest_judged_line)
    : code_page_(std::move(code_page)),
      longest_judged_line_(longest_judged_line == 0 ? 1 : longest_judged_line) {
  const CharsetConverter::Reading reading = converter_.ReadingOf(code_page_);
  if (reading != CharsetConverter::Reading::kSingleByte &&
      reading != CharsetConverter::Reading::kMultiByte) {
    code_page_ = std::string(CharsetConverter::kDefaultCodePage);
  }
}

void UndeclaredTextDecoder::AppendJudged(std::string_view line, std::string& out) {
  if (IsValidUtf8(line)) {
    out += line;
  } else {
    converter_.AppendDeclared(code_page_, line, out);
  }
}

void UndeclaredTextDecoder::AppendLines(std::string_view text, std::string& out) {
  // The usual case, a whole block of ASCII or UTF-8, goes through at once:
  // every line of it would be kept anyway.
  if (IsValidUtf8(text)) {
    out += text;
    return;
  }
  // Lines that are kept are copied a run at a time.
  size_t kept_from = 0;
  for (size_t at = 0; at < text.size();) {
    const size_t end = LineEnd(text, at);
    std::string_view line = text.substr(at, end - at);
    if (line.size() <= longest_judged_line_ && IsValidUtf8(line)) {
      at = end;
      continue;
    }
    out.append(text.substr(kept_from, at - kept_from));
    // Cut from the line's start as Append cuts a line still unfinished, so
    // the blocks a source arrives in never change what comes out.
    while (line.size() > longest_judged_line_) {
      const size_t part = Utf8SafeCut(line, longest_judged_line_);
      AppendJudged(line.substr(0, part), out);
      line.remove_prefix(part);
    }
    AppendJudged(line, out);
    at = end;
    kept_from = end;
  }
  out.append(text.substr(kept_from));
}

void UndeclaredTextDecoder::JudgeLongCarry(std::string& out) {
  // A part is decided on at most three bytes past the limit (the rest of a
  // character that reaches past it), so the line waits until it has them.
  size_t taken = 0;
  while (carry_.size() - taken > longest_judged_line_ + 3) {
    const std::string_view rest = std::string_view(carry_).substr(taken);
    const size_t part = Utf8SafeCut(rest, longest_judged_line_);
    AppendJudged(rest.substr(0, part), out);
    taken += part;
  }
  carry_.erase(0, taken);
}

void UndeclaredTextDecoder::Append(std::string_view input, bool last, std::string& out) {
  if (!carry_.empty()) {
    // The line held back ends in this piece (or goes on past it): only that
    // line is joined, the rest of the piece is read where it lies.
    const size_t line_end = input.find_first_of("\r\n");
    if (line_end == std::string_view::npos && !last) {
      carry_.append(input);
      JudgeLongCarry(out);
      return;
    }
    const size_t upto = line_end == std::string_view::npos ? input.size() : line_end + 1;
    carry_.append(input.substr(0, upto));
    AppendLines(carry_, out);
    carry_.clear();
    input.remove_prefix(upto);
  }
  if (last) {
    AppendLines(input, out);
    return;
  }
  const size_t line_end = input.find_last_of("\r\n");
  const size_t whole_lines = line_end == std::string_view::npos ? 0 : line_end + 1;
  AppendLines(input.substr(0, whole_lines), out);
  carry_.assign(input.substr(whole_lines));
  JudgeLongCarry(out);
}

}  // namespace ks::core
