// The PDF import through the exported interface: KS_Pdf loaded from the
// build's module folder (KESTRO_MODULE_DIR), one document per file.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "core/loadable_module.h"
#include "core/scoped_env.h"
#include "importers/import_fixture.h"
#include "ks_pdf/ks_pdf.h"
#include "modules/simple_pdf.h"
#include "modules/tool_output.h"

namespace {

constexpr int32_t kPdf = KSIMP_TYPE_PDF;
constexpr uint32_t kEncryptedPdf = 14049;
constexpr uint32_t kUnsupportedType = 12003;
// What the host reads after a run that recorded no error.
constexpr uint32_t kNoErrorRecorded = KSIMP_ERR_INTERNAL;

class PdfImportTest : public ImportFixture {
 protected:
  // Every file under this test's TMPDIR: a PDF import writes none.
  std::set<std::filesystem::path> TempFiles() const {
    std::set<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(temp_.path())) {
      files.insert(entry.path());
    }
    return files;
  }

  TempDir temp_;
  ScopedEnv tmpdir_{"TMPDIR", temp_.path().string()};
};

// Each file of the shared corpus on its own: imported as one document whose
// words are pdftotext's, or refused with 14049 where pdftotext refuses it
// too; no crash, no temporary file.
TEST_F(PdfImportTest, EveryCorpusFileImportsOrFailsWith14049) {
  const std::filesystem::path folder = Corpus("pdf");
  if (!std::filesystem::is_directory(folder)) GTEST_SKIP() << "no shared corpus";
  const bool have_pdftotext = HaveTool("pdftotext");
  const std::set<std::filesystem::path> temp_before = TempFiles();
  int imported = 0;
  int refused = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string path = entry.path().string();
    FreshDatabase();
    const ImportOutcome outcome = Import({QueuedFile(path, kPdf)});
    if (outcome.error == kEncryptedPdf) {
      EXPECT_EQ(outcome.result, 0u) << path;
      EXPECT_TRUE(Documents().empty()) << path;
      if (have_pdftotext) {
        EXPECT_NE(RunTool("pdftotext", "-q", path, "-").status, 0)
            << path << ": pdftotext reads what the import refused";
      }
      ++refused;
      continue;
    }
    EXPECT_EQ(outcome.error, kNoErrorRecorded) << path;
    EXPECT_EQ(outcome.result, 1u) << path;
    ASSERT_EQ(outcome.documents_added, 1u) << path;
    const std::vector<std::string> documents = Documents();
    ASSERT_EQ(documents.size(), 1u) << path;
    ++imported;
    if (!have_pdftotext) continue;
    const ToolOutput reference = RunTool("pdftotext", "-q -enc UTF-8", path, "-");
    EXPECT_EQ(reference.status, 0) << path << ": pdftotext refuses what the import read";
    // Word for word after collapsing white space.  There is no difference to
    // explain: the module reads through the same poppler text output with
    // pdftotext's default settings (reading order, physical layout off) and
    // ends pages as it does, so even the white space agrees.
    EXPECT_EQ(Words(documents[0]), Words(reference.output)) << path;
    EXPECT_EQ(documents[0], reference.output) << path;
  }
  // The corpus holds two locked files and a truncated one; the rest read.
  EXPECT_EQ(refused, 3);
  EXPECT_GE(imported, 10);
  EXPECT_EQ(TempFiles(), temp_before);
}

// A PDF without text still gives its document: the page breaks alone.
TEST_F(PdfImportTest, EachGeneratedPdfBecomesOneDocumentOfItsText) {
  const ImportOutcome outcome = Import(
      {Source("two.pdf", SimplePdf(2, 2), kPdf), Source("blank.pdf", SimplePdf(2, 0), kPdf)});
  EXPECT_EQ(outcome.result, 1u);
  EXPECT_EQ(outcome.error, kNoErrorRecorded);
  const std::string expected = SimplePdfLine(1, 1) + "\n" + SimplePdfLine(1, 2) + "\n\n\f" +
                               SimplePdfLine(2, 1) + "\n" + SimplePdfLine(2, 2) + "\n\n\f";
  EXPECT_EQ(Documents(), (std::vector<std::string>{expected, "\f\f"}));
}

