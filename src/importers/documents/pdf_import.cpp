#include "importers/documents/pdf_import.h"

#include <fmt/format.h>

#include <algorithm>
#include <mutex>

#include "core/charset_converter.h"
#include "core/error_codes.h"
#include "importers/documents/extraction_watch.h"
#include "importers/documents/pdf_library.h"

int CPDFImport::CheckFile(const std::string& file_name) {
  const std::unique_ptr<PdfLibrary> library = PdfLibrary::Load(nullptr);
  return library && library->IsValidFile(file_name) ? 1 : 0;
}

int CPDFImport::ImportSource() {
  std::string why;
  const std::unique_ptr<PdfLibrary> library = PdfLibrary::Load(&why);
  if (!library) {
    Fail(error_code::kUnsupportedFileType);
    Log(fmt::format("{} cannot be imported: the PDF library {} is not installed ({}).",
                    Options().file_name, PdfLibrary::kModuleName, why));
    return 0;
  }
  const std::string& path = Source().path();
  const uint64_t size = Source().size();

  PdfLibrary::Text text;
  int library_error = 0;
  {
    const std::lock_guard<std::mutex> turn(PdfLibrary::ExtractionTurn());
    ImportContext& context = Context();
    // Only the context's own locked operations and the library's atomic
    // ones are called from the progress thread.
    ExtractionWatch watch(ExtractionWatch::Hooks{
        [&library] { return library->BytesProcessed(); },
        [&library] { library->Abort(); },
        [&context] { return context.IsAborted(); },
        [this, size](uint64_t processed) { SetProgress(std::min(processed, size)); },
    });
    text = library->GetData(path);
    watch.Finish();
    // The watch calls PDFAbort only when the import was aborted, not after
    // every extraction: an abort made once the library is idle would be
    // harmless, but another import's extraction may be starting by then.
    library_error = library->LastError();
  }

  if (library_error != 0) {
    // An abort is not a failure: the library's report of the stop it was
    // asked for is not shown as a damaged file.
    if (Aborted()) return 1;
    Fail(error_code::kEncryptedPdf);
    return 0;
  }
  std::string_view document = text.view();
  std::string repaired;
  if (!ks::core::IsValidUtf8(document)) {
    // A library's text is not trusted to be what it promises: the database
    // holds valid UTF-8 only.
    ks::core::CharsetConverter converter;
    converter.AppendDeclared("UTF-8", document, repaired);
    document = repaired;
  }
  // The whole text is one document; an abort seen meanwhile drops it.
  if (!SaveDocument(document, size)) return WasAborted() ? 1 : 0;
  return 1;
}
