// FtsTermBuffer: a hash of terms to growing doclists.
#include "engine/fts_term_buffer.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "engine/fts_segment_writer.h"
#include "engine/fts_varint.h"

namespace ks::engine {
namespace {

// FTS5 keys the terms of its main index with this byte before the token.
constexpr char kMainIndexPrefix = '0';

// Doclists are carved from shared blocks of this size; one that outgrows a
// quarter of it gets a block of its own.
constexpr size_t kBlockSize = size_t{1} << 20;
// A doclist's room: 8 bytes (a rowid, a size field and a position, for most
// terms all there will be), then the next power of two its size reaches.
constexpr uint32_t kFirstRoom = 8;
constexpr size_t kFirstSlots = size_t{1} << 12;

constexpr uint64_t kUpperHalf = 0xffffffff00000000ULL;

uint64_t SlotOf(uint64_t hash, uint32_t index) { return (hash & kUpperHalf) | (uint64_t{index} + 1); }

uint32_t RoomFor(uint32_t size) { return std::max(kFirstRoom, std::bit_ceil(size)); }

uint64_t Load64(const char* p) {
  uint64_t value;
  std::memcpy(&value, p, 8);
  return value;
}

uint64_t Load32(const char* p) {
  uint32_t value;
  std::memcpy(&value, p, 4);
  return value;
}

uint64_t Mix(uint64_t a, uint64_t b) {
  const unsigned __int128 product = static_cast<unsigned __int128>(a) * b;
  return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

// A hash that reads a short token a word at a time and never past its end.
uint64_t HashOf(std::string_view token) {
  constexpr uint64_t kSeed = 0xa0761d6478bd642fULL;
  constexpr uint64_t kStep = 0xe7037ed1a0b428dbULL;
  const char* p = token.data();
  const size_t n = token.size();
  if (n >= 8) {
    uint64_t hash = n * kSeed;
    for (size_t i = 0; i + 8 < n; i += 8) hash = Mix(hash ^ Load64(p + i), kStep);
    return Mix(hash ^ Load64(p + n - 8), kSeed);
  }
  uint64_t a = 0;
  uint64_t b = 0;
  if (n >= 4) {
    a = Load32(p);
    b = Load32(p + n - 4);
  } else if (n > 0) {
    a = (uint64_t{static_cast<uint8_t>(p[0])} << 16) |
        (uint64_t{static_cast<uint8_t>(p[n >> 1])} << 8) | static_cast<uint8_t>(p[n - 1]);
  }
  return Mix(a ^ kStep, b ^ kSeed ^ n);
}

bool SameBytes(const char* a, const char* b, size_t size) {
  for (size_t i = 0; i < size; ++i) {
    if (a[i] != b[i]) return false;
  }
  return true;
}

}  // namespace

FtsTermBuffer::FtsTermBuffer() { slots_.assign(kFirstSlots, 0); }

std::string_view FtsTermBuffer::KeyOf(const Entry& entry) const {
  const auto* at = reinterpret_cast<const uint8_t*>(terms_.data()) + entry.term_at;
  const size_t size = size_t{at[0]} << 8 | at[1];
  return std::string_view(terms_.data() + entry.term_at + 2, size);
}

FtsTermBuffer::Entry* FtsTermBuffer::Find(std::string_view token, uint64_t hash, size_t& slot) {
  const size_t mask = slots_.size() - 1;
  const uint64_t upper = hash & kUpperHalf;
  for (slot = hash & mask; slots_[slot] != 0; slot = (slot + 1) & mask) {
    const uint64_t value = slots_[slot];
    if ((value & kUpperHalf) != upper) continue;
    Entry& candidate = At(static_cast<uint32_t>(value) - 1);
    const auto* key = reinterpret_cast<const uint8_t*>(terms_.data()) + candidate.term_at;
    if ((size_t{key[0]} << 8 | key[1]) == token.size() + 1 &&
        SameBytes(reinterpret_cast<const char*>(key) + 3, token.data(), token.size())) {
      return &candidate;
    }
  }
  return nullptr;
}

FtsTermBuffer::Entry& FtsTermBuffer::Insert(std::string_view token, uint64_t hash, size_t slot) {
  if (count_ % kEntriesPerPage == 0 && count_ / kEntriesPerPage == pages_.size()) {
    pages_.push_back(std::make_unique_for_overwrite<Entry[]>(kEntriesPerPage));
  }
  Entry& entry = At(count_++);
  entry = Entry{};
  entry.term_at = static_cast<uint32_t>(terms_.size());
  // Tokens are at most 32768 bytes, so the key's length fits in two.
  const size_t key_size = token.size() + 1;
  terms_.push_back(static_cast<char>(key_size >> 8));
  terms_.push_back(static_cast<char>(key_size & 0xff));
  terms_.push_back(kMainIndexPrefix);
  terms_.append(token);
  entry.list = Allocate(kFirstRoom);
  slots_[slot] = SlotOf(hash, count_ - 1);
  if (size_t{count_} * 2 > slots_.size()) GrowSlots();
  return entry;
}

uint8_t* FtsTermBuffer::Allocate(size_t size) {
  if (size > kBlockSize / 4) {
    large_blocks_.push_back(std::make_unique_for_overwrite<uint8_t[]>(size));
    block_bytes_ += size;
    return large_blocks_.back().get();
  }
  if (free_size_ < size) {
    // The blocks of the last segment are used again before new ones: their
    // pages are mapped already.
    if (blocks_used_ == blocks_.size()) {
      blocks_.push_back(std::make_unique_for_overwrite<uint8_t[]>(kBlockSize));
    }
    free_ = blocks_[blocks_used_++].get();
    free_size_ = kBlockSize;
    block_bytes_ += kBlockSize;
  }
  uint8_t* carved = free_;
  free_ += size;
  free_size_ -= size;
  return carved;
}

// Room for `more` bytes after the doclist: a list that outgrows its room
// moves to a larger one (what it leaves behind is freed with its block).
void FtsTermBuffer::Reserve(Entry& entry, uint32_t more) {
  if (entry.list_size + more <= RoomFor(entry.list_size)) return;
  uint8_t* moved = Allocate(RoomFor(entry.list_size + more));
  std::memcpy(moved, entry.list, entry.list_size);
  entry.list = moved;
}

void FtsTermBuffer::Add(std::string_view token, uint32_t position) {
  const uint64_t hash = HashOf(token);
  size_t slot;
  Entry* found = Find(token, hash, slot);
  if (found != nullptr && found->rowid == rowid_) {
    const uint32_t before = found->list_size;
    Reserve(*found, 5);
    found->list_size += static_cast<uint32_t>(
        fts_varint::Put(found->list + found->list_size, uint64_t{position} - found->position + 2));
    found->position = position;
    list_bytes_ += found->list_size - before;
    return;
  }
  // The document's first time for this term: its rowid (the whole rowid for
  // a new term, else the difference from the last), a size field to come and
  // the position.
  uint64_t rowid_field = static_cast<uint64_t>(rowid_);
  uint32_t before = 0;
  if (found == nullptr) {
    found = &Insert(token, hash, slot);
  } else {
    before = found->list_size;
    CloseDoclist(*found);
    rowid_field -= static_cast<uint64_t>(found->rowid);
  }
  uint8_t bytes[15];
  int size = fts_varint::Put(bytes, rowid_field);
  const int size_at = size;
  bytes[size++] = 0;
  size += fts_varint::Put(bytes + size, uint64_t{position} + 2);
  Reserve(*found, static_cast<uint32_t>(size));
  std::memcpy(found->list + found->list_size, bytes, static_cast<size_t>(size));
  found->size_at = found->list_size + static_cast<uint32_t>(size_at);
  found->list_size += static_cast<uint32_t>(size);
  found->rowid = rowid_;
  found->position = position;
  list_bytes_ += found->list_size - before;
}

// Writes the size field of the entry's last position list: one byte was
// kept for it, which most lists need; a longer list moves over.
void FtsTermBuffer::CloseDoclist(Entry& entry) {
  const uint32_t list = entry.list_size - entry.size_at - 1;
  const uint64_t field = uint64_t{list} * 2;
  if (field < 0x80) {
    entry.list[entry.size_at] = static_cast<uint8_t>(field);
    return;
  }
  uint8_t bytes[9];
  const auto length = static_cast<uint32_t>(fts_varint::Put(bytes, field));
  Reserve(entry, length - 1);
  std::memmove(entry.list + entry.size_at + length, entry.list + entry.size_at + 1, list);
  std::memcpy(entry.list + entry.size_at, bytes, length);
  entry.list_size += length - 1;
}

void FtsTermBuffer::GrowSlots() {
  slots_.assign(slots_.size() * 2, 0);
  const size_t mask = slots_.size() - 1;
  for (uint32_t i = 0; i < count_; ++i) {
    const uint64_t hash = HashOf(KeyOf(At(i)).substr(1));
    size_t slot = hash & mask;
    while (slots_[slot] != 0) slot = (slot + 1) & mask;
    slots_[slot] = SlotOf(hash, i);
  }
}

void FtsTermBuffer::WriteTo(FtsSegmentWriter& writer) {
  std::vector<uint32_t> order(count_);
  for (uint32_t i = 0; i < count_; ++i) order[i] = i;
  std::sort(order.begin(), order.end(),
            [&](uint32_t a, uint32_t b) { return KeyOf(At(a)) < KeyOf(At(b)); });
  for (uint32_t i : order) {
    Entry& entry = At(i);
    CloseDoclist(entry);
    writer.Add(KeyOf(entry),
               std::string_view(reinterpret_cast<const char*>(entry.list), entry.list_size));
  }
  count_ = 0;  // the pages of entries are used again
  terms_.clear();
  blocks_used_ = 0;
  large_blocks_.clear();
  free_ = nullptr;
  free_size_ = 0;
  block_bytes_ = 0;
  list_bytes_ = 0;
  slots_.assign(kFirstSlots, 0);
}

}  // namespace ks::engine
