// DocumentOrder: key arithmetic and re-spacing.
#include "engine/document_order.h"

#include <algorithm>
#include <vector>

#include "engine/document_store.h"
#include "engine/engine_error.h"
#include "engine/sqlite_connection.h"

namespace ks::engine {
namespace {

using Wide = __int128;  // key differences can exceed int64 near the ends

}  // namespace

DocumentOrder::DocumentOrder(Connection& connection, DocumentStore& documents,
                             ReorderObserver& observer, int64_t gap)
    : connection_(connection),
      documents_(documents),
      observer_(observer),
      gap_(std::max<int64_t>(gap, 2)),
      chain_step_(std::max<int64_t>(gap_ >> 12, 1)),
      min_spread_(std::max<int64_t>(gap_ >> 8, 2)) {}

void DocumentOrder::Forget() {
  handed_out_.reset();
  last_.reset();
  any_moved_.reset();
}

void DocumentOrder::Placed() {
  if (!handed_out_) return;
  last_ = handed_out_;
  handed_out_.reset();
}

int64_t DocumentOrder::KeyAtEnd() {
  // After a document placed at the end, its key is the last one.
  std::optional<int64_t> last = (last_ && !last_->next) ? std::optional(last_->key) : LastKey();
  return HandOut(KeyBetween(last, std::nullopt)).key;
}

int64_t DocumentOrder::KeyAtTop() {
  return HandOut(KeyBetween(std::nullopt, FirstKey())).key;
}

int64_t DocumentOrder::KeyAfter(uint64_t anchor) {
  if (last_ && static_cast<uint64_t>(last_->key) == anchor) {
    // The chain case: the anchor is the document placed last.
    return HandOut(KeyBetween(last_->key, last_->next)).key;
  }
  std::optional<int64_t> key = documents_.Seq(anchor);
  Require(key.has_value(), KSENG_ERR_NO_DOCUMENT, "anchor document is not in the database");
  return HandOut(KeyBetween(key, KeyFollowing(*key))).key;
}

DocumentOrder::Slot DocumentOrder::HandOut(Slot slot) {
  handed_out_ = slot;
  return slot;
}

DocumentOrder::Slot DocumentOrder::KeyBetween(std::optional<int64_t> lower,
                                              std::optional<int64_t> upper) {
  Slot slot{kFirstKey, upper, lower};
  if (lower || upper) {
    Wide low = lower ? Wide{*lower} : Wide{kMinKey} - 1;
    Wide high = upper ? Wide{*upper} : Wide{kMaxKey} + 1;
    Wide room = high - low;
    if (room < 2) {
      slot = Respace(lower, min_spread_);
    } else if (lower && upper) {
      slot.key = static_cast<int64_t>(low + std::min<Wide>(chain_step_, room / 2));
    } else if (lower) {
      slot.key = static_cast<int64_t>(low + std::min<Wide>(gap_, room / 2));
    } else {
      // At the top the new key goes down from the first document.
      slot.key = static_cast<int64_t>(high - std::min<Wide>(gap_, room / 2));
    }
  }
  for (int64_t spread = min_spread_;; spread = std::min(spread * 4, kMaxKey >> 2)) {
    if (std::optional<Slot> claimed = Claim(slot)) return *claimed;
    // Every key between the neighbours is the id of some moved document:
    // spread the documents further apart and try again.
    slot = Respace(slot.prev, spread * 4);
  }
}

std::optional<DocumentOrder::Slot> DocumentOrder::Claim(Slot slot) {
  // A new document's id is its key, so the key must not be the id of a
  // document that re-spacing moved elsewhere.  Nothing was ever moved in most
  // databases; then there is nothing to check.
  if (!any_moved_) any_moved_ = documents_.AnyMoved();
  if (!*any_moved_) return slot;
  int64_t up = documents_.FreeIdUpFrom(slot.key);
  if (!slot.next || up < *slot.next) return Slot{up, slot.next, slot.prev};
  int64_t down = documents_.FreeIdDownFrom(slot.key);
  if (down >= kMinKey && (!slot.prev || down > *slot.prev)) return Slot{down, slot.next, slot.prev};
  return std::nullopt;
}

DocumentOrder::Slot DocumentOrder::Respace(std::optional<int64_t> lower, int64_t min_spread) {
  // The window grows on both sides of the spot until the keys between its
  // fences (the documents just outside it, or the ends of the key range) can
  // be spread at least min_spread apart.  Growing by a factor keeps the
  // total work proportional to the documents that finally move.
  documents_.Flush();
  std::vector<int64_t> before;  // keys at and before the spot, nearest first
  std::vector<int64_t> after;   // keys after the spot, nearest first
  Wide fence_low = 0, fence_high = 0, spacing = 0;
  bool low_is_end = false, high_is_end = false;
  size_t n = 0;
  for (int64_t width = 8;; width *= 4) {
    before.clear();
    after.clear();
    if (lower) {
      auto query = connection_.Prepared(
          "SELECT seq FROM documents WHERE seq <= ?1 ORDER BY seq DESC LIMIT ?2");
      query->BindInt(1, *lower).BindInt(2, width + 1);
      while (query->Step()) before.push_back(query->Int(0));
    }
    {
      auto query =
          connection_.Prepared("SELECT seq FROM documents WHERE seq > ?1 ORDER BY seq LIMIT ?2");
      query->BindInt(1, lower ? *lower : kMinKey - 1).BindInt(2, width + 1);
      while (query->Step()) after.push_back(query->Int(0));
    }
    low_is_end = static_cast<int64_t>(before.size()) <= width;
    high_is_end = static_cast<int64_t>(after.size()) <= width;
    fence_low = low_is_end ? Wide{kMinKey} - 1 : Wide{before.back()};
    fence_high = high_is_end ? Wide{kMaxKey} + 1 : Wide{after.back()};
    if (!low_is_end) before.pop_back();
    if (!high_is_end) after.pop_back();
    n = before.size() + after.size() + 1;  // the documents plus the free slot
    spacing = (fence_high - fence_low) / static_cast<Wide>(n + 1);
    if (spacing >= min_spread || (low_is_end && high_is_end)) break;
  }
  Require(spacing >= 2, KSENG_ERR_INTERNAL, "document order has no free keys left");

  // Between two documents the keys fill the window evenly; against an end of
  // the key range they keep the ordinary gap from the document that bounds
  // them, so the keys stay near the rest.
  Wide step = spacing;
  Wide base;
  if (!low_is_end && !high_is_end) {
    base = fence_low;
  } else {
    step = std::min<Wide>(spacing, std::max(gap_, min_spread));
    if (!low_is_end) {
      base = fence_low;
    } else if (!high_is_end) {
      base = fence_high - step * static_cast<Wide>(n + 1);
    } else {
      base = Wide{kFirstKey} - (step * static_cast<Wide>(n + 1)) / 2;
    }
  }

  // Old and new keys of the window in order, the free slot left out.
  std::reverse(before.begin(), before.end());
  std::vector<std::pair<int64_t, int64_t>> moves;  // (old key, new key)
  Slot slot;
  size_t position = 0;
  auto next_key = [&] { return static_cast<int64_t>(base + step * static_cast<Wide>(++position)); };
  for (int64_t key : before) moves.emplace_back(key, next_key());
  if (!moves.empty()) slot.prev = moves.back().second;
  slot.key = next_key();
  for (int64_t key : after) moves.emplace_back(key, next_key());
  if (!after.empty()) slot.next = moves[before.size()].second;

  // Keys are unique, so rows must move without landing on a key still in
  // use: those moving down go in ascending order, those moving up in
  // descending order (order is kept, so neither can meet the other).
  observer_.BeforeReorder();
  for (const auto& [from, to] : moves) {
    if (to < from) documents_.Move(from, to);
  }
  for (auto move = moves.rbegin(); move != moves.rend(); ++move) {
    if (move->second > move->first) documents_.Move(move->first, move->second);
  }
  observer_.AfterReorder();
  // Remembered keys may have moved; ids need checking from now on.
  last_.reset();
  any_moved_ = true;
  return slot;
}

std::optional<int64_t> DocumentOrder::KeyFollowing(int64_t key) {
  documents_.Flush();
  auto query = connection_.Prepared("SELECT min(seq) FROM documents WHERE seq > ?1");
  query->BindInt(1, key);
  if (!query->Step() || query->IsNull(0)) return std::nullopt;
  return query->Int(0);
}

std::optional<int64_t> DocumentOrder::LastKey() {
  documents_.Flush();
  auto query = connection_.Prepared("SELECT max(seq) FROM documents");
  if (!query->Step() || query->IsNull(0)) return std::nullopt;
  return query->Int(0);
}

std::optional<int64_t> DocumentOrder::FirstKey() {
  documents_.Flush();
  auto query = connection_.Prepared("SELECT min(seq) FROM documents");
  if (!query->Step() || query->IsNull(0)) return std::nullopt;
  return query->Int(0);
}

}  // namespace ks::engine
