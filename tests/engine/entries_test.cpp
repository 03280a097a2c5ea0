// Entry forms and entries: creating them, writing fields with EngOp249 and
// the rebuilt text, entries made while adding (with a form, with field
// values, or by attaching a form after the save).
#include "engine_test_support.h"

namespace ks::engine::test {
namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

class EntriesTest : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    const char* fields[] = {"Name", "City", "Phone"};
    form_ = EngCreateForm(db_, "Contact", fields, 3);
    ASSERT_NE(form_, 0u) << LastError();
  }

  uint64_t NewEntry(char marker = 0, const char* text = nullptr, int32_t location = KSENG_LOC_END,
                    uint64_t anchor = 0) {
    uint64_t entry = 0;
    EXPECT_EQ(EngOp251(db_, form_, &entry, marker, text, location, anchor), 1) << LastError();
    return entry;
  }

  int32_t Write(uint64_t entry, std::vector<KSENG_FIELD> fields) {
    return WriteFields(db_, entry, std::move(fields));
  }

  Fields FieldsOf(uint64_t id) {
    Fields fields;
    uint32_t count = EngGetFieldCount(db_, id);
    for (uint32_t i = 0; i < count; ++i) {
      char name[256], value[1024];
      EXPECT_EQ(EngGetField(db_, id, i, name, sizeof name, value, sizeof value), 1);
      fields.emplace_back(name, value);
    }
    return fields;
  }

  uint64_t form_ = 0;
};

TEST_F(EntriesTest, FormsAreFoundByTheirUniqueNamesAndWalkedApartFromDocuments) {
  const char* fields[] = {"Title"};
  uint64_t note = EngCreateForm(db_, "Note", fields, 1);
  EXPECT_EQ(EngFindDocument(db_, KSENG_KIND_FORM, "Contact"), static_cast<int64_t>(form_));
  EXPECT_EQ(EngFindDocument(db_, KSENG_KIND_FORM, "Note"), static_cast<int64_t>(note));
  EXPECT_EQ(EngFindDocument(db_, KSENG_KIND_FORM, "None"), 0);
  EXPECT_EQ(EngFindDocument(db_, KSENG_KIND_TEXT, "Contact"), 0);  // forms are not documents
  EXPECT_EQ(WalkIds(db_, KSENG_WALK_FORMS), (std::vector<uint64_t>{form_, note}));
  EXPECT_EQ(EngCountDocuments(db_, KSENG_WALK_FORMS), 2u);
  EXPECT_TRUE(WalkIds(db_).empty());
  EXPECT_EQ(EngGetDocumentKind(db_, form_), KSENG_KIND_FORM);
  char name[256];
  ASSERT_EQ(EngOp39(db_, note, name, sizeof name), 1);
  EXPECT_STREQ(name, "Note");
  EXPECT_EQ(FieldsOf(form_), (Fields{{"Name", ""}, {"City", ""}, {"Phone", ""}}));
  // A form's name must be new.
  EXPECT_FAILS(EngCreateForm(db_, "Contact", nullptr, 0), 0u, KSENG_ERR_EXISTS);
  EXPECT_FAILS(EngCreateForm(db_, "", nullptr, 0), 0u, KSENG_ERR_ARGUMENT);
}

TEST_F(EntriesTest, FieldsWrittenInAnyOrderAreShownInTheFormsOrderWithTheEntrysMarker) {
  uint64_t entry = NewEntry('#', "Free text.\r\n");
  EXPECT_EQ(EngGetDocumentKind(db_, entry), KSENG_KIND_ENTRY);
  EXPECT_EQ(EngGetEntryForm(db_, entry), form_);
  EXPECT_EQ(DocumentText(db_, entry), "Free text.\r\n");

  ASSERT_EQ(Write(entry, {Field("Extra", "x"), Field("City", ""), Field("Name", "Ann")}), 1)
      << LastError();
  EXPECT_EQ(DocumentText(db_, entry), "Name# Ann ]\r\nCity#  ]\r\nExtra# x ]\r\nFree text.\r\n");
  EXPECT_EQ(FieldsOf(entry), (Fields{{"Name", "Ann"}, {"City", ""}, {"Extra", "x"}}));
}

TEST_F(EntriesTest, WritingReplacesAndANullValueClears) {
  uint64_t entry = NewEntry();
  ASSERT_EQ(Write(entry, {Field("Name", "Ann"), Field("City", "Oslo"), Field("Later", "1")}), 1);
  ASSERT_EQ(Write(entry, {Field("City", nullptr), Field("Name", "Bob"), Field("Second", "2")}), 1);
  EXPECT_EQ(DocumentText(db_, entry), "Name[ Bob ]\r\nLater[ 1 ]\r\nSecond[ 2 ]\r\n");
  EXPECT_EQ(Search(db_, "ann").size(), 0u);
  EXPECT_EQ(Search(db_, "bob"), std::vector<uint64_t>{entry});
}

TEST_F(EntriesTest, EntriesArePlacedLikeDocumentsAndChain) {
  uint64_t a = AddDocument(db_, "a");
  AddDocument(db_, "z");
  uint64_t first = NewEntry(0, "e1", KSENG_LOC_AFTER_CURRENT, a);
  NewEntry(0, "e2", KSENG_LOC_AFTER_CURRENT, first);
  EXPECT_EQ(WalkTexts(db_), (std::vector<std::string>{"a", "e1", "e2", "z"}));
}

