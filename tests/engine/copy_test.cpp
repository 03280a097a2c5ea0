// Copying between databases the way the import of another database file
// does: forms first (EngPrepareCopy), then each document in order with the
// previous copy as anchor.
#include "engine_test_support.h"

namespace ks::engine::test {
namespace {

class CopyTest : public EngineTest {
 protected:
  void SetUp() override {
    source_ = CreateAndOpen(Path("source.kst"));
    target_ = CreateAndOpen(Path("target.kst"));
  }
  void TearDown() override {
    EngCloseDatabase(source_);
    EngCloseDatabase(target_);
  }

  // Copies every document of the source, chaining each after the last.
  std::vector<uint64_t> CopyAll(int32_t location, uint64_t start = 0) {
    EXPECT_EQ(EngPrepareCopy(source_, target_), 1) << LastError();
    std::vector<uint64_t> copies;
    uint64_t position = start;
    for (uint64_t id : WalkIds(source_)) {
      EXPECT_EQ(EngCopyDocument(source_, id, 1, target_, &position, location), 1) << LastError();
      copies.push_back(position);
    }
    return copies;
  }

  uint32_t source_ = 0;
  uint32_t target_ = 0;
};

TEST_F(CopyTest, EverythingOfEachDocumentArrives) {
  const char* fields[] = {"Name", "City"};
  uint64_t form = EngCreateForm(source_, "Contact", fields, 2);
  uint64_t plain = AddDocument(source_, "plain text\r\n");
  ASSERT_EQ(EngSetDocumentName(source_, plain, "Intro"), 1);
  AddDocument(source_, "{\\rtf1 rich}", KSENG_LOC_END, 0, nullptr, KSENG_KIND_RICHTEXT);
  uint64_t entry = 0;
  ASSERT_EQ(EngOp251(source_, form, &entry, '#', "free\r\n", KSENG_LOC_END, 0), 1);
  ASSERT_EQ(WriteFields(source_, entry, {Field("City", "Oslo"), Field("Name", "Ann")}), 1);
  std::string data("a\0b", 3);
  KSENG_ATTACHMENT attachment{"file.bin", KSENG_ATTACH_FILE, 0, data.data(), data.size()};
  ASSERT_EQ(
      EngAddDocument(source_, "with file", 1, 0, KSENG_KIND_TEXT, KSENG_LOC_END, 0, &attachment, 1),
      1);
  ASSERT_NE(SaveFinal(source_), 0u);

  std::vector<uint64_t> copies = CopyAll(KSENG_LOC_END);
  ASSERT_EQ(copies.size(), 4u);
  EXPECT_EQ(WalkTexts(target_), WalkTexts(source_));
  EXPECT_EQ(EngFindDocument(target_, KSENG_KIND_TEXT, "Intro"), static_cast<int64_t>(copies[0]));
  EXPECT_EQ(EngGetDocumentKind(target_, copies[1]), KSENG_KIND_RICHTEXT);

  // An entry's form and fields arriving shows in the import of a database
  // file (kestro_import_test.cpp).  The copy keeps its own marker and free text: rewriting a field works.
  ASSERT_EQ(WriteFields(target_, copies[2], {Field("Name", "Bob")}), 1);
  EXPECT_EQ(DocumentText(target_, copies[2]), "Name# Bob ]\r\nCity# Oslo ]\r\nfree\r\n");

  ASSERT_EQ(EngGetAttachmentCount(target_, copies[3]), 1u);
  char copied[3];
  ASSERT_EQ(EngReadAttachment(target_, copies[3], 0, copied, sizeof copied), 1);
  EXPECT_EQ(std::string(copied, 3), data);
  EXPECT_EQ(Search(target_, "oslo"), std::vector<uint64_t>{copies[2]});
}

TEST_F(CopyTest, PrepareCopyCreatesOnlyMissingForms) {
  const char* fields[] = {"B1", "B2"};
  EngCreateForm(source_, "FormA", fields, 1);
  EngCreateForm(source_, "FormB", fields, 2);
  uint64_t existing = EngCreateForm(target_, "FormA", fields + 1, 1);  // other fields
  ASSERT_EQ(EngPrepareCopy(source_, target_), 1) << LastError();
  ASSERT_EQ(EngPrepareCopy(source_, target_), 1);  // a second time changes nothing
  std::vector<uint64_t> forms = WalkIds(target_, KSENG_WALK_FORMS);
  ASSERT_EQ(forms.size(), 2u);
  EXPECT_EQ(forms[0], existing);
  EXPECT_EQ(EngGetFieldCount(target_, existing), 1u);
  EXPECT_EQ(EngGetFieldCount(target_, forms[1]), 2u);
  EXPECT_EQ(DocumentName(target_, forms[1]), "FormB");
}

TEST_F(CopyTest, CopiesChainAfterTheGivenPositionInSourceOrder) {
  for (const char* text : {"s1", "s2", "s3"}) AddDocument(source_, text);
  uint64_t t1 = AddDocument(target_, "t1");
  AddDocument(target_, "t2");
  CopyAll(KSENG_LOC_AFTER_CURRENT, t1);
  EXPECT_EQ(WalkTexts(target_), (std::vector<std::string>{"t1", "s1", "s2", "s3", "t2"}));
}

TEST_F(CopyTest, CopyToEndOfCurrentAppendsToThatDocument) {
  AddDocument(source_, "one ");
  AddDocument(source_, "two");
  uint64_t t1 = AddDocument(target_, "base ");
  ASSERT_EQ(EngSetCurrentDocument(target_, t1), 1);
  std::vector<uint64_t> copies = CopyAll(KSENG_LOC_END_OF_CURRENT);
  EXPECT_EQ(copies, (std::vector<uint64_t>{t1, t1}));
  EXPECT_EQ(WalkTexts(target_), std::vector<std::string>{"base one two"});
}

TEST_F(CopyTest, ReadOnlySourceIsCopiedFromAndReadOnlyTargetRefuses) {
  AddDocument(source_, "x");
  EngCloseDatabase(source_);
  source_ = OpenForReading(Path("source.kst"));
  ASSERT_NE(source_, 0u) << LastError();
  EXPECT_EQ(CopyAll(KSENG_LOC_END).size(), 1u);
  EngCloseDatabase(target_);
  target_ = OpenForReading(Path("target.kst"));
  EXPECT_EQ(WalkTexts(target_), std::vector<std::string>{"x"});
  uint64_t position = 0;
  EXPECT_FAILS(EngCopyDocument(source_, WalkIds(source_)[0], 1, target_, &position, KSENG_LOC_END),
               0, KSENG_ERR_READONLY);
  EXPECT_FAILS(EngCopyDocument(source_, 777, 1, target_, &position, KSENG_LOC_END), 0,
               KSENG_ERR_NO_DOCUMENT);
}

}  // namespace
}  // namespace ks::engine::test
