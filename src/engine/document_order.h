// DocumentOrder: hands out order keys for new documents.  The documents
// table is keyed by order key, and a new document's id is its first key.
// Keys leave large gaps so that a document placed after another takes a key
// between the two without touching any other row.  A chain of documents
// placed each after the previous one steps by a small amount (not half the
// gap), so a long chain does not use the gap up quickly, and the keys it
// needs are remembered between calls, so a chain costs no lookups.  When no
// key is free, the documents around the spot are moved apart over a window
// just wide enough.
#pragma once

#include <cstdint>
#include <optional>

namespace ks::engine {

class Connection;
class DocumentStore;

// Told when documents are about to move to other keys and when they have.
class ReorderObserver {
 public:
  virtual ~ReorderObserver() = default;
  virtual void BeforeReorder() = 0;
  virtual void AfterReorder() = 0;
};

class DocumentOrder {
 public:
  // `gap` is the distance between keys of documents added at either end
  // (tests use a small one to force re-spacing).
  DocumentOrder(Connection& connection, DocumentStore& documents, ReorderObserver& observer,
                int64_t gap);

  // Key for a new document at the end, at the top, or right after the
  // document `anchor` (KSENG_ERR_NO_DOCUMENT when there is none).  The key is
  // free and no document holds it as its id.  May move neighbouring
  // documents inside the caller's transaction.
  int64_t KeyAtEnd();
  int64_t KeyAtTop();
  int64_t KeyAfter(uint64_t anchor);

  // Tells the order that the key just handed out is now taken by a new
  // document, so that a following KeyAfter of it needs no lookup.
  void Placed();

  // Drops what is remembered: call when a transaction begins or is rolled
  // back, since another writer (or the rollback) may have changed the order.
  void Forget();

  // Usable key range.  Keys (and so document ids) stay positive; entry forms
  // take ids above kMaxKey.
  static constexpr int64_t kMinKey = 1;
  static constexpr int64_t kMaxKey = int64_t{1} << 62;
  // Key of the first document of an empty database: room on both sides.
  static constexpr int64_t kFirstKey = int64_t{1} << 61;

 private:
  // A key handed out and the key of the document that follows it.
  struct Slot {
    int64_t key = 0;
    std::optional<int64_t> next;  // key of the following document; none at the end
    std::optional<int64_t> prev;  // key of the preceding document; none at the top
  };

  // A usable key strictly between lower and upper (either may be missing:
  // top or end).  Moves documents apart when there is no room.
  Slot KeyBetween(std::optional<int64_t> lower, std::optional<int64_t> upper);
  // Moves the documents around the spot just after `lower` (none: the top)
  // apart, at least `min_spread` between keys where the key range allows,
  // and returns the slot that is left free there.
  Slot Respace(std::optional<int64_t> lower, int64_t min_spread);
  // The slot's key, or a key near it between the same neighbours, that no
  // moved document holds as its id; none when the room has no such key.
  std::optional<Slot> Claim(Slot slot);
  Slot HandOut(Slot slot);
  std::optional<int64_t> KeyFollowing(int64_t key);
  std::optional<int64_t> LastKey();
  std::optional<int64_t> FirstKey();

  Connection& connection_;
  DocumentStore& documents_;
  ReorderObserver& observer_;
  int64_t gap_;         // spacing at the ends
  int64_t chain_step_;  // spacing of a chain placed after an anchor
  int64_t min_spread_;  // re-spacing widens its window until keys are this far apart

  std::optional<Slot> handed_out_;  // key given by the last Key* call, not yet Placed
  std::optional<Slot> last_;        // key of the document placed last, and its successor's
  std::optional<bool> any_moved_;   // whether ids need checking; unknown until asked
};

}  // namespace ks::engine
