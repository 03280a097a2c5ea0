// A real database in a temporary folder and the calls a host makes to import
// into it, for end-to-end importer tests through the exported interface.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "api/write_file.h"
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
  std::string entry_form;  // non-empty: documents are made from this entry form
  int32_t use_stored_settings = 0;
  std::string date_from;  // for delimited and fixed-width text: where the settings are
  int32_t full_header = 0;
  int32_t save_attachments = 0;
  int32_t delete_after = 0;  // 1: delete it after its import, inside the temp import folder
  int32_t import_attachments = 0;  // 1: attachments end their message's document
  std::string message_date_from;   // mail: the first day sent
  std::string folder;              // mail stores: the folder to import (empty: every one)
};

// A document as the engine keeps it, with the fields of an entry.
struct StoredDocument {
  int32_t kind = 0;
  std::string text;
  std::string form;  // the entry form's name, for entries
  std::vector<std::pair<std::string, std::string>> fields;
};

// One source imported on its own: its text and settings, the documents it
// must give, and whether it is OEM (0) or ANSI (1) text.
struct SourceCase {
  const char* name;
  std::string content;
  std::string settings;
  std::vector<std::string> expected;
  int32_t origin_ansi = 1;
};

// An import aborted part way, with the progress seen before the abort.
struct AbortedImport {
  std::vector<std::string> documents;
  uint32_t total_bytes = 0;
  uint32_t highest_bytes = 0;
};

struct StoredAttachment {
  std::string name;
  uint32_t kind = 0;
  std::string content;
};

struct ImportOutcome {
  uint32_t handle = 0;
  uint32_t result = 0;
  uint32_t documents_added = 0;
  uint32_t error = 0;  // KSIMP_GetLastImportError after the run
  uint32_t total_bytes = 0;  // the size of the queue, as the host is told before the run
  std::string log;
};

// Whether the import log (or any text) holds `part`; a failure shows the
// whole text, so that a missing line is seen beside what was logged.
inline ::testing::AssertionResult Holds(const std::string& text, const std::string& part) {
  if (text.find(part) != std::string::npos) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "\"" << part << "\" is not in:\n" << text;
}

class ImportFixture : public ::testing::Test {
 protected:
  void SetUp() override { FreshDatabase(); }

  // Points the fixture at a new, empty database, for tests of several cases.
  void FreshDatabase() {
    database_ = dir_.file("target" + std::to_string(++databases_) + ".kst");
    ASSERT_NE(EngCreateDatabase(database_.c_str(), nullptr, nullptr, 0), 0);
  }

  // A source written to the test's folder, queued with its column header
  // string (if any) carried by the record.
  QueuedFile Source(const std::string& name, const std::string& content, int32_t type = 1000,
                    const std::string& settings = "") {
    QueuedFile file{WriteFile(dir_, name, content), type};
    file.use_stored_settings = settings.empty() ? 0 : 1;
    file.date_from = settings;
    return file;
  }

  // Where the real files written by other software are; tests skip when absent.
  static std::filesystem::path Corpus(const std::string& folder = "") {
    return std::filesystem::path(KS_SHARED_DIR) / "corpus" / folder;
  }

  static uint32_t Queue(uint32_t handle, const QueuedFile& f) {
    return KSIMP_AddFileToImport(
        handle, f.path.c_str(), f.type, f.location, f.entry_form.empty() ? 0 : 1,
        f.entry_form.c_str(), f.named_document.empty() ? 0 : 1, f.named_document.c_str(),
        f.delimiter_flags, f.delimiter_lines, f.delimiter_string.c_str(), f.origin_ansi, 0,
        f.date_from.c_str(), 0, f.use_stored_settings, nullptr, f.full_header,
        f.message_date_from.c_str(), f.save_attachments, nullptr, nullptr, f.delete_after,
        f.import_attachments, nullptr, nullptr, nullptr, f.folder.c_str(), nullptr, nullptr,
        nullptr, 0, 0);
  }

