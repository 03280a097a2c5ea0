#include "importers/documents/converter_import.h"

#include <fmt/format.h>

#include <fstream>
#include <iterator>

#include "core/error_codes.h"
#include "core/rich_text_escaper.h"
#include "core/undeclared_text_decoder.h"
#include "importers/documents/converter_call.h"
#include "ks_eng5.h"

namespace {

constexpr std::string_view kRichTextStart = "{\\rtf";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

bool ReadWhole(const std::string& path, std::string& bytes) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return false;
  bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  return !file.bad();
}

}  // namespace

int CConverterImport::Prepare(ImportContext& context) {
  prepared_ = true;
  return CIMPImportBase::Prepare(context);
}

int CConverterImport::Run() {
  if (!prepared_) return CIMPImportBase::Run();
  if (Aborted()) return 1;
  const std::string& path = Options().file_name;
  if (CheckFile(path) == 0) {
    Fail(error_code::kWrongFileType);
    Log(fmt::format("{} is not a file of this type and was not converted.", path));
    return 0;
  }
  if (!Convert()) return 0;
  int result = 0;
  try {
    result = CIMPImportBase::Run();
  } catch (...) {
    DeleteCopy();
    throw;
  }
  DeleteCopy();
  return result;
}

bool CConverterImport::Convert() {
  const Converter converter = ConverterToUse();
  const std::string& path = Options().file_name;
  ks::documents::ConverterOutcome outcome =
      ks::documents::CallConverter(converter.module, converter.export_name, path);
  if (!outcome.converted) {
    Fail(converter.failure_code);
    Log(fmt::format("{}: {}.", path, outcome.why));
    return false;
  }
  copy_.emplace(std::move(outcome.copy_path));
  std::ifstream probe(copy_->path(), std::ios::binary);
  char start[5] = {};
  probe.read(start, sizeof start);
  copy_is_rich_text_ = std::string_view(start, static_cast<size_t>(probe.gcount())) == kRichTextStart;
  return true;
}

void CConverterImport::DeleteCopy() {
  if (!copy_) return;
  const std::string kept = copy_->Delete();
  if (!kept.empty()) Log(kept);
  copy_.reset();
}

int32_t CConverterImport::DocumentKind() const {
  return copy_is_rich_text_ ? KSENG_KIND_RICHTEXT : KSENG_KIND_TEXT;
}

int CConverterImport::ImportSource() {
  std::string bytes;
  if (!copy_ || !ReadWhole(copy_->path(), bytes)) {
    Fail(error_code::kCannotOpenFile);
    Log(fmt::format("The converted copy of {} cannot be read.", Options().file_name));
    return 0;
  }
  std::string text;
  if (copy_is_rich_text_) {
    // Rich text keeps its markup; raw 8-bit bytes become its own escapes.
    ks::core::RichTextEscaper().Append(bytes, true, text);
  } else {
    // The copy should be UTF-8; a converter that wrote the ANSI code page
    // is read by the library's rule for undeclared text.
    std::string_view body = bytes;
    if (body.substr(0, kUtf8Mark.size()) == kUtf8Mark) body.remove_prefix(kUtf8Mark.size());
    ks::core::UndeclaredTextDecoder(Context().code_pages().ansi).Append(body, true, text);
  }
  bytes.clear();
  bytes.shrink_to_fit();
  if (!SaveDocument(text, Source().size())) return WasAborted() ? 1 : 0;
  return 1;
}
