// KS_Pdf as a host loads it: by name, through LoadableModule, its operations
// called as the PDF import calls them.  Its text against pdftotext's, file by
// file of the corpus, is the PDF import's test.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "api/write_file.h"
#include "core/loadable_module.h"
#include "ks_pdf/ks_pdf.h"
#include "modules/simple_pdf.h"
#include "temp_dir.h"

namespace {

using ks::core::LoadableModule;

std::filesystem::path CorpusPdfs() {
  return std::filesystem::path(KS_SHARED_DIR) / "corpus" / "pdf";
}

class KsPdfModule : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string why;
    module_ = LoadableModule::Load("KS_Pdf", &why);
    ASSERT_TRUE(module_) << why;
    is_valid_ = module_->Find<int(const char*)>("IsValidPDFFile");
    get_data_ = module_->Find<int(const char*, void**, unsigned long*)>("GetPDFData");
    free_data_ = module_->Find<void(void*)>("PDFFreeData");
    bytes_processed_ = module_->Find<int()>("PDFGetBytesProcessed");
    abort_ = module_->Find<int()>("PDFAbort");
    last_error_ = module_->Find<int()>("PDFGetLastError");
    ASSERT_TRUE(is_valid_ && get_data_ && free_data_ && bytes_processed_ && abort_ && last_error_);
  }

  // GetPDFData's result, its text (the block freed) and PDFGetLastError.
  struct Extraction {
    int returned = -1;
    int last_error = -1;
    bool block = false;
    std::string text;
  };
  Extraction Extract(const std::string& path) {
    Extraction e;
    void* block = reinterpret_cast<void*>(1);
    unsigned long size = 99;
    e.returned = get_data_(path.c_str(), &block, &size);
    e.last_error = last_error_();
    e.block = block != nullptr;
    if (block != nullptr) {
      e.text.assign(static_cast<const char*>(block), size);
      EXPECT_EQ(static_cast<const char*>(block)[size], '\0') << "a NUL follows the text";
      free_data_(block);
    } else {
      EXPECT_EQ(size, 0u);
    }
    return e;
  }

  std::unique_ptr<LoadableModule> module_;
  int (*is_valid_)(const char*) = nullptr;
  int (*get_data_)(const char*, void**, unsigned long*) = nullptr;
  void (*free_data_)(void*) = nullptr;
  int (*bytes_processed_)() = nullptr;
  int (*abort_)() = nullptr;
  int (*last_error_)() = nullptr;
  TempDir dir_;
};

TEST_F(KsPdfModule, NullArgumentsAreRefusedAndNothingRunningIsHarmless) {
  // The first of the suite: nothing ran yet in this process.
  EXPECT_EQ(last_error_(), KS_PDF_OK);
  EXPECT_EQ(abort_(), 1) << "harmless when nothing runs";
  free_data_(nullptr);
  void* block = nullptr;
  unsigned long size = 0;
  EXPECT_EQ(get_data_(nullptr, &block, &size), KS_PDF_ERROR_ARGUMENT);
  EXPECT_EQ(last_error_(), KS_PDF_ERROR_ARGUMENT);
  const std::string path = WriteFile(dir_, "one.pdf", SimplePdf(1, 1));
  EXPECT_EQ(get_data_(path.c_str(), nullptr, &size), KS_PDF_ERROR_ARGUMENT);
  EXPECT_EQ(get_data_(path.c_str(), &block, nullptr), KS_PDF_ERROR_ARGUMENT);
  EXPECT_EQ(is_valid_(nullptr), 0);
}

TEST_F(KsPdfModule, ExtractsEachPageFollowedByAFormFeed) {
  const std::string path = WriteFile(dir_, "two.pdf", SimplePdf(2, 3));
  EXPECT_EQ(is_valid_(path.c_str()), 1);
  const Extraction e = Extract(path);
  ASSERT_EQ(e.returned, KS_PDF_OK);
  EXPECT_EQ(e.last_error, KS_PDF_OK);
  std::string expected;
  for (int page = 1; page <= 2; ++page) {
    for (int line = 1; line <= 3; ++line) expected += SimplePdfLine(page, line) + "\n";
    expected += "\n\f";  // pdftotext ends a page's last paragraph with a blank line
  }
  EXPECT_EQ(e.text, expected);
  EXPECT_EQ(bytes_processed_(), static_cast<int>(std::filesystem::file_size(path)))
      << "the whole file once the extraction is over";
}