  // Queues every file on a new handle of the database and runs the import.
  // `before_queuing(handle, n)` makes the calls a host makes before it
  // queues file n (a character set, credentials).
  ImportOutcome Import(const std::vector<QueuedFile>& files,
                       const std::function<void(uint32_t, size_t)>& before_queuing = {}) {
    ImportOutcome outcome;
    outcome.handle = KSIMP_InitImportUsingFileName(database_.c_str());
    EXPECT_NE(outcome.handle, 0u);
    for (size_t n = 0; n < files.size(); ++n) {
      if (before_queuing) before_queuing(outcome.handle, n);
      EXPECT_EQ(Queue(outcome.handle, files[n]), 1u) << files[n].path;
    }
    outcome.total_bytes = KSIMP_GetTotalBytes(outcome.handle);
    return Run(outcome);
  }

  // Runs the named e-mail profiles on a new e-mail import handle, of the
  // host's database `host_database` or of the databases the profiles name.
  ImportOutcome RunEmailProfiles(const std::vector<std::string>& names,
                                 uint32_t host_database = 0) {
    ImportOutcome outcome;
    outcome.handle = KSIMP_InitEmailImportUsingFileHandle(host_database);
    EXPECT_NE(outcome.handle, 0u);
    for (const std::string& name : names) {
      EXPECT_EQ(KSIMP_AddEmailProfileToImport(outcome.handle, name.c_str()), 1u) << name;
    }
    EXPECT_EQ(KSIMP_GetEmailProfileCount(outcome.handle), names.size());
    outcome = Run(outcome);
    EXPECT_EQ(KSIMP_GetTotalBytes(outcome.handle), 0u) << "the handle is released with the run";
    return outcome;
  }

  // Runs the import of `queued`'s handle: its result, count, error and log.
  static ImportOutcome Run(ImportOutcome queued) {
    queued.result = KSIMP_Import(queued.handle, 0, 0, nullptr, &queued.documents_added);
    queued.error = KSIMP_GetLastImportError(queued.handle);
    std::vector<char> log(1 << 20);
    if (KSIMP_GetLogData(queued.handle, log.data(), static_cast<int32_t>(log.size())) != 0) {
      queued.log = log.data();
    }
    return queued;
  }

  // Imports each case's source of `type` into a fresh database: it succeeds,
  // records no error and stores just the documents expected.
  void ExpectDocuments(int32_t type, const std::vector<SourceCase>& cases) {
    for (const SourceCase& c : cases) {
      FreshDatabase();
      QueuedFile file = Source("source.txt", c.content, type, c.settings);
      file.origin_ansi = c.origin_ansi;
      const ImportOutcome outcome = Import({file});
      EXPECT_EQ(outcome.result, 1u) << c.name;
      EXPECT_EQ(outcome.error, KSIMP_ERR_INTERNAL) << c.name << ": no error was to be recorded";
      EXPECT_EQ(outcome.documents_added, c.expected.size()) << c.name;
      EXPECT_EQ(Documents(), c.expected) << c.name;
    }
  }

  // Imports `file`, which holds `rows` documents, aborting from another
  // thread once `after` of them are in.  An abort is not a failure, and the
  // documents stored are those counted.
  AbortedImport ImportAbortingAfter(const QueuedFile& file, uint32_t after, uint32_t rows) {
    AbortedImport run;
    const uint32_t handle = KSIMP_InitImportUsingFileName(database_.c_str());
    EXPECT_EQ(Queue(handle, file), 1u);
    run.total_bytes = KSIMP_GetTotalBytes(handle);
    std::atomic<bool> done{false};
    std::atomic<uint32_t> highest{0};
    const auto note_progress = [&] {
      highest.store(std::max(highest.load(), KSIMP_GetCurBytes(handle)));
    };
    std::thread aborter([&] {
      while (!done.load() && KSIMP_GetNumDocsAdded(handle) < after) {
        note_progress();
        std::this_thread::yield();
      }
      // A fast import may pass `after` before the first look; progress is
      // there by then all the same.
      note_progress();
      KSIMP_Abort(handle);
    });
    uint32_t added = 0;
    EXPECT_EQ(KSIMP_Import(handle, 0, 0, nullptr, &added), 1u) << "an abort is not a failure";
    done.store(true);
    aborter.join();
    run.highest_bytes = highest.load();
    run.documents = Documents();
    EXPECT_EQ(run.documents.size(), added);
    EXPECT_GE(run.documents.size(), after);
    EXPECT_LT(run.documents.size(), rows) << "the abort was not noticed";
    return run;
  }

