// Fuzzes the file-type verification (registry/verify_filetype.*,
// file_signatures.*) on whole files: the opening block's marks, the
// compound-file, engine and table-driver tests and the DOS export check,
// every one reading the file by name.
//
// Input: the bytes of a file, written to a private folder under two names,
// "t.dbf" and "t.db", so that the dBase and Paradox tests, which take only
// their own extension, see every input.  Corpus files are inputs as they
// stand.
//
// Checks: the type found is one the verifier can give; it is the type of
// the first test that accepts the file when each test is asked on its own
// (the order decides); a picture or an archive is never anything but 0, a
// file whose first 256 bytes hold no zero is plain text unless an earlier
// test took it; the sharing flag stays clear (nobody holds the file); the
// file is left as it was.
#include <stdlib.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "fuzz_input.h"
#include "ks_imp.h"
#include "registry/file_signatures.h"
#include "registry/verify_filetype.h"

namespace {

const std::string& Folder() {
  static const std::string folder = [] {
    std::string path = std::filesystem::temp_directory_path().string() + "/ks-fuzz-detect.XXXXXX";
    FUZZ_CHECK(mkdtemp(path.data()) != nullptr);
    return path;
  }();
  return folder;
}

std::string ReadBack(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The type of the first test that takes the file, each asked on its own.
int32_t FirstAccepting(CVerifyFiletype& v, const std::string& path) {
  using Test = int (CVerifyFiletype::*)(const std::string&);
  const std::pair<Test, int32_t> tests[] = {
      {&CVerifyFiletype::IsPicture, 0},
      {&CVerifyFiletype::IsArchive, 0},
      {&CVerifyFiletype::IsRichText, KSIMP_TYPE_RTF},
      {&CVerifyFiletype::IsEudoraMailbox, KSIMP_TYPE_EUDORA},
      {&CVerifyFiletype::IsStandardMailbox, KSIMP_TYPE_MBX},
      {&CVerifyFiletype::IsPdf, KSIMP_TYPE_PDF},
      {&CVerifyFiletype::IsHtml, KSIMP_TYPE_HTML},
      {&CVerifyFiletype::IsPlainText, KSIMP_TYPE_TEXT},
      {&CVerifyFiletype::IsWordPerfect, KSIMP_TYPE_WORDPERFECT},
      {&CVerifyFiletype::IsWord, KSIMP_TYPE_WORD},
      {&CVerifyFiletype::IsKestroDatabase, KSIMP_TYPE_KESTRO},
      {&CVerifyFiletype::IsKestroDatabaseByEngineRefusal, KSIMP_TYPE_KESTRO},
      {&CVerifyFiletype::IsExcel, KSIMP_TYPE_EXCEL},
      {&CVerifyFiletype::IsAccess, KSIMP_TYPE_ACCESS},
      {&CVerifyFiletype::IsParadox, KSIMP_TYPE_PARADOX},
      {&CVerifyFiletype::IsKestroDos, KSIMP_TYPE_KESTRO_DOS},
      {&CVerifyFiletype::IsDbase, KSIMP_TYPE_VISUAL_FOXPRO},
  };
  for (const auto& [test, type] : tests) {
    if ((v.*test)(path) != 0) return type;
  }
  return 0;
}

void Check(const std::string& path, const std::string& bytes) {
  CVerifyFiletype verifier;
  const int32_t found = verifier.DetectFileType(path);
  FUZZ_CHECK(!verifier.SharingFailed());
  switch (found) {
    case 0:
    case KSIMP_TYPE_RTF:
    case KSIMP_TYPE_EUDORA:
    case KSIMP_TYPE_MBX:
    case KSIMP_TYPE_PDF:
    case KSIMP_TYPE_HTML:
    case KSIMP_TYPE_TEXT:
    case KSIMP_TYPE_WORDPERFECT:
    case KSIMP_TYPE_WORD:
    case KSIMP_TYPE_KESTRO:
    case KSIMP_TYPE_EXCEL:
    case KSIMP_TYPE_ACCESS:
    case KSIMP_TYPE_PARADOX:
    case KSIMP_TYPE_KESTRO_DOS:
    case KSIMP_TYPE_VISUAL_FOXPRO:
      break;
    default:
      FUZZ_CHECK(false && "a type the verifier never gives");
  }
  if (bytes.empty()) {
    FUZZ_CHECK(found == 0);
    return;
  }
  FUZZ_CHECK(found == FirstAccepting(verifier, path));
  const std::string_view opening =
      std::string_view(bytes).substr(0, ks::registry::kOpeningBlockSize);
  if (ks::registry::IsPictureSignature(opening) || ks::registry::IsArchiveSignature(opening)) {
    FUZZ_CHECK(found == 0);
  }
  if (ks::registry::IsPlainTextSignature(opening)) {
    FUZZ_CHECK(found == KSIMP_TYPE_TEXT || found == KSIMP_TYPE_RTF || found == KSIMP_TYPE_EUDORA ||
               found == KSIMP_TYPE_MBX || found == KSIMP_TYPE_PDF || found == KSIMP_TYPE_HTML ||
               found == 0);
  }
  FUZZ_CHECK(ReadBack(path) == bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  for (const char* name : {"/t.dbf", "/t.db"}) {
    const std::string path = Folder() + name;
    {
      std::ofstream out(path, std::ios::binary | std::ios::trunc);
      out << bytes;
    }
    Check(path, bytes);
    ::unlink(path.c_str());
  }
  return 0;
}
