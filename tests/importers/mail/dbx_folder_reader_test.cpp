// The Outlook Express folder reader on files written by DbxTestFile (every
// shape of index, damage placed where a test wants it) and on the real
// folders of the shared corpus (skipped when absent).
#include "importers/mail/dbx_folder_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "api/write_file.h"
#include "importers/mail/dbx_file_header.h"
#include "importers/mail/dbx_test_file.h"

namespace {

using State = DbxFolderReader::Message::State;
using Kind = DbxProblem::Kind;

struct ReadFolder {
  std::vector<DbxFolderReader::Message> messages;
  std::optional<DbxProblem> index_problem;
  uint64_t listed = 0;
  std::vector<std::string> texts() const {
    std::vector<std::string> read;
    for (const auto& m : messages) {
      if (m.state == State::kRead) read.push_back(m.raw_text);
    }
    return read;
  }
  size_t count(State state) const {
    return std::count_if(messages.begin(), messages.end(),
                         [state](const auto& m) { return m.state == state; });
  }
};

ReadFolder Read(std::string_view file) {
  DbxFolderReader reader(file);
  ReadFolder read;
  DbxFolderReader::Message message;
  while (reader.Next(&message)) read.messages.push_back(message);
  read.index_problem = reader.index_problem();
  read.listed = reader.messages_listed();
  return read;
}

// A message text of `length` bytes that says which message it is.
std::string Text(size_t number, size_t length) {
  std::string text = "Subject: message " + std::to_string(number) + "\r\n\r\n";
  while (text.size() < length) text += static_cast<char>('a' + text.size() % 26);
  text.resize(std::max(length, size_t{1}));
  return text;
}

std::filesystem::path CorpusDbx(const std::string& name) {
  return std::filesystem::path(KS_SHARED_DIR) / "corpus" / "dbx" / name;
}

// ---- The header ----------------------------------------------------------

TEST(DbxFileHeaderTest, AMessageFolderCutInsideItsHeaderIsCutShort) {
  const std::string file = DbxTestFile().Add(Text(0, 10)).Build();
  for (size_t cut : {8, 0x40, 0xC7, 0xE7}) {
    const DbxFileHeader header = ReadDbxFileHeader(file.substr(0, cut));
    EXPECT_EQ(header.kind, DbxFileKind::kMessageFolder) << cut;
    EXPECT_TRUE(header.cut_short) << cut;
    const ReadFolder read = Read(file.substr(0, cut));
    EXPECT_TRUE(read.messages.empty());
    ASSERT_TRUE(read.index_problem) << cut;
    EXPECT_EQ(read.index_problem->kind, Kind::kCutShort);
  }
}

// ---- Whole folders -------------------------------------------------------

TEST(DbxFolderReaderTest, GivesEveryMessageInIndexOrderWhateverTheTreesShape) {
  for (size_t per_node : {1, 2, 3, 51}) {
    for (size_t count : {0, 1, 2, 3, 7, 52, 200}) {
      DbxTestFile writer(per_node);
      std::vector<std::string> texts;
      for (size_t i = 0; i < count; ++i) {
        texts.push_back(Text(i, (i * 397) % 1700));
        writer.Add(texts.back(), "message " + std::to_string(i));
      }
      const ReadFolder read = Read(writer.Build());
      EXPECT_EQ(read.texts(), texts) << per_node << " per node, " << count << " messages";
      EXPECT_FALSE(read.index_problem) << read.index_problem->what;
      EXPECT_EQ(read.listed, count);
      for (size_t i = 0; i < read.messages.size(); ++i) {
        EXPECT_EQ(read.messages[i].subject, "message " + std::to_string(i));
        EXPECT_EQ(read.messages[i].record_offset, writer.record_offsets[i]);
      }
    }
  }
}

TEST(DbxFolderReaderTest, TextsFillingWholeBlocksJoinExactly) {
  for (size_t length : {1, 511, 512, 513, 1024, 1025, 5000}) {
    const std::string text = Text(0, length);
    EXPECT_EQ(Read(DbxTestFile().Add(text).Add(text).Build()).texts(),
              (std::vector<std::string>{text, text}))
        << length;
  }
  // Blocks of another body size read the same.
  const std::string text = Text(3, 3000);
  EXPECT_EQ(Read(DbxTestFile(51, 100).Add(text).Build()).texts(), std::vector<std::string>{text});
}

// ---- Damage ----------------------------------------------------------------

// A three-level tree of 13 messages, one entry per node.
struct DamagedTree : ::testing::Test {
  void SetUp() override {
    for (size_t i = 0; i < 13; ++i) writer.Add(Text(i, 600));
    file = writer.Build();
    ASSERT_GE(writer.node_offsets.size(), 7u);
  }
  DbxTestFile writer{1};
  std::string file;
};

TEST_F(DamagedTree, ANodeThatIsItsOwnChildOrSharedIsReadOnce) {
  for (const bool own : {true, false}) {
    std::string damaged = file;
    const uint32_t node = writer.node_offsets[1];
    // The root's first child becomes a node met later as well, or the node
    // points at itself.
    DbxTestFile::Put32(damaged, node + 0x08, own ? node : writer.node_offsets.back());
    const ReadFolder read = Read(damaged);
    ASSERT_TRUE(read.index_problem) << own;
    EXPECT_EQ(read.index_problem->kind, Kind::kDamaged);
    std::vector<uint32_t> records;
    for (const auto& m : read.messages) records.push_back(m.record_offset);
    std::sort(records.begin(), records.end());
    EXPECT_EQ(std::adjacent_find(records.begin(), records.end()), records.end())
        << "a message was handed out twice";
  }
}

TEST_F(DamagedTree, ANodeWithoutItsOwnOffsetOrBeyondTheFileEndsTheWalk) {
  std::string damaged = file;
  DbxTestFile::Put32(damaged, writer.node_offsets[3], 12345);
  ReadFolder read = Read(damaged);
  ASSERT_TRUE(read.index_problem);
  EXPECT_EQ(read.index_problem->kind, Kind::kDamaged);
  EXPECT_EQ(read.index_problem->offset, writer.node_offsets[3]);

  damaged = file;
  DbxTestFile::Put32(damaged, 0xE4, static_cast<uint32_t>(file.size()) - 4);
  read = Read(damaged);
  EXPECT_TRUE(read.messages.empty());
  ASSERT_TRUE(read.index_problem);
  EXPECT_EQ(read.index_problem->kind, Kind::kCutShort);
}

TEST(DbxFolderReaderTest, ALoopingChainOfBlocksLosesOnlyItsMessage) {
  DbxTestFile writer;
  for (size_t i = 0; i < 3; ++i) writer.Add(Text(i, 20 * 512));
  const std::string file = writer.Build();
  const std::vector<uint32_t>& blocks = writer.block_offsets[1];
  // Back to the first block, to itself, and to a block in the middle.
  for (const auto& [from, to] :
       std::vector<std::pair<size_t, size_t>>{{19, 0}, {0, 0}, {7, 7}, {19, 11}, {1, 0}}) {
    std::string damaged = file;
    DbxTestFile::Put32(damaged, blocks[from] + 12, blocks[to]);
    const ReadFolder read = Read(damaged);
    ASSERT_EQ(read.messages.size(), 3u);
    EXPECT_EQ(read.messages[1].state, State::kUnreadable) << from << " -> " << to;
    EXPECT_EQ(read.messages[1].problem.kind, Kind::kDamaged);
    EXPECT_EQ(read.texts(), (std::vector<std::string>{Text(0, 20 * 512), Text(2, 20 * 512)}));
    EXPECT_FALSE(read.index_problem);
  }
}

TEST(DbxFolderReaderTest, DamagedRecordsAndBlocksLoseOnlyTheirMessage) {
  DbxTestFile writer;
  for (size_t i = 0; i < 3; ++i) writer.Add(Text(i, 700));
  const std::string file = writer.Build();
  const uint32_t record = writer.record_offsets[1];
  const uint32_t block = writer.block_offsets[1][1];
  struct Damage {
    const char* what;
    uint64_t at;
    uint32_t value;
    Kind kind;
  };
  const Damage damages[] = {
      {"the index points beside the record", 0, 0, Kind::kDamaged},  // set below
      {"the record claims a body beyond the file", record + 4, 0x7FFFFFF0, Kind::kCutShort},
      {"the record claims more fields than its body holds", record + 4, 8, Kind::kDamaged},
      {"the text offset's data lies outside the record", record + 12 + 4, 0x00FFFF04,
       Kind::kDamaged},
      {"a block without its own offset", block, block + 1, Kind::kDamaged},
      {"a block holding more than its body", block + 8, 0x201, Kind::kDamaged},
      {"a block beyond the file", writer.block_offsets[1][0] + 12, 0xFFFFFFF0, Kind::kCutShort},
  };
  for (const Damage& damage : damages) {
    std::string damaged = file;
    if (damage.at == 0) {
      // The root's entry for message 1 points 4 bytes into its record.
      DbxTestFile::Put32(damaged, writer.node_offsets[0] + 0x18 + 12, record + 4);
    } else {
      DbxTestFile::Put32(damaged, damage.at, damage.value);
    }
    const ReadFolder read = Read(damaged);
    ASSERT_EQ(read.messages.size(), 3u) << damage.what;
    EXPECT_EQ(read.messages[1].state, State::kUnreadable) << damage.what;
    EXPECT_EQ(read.messages[1].problem.kind, damage.kind) << damage.what;
    EXPECT_FALSE(read.messages[1].problem.what.empty());
    EXPECT_EQ(read.texts(), (std::vector<std::string>{Text(0, 700), Text(2, 700)})) << damage.what;
  }
}

TEST(DbxFolderReaderTest, ACutFileGivesTheMessagesBeforeTheCut) {
  DbxTestFile writer(2);
  std::vector<std::string> texts;
  for (size_t i = 0; i < 6; ++i) {
    texts.push_back(Text(i, 300 + 250 * i));
    writer.Add(texts.back());
  }
  const std::string file = writer.Build();
  size_t read_before = 0;
  for (size_t cut = 0; cut <= file.size(); cut += 29) {
    const ReadFolder read = Read(std::string_view(file).substr(0, cut));
    // Messages lie one after another: those whose text ends before the cut
    // are read.
    size_t whole = 0;
    while (whole < texts.size()) {
      const size_t in_last_block =
          texts[whole].size() - 0x200 * (writer.block_offsets[whole].size() - 1);
      if (writer.block_offsets[whole].back() + 16 + in_last_block > cut) break;
      ++whole;
    }
    const std::vector<std::string> expected(texts.begin(), texts.begin() + whole);
    EXPECT_EQ(read.texts(), expected) << "cut at " << cut;
    EXPECT_GE(read.texts().size(), read_before) << "cut at " << cut;
    read_before = read.texts().size();
    if (whole < texts.size() && cut >= 8) {  // shorter, it is no folder file at all
      const bool reported = read.index_problem || read.count(State::kUnreadable) > 0;
      EXPECT_TRUE(reported) << "cut at " << cut << " lost messages without a word";
      for (const auto& m : read.messages) {
        if (m.state == State::kUnreadable) {
          EXPECT_EQ(m.problem.kind, Kind::kCutShort);
        }
      }
      if (read.index_problem) {
        EXPECT_EQ(read.index_problem->kind, Kind::kCutShort);
      }
    }
  }
  EXPECT_EQ(read_before, texts.size());
}

// ---- Real folders ------------------------------------------------------------

struct CorpusFolder {
  const char* name;
  size_t messages;  // as SOURCES.md records them
};

TEST(DbxCorpusTest, EveryFolderGivesTheMessagesItIsKnownToHold) {
  const CorpusFolder folders[] = {{"iped-test_OutlookDBX.dbx", 28},
                                  {"perl-test.dbx", 1},
                                  {"perl-test1.dbx", 1},
                                  {"oe6-store/Inbox.dbx", 1},
                                  {"oe6-store/Outbox.dbx", 0}};
  if (!std::filesystem::exists(CorpusDbx(folders[0].name))) GTEST_SKIP() << "no shared corpus";
  for (const CorpusFolder& folder : folders) {
    const std::string file = ReadFile(CorpusDbx(folder.name));
    EXPECT_EQ(ReadDbxFileHeader(file).message_count, folder.messages) << folder.name;
    const ReadFolder read = Read(file);
    EXPECT_FALSE(read.index_problem) << folder.name;
    ASSERT_EQ(read.count(State::kRead), folder.messages) << folder.name;
    for (const std::string& text : read.texts()) {
      // Whole RFC 822 messages: a header, its end, and no byte of the
      // blocks' unused room.
      EXPECT_NE(text.find(": "), std::string::npos) << folder.name;
      EXPECT_LT(text.find(": "), text.find("\r\n")) << folder.name;
      EXPECT_NE(text.find("\r\n\r\n"), std::string::npos) << folder.name;
      EXPECT_EQ(text.find('\0'), std::string::npos) << folder.name;
    }
  }
}

}  // namespace