TEST_F(EntriesTest, AddingWithFieldValuesPutsTheFieldLinesBeforeTheText) {
  KSENG_FIELD fields[] = {Field("Phone", "555"), Field("Name", "Ann"), Field("Note", nullptr)};
  ASSERT_EQ(EngAddDocumentWithFormEx(db_, "Body text\r\n", 1, 0, KSENG_KIND_TEXT, KSENG_LOC_END, 0,
                                     form_, nullptr, 0, fields, 3, 0, 0, 0),
            KSENG_STATUS_TAKEN)
      << LastError();
  uint64_t id = SaveFinal(db_);
  ASSERT_NE(id, 0u) << LastError();
  EXPECT_EQ(DocumentText(db_, id), "Name[ Ann ]\r\nPhone[ 555 ]\r\nBody text\r\n");
  EXPECT_EQ(EngGetDocumentKind(db_, id), KSENG_KIND_ENTRY);
  EXPECT_EQ(FieldsOf(id), (Fields{{"Name", "Ann"}, {"Phone", "555"}}));
  // Writing a field later keeps the body text.
  ASSERT_EQ(Write(id, {Field("City", "Rome")}), 1);
  EXPECT_EQ(DocumentText(db_, id), "Name[ Ann ]\r\nCity[ Rome ]\r\nPhone[ 555 ]\r\nBody text\r\n");
}

TEST_F(EntriesTest, AddingWithAFormReadsTheFieldLinesTheImporterComposed) {
  std::string text = "Name[ Ann ]\r\nCity[ Oslo ]\r\nSome body.\r\n";
  ASSERT_EQ(EngAddDocumentWithForm(db_, text.c_str(), 1, 0, KSENG_KIND_TEXT, KSENG_LOC_END, 0,
                                   form_, nullptr, 0, 0, 0),
            1)
      << LastError();
  uint64_t id = SaveFinal(db_);
  ASSERT_NE(id, 0u) << LastError();
  EXPECT_EQ(DocumentText(db_, id), text);
  EXPECT_EQ(EngGetEntryForm(db_, id), form_);
  EXPECT_EQ(FieldsOf(id), (Fields{{"Name", "Ann"}, {"City", "Oslo"}}));
}

TEST_F(EntriesTest, AttachFormMakesTheLastSavedDocumentAnEntryOfAnExistingForm) {
  EXPECT_FAILS(EngAttachForm(db_, "Contact"), 0, KSENG_ERR_STATE);  // nothing saved yet
  std::string text = "City[ Oslo ]\r\nName[ Ann ]\r\nBody.\r\n";
  uint64_t id = AddDocument(db_, text);
  EXPECT_FAILS(EngAttachForm(db_, "Missing"), 0, KSENG_ERR_NO_DOCUMENT);
  ASSERT_EQ(EngAttachForm(db_, "Contact"), 1) << LastError();
  EXPECT_EQ(EngGetDocumentKind(db_, id), KSENG_KIND_ENTRY);
  EXPECT_EQ(EngGetEntryForm(db_, id), form_);
  EXPECT_EQ(DocumentText(db_, id), text);  // attaching leaves the text alone
  EXPECT_EQ(FieldsOf(id), (Fields{{"Name", "Ann"}, {"City", "Oslo"}}));
  // Rewriting a field rebuilds the lines in the form's order over the body.
  ASSERT_EQ(Write(id, {Field("Name", "Bob")}), 1);
  EXPECT_EQ(DocumentText(db_, id), "Name[ Bob ]\r\nCity[ Oslo ]\r\nBody.\r\n");
}

// The entry id is split in two words and `one` must be 1; a plain document
// takes no fields; a field buffer too small is left untouched.
TEST_F(EntriesTest, FieldCallsRefuseWrongIdsPlainDocumentsAndSmallBuffers) {
  uint64_t entry = NewEntry();
  KSENG_FIELD name = Field("Name", "Annabel");
  uint32_t low = static_cast<uint32_t>(entry), high = static_cast<uint32_t>(entry >> 32);
  EXPECT_FAILS(EngOp249(db_, low, high + 1, 1, 1, &name), 0, KSENG_ERR_NO_DOCUMENT);
  EXPECT_FAILS(EngOp249(db_, low, high, 2, 1, &name), 0, KSENG_ERR_ARGUMENT);
  ASSERT_EQ(EngOp249(db_, low, high, 1, 1, &name), 1);
  EXPECT_EQ(DocumentText(db_, entry), "Name[ Annabel ]\r\n");

  uint64_t doc = AddDocument(db_, "plain");
  EXPECT_FAILS(Write(doc, {Field("Name", "Ann")}), 0, KSENG_ERR_ARGUMENT);
  EXPECT_EQ(DocumentText(db_, doc), "plain");
  EXPECT_EQ(EngGetFieldCount(db_, doc), 0u);
  EXPECT_EQ(EngGetEntryForm(db_, doc), 0u);

  char field_name[8] = "?", value[4] = "?";
  EXPECT_FAILS(EngGetField(db_, entry, 0, field_name, sizeof field_name, value, sizeof value), 0,
               KSENG_ERR_BUFFER);
  EXPECT_STREQ(field_name, "?");
  EXPECT_STREQ(value, "?");
  EXPECT_FAILS(EngGetField(db_, entry, 1, field_name, sizeof field_name, nullptr, 0), 0,
               KSENG_ERR_ARGUMENT);
}

}  // namespace
}  // namespace ks::engine::test
