#include "importers/mail/mailbox_reader.h"

#include <cstring>

#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

constexpr std::string_view kFrom = "From ";
constexpr std::string_view kEudoraSeparator = "From ???@???";

// A converted message larger than this does not keep its buffer for the next.
constexpr size_t kKeptBuffer = size_t{4} << 20;

// The first CR or LF in [from, end), else `end`.  Mail lines are short: one
// pass over both bytes at once, sixteen at a time, beats a memchr for each.
const char* FindLineEndByte(const char* from, const char* end) {
#if defined(__SSE2__)
  const __m128i cr = _mm_set1_epi8('\r');
  const __m128i lf = _mm_set1_epi8('\n');
  for (; end - from >= 16; from += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const int hits = _mm_movemask_epi8(
        _mm_or_si128(_mm_cmpeq_epi8(bytes, cr), _mm_cmpeq_epi8(bytes, lf)));
    if (hits != 0) return from + __builtin_ctz(static_cast<unsigned>(hits));
  }
#endif
  for (; from != end; ++from) {
    if (*from == '\r' || *from == '\n') return from;
  }
  return end;
}

}  // namespace

MailboxReader::MailboxReader(std::string text, Mode mode)
    : owned_(std::make_unique<InMemoryMailbox>(std::move(text))),
      bytes_(*owned_),
      mode_(mode),
      size_(bytes_.view().size()),
      position_(0) {}

MailboxReader::MailboxReader(MailboxBytes& bytes, Mode mode, uint64_t size, uint64_t start)
    : bytes_(bytes), mode_(mode), size_(size), position_(start) {}

std::string MailboxReader::WithCrLfLineEnds(std::string_view text) {
  std::string out;
  return std::string(CrLfLineEnds(text, &out));
}

std::string_view MailboxReader::CrLfLineEnds(std::string_view text, std::string* out) {
  // Runs between line ends are copied whole; a text whose line ends are all
  // CR LF already is not copied at all.
  const char* const end = text.data() + text.size();
  const char* copied = text.data();  // what lies before this is in *out
  bool converted = false;
  for (const char* at = FindLineEndByte(text.data(), end); at != end;
       at = FindLineEndByte(at, end)) {
    if (*at == '\r' && at + 1 != end && at[1] == '\n') {
      at += 2;
      continue;
    }
    if (!converted) {
      out->reserve(out->size() + text.size() + text.size() / 16 + 16);
      converted = true;
    }
    // CR alone, or LF alone (a LF after a CR went with it).
    out->append(copied, at);
    out->append("\r\n");
    copied = ++at;
  }
  if (!converted) return text;
  out->append(copied, end);
  return *out;
}

void MailboxReader::Reach(uint64_t offset) {
  while (bytes_.end() < offset && bytes_.More()) {
  }
}

std::string_view MailboxReader::Bytes(uint64_t from, uint64_t to) const {
  const std::string_view view = bytes_.view();
  const uint64_t base = bytes_.begin();
  from = std::clamp(from, base, base + view.size());
  to = std::clamp(to, from, base + view.size());
  return view.substr(static_cast<size_t>(from - base), static_cast<size_t>(to - from));
}

std::optional<uint64_t> MailboxReader::LocateSeparator(uint64_t from) {
  Reach(from + kFrom.size());
  if (from >= bytes_.end()) return std::nullopt;
  if (Bytes(from, from + kFrom.size()) == kFrom) return from;
  return FindSeparator(from);
}