TEST_F(PdfImportTest, LockedAndDamagedFilesFailWith14049AndKeepTheFilesBefore) {
  const std::filesystem::path locked = Corpus("pdf") / "r2-user-password.pdf";
  if (!std::filesystem::exists(locked)) GTEST_SKIP() << "no shared corpus";
  const QueuedFile good = Source("good.pdf", SimplePdf(1, 1), kPdf);
  const std::vector<QueuedFile> bad = {
      QueuedFile(locked.string(), kPdf),
      QueuedFile((Corpus("pdf") / "libreoffice-writer-password.pdf").string(), kPdf),
      QueuedFile((Corpus("pdf") / "truncated-pdflatex-outline.pdf").string(), kPdf),
      Source("text.pdf", "just some text, no PDF\n", kPdf),
      Source("empty.pdf", "", kPdf),
  };
  for (const QueuedFile& file : bad) {
    FreshDatabase();
    const ImportOutcome outcome = Import({good, file});
    EXPECT_EQ(outcome.error, kEncryptedPdf) << file.path;
    EXPECT_EQ(outcome.result, 0u) << file.path;
    EXPECT_EQ(outcome.documents_added, 1u) << file.path << ": the file before is kept";
    EXPECT_EQ(Documents().size(), 1u) << file.path;
  }
  // The text of 14049, misspelling and all, is message_texts_test.cpp's.
}

// An abort during a long extraction reaches the library through PDFAbort:
// the extraction stops part way, no document is stored and no error is
// recorded.  The test holds the module loaded itself, so the library's
// process-wide state can be read after the import unloaded its own handle.
TEST_F(PdfImportTest, AnAbortDuringALongExtractionStopsTheLibrary) {
  std::string why;
  const std::unique_ptr<ks::core::LoadableModule> module =
      ks::core::LoadableModule::Load("KS_Pdf", &why);
  ASSERT_TRUE(module) << why;
  auto* const last_error = module->Find<int()>("PDFGetLastError");
  auto* const bytes_processed = module->Find<int()>("PDFGetBytesProcessed");
  ASSERT_TRUE(last_error && bytes_processed);

  constexpr int kPages = 3000;
  const QueuedFile file = Source("long.pdf", SimplePdf(kPages, 40), kPdf);
  const auto file_size = static_cast<uint32_t>(std::filesystem::file_size(file.path));
  const uint32_t handle = KSIMP_InitImportUsingFileName(database_.c_str());
  ASSERT_EQ(Queue(handle, file), 1u);
  std::atomic<bool> done{false};
  std::atomic<uint32_t> progress_at_abort{0};
  std::chrono::steady_clock::time_point aborted_at;
  std::thread aborter([&] {
    // The progress thread passes the library's progress on while it runs.
    while (!done.load()) {
      const uint32_t now = KSIMP_GetCurBytes(handle);
      if (now > 0) {
        progress_at_abort.store(now);
        aborted_at = std::chrono::steady_clock::now();
        KSIMP_Abort(handle);
        return;
      }
      std::this_thread::yield();
    }
  });
  uint32_t added = 0;
  EXPECT_EQ(KSIMP_Import(handle, 0, 0, nullptr, &added), 1u) << "an abort is not a failure";
  const auto returned_at = std::chrono::steady_clock::now();
  done.store(true);
  aborter.join();
  ASSERT_GT(progress_at_abort.load(), 0u) << "no progress was seen during the extraction";
  EXPECT_LT(progress_at_abort.load(), file_size);
  EXPECT_EQ(added, 0u);
  EXPECT_TRUE(Documents().empty());
  EXPECT_EQ(KSIMP_GetLastImportError(handle), kNoErrorRecorded) << "no 14049 for an abort";
  EXPECT_EQ(last_error(), KS_PDF_ERROR_ABORTED) << "the library was stopped";
  EXPECT_LT(static_cast<uint32_t>(bytes_processed()), file_size) << "part way";
  // One poll (a millisecond) and the page in hand; a generous bound for a
  // loaded machine, far below the whole file's extraction.
  EXPECT_LT(std::chrono::duration<double>(returned_at - aborted_at).count(), 1.0);
}

TEST_F(PdfImportTest, ProgressReachesTheWholeFile) {
  const QueuedFile file = Source("pages.pdf", SimplePdf(200, 30), kPdf);
  const uint32_t handle = KSIMP_InitImportUsingFileName(database_.c_str());
  ASSERT_EQ(Queue(handle, file), 1u);
  const uint32_t total = KSIMP_GetTotalBytes(handle);
  EXPECT_EQ(total, std::filesystem::file_size(file.path));
  std::atomic<bool> done{false};
  std::vector<uint32_t> seen;
  std::thread poller([&] {
    while (!done.load()) {
      const uint32_t now = KSIMP_GetCurBytes(handle);
      if (seen.empty() || now != seen.back()) seen.push_back(now);
      std::this_thread::yield();
    }
  });
  uint32_t added = 0;
  EXPECT_EQ(KSIMP_Import(handle, 0, 0, nullptr, &added), 1u);
  done.store(true);
  poller.join();
  EXPECT_EQ(added, 1u);
  // The handle is released when the import returns: a poll after that reads
  // 0 for a handle no longer known.
  while (seen.size() > 1 && seen.back() == 0) seen.pop_back();
  for (size_t i = 1; i < seen.size(); ++i) {
    EXPECT_GE(seen[i], seen[i - 1]) << "progress never goes back";
    EXPECT_LE(seen[i], total);
  }
}

}  // namespace
