// FtsTermBuffer: the terms of a run of documents and, for each, its doclist
// in the form FTS5 keeps in memory (fts_segment_writer.h), gathered from the
// tokens of documents given in rising rowid order.  It does the work of
// FTS5's own term buffer for the bulk index, without an SQLite call per
// document.  Most terms of a large run occur once (names, numbers,
// addresses), so an entry is kept small, and doclists live in large blocks
// that are let go all at once.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ks::engine {

class FtsSegmentWriter;

class FtsTermBuffer {
 public:
  FtsTermBuffer();

  // Starts the next document; its rowid must be above the last one's.
  void BeginDocument(int64_t rowid) { rowid_ = rowid; }
  // A token of the current document at `position` (counted from 0, rising).
  void Add(std::string_view token, uint32_t position);

  bool Empty() const { return count_ == 0; }
  // The terms and doclists gathered, which is what FTS5 counts against its
  // term buffer's size; about what a segment of them takes.
  size_t DataBytes() const { return terms_.size() + list_bytes_; }
  // About what the buffer holds in memory.
  size_t Bytes() const {
    return block_bytes_ + terms_.capacity() + (count_ + kEntriesPerPage - 1) / kEntriesPerPage * kEntriesPerPage * sizeof(Entry) +
           slots_.size() * sizeof(uint64_t);
  }

  // Hands every term, in order, with its doclist to `writer`, then empties
  // the buffer.
  void WriteTo(FtsSegmentWriter& writer);

 private:
  struct Entry {
    int64_t rowid;       // the last document that added to the doclist
    uint8_t* list;       // the doclist; its room follows from its size
    uint32_t list_size;
    uint32_t position;   // the last position added for it
    uint32_t size_at;    // where its position list's size field goes
    uint32_t term_at;    // in terms_: two bytes of length, then the key
  };
  static constexpr size_t kEntriesPerPage = size_t{1} << 14;

  Entry& At(uint32_t index) { return pages_[index / kEntriesPerPage][index % kEntriesPerPage]; }
  std::string_view KeyOf(const Entry& entry) const;
  Entry* Find(std::string_view token, uint64_t hash, size_t& slot);
  Entry& Insert(std::string_view token, uint64_t hash, size_t slot);
  void Reserve(Entry& entry, uint32_t more);
  uint8_t* Allocate(size_t size);
  void CloseDoclist(Entry& entry);
  void GrowSlots();

  std::vector<std::unique_ptr<Entry[]>> pages_;  // entries, never moved, kept for the next segment
  uint32_t count_ = 0;
  // Open addressing: the hash's upper half, then entry index + 1; 0 free.
  std::vector<uint64_t> slots_;
  std::string terms_;
  std::vector<std::unique_ptr<uint8_t[]>> blocks_;  // shared, kept from one segment to the next
  size_t blocks_used_ = 0;
  std::vector<std::unique_ptr<uint8_t[]>> large_blocks_;  // one doclist each
  uint8_t* free_ = nullptr;      // the unused end of the shared block in use
  size_t free_size_ = 0;
  size_t block_bytes_ = 0;       // of all blocks
  size_t list_bytes_ = 0;        // of all doclists
  int64_t rowid_ = 0;
};

}  // namespace ks::engine
