// DbxTestFile: writes small Outlook Express folder files (.dbx) for the
// tests, laid out as the program lays them out: the header, the index tree
// (as many levels as the messages need at the chosen number of entries per
// node), then each message's record followed by the chained blocks of its
// text.  Where every part landed is kept, so a test can damage it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class DbxTestFile {
 public:
  static constexpr uint32_t kHeaderSize = 0x24BC;
  static constexpr uint32_t kNodeSize = 0x27C;  // room for 51 entries, as the program leaves

  explicit DbxTestFile(size_t entries_per_node = 51, uint32_t block_body = 0x200)
      : entries_per_node_(entries_per_node), block_body_(block_body) {}

  // A message; the records of odd-numbered messages keep the offset of the
  // text in their data, the others in the field's entry itself.
  DbxTestFile& Add(std::string text, std::string subject = "") {
    messages_.push_back({std::move(text), std::move(subject), true});
    return *this;
  }
  // A message the folder lists without its text (only its header was fetched).
  DbxTestFile& AddWithoutText(std::string subject) {
    messages_.push_back({"", std::move(subject), false});
    return *this;
  }
  // Writes the file with this kind (the 4 bytes after the signature).
  DbxTestFile& Kind(std::string_view kind) {
    kind_ = std::string(kind);
    return *this;
  }

  std::string Build() {
    nodes_.clear();
    node_offsets.clear();
    record_offsets.assign(messages_.size(), 0);
    block_offsets.assign(messages_.size(), {});
    std::string file(kHeaderSize, '\0');
    file.replace(0, 4, "\xCF\xAD\x12\xFE");
    file.replace(4, 4, kind_);
    file.replace(8, 12, "\x66\xE3\xD1\x11\x9A\x4E\x00\xC0\x4F\xA3\x09\xD4", 12);
    Put32(file, 0xC4, static_cast<uint32_t>(messages_.size()));
    if (!messages_.empty()) BuildNode(0, messages_.size());
    for (size_t i = 0; i < nodes_.size(); ++i) {
      node_offsets.push_back(static_cast<uint32_t>(kHeaderSize + i * kNodeSize));
    }
    file.resize(kHeaderSize + nodes_.size() * kNodeSize, '\0');
    for (size_t m = 0; m < messages_.size(); ++m) WriteMessage(m, &file);
    for (size_t i = 0; i < nodes_.size(); ++i) WriteNode(i, &file);
    Put32(file, 0xE4, node_offsets.empty() ? 0 : node_offsets[0]);
    Put32(file, 0x7C, static_cast<uint32_t>(file.size()));
    return file;
  }

  static void Put32(std::string& file, uint64_t at, uint32_t value) {
    for (int i = 0; i < 4; ++i) file[at + i] = static_cast<char>(value >> (8 * i));
  }

  // Filled by Build(): the root node first.
  std::vector<uint32_t> node_offsets;
  std::vector<uint32_t> record_offsets;              // in the order messages were added
  std::vector<std::vector<uint32_t>> block_offsets;  // each message's blocks in chain order

 private:
  struct Message {
    std::string text;
    std::string subject;
    bool has_text;
  };
  struct Node {
    int first_child = -1;
    size_t first_child_count = 0;
    struct Entry {
      size_t message;
      int child;
      size_t child_count;
    };
    std::vector<Entry> entries;
  };

  // The node over messages [begin, end), in index order; returns its number.
  // Nodes are numbered as they are made, so the root is node 0.
  int BuildNode(size_t begin, size_t end) {
    const int number = static_cast<int>(nodes_.size());
    nodes_.emplace_back();
    const size_t count = end - begin;
    Node node;
    if (count <= entries_per_node_) {
      for (size_t m = begin; m < end; ++m) node.entries.push_back({m, -1, 0});
    } else {
      // k entries part the rest into k + 1 children of nearly equal size.
      const size_t k = entries_per_node_;
      const size_t rest = count - k;
      size_t at = begin;
      for (size_t part = 0; part <= k; ++part) {
        const size_t size = rest / (k + 1) + (part < rest % (k + 1) ? 1 : 0);
        const int child = size == 0 ? -1 : BuildNode(at, at + size);
        if (part == 0) {
          node.first_child = child;
          node.first_child_count = size;
        } else {
          node.entries.back().child = child;
          node.entries.back().child_count = size;
        }
        at += size;
        if (part < k) node.entries.push_back({at++, -1, 0});
      }
    }
    nodes_[number] = node;
    return number;
  }

  uint32_t Offset(int node) const { return node < 0 ? 0 : node_offsets[node]; }

  void WriteNode(size_t number, std::string* file) const {
    const Node& node = nodes_[number];
    const uint32_t at = node_offsets[number];
    Put32(*file, at, at);
    Put32(*file, at + 0x08, Offset(node.first_child));
    (*file)[at + 0x11] = static_cast<char>(node.entries.size());
    Put32(*file, at + 0x14, static_cast<uint32_t>(node.first_child_count));
    for (size_t i = 0; i < node.entries.size(); ++i) {
      const uint32_t entry = at + 0x18 + static_cast<uint32_t>(i) * 12;
      Put32(*file, entry, record_offsets[node.entries[i].message]);
      Put32(*file, entry + 4, Offset(node.entries[i].child));
      Put32(*file, entry + 8, static_cast<uint32_t>(node.entries[i].child_count));
    }
  }

  void WriteMessage(size_t m, std::string* file) {
    const Message& message = messages_[m];
    // The record: index number (direct), text offset, subject.
    std::string data;
    std::vector<uint32_t> entries = {0x80u | static_cast<uint32_t>(m) << 8};
    const uint32_t record = static_cast<uint32_t>(file->size());
    const uint32_t subject_at = 4;  // the data starts with the text offset's 4 bytes
    std::string subject = message.subject + '\0';
    const uint32_t entry_count = message.has_text ? 3 : 2;
    const uint32_t body_length = entry_count * 4 + 4 + static_cast<uint32_t>(subject.size());
    const uint32_t first_block = record + 12 + body_length;
    if (message.has_text) {
      entries.push_back(m % 2 == 1 ? 0x04u : 0x84u | first_block << 8);
    }
    entries.push_back(0x08u | subject_at << 8);
    file->resize(record + 12 + body_length, '\0');
    Put32(*file, record, record);
    Put32(*file, record + 4, body_length);
    (*file)[record + 0x0A] = static_cast<char>(entry_count);
    for (size_t i = 0; i < entries.size(); ++i) Put32(*file, record + 12 + i * 4, entries[i]);
    const uint32_t data_at = record + 12 + entry_count * 4;
    Put32(*file, data_at, message.has_text ? first_block : 0);
    file->replace(data_at + subject_at, subject.size(), subject);
    record_offsets[m] = record;
    if (!message.has_text) return;

    size_t done = 0;
    do {
      const uint32_t block = static_cast<uint32_t>(file->size());
      const size_t length = std::min<size_t>(block_body_, message.text.size() - done);
      file->resize(block + 16 + block_body_, '\0');
      Put32(*file, block, block);
      Put32(*file, block + 4, block_body_);
      Put32(*file, block + 8, static_cast<uint32_t>(length));
      file->replace(block + 16, length, message.text, done, length);
      done += length;
      if (!block_offsets[m].empty()) Put32(*file, block_offsets[m].back() + 12, block);
      block_offsets[m].push_back(block);
    } while (done < message.text.size());
  }

  size_t entries_per_node_;
  uint32_t block_body_;
  std::string kind_ = "\xC5\xFD\x74\x6F";
  std::vector<Message> messages_;
  std::vector<Node> nodes_;
};
