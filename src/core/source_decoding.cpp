#include "core/source_decoding.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cstring>

#include "core/charset_converter.h"
#include "core/charset_detection.h"
#include "core/charset_stream_decoder.h"
#include "core/config_store.h"
#include "core/rich_text_escaper.h"
#include "core/source_file.h"
#include "core/undeclared_text_decoder.h"

namespace ks::core {
namespace {

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// The code page the configuration names, when the system can read it as
// one, else `fallback` with a log line saying so.
std::string UsableCodePage(const std::string& configured, std::string_view key,
                           std::string_view fallback, std::vector<std::string>* log) {
  CharsetConverter converter;
  const CharsetConverter::Reading reading = converter.ReadingOf(configured);
  if (reading == CharsetConverter::Reading::kSingleByte ||
      reading == CharsetConverter::Reading::kMultiByte) {
    return configured;
  }
  log->push_back(fmt::format(
      "The code page \"{}\" of the configuration ({}) cannot be read; {} is used instead.",
      configured, key, fallback));
  return std::string(fallback);
}

// The first bytes of the file, for the detector.
std::string ReadSample(const std::string& path) {
  std::string sample(kDetectionSampleBytes, '\0');
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) return {};
  size_t got = 0;
  while (got < sample.size()) {
    const ssize_t n = ::read(fd, sample.data() + got, sample.size() - got);
    if (n <= 0) break;
    got += static_cast<size_t>(n);
  }
  ::close(fd);
  sample.resize(got);
  return sample;
}

}  // namespace

std::unique_ptr<TextDecoder> SourceDecoding::MakeDecoder() const {
  switch (kind) {
    case Kind::kAsIs:
      return nullptr;
    case Kind::kUndeclared:
      return std::make_unique<UndeclaredTextDecoder>(charset);
    case Kind::kCharset:
      return CharsetStreamDecoder::For(charset);
    case Kind::kRichText:
      return std::make_unique<RichTextEscaper>();
  }
  return nullptr;
}

SourceCodePages CodePagesOf(const ProfileFile& configuration) {
  SourceCodePages pages;
  if (auto ansi = configuration.Get(kImportSettingsKey, "ansi_codepage"); ansi && !ansi->empty()) {
    pages.ansi = *ansi;
  }
  if (auto oem = configuration.Get(kImportSettingsKey, "oem_codepage"); oem && !oem->empty()) {
    pages.oem = *oem;
  }
  return pages;
}

bool IsReadableCharsetName(std::string_view charset) {
  if (SameName(charset, kDetectCharset)) return true;
  CharsetConverter converter;
  return converter.Knows(charset);
}

SourceDecodingChoice ChooseSourceDecoding(SourceTextKind kind, const SETDATA& options,
                                          const SourceCodePages& code_pages,
                                          const SourceFile& source) {
  SourceDecodingChoice choice;
  SourceDecoding& decoding = choice.decoding;
  if (kind == SourceTextKind::kBytes || source.DeclaresUtf16()) return choice;
  if (source.DeclaresUnicode()) {
    decoding = {SourceDecoding::Kind::kCharset, "UTF-8"};
    return choice;
  }
  if (kind == SourceTextKind::kRichText) {
    decoding.kind = SourceDecoding::Kind::kRichText;
    if (!options.charset.empty()) {
      choice.log.push_back(fmt::format(
          "{}: rich text declares its own code page; the character set \"{}\" does not apply.",
          source.path(), options.charset));
    }
    return choice;
  }

  const auto ansi = [&] {
    return SourceDecoding{SourceDecoding::Kind::kUndeclared,
                          UsableCodePage(code_pages.ansi, "ansi_codepage",
                                         CharsetConverter::kDefaultCodePage, &choice.log)};
  };
  CharsetConverter converter;
  std::string named = options.charset;
  if (SameName(named, kDetectCharset)) {
    const std::string sample = ReadSample(source.path());
    // A detector guesses wildly on a few bytes of UTF-8; the rule for
    // undeclared text keeps valid UTF-8 anyway.  The sample may end inside
    // a character.
    const std::string_view whole_characters(sample.data(),
                                            sample.size() - UnfinishedUtf8Tail(sample));
    named = IsAscii(whole_characters)       ? "ASCII"
            : IsValidUtf8(whole_characters) ? "UTF-8"
                                            : DetectCharset(sample);
    if (named.empty()) {
      choice.log.push_back(
          fmt::format("{}: no character set recognised; lines that are not UTF-8 are read as ANSI.",
                      source.path()));
    } else {
      choice.log.push_back(fmt::format("{}: character set detected: {}.", source.path(), named));
    }
    const CharsetConverter::Reading reading = converter.ReadingOf(named);
    // Pure ASCII or UTF-8 gains nothing from a named reading, and the rule
    // for undeclared text keeps them byte for byte.
    if (reading == CharsetConverter::Reading::kUnknown && !named.empty()) {
      choice.log.push_back(
          fmt::format("{}: the system cannot read {}; lines that are not UTF-8 are read as ANSI.",
                      source.path(), named));
    }
    if (reading == CharsetConverter::Reading::kUnknown ||
        reading == CharsetConverter::Reading::kAscii ||
        reading == CharsetConverter::Reading::kUtf8) {
      named.clear();
    }
  }
  if (!named.empty()) {
    switch (converter.ReadingOf(named)) {
      case CharsetConverter::Reading::kUnknown:
        choice.unknown_charset = true;
        choice.log.push_back(
            fmt::format("{}: the character set \"{}\" is unknown.", source.path(), named));
        return choice;
      case CharsetConverter::Reading::kAscii:
        decoding = ansi();  // 8-bit bytes in "ASCII" text are the usual mislabel
        return choice;
      default:
        decoding = {SourceDecoding::Kind::kCharset, named};
        return choice;
    }
  }
  if (options.file_origin_ansi == 0) {
    decoding = {SourceDecoding::Kind::kCharset,
                UsableCodePage(code_pages.oem, "oem_codepage", "CP437", &choice.log)};
    return choice;
  }
  decoding = ansi();
  return choice;
}

}  // namespace ks::core
