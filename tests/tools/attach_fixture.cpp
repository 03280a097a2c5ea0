// attach_fixture: adds one document with attachments of the given names and
// contents to an existing database, through the engine's public interface.
// The ksimp tests use it for attachment names that the importers never hand
// out but another writer of a database may: names holding folders or "..",
// absolute paths.
//
// Usage: attach_fixture DB.kst TEXT [NAME CONTENT]...
#include <cstdio>
#include <cstring>
#include <vector>

#include "ks_eng5.h"

int main(int argc, char** argv) {
  if (argc < 3 || (argc - 3) % 2 != 0) {
    std::fprintf(stderr, "usage: attach_fixture DB.kst TEXT [NAME CONTENT]...\n");
    return 2;
  }
  std::vector<KSENG_ATTACHMENT> attachments;
  for (int i = 3; i < argc; i += 2) {
    attachments.push_back({argv[i], KSENG_ATTACH_FILE, 0, argv[i + 1], std::strlen(argv[i + 1])});
  }
  const uint32_t db = EngOpenDatabase(argv[1], KSENG_ACCESS_READWRITE, KSENG_ACCESS_READWRITE);
  char marker = '[';
  uint64_t id = 0;
  const bool added =
      db != 0 && EngBeginAdd(db, &marker) != 0 &&
      EngAddDocument(db, argv[2], 1, 0, KSENG_KIND_TEXT, KSENG_LOC_END, 0, attachments.data(),
                     static_cast<uint32_t>(attachments.size())) == KSENG_STATUS_TAKEN &&
      EngSaveDocument(db, nullptr, nullptr, 1, &id) == KSENG_STATUS_TAKEN &&
      EngEndAdd(db, 0, 0, marker, nullptr) != 0;
  const uint32_t error = EngLastError(0);
  const bool closed = db != 0 && EngCloseDatabase(db) != 0;
  if (!added || !closed) {
    std::fprintf(stderr, "attach_fixture: the engine failed with error %u\n", error);
    return 1;
  }
  return 0;
}