  // Calls `visit(db, id)` for every document, in database order.
  template <typename Visit>
  void ForEachDocument(Visit visit) const {
    const uint32_t db = EngOpenDatabase(database_.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
    EXPECT_NE(db, 0u);
    for (uint64_t id = EngFirstDocument(db, KSENG_WALK_DOCUMENTS); id != 0;
         id = EngNextDocument(db, id, KSENG_WALK_DOCUMENTS)) {
      visit(db, id);
    }
    EngCloseDatabase(db);
  }

  // The text of every document, in database order.
  std::vector<std::string> Documents() const {
    std::vector<std::string> texts;
    ForEachDocument([&](uint32_t db, uint64_t id) { texts.push_back(TextOf(db, id)); });
    return texts;
  }

  // The subject of each document, in database order ("" for one without).
  std::vector<std::string> Subjects() const {
    std::vector<std::string> subjects;
    for (const std::string& document : Documents()) {
      const size_t at = document.find("Subject[ ");
      subjects.push_back(at == std::string::npos
                             ? ""
                             : document.substr(at + 9, document.find(" ]", at) - at - 9));
    }
    return subjects;
  }

  // How many documents have this subject.
  size_t CountOf(const std::string& subject) const {
    const std::vector<std::string> subjects = Subjects();
    return static_cast<size_t>(std::count(subjects.begin(), subjects.end(), subject));
  }

  // Every document's attachments, in database order.
  std::vector<StoredAttachment> Attachments() const {
    std::vector<StoredAttachment> found;
    ForEachDocument([&](uint32_t db, uint64_t id) {
      for (uint32_t i = 0; i < EngGetAttachmentCount(db, id); ++i) {
        StoredAttachment& a = found.emplace_back();
        char name[1024] = {};
        uint64_t size = 0;
        EXPECT_EQ(EngGetAttachmentInfo(db, id, i, name, sizeof name, &a.kind, &size), 1);
        a.name = name;
        a.content.resize(size);
        if (size > 0) {
          EXPECT_EQ(EngReadAttachment(db, id, i, a.content.data(), size), 1);
        }
      }
    });
    return found;
  }

  // Every document in database order, with the form and fields of entries.
  std::vector<StoredDocument> StoredDocuments() const {
    std::vector<StoredDocument> stored;
    ForEachDocument([&](uint32_t db, uint64_t id) {
      StoredDocument& document = stored.emplace_back();
      document.kind = EngGetDocumentKind(db, id);
      document.text = TextOf(db, id);
      if (const uint64_t form = EngGetEntryForm(db, id); form != 0) {
        char name[256] = {};
        EngGetDocumentName(db, form, name, sizeof name);
        document.form = name;
      }
      const uint32_t count = EngGetFieldCount(db, id);
      for (uint32_t i = 0; i < count; ++i) {
        char name[256] = {};
        std::string value(document.text.size() + 1, '\0');  // no value is longer than the text
        EXPECT_EQ(EngGetField(db, id, i, name, sizeof name, value.data(),
                              static_cast<uint32_t>(value.size())),
                  1);
        value.resize(std::char_traits<char>::length(value.c_str()));
        document.fields.emplace_back(name, value);
      }
    });
    return stored;
  }

  // Adds an entry form with these field names to the database.
  void CreateForm(const std::string& name, const std::vector<std::string>& fields) const {
    const uint32_t db =
        EngOpenDatabase(database_.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
    ASSERT_NE(db, 0u);
    std::vector<const char*> names;
    for (const std::string& field : fields) names.push_back(field.c_str());
    EXPECT_NE(EngCreateForm(db, name.c_str(), names.data(), static_cast<uint32_t>(names.size())),
              0u);
    EngCloseDatabase(db);
  }

  static std::string TextOf(uint32_t db, uint64_t id) {
    uint64_t length = 0;
    EngGetDocumentText(db, id, nullptr, 0, &length);
    std::string text(length + 1, '\0');
    EXPECT_EQ(EngGetDocumentText(db, id, text.data(), text.size(), &length), 1);
    text.resize(length);
    return text;
  }

  TempDir dir_;
  std::string database_;
  int databases_ = 0;
};
