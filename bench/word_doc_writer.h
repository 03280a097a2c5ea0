// Writes a Word 97 document large enough to time a reader on, since none
// can be made on this machine otherwise: the smallest compound file that
// holds a "WordDocument" stream (the file information block and the text,
// one 8-bit piece) and a "0Table" stream (the piece table).  Paragraphs of
// ordinary words, some with a field, a tab or a non-ASCII letter, so that a
// reader does more than copy bytes.  Limited to what 109 FAT sectors
// address (about 7 MB), which needs no DIFAT.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace bench {

inline void Put16(std::string& s, size_t at, uint16_t v) {
  s[at] = static_cast<char>(v);
  s[at + 1] = static_cast<char>(v >> 8);
}
inline void Put32(std::string& s, size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) s[at + i] = static_cast<char>(v >> (8 * i));
}

// The text: `paragraphs` paragraphs of about 80 words, in Windows-1252,
// each ended by a paragraph mark.
inline std::string WordBenchText(size_t paragraphs) {
  static const char* const kWords[] = {"import", "document", "field", "database", "r\xE9sum\xE9",
                                       "Kestro", "search",   "text",  "engine",   "paragraph",
                                       "table",  "na\xEFve", "word",  "stored",   "reader"};
  std::string text;
  uint32_t state = 12345;
  for (size_t p = 0; p < paragraphs; ++p) {
    for (int w = 0; w < 80; ++w) {
      state = state * 1103515245 + 12345;
      if (w > 0) text += (state >> 20) % 23 == 0 ? '\t' : ' ';
      if ((state >> 16) % 97 == 0) {
        text += "\x13 PAGE \x14" + std::to_string(p % 100) + "\x15";
      } else {
        text += kWords[(state >> 8) % 15];
      }
    }
    text += ".\r";
  }
  return text;
}

// The document's two streams.
inline std::pair<std::string, std::string> WordBenchStreams(const std::string& text) {
  constexpr uint32_t kTextStart = 0x400;
  std::string main(kTextStart, '\0');
  Put16(main, 0x00, 0xA5EC);  // Word 97
  Put16(main, 0x02, 0x00C1);
  Put16(main, 0x06, 0x0409);
  Put16(main, 0x0A, 0x1000);  // characters beyond 8 bits may appear; table stream 0
  Put16(main, 0x0C, 0x00BF);
  Put32(main, 0x18, kTextStart);
  Put32(main, 0x1C, kTextStart + static_cast<uint32_t>(text.size()));
  Put16(main, 0x20, 14);  // 16-bit values
  Put16(main, 0x3E, 22);  // 32-bit values
  Put32(main, 0x40, kTextStart + static_cast<uint32_t>(text.size()));  // cbMac
  Put32(main, 0x4C, static_cast<uint32_t>(text.size()));               // main text length
  Put16(main, 0x98, 93);  // offset and length pairs
  main += text;
  main.resize(std::max<size_t>(main.size(), 4096), '\0');

  std::string table;
  table += '\x02';
  std::string plc(4 * 2 + 8, '\0');
  Put32(plc, 0, 0);
  Put32(plc, 4, static_cast<uint32_t>(text.size()));
  Put32(plc, 8 + 2, (kTextStart * 2) | 0x40000000u);  // one 8-bit piece
  std::string length(4, '\0');
  Put32(length, 0, static_cast<uint32_t>(plc.size()));
  table += length + plc;
  Put32(main, 0x9A + 33 * 8, 0);  // the piece table, at the table stream's start
  Put32(main, 0x9A + 33 * 8 + 4, static_cast<uint32_t>(table.size()));
  table.resize(4096, '\0');  // no smaller than the mini stream's limit
  return {std::move(main), std::move(table)};
}

