// FtsSegmentWriter: one FTS5 index segment written page by page from terms
// in sorted order, each with its doclist as FTS5 gathers it in memory.  It
// lays the pages out exactly as FTS5 does when it writes out its own term
// buffer (leaf pages with their term offsets, doclists and position lists
// split across pages at varint boundaries, doclist indexes for doclists that
// span pages without a term), so that FTS5 reads, merges and checks the
// segment as one of its own.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ks::engine {

// Where the pages go: the rows of the index's `%_data` and `%_idx` tables.
class FtsSegmentSink {
 public:
  virtual ~FtsSegmentSink() = default;
  virtual void Page(int64_t rowid, std::string_view block) = 0;
  virtual void TermIndex(int64_t segment, std::string_view term, int64_t page_and_flag) = 0;
};

class FtsSegmentWriter {
 public:
  // FTS5's default leaf page size.
  static constexpr int kPageSize = 4050;

  FtsSegmentWriter(FtsSegmentSink& sink, int64_t segment, int page_size = kPageSize);

  // `term` as FTS5 keys it (the index's prefix byte, then the token), above
  // the previous one.  `doclist`: the first rowid, then rowid differences,
  // each followed by its position list's size field and position list.
  void Add(std::string_view term, std::string_view doclist);
  // Writes what is left; returns the segment's last leaf page (0 when no
  // term was added).
  int64_t Finish();

  // The rowid of a leaf page and of a doclist index page in `%_data`.
  static int64_t LeafRowid(int64_t segment, int64_t page);
  static int64_t DoclistIndexRowid(int64_t segment, int height, int64_t page);

 private:
  struct DoclistIndexLevel {
    int64_t page = 0;
    std::string bytes;
    bool has_previous = false;
    int64_t previous = 0;
  };

  void AppendTerm(std::string_view term);
  void FlushLeaf();
  void FlushTermIndex();
  bool FlushDoclistIndex();
  void ClearDoclistIndex(bool write);
  void AppendToDoclistIndex(int64_t rowid);
  void AppendSplitDoclist(std::string_view doclist);
  int Used() const { return static_cast<int>(page_.size() + page_index_.size()); }
  void SetFirstRowidOffset();

  FtsSegmentSink& sink_;
  const int64_t segment_;
  const int page_size_;

  std::string page_;        // the leaf being filled, its 4-byte header first
  std::string page_index_;  // its footer: offsets of its terms
  int previous_term_offset_ = 0;
  int64_t page_number_ = 1;
  std::string last_term_;   // the last term written, on this page or before
  bool first_term_in_page_ = true;
  bool first_rowid_in_page_ = true;

  int empty_pages_ = 0;     // pages since the last term that hold none
  int64_t term_index_page_ = 1;
  std::string term_index_key_;
  std::vector<DoclistIndexLevel> doclist_index_;
};

}  // namespace ks::engine
