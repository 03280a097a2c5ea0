// Writes dBase and FoxPro tables for the tests that need what the corpus
// lacks: a header, its field descriptors and the records as given.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

struct DbfField {
  const char* name;
  char type;
  uint8_t length;
  uint8_t flags = 0;  // Visual FoxPro: 0x02 nullable
};

// A record of `values`, each padded with blanks to its field's length;
// `flag` is '*' for a deleted record.
inline std::string DbfRecord(const std::vector<DbfField>& fields, const std::vector<std::string>& values,
                             char flag = ' ') {
  std::string record(1, flag);
  for (size_t i = 0; i < fields.size(); ++i) {
    record += values[i] + std::string(fields[i].length - values[i].size(), ' ');
  }
  return record;
}

// A table of `version` whose records are given as stored, deletion flag
// first; `language` is the header's language driver byte.
inline std::string Dbf(const std::vector<DbfField>& fields, const std::vector<std::string>& records,
                       uint8_t language = 0x03, uint8_t version = 0x03) {
  std::string out(32, '\0');
  out[0] = static_cast<char>(version);
  const auto count = static_cast<uint32_t>(records.size());
  const size_t backlink = version == 0x30 ? 263 : 0;  // Visual FoxPro's
  const auto header = static_cast<uint16_t>(32 + 32 * fields.size() + 1 + backlink);
  uint16_t length = 1;
  for (const DbfField& f : fields) length = static_cast<uint16_t>(length + f.length);
  std::memcpy(out.data() + 4, &count, 4);
  std::memcpy(out.data() + 8, &header, 2);
  std::memcpy(out.data() + 10, &length, 2);
  out[29] = static_cast<char>(language);
  for (const DbfField& f : fields) {
    std::string descriptor(32, '\0');
    std::memcpy(descriptor.data(), f.name, std::strlen(f.name));
    descriptor[11] = f.type;
    descriptor[16] = static_cast<char>(f.length);
    descriptor[18] = static_cast<char>(f.flags);
    out += descriptor;
  }
  out += '\r' + std::string(backlink, '\0');
  for (const std::string& record : records) out += record;
  return out + '\x1a';
}
