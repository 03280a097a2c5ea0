#include "importers/mail/mailbox_reader.h"

#include <cstring>

#include <algorithm>

namespace {

constexpr std::string_view kFrom = "From ";
constexpr std::string_view kEudoraSeparator = "From ???@???";

// A converted message larger than this does not keep its buffer for the next.
constexpr size_t kKeptBuffer = size_t{4} << 20;

const char* Find(const char* from, const char* end, char c) {
  const void* found = std::memchr(from, c, static_cast<size_t>(end - from));
  return found != nullptr ? static_cast<const char*>(found) : end;
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
  const char* next_cr = Find(text.data(), end, '\r');
  const char* next_lf = Find(text.data(), end, '\n');
  while (true) {
    const char* at = std::min(next_cr, next_lf);
    if (at == end) break;
    if (*at == '\r' && at + 1 != end && at[1] == '\n') {
      next_cr = Find(at + 2, end, '\r');
      next_lf = Find(at + 2, end, '\n');
      continue;
    }
    if (!converted) {
      out->reserve(out->size() + text.size() + text.size() / 16 + 16);
      converted = true;
    }
    if (*at == '\r') {  // CR alone
      out->append(copied, at + 1);
      out->push_back('\n');
      next_cr = Find(at + 1, end, '\r');
    } else {  // LF alone: a LF after a CR went with it
      out->append(copied, at);
      out->append("\r\n");
      next_lf = Find(at + 1, end, '\n');
    }
    copied = at + 1;
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

std::optional<uint64_t> MailboxReader::FindSeparator(uint64_t from) {
  // Standard mode: "From " right after a line end of any kind (the mailbox's
  // line ends are not converted yet).  Eudora: its separator anywhere.
  const bool after_line_end = mode_ == Mode::kStandard;
  const std::string_view pattern = after_line_end ? kFrom : kEudoraSeparator;
  uint64_t resume = from;
  while (true) {
    const std::string_view view = bytes_.view();
    const uint64_t base = bytes_.begin();
    size_t at = static_cast<size_t>(std::max(resume, base) - base);
    while (at < view.size()) {
      const void* hit =
          memmem(view.data() + at, view.size() - at, pattern.data(), pattern.size());
      if (hit == nullptr) break;
      const auto found = static_cast<size_t>(static_cast<const char*>(hit) - view.data());
      if (!after_line_end) return base + found;
      // The byte before is in view: nothing at or after `from` was released.
      if (base + found > from && (view[found - 1] == '\r' || view[found - 1] == '\n')) {
        return base + found;
      }
      at = found + 1;
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
  const std::optional<uint64_t> next = FindSeparator(start);
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
  message.raw_text = CrLfLineEnds(Bytes(std::min(start, end), end), &converted_);
  return message;
}

double MailboxReader::Progress() const {
  if (size_ == 0) return 1.0;
  return std::min(1.0, static_cast<double>(position_) / static_cast<double>(size_));
}
