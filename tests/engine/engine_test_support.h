// Helpers shared by the engine tests: temporary databases, adding documents
// through the C interface the way an importer does, and reading them back.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "api/write_file.h"
#include "engine/api_guard.h"
#include "engine/handle_table.h"
#include "engine/sqlite_database.h"
#include "ks_eng5.h"

namespace ks::engine::test {

// The last error as "code: text", for assertion messages.
inline std::string LastError() {
  return std::to_string(LastErrorCode()) + ": " + LastErrorText();
}

inline std::set<std::string> ListFolder(const std::string& folder) {
  std::set<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

// Creates an unprotected database and opens it for writing.
inline uint32_t CreateAndOpen(const std::string& path) {
  EXPECT_NE(EngCreateDatabase(path.c_str(), nullptr, nullptr, 0), 0) << LastError();
  uint32_t db = EngOpenDatabase(path.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
  EXPECT_NE(db, 0u) << LastError();
  return db;
}

// Opens a database with non-default sizes and registers it like the C
// interface would, so the rest of a test can use the C functions.
inline uint32_t OpenTuned(const std::string& path, int32_t access, const EngineTuning& tuning) {
  std::shared_ptr<Database> database =
      SqliteDatabase::Open(path, access, KSENG_SHARE_READWRITE, std::nullopt, tuning);
  return Handles().Add(std::move(database));
}

// Adds one document the way the document writer does: pieces of at most
// `piece_size` bytes, a save (final 0) whenever the engine answers 6, then the
// final save.  Returns the new id, 0 on failure.
inline uint64_t AddDocument(uint32_t db, std::string_view text, int32_t location = KSENG_LOC_END,
                            uint64_t anchor = 0, const char* anchor_name = nullptr,
                            int32_t kind = KSENG_KIND_TEXT, size_t piece_size = 0) {
  if (piece_size == 0) piece_size = text.empty() ? 1 : text.size();
  size_t offset = 0;
  do {
    std::string piece(text.substr(offset, piece_size));
    int32_t status = EngAddDocument(db, piece.c_str(), 1, static_cast<uint32_t>(piece.size()), kind,
                                    location, anchor, nullptr, 0);
    if (status == KSENG_STATUS_SAVE_FIRST) {
      status = EngSaveDocument(db, nullptr, nullptr, 0, nullptr);
    }
    if (status != KSENG_STATUS_TAKEN) return 0;
    offset += piece.size();
  } while (offset < text.size());
  uint64_t id = 0;
  if (EngSaveDocument(db, anchor_name, nullptr, 1, &id) != KSENG_STATUS_TAKEN) return 0;
  return id;
}

inline std::string DocumentText(uint32_t db, uint64_t id) {
  uint64_t length = 0;
  EngGetDocumentText(db, id, nullptr, 0, &length);
  std::string text(length + 1, '\0');
  if (EngGetDocumentText(db, id, text.data(), text.size(), &length) != 1) return "<no text>";
  text.resize(length);
  return text;
}

inline std::string DocumentName(uint32_t db, uint64_t id) {
  char name[512];
  return EngGetDocumentName(db, id, name, sizeof name) == 1 ? name : "<no name>";
}

inline std::vector<uint64_t> WalkIds(uint32_t db, int32_t filter = KSENG_WALK_DOCUMENTS) {
  std::vector<uint64_t> ids;
  for (uint64_t id = EngFirstDocument(db, filter); id != 0; id = EngNextDocument(db, id, filter)) {
    ids.push_back(id);
  }
  return ids;
}

inline std::vector<std::string> WalkTexts(uint32_t db) {
  std::vector<std::string> texts;
  for (uint64_t id : WalkIds(db)) texts.push_back(DocumentText(db, id));
  return texts;
}

inline std::vector<uint64_t> Search(uint32_t db, const char* query) {
  int64_t count = EngSearch(db, query, nullptr, 0);
  if (count < 0) return {};
  std::vector<uint64_t> ids(static_cast<size_t>(count));
  EngSearch(db, query, ids.data(), static_cast<uint32_t>(ids.size()));
  return ids;
}

// The rows of a query run on the file itself, past the engine, as integers.
inline std::vector<std::vector<int64_t>> QueryFile(const std::string& path, const char* sql) {
  std::vector<std::vector<int64_t>> rows;
  sqlite3* raw = nullptr;
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
      sqlite3_prepare_v2(raw, sql, -1, &statement, nullptr) == SQLITE_OK) {
    while (sqlite3_step(statement) == SQLITE_ROW) {
      rows.emplace_back();
      for (int i = 0; i < sqlite3_column_count(statement); ++i) {
        rows.back().push_back(sqlite3_column_int64(statement, i));
      }
    }
  }
  sqlite3_finalize(statement);
  sqlite3_close(raw);
  return rows;
}

inline KSENG_FIELD Field(const char* name, const char* value) {
  KSENG_FIELD field{};
  std::strncpy(field.name, name, sizeof field.name - 1);
  field.flags = KSENG_FIELD_FLAGS;
  field.count = 1;
  field.value = value;
  return field;
}

// EngOp249 with the entry id split into its two words, as callers pass it.
inline int32_t WriteFields(uint32_t db, uint64_t entry, std::vector<KSENG_FIELD> fields) {
  return EngOp249(db, static_cast<uint32_t>(entry), static_cast<uint32_t>(entry >> 32), 1,
                  static_cast<uint32_t>(fields.size()), fields.data());
}

// A call that fails: it returns `failed` and leaves `error` as the last error.
#define EXPECT_FAILS(call, failed, error)                              \
  do {                                                                 \
    EXPECT_EQ(call, failed);                                           \
    EXPECT_EQ(EngLastError(0), static_cast<uint32_t>(error)) << #call; \
  } while (0)

inline uint32_t OpenForReading(const std::string& path) {
  return EngOpenDatabase(path.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
}

// One whole piece of text, as most callers pass it.
inline int32_t AddPiece(uint32_t db, const char* text, int32_t kind = KSENG_KIND_TEXT,
                        int32_t location = KSENG_LOC_END) {
  return EngAddDocument(db, text, 1, 0, kind, location, 0, nullptr, 0);
}

// The final save of the pending document: its id, 0 on failure.
inline uint64_t SaveFinal(uint32_t db) {
  uint64_t id = 0;
  return EngSaveDocument(db, nullptr, nullptr, 1, &id) == KSENG_STATUS_TAKEN ? id : 0;
}

// Runs `check` in a child process with the rights of an ordinary user
// (nobody) when the tests run as root, who may read and write any file;
// otherwise in this process.  Returns the check's result.
template <typename Check>
bool AsOrdinaryUser(const std::string& folder, Check&& check) {
  if (geteuid() != 0) return check();
  chmod(folder.c_str(), 0755);  // let the ordinary user reach the file
  pid_t child = fork();
  if (child == 0) {
    bool ok = setgid(65534) == 0 && setuid(65534) == 0 && check();
    _exit(ok ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  chmod(folder.c_str(), 0700);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// A test's own folder and a database file in it.
class EngineTest : public ::testing::Test {
 protected:
  std::string Path(const std::string& name = "test.kst") const { return dir_.file(name); }
  std::string Folder() const { return dir_.path().string(); }

  TempDir dir_;
};

// A new database, open for writing throughout the test.
class DatabaseTest : public EngineTest {
 protected:
  void SetUp() override { db_ = CreateAndOpen(Path()); }
  void TearDown() override {
    if (db_ != 0) EngCloseDatabase(db_);
  }

  // Closes the database and opens it again.
  void Reopen(int32_t access = KSENG_ACCESS_READWRITE, int32_t share = KSENG_SHARE_READWRITE) {
    ASSERT_EQ(EngCloseDatabase(db_), 1);
    db_ = EngOpenDatabase(Path().c_str(), access, share);
    ASSERT_NE(db_, 0u) << LastError();
  }
  void ReopenTuned(const EngineTuning& tuning) {
    ASSERT_EQ(EngCloseDatabase(db_), 1);
    db_ = OpenTuned(Path(), KSENG_ACCESS_READWRITE, tuning);
  }

  uint32_t db_ = 0;
};

}  // namespace ks::engine::test
