// Fuzzes the import of DOS export text files (file type 1002), whose NUL
// bytes end documents.  The splitting lives inside the importer, which runs
// only under an import session with a database, so each input goes the whole
// way a host's file goes: written to a file, queued through the exported
// interface and imported into a new database, whose documents are then read
// back.  That costs an import into a database per input: this target runs
// far slower than the others.
//
// Input: a byte of options (ANSI or DOS text, an optional long filler), the
// filler's place and length, then the file's bytes.
//
// Checks: the importer accepts the file when it ends with a NUL; the import
// succeeds and stores exactly the documents that the rules of
// kestro_dos_import.h give for the file: the mode chosen from the byte
// before the last, empty documents dropped, DOS text converted, and a file
// that opens with a byte-order mark read as what the mark declares.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "core/oem_converter.h"
#include "core/utf16_decoder.h"
#include "fuzz_input.h"
#include "importers/text/kestro_dos_import.h"
#include "ks_eng5.h"
#include "ks_imp.h"

namespace {

constexpr int32_t kDosExport = 1002;

// The text the importer reads from the file: a UTF-8 mark dropped, UTF-16
// decoded; `unicode` says whether the file declared either.
std::string SourceText(std::string_view file, bool* unicode) {
  *unicode = true;
  if (file.starts_with("\xEF\xBB\xBF")) return std::string(file.substr(3));
  if (file.starts_with("\xFF\xFE") || file.starts_with("\xFE\xFF")) {
    ks::core::Utf16Decoder decoder(file[0] == '\xFF'
                                       ? ks::core::Utf16Decoder::ByteOrder::kLittleEndian
                                       : ks::core::Utf16Decoder::ByteOrder::kBigEndian);
    std::string text;
    decoder.Append(file.substr(2), true, text);
    return text;
  }
  *unicode = false;
  return std::string(file);
}

// The documents the rules give for `file`.
std::vector<std::string> ExpectedDocuments(std::string_view file, bool ansi) {
  bool unicode = false;
  const std::string text = SourceText(file, &unicode);
  // The mode comes from the file's own last bytes, whatever it declares.
  const bool pairs = file.size() >= 2 && file[file.size() - 2] == '\0';
  const ks::core::OemConverter oem;
  std::vector<std::string> documents;
  std::string document;
  const auto end_document = [&] {
    if (!document.empty()) documents.push_back(ansi || unicode ? document : oem.Convert(document));
    document.clear();
  };
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\0') {
      document += text[i];
    } else if (!pairs) {
      end_document();
    } else if (i + 1 < text.size() && text[i + 1] == '\0') {
      end_document();
      ++i;
    } else {
      document += '\n';  // a NUL standing alone
    }
  }
  end_document();
  return documents;
}

// The database the inputs import into.  Creating one costs more than an
// import, so a database takes a batch of inputs before it is made anew, and
// each input reads back only the documents after those already there.
class TargetDatabase {
 public:
  static constexpr int kInputsPerDatabase = 256;

  const std::string& path() const { return path_; }

  // Makes a new database when the batch is full.
  void Prepare() {
    if (inputs_++ % kInputsPerDatabase != 0) return;
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
    FUZZ_CHECK(EngCreateDatabase(path_.c_str(), nullptr, nullptr, 0) != 0);
    last_ = 0;
  }

  // The texts of the documents added since the last call, in order.
  std::vector<std::string> NewDocuments() {
    const uint32_t db = EngOpenDatabase(path_.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
    FUZZ_CHECK(db != 0);
    std::vector<std::string> documents;
    for (uint64_t id = last_ == 0 ? EngFirstDocument(db, KSENG_WALK_DOCUMENTS)
                                  : EngNextDocument(db, last_, KSENG_WALK_DOCUMENTS);
         id != 0; id = EngNextDocument(db, id, KSENG_WALK_DOCUMENTS)) {
      uint64_t length = 0;
      EngGetDocumentText(db, id, nullptr, 0, &length);
      std::string text(length + 1, '\0');
      FUZZ_CHECK(EngGetDocumentText(db, id, text.data(), text.size(), &length) == 1);
      text.resize(length);
      documents.push_back(std::move(text));
      last_ = id;
    }
    EngCloseDatabase(db);
    return documents;
  }

 private:
  std::string path_ = (ks::fuzz::WorkFolder() / "target.kst").string();
  int inputs_ = 0;
  uint64_t last_ = 0;  // the last document read back
};

uint32_t Queue(uint32_t handle, const std::string& path, bool ansi) {
  return KSIMP_AddFileToImport(handle, path.c_str(), kDosExport, 1, 0, "", 0, "", 0, 0, "",
                               ansi ? 1 : 0, 0, "", 0, 0, nullptr, 0, nullptr, 0, nullptr, nullptr,
                               0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                               0, 0);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // The import session reads and writes its configuration here, never the
  // user's own.
  const std::filesystem::path config = ks::fuzz::WorkFolder() / "config";
  std::filesystem::create_directories(config);
  ::setenv("KESTRO_CONFIG_DIR", config.c_str(), 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ks::fuzz::FuzzInput in(data, size);
  const uint8_t options = in.Byte();
  const bool ansi = (options & 1) != 0;
  // A long filler now and then takes a document past the importer's 1 MB
  // blocks and pieces, which inputs of a few kilobytes never reach.
  const bool filler = (options & 6) == 6;
  const size_t filler_at = in.Below(1 << 16);
  const size_t filler_size = (1 << 20) - 64 + in.Below(1 << 16);
  const bool filler_lines = (options & 8) != 0;
  std::string file(in.Rest());
  if (filler) {
    std::string long_text;
    while (long_text.size() < filler_size) long_text += filler_lines ? "line\r\n" : "xxxxxxxx";
    long_text.resize(filler_size);
    file.insert(std::min(filler_at, file.size()), long_text);
  }

  const std::string source = (ks::fuzz::WorkFolder() / "export.txt").string();
  {
    std::ofstream out(source, std::ios::binary | std::ios::trunc);
    out.write(file.data(), static_cast<std::streamsize>(file.size()));
    FUZZ_CHECK(out.good());
  }
  CIMPKestroDos recogniser;
  FUZZ_CHECK(recogniser.CheckFile(source) == (!file.empty() && file.back() == '\0' ? 1 : 0));

  static TargetDatabase database;
  database.Prepare();
  const uint32_t handle = KSIMP_InitImportUsingFileName(database.path().c_str());
  FUZZ_CHECK(handle != 0);
  FUZZ_CHECK(Queue(handle, source, ansi) == 1);
  uint32_t added = 0;
  FUZZ_CHECK(KSIMP_Import(handle, 0, 0, nullptr, &added) == 1);

  const std::vector<std::string> stored = database.NewDocuments();
  FUZZ_CHECK(stored.size() == added);
  FUZZ_CHECK(stored == ExpectedDocuments(file, ansi));
  return 0;
}
