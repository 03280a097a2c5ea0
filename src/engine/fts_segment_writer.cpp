// FtsSegmentWriter: FTS5's leaf, term index and doclist index layout.
#include "engine/fts_segment_writer.h"

#include <algorithm>

#include "engine/fts_varint.h"

namespace ks::engine {
namespace {

// A doclist that runs over this many pages holding no term gets an index of
// the first rowid on each of them.
constexpr int kLeastPagesForDoclistIndex = 4;

// Page rowids: segment id, doclist-index flag, height, page number.
constexpr int kPageBits = 31;
constexpr int kHeightBits = 5;
constexpr int kDoclistIndexBits = 1;

void PutU16(std::string& bytes, size_t at, size_t value) {
  bytes[at] = static_cast<char>((value >> 8) & 0xff);
  bytes[at + 1] = static_cast<char>(value & 0xff);
}

void AppendVarint(std::string& out, uint64_t value) { fts_varint::Append(out, value); }

uint64_t ReadVarint(std::string_view bytes, size_t& at) {
  uint64_t value = 0;
  at += static_cast<size_t>(fts_varint::Get(reinterpret_cast<const uint8_t*>(bytes.data()) + at, value));
  return value;
}

size_t CommonPrefix(std::string_view a, std::string_view b) {
  const size_t most = std::min(a.size(), b.size());
  size_t i = 0;
  while (i < most && a[i] == b[i]) ++i;
  return i;
}

// The longest run of whole varints at the start of `list` that fits in
// `room` bytes, but always the first one.
int PoslistPrefix(const uint8_t* list, int room) {
  uint64_t ignored;
  int taken = fts_varint::Get(list, ignored);
  if (taken < room) {
    while (true) {
      const int next = fts_varint::Get(list + taken, ignored);
      if (taken + next > room) break;
      taken += next;
    }
  }
  return taken;
}

}  // namespace

int64_t FtsSegmentWriter::LeafRowid(int64_t segment, int64_t page) {
  return (segment << (kPageBits + kHeightBits + kDoclistIndexBits)) + page;
}

int64_t FtsSegmentWriter::DoclistIndexRowid(int64_t segment, int height, int64_t page) {
  return (segment << (kPageBits + kHeightBits + kDoclistIndexBits)) +
         (int64_t{1} << (kPageBits + kHeightBits)) + (int64_t{height} << kPageBits) + page;
}

FtsSegmentWriter::FtsSegmentWriter(FtsSegmentSink& sink, int64_t segment, int page_size)
    : sink_(sink), segment_(segment), page_size_(page_size) {
  doclist_index_.resize(1);
  page_.reserve(static_cast<size_t>(page_size) + 32);
  page_.assign(4, '\0');
}

void FtsSegmentWriter::Add(std::string_view term, std::string_view doclist) {
  AppendTerm(term);
  if (page_size_ >= Used() + static_cast<int>(doclist.size()) + 1) {
    page_.append(doclist);  // the whole doclist fits on this leaf
  } else {
    AppendSplitDoclist(doclist);
  }
}

void FtsSegmentWriter::AppendSplitDoclist(std::string_view doclist) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(doclist.data());
  size_t at = 0;
  int64_t rowid = 0;
  int64_t previous = 0;
  while (at < doclist.size()) {
    rowid += static_cast<int64_t>(ReadVarint(doclist, at));
    if (first_rowid_in_page_) {
      SetFirstRowidOffset();
      AppendVarint(page_, static_cast<uint64_t>(rowid));
      first_rowid_in_page_ = false;
      AppendToDoclistIndex(rowid);
    } else {
      AppendVarint(page_, static_cast<uint64_t>(rowid) - static_cast<uint64_t>(previous));
    }
    previous = rowid;
    // The size field and the position list go on as far as they fit, then
    // on the next pages, never splitting a varint.
    size_t size_end = at;
    const uint64_t size_field = ReadVarint(doclist, size_end);
    const int copy = static_cast<int>(size_end - at) + static_cast<int>(size_field / 2);
    if (Used() + copy <= page_size_) {
      page_.append(doclist.substr(at, static_cast<size_t>(copy)));
    } else {
      int done = 0;
      while (true) {
        const int room = page_size_ - Used();
        const int n = copy - done <= room ? copy - done : PoslistPrefix(bytes + at + done, room);
        page_.append(doclist.substr(at + static_cast<size_t>(done), static_cast<size_t>(n)));
        done += n;
        if (Used() >= page_size_) FlushLeaf();
        if (done >= copy) break;
      }
    }
    at += static_cast<size_t>(copy);
  }
}

void FtsSegmentWriter::SetFirstRowidOffset() { PutU16(page_, 0, page_.size()); }

