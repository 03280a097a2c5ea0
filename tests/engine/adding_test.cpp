// The adding protocol: pieces, status 6 and the intermediate save, the final
// save, runs counted by EngEndAdd, and failures that drop the pending
// document without leaving any of it behind.

#include "engine_test_support.h"

namespace ks::engine::test {
namespace {

using AddingTest = DatabaseTest;
using Texts = std::vector<std::string>;

// Deterministic text with CR LF line ends and every byte value but NUL, so a
// lost, doubled or moved byte shows.
std::string BigText(size_t size) {
  std::string text;
  text.reserve(size);
  for (size_t line = 0; text.size() < size; ++line) {
    text += "line " + std::to_string(line) + " ";
    for (int c = 1; c < 256 && text.size() < size; c += 7) text += static_cast<char>(c);
    text += "\r\n";
  }
  text.resize(size);
  return text;
}

TEST_F(AddingTest, MultiMegabyteDocumentInPiecesComesBackByteForByte) {
  std::string text = BigText(5 * 1024 * 1024 + 123);
  char marker = 0;
  ASSERT_EQ(EngBeginAdd(db_, &marker), 1);
  size_t piece_size = 64 * 1024;
  int saves_asked = 0;
  for (size_t offset = 0; offset < text.size(); offset += piece_size) {
    std::string piece = text.substr(offset, piece_size);
    int32_t status = EngAddDocument(db_, piece.data(), 1, static_cast<uint32_t>(piece.size()),
                                    KSENG_KIND_TEXT, KSENG_LOC_END, 0, nullptr, 0);
    ASSERT_TRUE(status == KSENG_STATUS_TAKEN || status == KSENG_STATUS_SAVE_FIRST) << LastError();
    if (status == KSENG_STATUS_SAVE_FIRST) {
      ++saves_asked;
      ASSERT_EQ(EngSaveDocument(db_, nullptr, nullptr, 0, nullptr), KSENG_STATUS_TAKEN);
    }
  }
  EXPECT_GE(saves_asked, 4);  // the engine does not hold megabytes in memory

  // Until the final save nothing of the document is in the database file.
  struct stat info {};
  ASSERT_EQ(stat(Path().c_str(), &info), 0);
  EXPECT_LT(info.st_size, 1024 * 1024);
  EXPECT_EQ(EngCountDocuments(db_, KSENG_WALK_DOCUMENTS), 0u);

  uint64_t id = 0;
  ASSERT_EQ(EngSaveDocument(db_, nullptr, "tail\r\n", 1, &id), KSENG_STATUS_TAKEN) << LastError();
  ASSERT_NE(id, 0u);
  uint32_t added = 0;
  ASSERT_EQ(EngEndAdd(db_, KSENG_KIND_TEXT, id, marker, &added), 1);
  EXPECT_EQ(added, 1u);
  EXPECT_EQ(DocumentText(db_, id), text + "tail\r\n");
  EXPECT_EQ(Search(db_, "tail"), std::vector<uint64_t>{id});
}

TEST_F(AddingTest, AppendingAStagedDocumentToAnotherKeepsEveryByte) {
  uint64_t target = AddDocument(db_, "head\r\n");
  ASSERT_NE(target, 0u);
  std::string text = BigText(3 * 1024 * 1024);
  ASSERT_EQ(AddDocument(db_, text, KSENG_LOC_END_OF_CURRENT, target, nullptr, KSENG_KIND_TEXT,
                        100 * 1024),
            target)
      << LastError();
  EXPECT_EQ(DocumentText(db_, target), "head\r\n" + text);
  EXPECT_EQ(EngCountDocuments(db_, KSENG_WALK_DOCUMENTS), 1u);
}

TEST_F(AddingTest, EachSavedDocumentCanBeReadAndChangedAtOnce) {
  // Small documents are written in groups; a group not yet written must not
  // be visible as missing to any call.
  uint64_t previous = 0;
  for (int i = 0; i < 150; ++i) {
    std::string text = "document " + std::to_string(i);
    uint64_t id = AddDocument(db_, text, KSENG_LOC_END, previous);
    ASSERT_NE(id, 0u) << LastError();
    ASSERT_EQ(DocumentText(db_, id), text);
    if (i % 7 == 0) {
      ASSERT_EQ(EngSetDocumentName(db_, id, "named"), 1) << LastError();
      ASSERT_EQ(AddDocument(db_, "+", KSENG_LOC_END_OF_CURRENT, id), id) << LastError();
      ASSERT_EQ(DocumentText(db_, id), text + "+");
    }
    ASSERT_EQ(EngCountDocuments(db_, KSENG_WALK_DOCUMENTS), static_cast<uint64_t>(i + 1));
    previous = id;
  }
  EXPECT_EQ(WalkIds(db_).size(), 150u);
  EXPECT_EQ(Search(db_, "document").size(), 150u);
}

TEST_F(AddingTest, PiecesAddTheirGivenLengthAndOnlyTheFirstFixesKindAndPlace) {
  // A length takes part of the buffer; 0 takes it up to its NUL.
  ASSERT_EQ(EngAddDocument(db_, "abcdef", 1, 3, KSENG_KIND_RICHTEXT, KSENG_LOC_END, 0, nullptr, 0),
            KSENG_STATUS_TAKEN);
  ASSERT_EQ(AddPiece(db_, "xyz"), KSENG_STATUS_TAKEN);
  // A later piece's kind and location are ignored.
  ASSERT_EQ(AddPiece(db_, " text", KSENG_KIND_TEXT, KSENG_LOC_TOP), KSENG_STATUS_TAKEN);
  uint64_t id = SaveFinal(db_);
  EXPECT_EQ(EngGetDocumentKind(db_, id), KSENG_KIND_RICHTEXT);
  EXPECT_EQ(DocumentText(db_, id), "abcxyz text");
}

TEST_F(AddingTest, BadPieceCancelAndCloseEachDropThePendingDocumentWithoutATrace) {
  // A save with nothing pending is out of order, also after a refused kind.
  uint64_t id = 0;
  EXPECT_FAILS(EngSaveDocument(db_, nullptr, "text", 1, &id), 0, KSENG_ERR_STATE);
  EXPECT_FAILS(EngSaveDocument(db_, nullptr, nullptr, 0, nullptr), 0, KSENG_ERR_STATE);
  EXPECT_FAILS(AddPiece(db_, "x", KSENG_KIND_FORM), 0, KSENG_ERR_ARGUMENT);
  EXPECT_FAILS(EngSaveDocument(db_, nullptr, nullptr, 1, nullptr), 0, KSENG_ERR_STATE);

  std::string big = BigText(3 * 1024 * 1024);
  ASSERT_EQ(AddPiece(db_, big.c_str()), KSENG_STATUS_SAVE_FIRST);
  ASSERT_EQ(EngSaveDocument(db_, nullptr, nullptr, 0, nullptr), KSENG_STATUS_TAKEN);
  EXPECT_EQ(EngCancelDocument(db_), 1);
  EXPECT_EQ(EngCancelDocument(db_), 1);  // nothing pending is fine too
  EXPECT_FAILS(EngSaveDocument(db_, nullptr, nullptr, 1, nullptr), 0, KSENG_ERR_STATE);
  EXPECT_FAILS(EngCancelDocument(db_ + 1), 0, KSENG_ERR_HANDLE);

  ASSERT_EQ(AddPiece(db_, "part one"), KSENG_STATUS_TAKEN);
  EXPECT_FAILS(EngAddDocument(db_, "part two", 2, 0, KSENG_KIND_TEXT, KSENG_LOC_END, 0, nullptr, 0),
               0, KSENG_ERR_ARGUMENT);
  id = AddDocument(db_, "after");
  EXPECT_EQ(WalkTexts(db_), Texts{"after"});
  EXPECT_EQ(DocumentText(db_, id), "after");

  ASSERT_EQ(AddPiece(db_, "unsaved"), KSENG_STATUS_TAKEN);
  Reopen(KSENG_ACCESS_READ, KSENG_SHARE_READ);
  EXPECT_EQ(WalkTexts(db_), Texts{"after"});
}

// Small batches commit on their own during a run; the rest stays invisible to
// other handles until EngEndAdd commits it and counts the whole run.
TEST_F(AddingTest, BatchesCommitOnTheirOwnAndEndAddCommitsTheRestAndCountsTheRun) {
  EngineTuning tuning;
  tuning.batch.documents = 10;
  ReopenTuned(tuning);
  char marker;
  ASSERT_EQ(EngBeginAdd(db_, &marker), 1);
  EXPECT_EQ(marker, '[');
  for (int i = 0; i < 25; ++i) ASSERT_NE(AddDocument(db_, "doc"), 0u);
  uint32_t reader = OpenForReading(Path());
  ASSERT_NE(reader, 0u) << LastError();
  EXPECT_EQ(EngCountDocuments(reader, KSENG_WALK_DOCUMENTS), 20u);
  // An unknown last document fails the call before it commits anything.
  EXPECT_FAILS(EngEndAdd(db_, KSENG_KIND_TEXT, 424242, marker, nullptr), 0, KSENG_ERR_NO_DOCUMENT);
  EXPECT_EQ(EngCountDocuments(reader, KSENG_WALK_DOCUMENTS), 20u);
  uint32_t added = 0;
  ASSERT_EQ(EngEndAdd(db_, 0, 0, marker, &added), 1);
  EXPECT_EQ(added, 25u);
  EXPECT_EQ(EngCountDocuments(reader, KSENG_WALK_DOCUMENTS), 25u);
  EngCloseDatabase(reader);
  // The next run counts only its own.
  ASSERT_EQ(EngBeginAdd(db_, &marker), 1);
  ASSERT_NE(AddDocument(db_, "e"), 0u);
  ASSERT_EQ(EngEndAdd(db_, 0, 0, marker, &added), 1);
  EXPECT_EQ(added, 1u);
}

TEST_F(AddingTest, FieldMarkerIsTheDatabasesAndKeptInTheFile) {
  ASSERT_EQ(EngSetFieldMarker(db_, '#'), 1);
  EXPECT_FAILS(EngSetFieldMarker(db_, ' '), 0, KSENG_ERR_ARGUMENT);
  Reopen();
  char marker = '[';
  ASSERT_EQ(EngBeginAdd(db_, &marker), 1);
  EXPECT_EQ(marker, '#');
}

}  // namespace
}  // namespace ks::engine::test
