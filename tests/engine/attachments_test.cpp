// Attachments stored with a document: names, kinds and exact bytes come back
// in the order stored.
#include "engine_test_support.h"

namespace ks::engine::test {
namespace {

class AttachmentsTest : public DatabaseTest {
 protected:
  uint64_t AddWith(const std::vector<KSENG_ATTACHMENT>& attachments,
                   int32_t location = KSENG_LOC_END, uint64_t anchor = 0) {
    EXPECT_EQ(EngAddDocument(db_, "with files", 1, 0, KSENG_KIND_TEXT, location, anchor,
                             attachments.data(), static_cast<uint32_t>(attachments.size())),
              1)
        << LastError();
    uint64_t id = SaveFinal(db_);
    EXPECT_NE(id, 0u) << LastError();
    return id;
  }

  std::string Read(uint64_t id, uint32_t index) {
    uint64_t size = 0;
    EXPECT_EQ(EngGetAttachmentInfo(db_, id, index, nullptr, 0, nullptr, &size), 1);
    std::string data(size, '\0');
    EXPECT_EQ(EngReadAttachment(db_, id, index, data.data(), size), 1) << LastError();
    return data;
  }
};

TEST_F(AttachmentsTest, NamesKindsAndBytesRoundTrip) {
  std::string binary("\0\x01\xff\r\n\0tail", 10);
  std::string large(300 * 1024, 'q');
  for (size_t i = 0; i < large.size(); i += 997) large[i] = static_cast<char>(i);
  uint64_t id = AddWith({
      {"report.bin", KSENG_ATTACH_FILE, 0, binary.data(), binary.size()},
      {"empty.txt", 7, 0, nullptr, 0},
      {"large.dat", KSENG_ATTACH_FILE, 0, large.data(), large.size()},
  });
  ASSERT_EQ(EngGetAttachmentCount(db_, id), 3u);
  char name[64];
  uint32_t kind = 0;
  uint64_t size = 0;
  ASSERT_EQ(EngGetAttachmentInfo(db_, id, 1, name, sizeof name, &kind, &size), 1);
  EXPECT_STREQ(name, "empty.txt");
  EXPECT_EQ(kind, 7u);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(Read(id, 0), binary);
  EXPECT_EQ(Read(id, 1), "");
  EXPECT_EQ(Read(id, 2), large);
  EXPECT_EQ(DocumentText(db_, id), "with files");
  // The attachments of an append join those of the document appended to.
  EXPECT_EQ(AddWith({{"two", KSENG_ATTACH_FILE, 0, "2", 1}}, KSENG_LOC_END_OF_CURRENT, id), id);
  ASSERT_EQ(EngGetAttachmentCount(db_, id), 4u);
  EXPECT_EQ(Read(id, 3), "2");
  EXPECT_EQ(DocumentText(db_, id), "with fileswith files");
}

TEST_F(AttachmentsTest, MissingAttachmentsAndTooSmallBuffersFail) {
  std::string data = "12345";
  uint64_t id = AddWith({{"five", KSENG_ATTACH_FILE, 0, data.data(), data.size()}});
  char buffer[4] = {'?', '?', '?', '?'};
  EXPECT_FAILS(EngReadAttachment(db_, id, 0, buffer, sizeof buffer), 0, KSENG_ERR_BUFFER);
  EXPECT_EQ(buffer[0], '?');
  EXPECT_FAILS(EngGetAttachmentInfo(db_, id, 1, nullptr, 0, nullptr, nullptr), 0,
               KSENG_ERR_ARGUMENT);
  char small[3];
  EXPECT_FAILS(EngGetAttachmentInfo(db_, id, 0, small, sizeof small, nullptr, nullptr), 0,
               KSENG_ERR_BUFFER);
  EXPECT_EQ(EngGetAttachmentCount(db_, AddDocument(db_, "plain")), 0u);
  EXPECT_FAILS(EngGetAttachmentCount(db_, 999), 0u, KSENG_ERR_NO_DOCUMENT);
}

}  // namespace
}  // namespace ks::engine::test