// A compound file of 512-byte sectors holding `streams` (each at least
// 4,096 bytes, so none lives in the mini stream) under the root.
inline std::string CompoundFileOf(const std::vector<std::pair<std::string, std::string>>& streams) {
  constexpr uint32_t kSector = 512, kEnd = 0xFFFFFFFE, kFree = 0xFFFFFFFF, kFatMark = 0xFFFFFFFD;
  std::vector<uint32_t> fat;
  std::string body;
  std::vector<uint32_t> starts;
  for (const auto& [name, bytes] : streams) {
    const auto sectors = static_cast<uint32_t>((bytes.size() + kSector - 1) / kSector);
    starts.push_back(static_cast<uint32_t>(fat.size()));
    for (uint32_t i = 0; i < sectors; ++i) {
      fat.push_back(i + 1 < sectors ? static_cast<uint32_t>(fat.size()) + 1 : kEnd);
    }
    std::string padded = bytes;
    padded.resize(sectors * kSector, '\0');
    body += padded;
  }
  // The directory: the root, then one entry per stream, each the right
  // sibling of the one before.
  const auto directory_start = static_cast<uint32_t>(fat.size());
  std::string directory((streams.size() + 1) * 128, '\0');
  directory.resize((directory.size() + kSector - 1) / kSector * kSector, '\0');
  auto entry = [&](size_t index, const std::string& name, uint8_t type, uint32_t start, uint32_t size,
                   uint32_t right, uint32_t child) {
    const size_t at = index * 128;
    for (size_t i = 0; i < name.size(); ++i) directory[at + 2 * i] = name[i];
    Put16(directory, at + 64, static_cast<uint16_t>((name.size() + 1) * 2));
    directory[at + 66] = static_cast<char>(type);
    directory[at + 67] = 1;
    Put32(directory, at + 68, kFree);
    Put32(directory, at + 72, right);
    Put32(directory, at + 76, child);
    Put32(directory, at + 116, start);
    Put32(directory, at + 120, size);
  };
  entry(0, "Root Entry", 5, kEnd, 0, kFree, 1);
  for (size_t i = 0; i < streams.size(); ++i) {
    entry(i + 1, streams[i].first, 2, starts[i], static_cast<uint32_t>(streams[i].second.size()),
          i + 1 < streams.size() ? static_cast<uint32_t>(i + 2) : kFree, kFree);
  }
  for (uint32_t i = 0; i < directory.size() / kSector; ++i) {
    fat.push_back(i + 1 < directory.size() / kSector ? static_cast<uint32_t>(fat.size()) + 1 : kEnd);
  }
  body += directory;
  // The FAT itself, in the sectors after everything else.
  uint32_t fat_sectors = 1;
  while ((fat.size() + fat_sectors) > fat_sectors * (kSector / 4)) ++fat_sectors;
  if (fat_sectors > 109) return {};  // would need a DIFAT
  const auto fat_start = static_cast<uint32_t>(fat.size());
  for (uint32_t i = 0; i < fat_sectors; ++i) fat.push_back(kFatMark);
  fat.resize(fat_sectors * (kSector / 4), kFree);
  std::string fat_bytes(fat.size() * 4, '\0');
  for (size_t i = 0; i < fat.size(); ++i) Put32(fat_bytes, i * 4, fat[i]);

  std::string header(kSector, '\0');
  const unsigned char magic[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
  for (int i = 0; i < 8; ++i) header[i] = static_cast<char>(magic[i]);
  Put16(header, 24, 0x003E);
  Put16(header, 26, 0x0003);
  Put16(header, 28, 0xFFFE);
  Put16(header, 30, 9);
  Put16(header, 32, 6);
  Put32(header, 44, fat_sectors);
  Put32(header, 48, directory_start);
  Put32(header, 56, 4096);
  Put32(header, 60, kEnd);
  Put32(header, 68, kEnd);
  for (uint32_t i = 0; i < 109; ++i) Put32(header, 76 + 4 * i, i < fat_sectors ? fat_start + i : kFree);
  return header + body + fat_bytes;
}

}  // namespace bench
