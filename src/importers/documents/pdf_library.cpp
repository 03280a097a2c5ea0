#include "importers/documents/pdf_library.h"

std::unique_ptr<PdfLibrary> PdfLibrary::Load(std::string* why) {
  std::unique_ptr<ks::core::LoadableModule> module =
      ks::core::LoadableModule::Load(kModuleName, why);
  if (!module) return nullptr;
  std::unique_ptr<PdfLibrary> library(new PdfLibrary(std::move(module)));
  const ks::core::LoadableModule& found = *library->module_;
  library->is_valid_ = found.Find<IsValidFunction>("IsValidPDFFile");
  library->get_data_ = found.Find<GetDataFunction>("GetPDFData");
  library->free_data_ = found.Find<FreeDataFunction>("PDFFreeData");
  library->bytes_processed_ = found.Find<CountFunction>("PDFGetBytesProcessed");
  library->abort_ = found.Find<CountFunction>("PDFAbort");
  library->last_error_ = found.Find<CountFunction>("PDFGetLastError");
  if (library->is_valid_ == nullptr || library->get_data_ == nullptr ||
      library->free_data_ == nullptr || library->bytes_processed_ == nullptr ||
      library->abort_ == nullptr || library->last_error_ == nullptr) {
    if (why != nullptr) {
      *why = ks::core::ModulePath(kModuleName).string() + " lacks an operation of the PDF library";
    }
    return nullptr;
  }
  return library;
}

std::mutex& PdfLibrary::ExtractionTurn() {
  static std::mutex turn;
  return turn;
}

bool PdfLibrary::IsValidFile(const std::string& path) const {
  return is_valid_(path.c_str()) != 0;
}

PdfLibrary::Text PdfLibrary::GetData(const std::string& path) const {
  void* block = nullptr;
  unsigned long size = 0;
  get_data_(path.c_str(), &block, &size);
  return Text(block, static_cast<size_t>(size), free_data_);
}