std::optional<uint64_t> MailboxReader::FindSeparator(uint64_t from, bool* all_crlf) {
  if (mode_ == Mode::kEudora) return FindEudoraSeparator(from);
  // Standard mode: "From " right after a line end of any kind (the mailbox's
  // line ends are not converted yet).  Walking from line end to line end
  // also tells whether they are all CR LF already.
  bool crlf = true;
  uint64_t at = from;
  while (true) {
    std::string_view view = bytes_.view();
    uint64_t base = bytes_.begin();
    const char* const view_end = view.data() + view.size();
    const char* hit = FindLineEndByte(view.data() + (at - base), view_end);
    if (hit == view_end) {
      at = bytes_.end();
      if (bytes_.More()) continue;
      if (all_crlf != nullptr) *all_crlf = crlf;
      return std::nullopt;
    }
    const uint64_t line_end = base + static_cast<uint64_t>(hit - view.data());
    Reach(line_end + 2 + kFrom.size());  // the line end and what follows it
    view = bytes_.view();
    base = bytes_.begin();
    const auto i = static_cast<size_t>(line_end - base);
    size_t next_line = i + 1;
    if (view[i] == '\r' && next_line < view.size() && view[next_line] == '\n') {
      ++next_line;
    } else {
      crlf = false;
    }
    if (next_line + kFrom.size() <= view.size() &&
        std::memcmp(view.data() + next_line, kFrom.data(), kFrom.size()) == 0) {
      if (all_crlf != nullptr) *all_crlf = crlf;
      return base + next_line;
    }
    at = base + next_line;
  }
}

std::optional<uint64_t> MailboxReader::FindEudoraSeparator(uint64_t from) {
  constexpr std::string_view pattern = kEudoraSeparator;
  uint64_t resume = from;
  while (true) {
    const std::string_view view = bytes_.view();
    const uint64_t base = bytes_.begin();
    const auto at = static_cast<size_t>(std::max(resume, base) - base);
    if (at < view.size()) {
      const void* hit =
          memmem(view.data() + at, view.size() - at, pattern.data(), pattern.size());
      if (hit != nullptr) return base + static_cast<uint64_t>(static_cast<const char*>(hit) - view.data());
    }
    const uint64_t seen = bytes_.end();
    if (!bytes_.More()) return std::nullopt;
    // A separator may straddle the end of what was seen.
    resume = std::max(from, seen - std::min<uint64_t>(seen, pattern.size() - 1));
  }
}

uint64_t MailboxReader::FindLineEnd(uint64_t from) {
  uint64_t at = from;
  while (true) {
    const std::string_view view = bytes_.view();
    const uint64_t base = bytes_.begin();
    for (size_t i = static_cast<size_t>(at - base); i < view.size(); ++i) {
      if (view[i] == '\r' || view[i] == '\n') return base + i;
    }
    at = std::max(at, bytes_.end());
    if (!bytes_.More()) return at;
  }
}

std::optional<MailboxReader::Message> MailboxReader::Next() {
  // The previous message is done with.
  bytes_.Release(position_);
  const std::optional<uint64_t> separator = LocateSeparator(position_);
  if (!separator) {
    Reach(UINT64_MAX);  // nothing more is wanted: reads to the end
    position_ = std::max({position_, size_, bytes_.end()});
    size_ = position_;
    return std::nullopt;
  }
  // Past "From " and the word after it; the raw text starts at the blank.
  // A separator line with nothing after the address ends the word at its
  // line end, so the first header line stays whole.
  const uint64_t begin = *separator;
  if (const uint64_t after = begin + kFrom.size(); after < line_end_from_ || after > line_end_) {
    line_end_from_ = after;
    line_end_ = FindLineEnd(after);
  }
  const uint64_t line_end = line_end_;
  const size_t blank = Bytes(begin, line_end).find(' ', kFrom.size());
  const uint64_t start = blank == std::string_view::npos ? line_end : begin + blank;
  bool all_crlf = false;  // known in standard mode only
  const std::optional<uint64_t> next = FindSeparator(start, &all_crlf);
  const uint64_t end = next ? *next : bytes_.end();
  position_ = end;

  if (converted_.capacity() > kKeptBuffer) {
    std::string().swap(converted_);
  } else {
    converted_.clear();
  }
  Message message;
  message.begin = begin;
  message.end = end;
  message.separator_line = Bytes(begin, line_end);
  const std::string_view raw = Bytes(std::min(start, end), end);
  message.raw_text = all_crlf ? raw : CrLfLineEnds(raw, &converted_);
  return message;
}

double MailboxReader::Progress() const {
  if (size_ == 0) return 1.0;
  return std::min(1.0, static_cast<double>(position_) / static_cast<double>(size_));
}