void FtsSegmentWriter::AppendTerm(std::string_view term) {
  if (Used() + static_cast<int>(term.size()) + 2 >= page_size_ && page_.size() > 4) FlushLeaf();

  const int offset = static_cast<int>(page_.size());
  AppendVarint(page_index_, static_cast<uint64_t>(offset - previous_term_offset_));
  previous_term_offset_ = offset;

  size_t prefix = 0;
  if (first_term_in_page_) {
    if (page_number_ != 1) {
      // The term index needs a key above every term before this page and
      // not above this one: the shortest prefix of it that differs from the
      // last term written.
      size_t key = term.size();
      if (!last_term_.empty()) key = 1 + CommonPrefix(last_term_, term);
      FlushTermIndex();
      term_index_key_.assign(term.substr(0, std::min(key, term.size())));
      term_index_page_ = page_number_;
    }
  } else {
    prefix = CommonPrefix(last_term_, term);
    AppendVarint(page_, prefix);
  }
  AppendVarint(page_, term.size() - prefix);
  page_.append(term.substr(prefix));

  last_term_.assign(term);
  first_term_in_page_ = false;
  first_rowid_in_page_ = false;
  doclist_index_[0].page = page_number_;
}

void FtsSegmentWriter::FlushLeaf() {
  PutU16(page_, 2, page_.size());
  if (first_term_in_page_) {
    // A page of the middle of a doclist: an empty entry in the doclist index
    // when it holds no rowid either.
    if (first_rowid_in_page_ && !doclist_index_[0].bytes.empty()) {
      AppendVarint(doclist_index_[0].bytes, 0);
    }
    ++empty_pages_;
  } else {
    page_.append(page_index_);
  }
  sink_.Page(LeafRowid(segment_, page_number_), page_);
  page_.assign(4, '\0');
  page_index_.clear();
  previous_term_offset_ = 0;
  ++page_number_;
  first_term_in_page_ = true;
  first_rowid_in_page_ = true;
}

void FtsSegmentWriter::ClearDoclistIndex(bool write) {
  for (size_t height = 0; height < doclist_index_.size(); ++height) {
    DoclistIndexLevel& level = doclist_index_[height];
    if (level.bytes.empty()) break;
    if (write) {
      sink_.Page(DoclistIndexRowid(segment_, static_cast<int>(height), level.page), level.bytes);
    }
    level.bytes.clear();
    level.has_previous = false;
  }
}

bool FtsSegmentWriter::FlushDoclistIndex() {
  const bool write =
      !doclist_index_[0].bytes.empty() && empty_pages_ >= kLeastPagesForDoclistIndex;
  ClearDoclistIndex(write);
  empty_pages_ = 0;
  return write;
}

void FtsSegmentWriter::FlushTermIndex() {
  if (term_index_page_ == 0) return;
  const bool with_doclist_index = FlushDoclistIndex();
  sink_.TermIndex(segment_, term_index_key_,
                  (with_doclist_index ? 1 : 0) + (term_index_page_ << 1));
  term_index_page_ = 0;
}

void FtsSegmentWriter::AppendToDoclistIndex(int64_t rowid) {
  bool done = false;
  for (size_t height = 0; !done; ++height) {
    if (doclist_index_[height].bytes.size() >= static_cast<size_t>(page_size_)) {
      // This level's page is full: write it, and start the level above
      // (a new root) with its first rowid when there is none yet.
      DoclistIndexLevel& full = doclist_index_[height];
      full.bytes[0] = 0x01;  // not the root
      sink_.Page(DoclistIndexRowid(segment_, static_cast<int>(height), full.page), full.bytes);
      if (doclist_index_.size() < height + 2) doclist_index_.resize(height + 2);
      DoclistIndexLevel& level = doclist_index_[height];
      DoclistIndexLevel& parent = doclist_index_[height + 1];
      if (parent.bytes.empty()) {
        size_t at = 1;
        ReadVarint(level.bytes, at);
        const auto first = static_cast<int64_t>(ReadVarint(level.bytes, at));
        parent.page = level.page;
        AppendVarint(parent.bytes, 0);
        AppendVarint(parent.bytes, static_cast<uint64_t>(level.page));
        AppendVarint(parent.bytes, static_cast<uint64_t>(first));
        parent.has_previous = true;
        parent.previous = first;
      }
      level.bytes.clear();
      level.has_previous = false;
      ++level.page;
    } else {
      done = true;
    }
    DoclistIndexLevel& level = doclist_index_[height];
    uint64_t value;
    if (level.has_previous) {
      value = static_cast<uint64_t>(rowid) - static_cast<uint64_t>(level.previous);
    } else {
      const int64_t page = height == 0 ? page_number_ : doclist_index_[height - 1].page;
      AppendVarint(level.bytes, done ? 0 : 1);
      AppendVarint(level.bytes, static_cast<uint64_t>(page));
      value = static_cast<uint64_t>(rowid);
    }
    AppendVarint(level.bytes, value);
    level.has_previous = true;
    level.previous = rowid;
  }
}

int64_t FtsSegmentWriter::Finish() {
  if (page_.size() > 4) FlushLeaf();
  const int64_t last = page_number_ - 1;
  if (page_number_ > 1) FlushTermIndex();
  return last;
}

}  // namespace ks::engine
