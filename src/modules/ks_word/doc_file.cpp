#include "doc_file.h"

#include <algorithm>

#include "formats/compound_file.h"
#include "word_binary_text.h"
#include "word_error.h"
#include "word_fib.h"

namespace ks::word {
namespace {

std::string FibBytes(formats::StreamBytes& main) {
  std::string header(static_cast<size_t>(std::min<uint64_t>(main.Size(), kWordFibBytes)), '\0');
  if (!main.ReadAt(0, header.data(), header.size())) throw WordError("the document stream cannot be read");
  return header;
}

}  // namespace

std::string ReadCompoundWordText(const std::string& path) {
  const formats::CompoundFile file(path);
  std::unique_ptr<formats::StreamBytes> main = file.OpenStream("WordDocument");
  if (!main) {
    if (file.OpenStream("EncryptedPackage")) {
      throw WordError("the document is encrypted (protected by a password)");
    }
    throw WordError("the compound file holds no Word document");
  }
  const WordFib fib = ReadWordFib(FibBytes(*main));
  if (fib.encrypted) throw WordError("the document is encrypted (protected by a password)");
  if (fib.version != WordVersion::kWord97) return ReadWordBinaryText(fib, *main, *main);
  std::unique_ptr<formats::StreamBytes> table = file.OpenStream(fib.table_stream_one ? "1Table" : "0Table");
  if (!table) throw WordError("the document's table stream is missing");
  return ReadWordBinaryText(fib, *main, *table);
}

std::string ReadWord2Text(std::string bytes) {
  formats::MemoryStreamBytes main(std::move(bytes));
  const WordFib fib = ReadWordFib(FibBytes(main));
  if (fib.version != WordVersion::kWord2) throw WordError("the file is not a Word 2.0 document");
  return ReadWordBinaryText(fib, main, main);
}

}  // namespace ks::word
