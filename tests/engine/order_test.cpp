// Database order under every import location, chains of documents placed
// each after the previous one, and re-spacing when the order keys between two
// documents run out.
#include <algorithm>
#include <map>
#include <random>

#include "engine_test_support.h"

namespace ks::engine::test {
namespace {

class OrderTest : public DatabaseTest {
 protected:
  uint64_t Add(const std::string& text, int32_t location = KSENG_LOC_END, uint64_t anchor = 0,
               const char* anchor_name = nullptr) {
    uint64_t id = AddDocument(db_, text, location, anchor, anchor_name);
    EXPECT_NE(id, 0u) << LastError();
    return id;
  }
};

using Texts = std::vector<std::string>;

TEST_F(OrderTest, EndAppendsTopPrependsAndATopChainKeepsSourceOrder) {
  Add("b");
  Add("c", KSENG_LOC_END);
  Add("a", KSENG_LOC_TOP);
  Add("d", 5);  // an unknown location is the end
  Add("e", 99);
  EXPECT_EQ(WalkTexts(db_), (Texts{"a", "b", "c", "d", "e"}));
  EXPECT_EQ(EngCountDocuments(db_, KSENG_WALK_DOCUMENTS), 5u);
  uint64_t first = Add("t1", KSENG_LOC_TOP);
  uint64_t second = Add("t2", KSENG_LOC_TOP, first);
  Add("t3", KSENG_LOC_TOP, second);
  EXPECT_EQ(WalkTexts(db_), (Texts{"t1", "t2", "t3", "a", "b", "c", "d", "e"}));
}

TEST_F(OrderTest, AfterCurrentOrNamedGoesAfterThatDocumentOrAtTheEndWithoutOne) {
  uint64_t a = Add("a");
  uint64_t z = Add("z");
  Add("end", KSENG_LOC_AFTER_CURRENT);  // no current document yet
  ASSERT_EQ(EngSetCurrentDocument(db_, a), 1);
  uint64_t first = Add("a1", KSENG_LOC_AFTER_CURRENT);
  // The import chains: each next document names the previous one as anchor.
  uint64_t second = Add("a2", KSENG_LOC_AFTER_CURRENT, first);
  Add("a3", KSENG_LOC_AFTER_CURRENT, second);
  EXPECT_EQ(EngGetCurrentDocument(db_), a);  // saving does not move the current document
  // After the document named at the save; the anchor wins over the name.
  ASSERT_EQ(EngSetDocumentName(db_, z, "Chapter"), 1);
  uint64_t named = Add("z1", KSENG_LOC_AFTER_NAMED, 0, "Chapter");
  Add("z2", KSENG_LOC_AFTER_NAMED, named, "Chapter");
  EXPECT_EQ(WalkTexts(db_), (Texts{"a", "a1", "a2", "a3", "z", "z1", "z2", "end"}));
}

TEST_F(OrderTest, SaveAfterAnUnknownNameOrAnchorFailsAndStoresNothing) {
  Add("a");
  ASSERT_EQ(AddPiece(db_, "lost", KSENG_KIND_TEXT, KSENG_LOC_AFTER_NAMED), KSENG_STATUS_TAKEN);
  uint64_t id = 0;
  EXPECT_FAILS(EngSaveDocument(db_, "Nobody", nullptr, 1, &id), 0, KSENG_ERR_NO_DOCUMENT);
  EXPECT_EQ(WalkTexts(db_), (Texts{"a"}));
  // The failed document is gone: the next save has nothing to save.
  EXPECT_FAILS(EngSaveDocument(db_, nullptr, nullptr, 1, &id), 0, KSENG_ERR_STATE);

  EXPECT_FAILS(AddDocument(db_, "x", KSENG_LOC_END, 987654), 0u, KSENG_ERR_NO_DOCUMENT);
  EXPECT_EQ(WalkTexts(db_), (Texts{"a"}));
}

TEST_F(OrderTest, EndOfCurrentAppendsToTheCurrentDocumentOrMakesANewOneWithoutOne) {
  uint64_t a = Add("a\r\n");
  Add("b\r\n");
  uint64_t fresh = Add("new", KSENG_LOC_END_OF_CURRENT);  // no current document yet
  EXPECT_EQ(WalkIds(db_).back(), fresh);
  ASSERT_EQ(EngSetCurrentDocument(db_, a), 1);
  uint64_t target = Add("more\r\n", KSENG_LOC_END_OF_CURRENT);
  EXPECT_EQ(target, a);
  // Many appends, each naming the document as anchor, keep every piece in order.
  std::string expected = "a\r\nmore\r\n";
  for (int i = 0; i < 2000; ++i) {
    std::string piece = "line " + std::to_string(i) + "\r\n";
    ASSERT_EQ(Add(piece, KSENG_LOC_END_OF_CURRENT, target), a);
    expected += piece;
  }
  EXPECT_EQ(WalkTexts(db_), (Texts{expected, "b\r\n", "new"}));
  EXPECT_EQ(Search(db_, "1999"), std::vector<uint64_t>{a});
}

TEST_F(OrderTest, LongChainAfterAnAnchorTakesKeysWithoutMovingOtherDocuments) {
  uint64_t a = Add("a");
  uint64_t b = Add("b");
  auto keys = [&] {
    std::map<int64_t, int64_t> seq;
    for (const auto& row : QueryFile(Path(), "SELECT id, seq FROM documents")) seq[row[0]] = row[1];
    return seq;
  };
  ASSERT_EQ(EngEndAdd(db_, 0, 0, '[', nullptr), 1);
  std::map<int64_t, int64_t> before = keys();

  char marker;
  ASSERT_EQ(EngBeginAdd(db_, &marker), 1);
  uint64_t previous = a;
  Texts expected{"a"};
  for (int i = 0; i < 3000; ++i) {
    expected.push_back("c" + std::to_string(i));
    previous = Add(expected.back(), KSENG_LOC_AFTER_CURRENT, previous);
  }
  expected.push_back("b");
  ASSERT_EQ(EngEndAdd(db_, 0, 0, marker, nullptr), 1);
  EXPECT_EQ(WalkTexts(db_), expected);
  std::map<int64_t, int64_t> after = keys();
  EXPECT_EQ(after[a], before[a]);
  EXPECT_EQ(after[b], before[b]);
}

// With a tiny key gap every few placements run out of keys; the order must
// still match a plain list that receives the same operations.
using OrderRespacing = DatabaseTest;

TEST_F(OrderRespacing, RandomPlacementsWithATinyGapMatchAListModel) {
  EngineTuning tuning;
  tuning.order_gap = 4;
  tuning.batch.documents = 97;  // commits in between: the chain memory must survive them
  ReopenTuned(tuning);

  std::vector<uint64_t> model;
  std::map<uint64_t, std::string> texts;
  std::mt19937 random(12345);
  uint64_t previous = 0;
  for (int step = 0; step < 1500; ++step) {
    std::string text = "d" + std::to_string(step);
    int choice = static_cast<int>(random() % 10);
    uint64_t id = 0;
    if (model.empty() || choice == 0) {
      id = AddDocument(db_, text, KSENG_LOC_END);
      model.push_back(id);
    } else if (choice == 1) {
      id = AddDocument(db_, text, KSENG_LOC_TOP);
      model.insert(model.begin(), id);
    } else {
      // Mostly after the previous document: the importer's chains.
      uint64_t anchor = choice <= 3 ? model[random() % model.size()] : previous;
      id = AddDocument(db_, text, KSENG_LOC_AFTER_CURRENT, anchor);
      model.insert(std::find(model.begin(), model.end(), anchor) + 1, id);
    }
    ASSERT_NE(id, 0u) << LastError();
    ASSERT_TRUE(texts.emplace(id, text).second) << "id " << id << " given twice";
    previous = id;
    if (step % 250 == 0) {
      ASSERT_EQ(WalkIds(db_), model) << "after step " << step;
    }
  }
  EXPECT_EQ(WalkIds(db_), model);
  // Ids stay valid while documents move: every id still finds its own text,
  // name and full-text entry.
  for (uint64_t id : model) {
    ASSERT_EQ(DocumentText(db_, id), texts[id]) << id;
  }
  uint64_t some = model[model.size() / 2];
  ASSERT_EQ(EngSetDocumentName(db_, some, "Middle"), 1);
  EXPECT_EQ(EngFindDocument(db_, KSENG_KIND_TEXT, "Middle"), static_cast<int64_t>(some));
  EXPECT_EQ(Search(db_, texts[some].c_str()), std::vector<uint64_t>{some});

  // And the order is what was stored, not what a cache remembered.
  Reopen(KSENG_ACCESS_READ, KSENG_SHARE_READ);
  EXPECT_EQ(WalkIds(db_), model);
  EXPECT_EQ(Search(db_, texts[model.front()].c_str()), std::vector<uint64_t>{model.front()});
}

TEST_F(OrderRespacing, ChainsAtBothEndsWithATinyGapStayInOrder) {
  EngineTuning tuning;
  tuning.order_gap = 2;
  ReopenTuned(tuning);
  std::vector<uint64_t> ends, tops;
  for (int i = 0; i < 300; ++i) ends.push_back(AddDocument(db_, "e" + std::to_string(i)));
  for (int i = 0; i < 300; ++i) {
    uint64_t previous = tops.empty() ? 0 : tops.back();
    tops.push_back(AddDocument(db_, "t" + std::to_string(i), KSENG_LOC_TOP, previous));
  }
  tops.insert(tops.end(), ends.begin(), ends.end());
  EXPECT_EQ(WalkIds(db_), tops);
}

}  // namespace
}  // namespace ks::engine::test