// Locked files are told apart from damaged ones (the import gives both one
// error); encrypted files with an empty user password are read.
TEST_F(KsPdfModule, CorpusFilesLockedDamagedOrEncryptedWithoutAPassword) {
  const std::pair<const char*, int> cases[] = {
      {"libreoffice-writer-password.pdf", KS_PDF_ERROR_LOCKED},
      {"r2-user-password.pdf", KS_PDF_ERROR_LOCKED},
      {"truncated-pdflatex-outline.pdf", KS_PDF_ERROR_OPEN},
      {"encrypted_doc_no_id.pdf", KS_PDF_OK},
      {"r6-aes256-empty-user-password.pdf", KS_PDF_OK},
  };
  for (const auto& [name, code] : cases) {
    const std::filesystem::path path = CorpusPdfs() / name;
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no shared corpus";
    const Extraction e = Extract(path.string());
    EXPECT_EQ(e.returned, code) << name;
    EXPECT_EQ(e.last_error, code) << name;
    EXPECT_EQ(is_valid_(path.c_str()), code == KS_PDF_OK ? 1 : 0) << name;
  }
}

TEST_F(KsPdfModule, DamagedAndForeignFilesAreErrorsNotCrashes) {
  const std::vector<std::pair<std::string, std::string>> files = {
      {"empty.pdf", ""},
      {"header-only.pdf", "%PDF-1.4\n"},
      {"text.pdf", "not a PDF at all\n"},
      {"cut.pdf", SimplePdf(3, 5).substr(0, 700)},
  };
  for (const auto& [name, content] : files) {
    const Extraction e = Extract(WriteFile(dir_, name, content));
    EXPECT_EQ(e.returned, KS_PDF_ERROR_OPEN) << name;
    EXPECT_EQ(e.last_error, KS_PDF_ERROR_OPEN) << name;
    EXPECT_FALSE(e.block) << name;
  }
  EXPECT_EQ(Extract(dir_.file("missing.pdf")).returned, KS_PDF_ERROR_OPEN);
  EXPECT_EQ(is_valid_(dir_.file("missing.pdf").c_str()), 0);
}

TEST_F(KsPdfModule, AnEarlierAbortDoesNotStopTheNextExtraction) {
  abort_();
  const std::string path = WriteFile(dir_, "one.pdf", SimplePdf(1, 1));
  EXPECT_EQ(Extract(path).returned, KS_PDF_OK);
}

TEST_F(KsPdfModule, AbortFromAnotherThreadStopsBetweenPages) {
  constexpr int kPages = 1500;
  const std::string path = WriteFile(dir_, "long.pdf", SimplePdf(kPages, 40));
  const int file_size = static_cast<int>(std::filesystem::file_size(path));
  // A failed extraction leaves the progress at 0, where this one starts.
  ASSERT_EQ(Extract(dir_.file("missing.pdf")).returned, KS_PDF_ERROR_OPEN);
  ASSERT_EQ(bytes_processed_(), 0);
  std::atomic<bool> done{false};
  std::vector<int> seen;  // the progress the other thread read, in order
  int at_abort = 0;
  std::thread watcher([&] {
    // Progress moves while the extraction runs; abort once it has.
    while (!done.load()) {
      const int now = bytes_processed_();
      if (seen.empty() || seen.back() != now) seen.push_back(now);
      if (now > 0) {
        at_abort = now;
        abort_();
        return;
      }
      std::this_thread::yield();
    }
  });
  const Extraction e = Extract(path);
  done.store(true);
  watcher.join();
  ASSERT_GT(at_abort, 0) << "the extraction ended before its progress was seen";
  EXPECT_EQ(e.returned, KS_PDF_ERROR_ABORTED);
  EXPECT_EQ(e.last_error, KS_PDF_ERROR_ABORTED);
  EXPECT_FALSE(e.block) << "nothing of an aborted file is handed out";
  const int stopped_at = bytes_processed_();
  EXPECT_LT(stopped_at, file_size) << "the extraction stopped part way";
  // Between pages: a page is file_size / kPages bytes; the abort was seen
  // within a few pages of being asked.
  EXPECT_LE(stopped_at - at_abort, 5 * (file_size / kPages + 1));
  for (size_t i = 1; i < seen.size(); ++i) EXPECT_GT(seen[i], seen[i - 1]) << "never backwards";
}

}  // namespace
