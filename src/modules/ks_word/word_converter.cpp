#include "word_converter.h"

#include <cstring>
#include <fstream>
#include <iterator>

#include "doc_file.h"
#include "docx_document.h"
#include "word_error.h"
#include "write_document.h"

namespace ks::word {
namespace {

constexpr unsigned char kCompoundSignature[] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr unsigned char kZipSignature[] = {'P', 'K', 3, 4};
constexpr unsigned char kWordPerfectSignature[] = {0xFF, 'W', 'P', 'C'};
constexpr unsigned char kWord2Signature[] = {0xDB, 0xA5};
constexpr unsigned char kWord1Signature[] = {0x9B, 0xA5};
// A Word 2.0 or Write file is read whole; one this large is none.
constexpr std::streamoff kLargestPlainFile = std::streamoff{256} << 20;

template <size_t N>
bool StartsWith(const std::string& bytes, const unsigned char (&signature)[N]) {
  return bytes.size() >= N && std::memcmp(bytes.data(), signature, N) == 0;
}

std::string ReadStart(const std::string& path, size_t size) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw WordError("the file cannot be opened");
  std::string bytes(size, '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(size));
  bytes.resize(static_cast<size_t>(file.gcount()));
  return bytes;
}

std::string ReadWhole(const std::string& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) throw WordError("the file cannot be opened");
  const std::streamoff size = file.tellg();
  if (size < 0 || size > kLargestPlainFile) throw WordError("the file is too large for its format");
  file.seekg(0);
  std::string bytes(static_cast<size_t>(size), '\0');
  if (!file.read(bytes.data(), size)) throw WordError("the file cannot be read");
  return bytes;
}

}  // namespace

std::string ReadWordFileText(const std::string& path) {
  const std::string start = ReadStart(path, 128);
  if (StartsWith(start, kCompoundSignature)) return ReadCompoundWordText(path);
  if (StartsWith(start, kZipSignature)) return ReadDocxText(path);
  if (StartsWith(start, kWordPerfectSignature)) {
    throw WordError("the file is a WordPerfect document, which the Word converter cannot read");
  }
  if (StartsWith(start, kWord2Signature) || StartsWith(start, kWord1Signature)) {
    return ReadWord2Text(ReadWhole(path));
  }
  if (LooksLikeWrite(start)) return ReadWriteText(ReadWhole(path));
  throw WordError("the file is not a Word or Write document");
}

}  // namespace ks::word
