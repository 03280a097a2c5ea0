// The Word converter's export.  It reads a Word (2.0 to 2003, 2007 and
// later) or Write document and writes its text as a UTF-8 copy in the
// temporary import folder; the import library loads the module by name,
// calls ConvertWord and reads the copy.  Nothing is thrown past it.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "converted_copy_file.h"
#include "formats/compound_file.h"
#include "word_converter.h"
#include "word_error.h"

namespace {

constexpr size_t kOutputSize = 2048;

// On failure the buffer says why, so that the import log can.
void WriteReason(char* out, const std::string& why) {
  const size_t size = std::min(why.size(), kOutputSize - 1);
  std::memcpy(out, why.data(), size);
  out[size] = '\0';
}

}  // namespace

// Converts the document at `in`; `out` is a zero-filled buffer of 2,048
// bytes.  Returns 0 with the copy's path in `out`, or a negative number
// with the reason in `out`.
extern "C" __attribute__((visibility("default"))) int ConvertWord(const char* in, char* out) {
  if (in == nullptr || out == nullptr) return -1;
  try {
    std::string text = ks::word::ReadWordFileText(in);
    // A document of blank lines only (an empty document still has its last
    // paragraph mark) holds no text: its copy is empty, and no document is
    // made of it.
    if (text.find_first_not_of(" \t\r\n") == std::string::npos) text.clear();
    const std::string path = ks::word::WriteConvertedCopy(text);
    if (path.size() >= kOutputSize) {
      std::remove(path.c_str());
      WriteReason(out, "the converted copy's path is too long");
      return -1;
    }
    std::memcpy(out, path.c_str(), path.size() + 1);
    return 0;
  } catch (const ks::word::WordError& error) {
    WriteReason(out, error.what());
  } catch (const ks::formats::CompoundFileError& error) {
    WriteReason(out, error.what());
  } catch (const std::exception& error) {
    WriteReason(out, std::string("the document cannot be converted: ") + error.what());
  } catch (...) {
    WriteReason(out, "the document cannot be converted");
  }
  return -2;
}
