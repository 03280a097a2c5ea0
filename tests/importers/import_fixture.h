// A real database in a temporary folder and the calls a host makes to import
// into it, for end-to-end importer tests through the exported interface.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ks_eng5.h"
#include "ks_imp.h"
#include "temp_dir.h"

struct QueuedFile {
  QueuedFile(std::string file, int32_t file_type = 1000) : path(std::move(file)), type(file_type) {}

  std::string path;
  int32_t type = 1000;
  int32_t location = 1;
  int32_t delimiter_flags = 0;
  int32_t delimiter_lines = 0;
  std::string delimiter_string;
  int32_t origin_ansi = 1;
  std::string named_document;
};

struct ImportOutcome {
  uint32_t handle = 0;
  uint32_t result = 0;
  uint32_t documents_added = 0;
  uint32_t error = 0;  // KSIMP_GetLastImportError after the run
  std::string log;
};

class ImportFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    database_ = dir_.file("target.kst");
    ASSERT_NE(EngCreateDatabase(database_.c_str(), nullptr, nullptr, 0), 0);
  }

  static uint32_t Queue(uint32_t handle, const QueuedFile& f) {
    return KSIMP_AddFileToImport(
        handle, f.path.c_str(), f.type, f.location, 0, nullptr, f.named_document.empty() ? 0 : 1,
        f.named_document.c_str(), f.delimiter_flags, f.delimiter_lines, f.delimiter_string.c_str(),
        f.origin_ansi, 0, nullptr, 0, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, 0, nullptr,
        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0);
  }

  // Queues every file on a new handle of the database and runs the import.
  ImportOutcome Import(const std::vector<QueuedFile>& files) {
    ImportOutcome outcome;
    outcome.handle = KSIMP_InitImportUsingFileName(database_.c_str());
    EXPECT_NE(outcome.handle, 0u);
    for (const auto& file : files) EXPECT_EQ(Queue(outcome.handle, file), 1u) << file.path;
    outcome.result = KSIMP_Import(outcome.handle, 0, 0, nullptr, &outcome.documents_added);
    outcome.error = KSIMP_GetLastImportError(outcome.handle);
    char log[4096] = {};
    if (KSIMP_GetLogData(outcome.handle, log, sizeof log) != 0) outcome.log = log;
    return outcome;
  }

  // The text of every document, in database order.
  std::vector<std::string> Documents() const {
    std::vector<std::string> texts;
    const uint32_t db = EngOpenDatabase(database_.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
    EXPECT_NE(db, 0u);
    for (uint64_t id = EngFirstDocument(db, KSENG_WALK_DOCUMENTS); id != 0;
         id = EngNextDocument(db, id, KSENG_WALK_DOCUMENTS)) {
      uint64_t length = 0;
      EngGetDocumentText(db, id, nullptr, 0, &length);
      std::string text(length + 1, '\0');
      EXPECT_EQ(EngGetDocumentText(db, id, text.data(), text.size(), &length), 1);
      text.resize(length);
      texts.push_back(text);
    }
    EngCloseDatabase(db);
    return texts;
  }

  TempDir dir_;
  std::string database_;
};
