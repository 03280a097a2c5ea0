// How the import frame reads the bytes of a text source, so that the
// database always holds valid UTF-8.  Decided once per file, before the
// format reads a byte, and applied to the whole stream before any splitting
// into documents, records or values: delimiters (CR, LF, tab, comma, quote,
// NUL) are ASCII in every supported code page but not in every character
// set a host may name (UTF-16, the trail bytes of Shift_JIS), so they are
// looked for only in the decoded text.
//
// The rule, by what the source says of itself and what the import asks:
//  1. a byte-order mark wins over everything: UTF-16 is decoded by the
//     source itself, UTF-8 is kept (a broken sequence becomes U+FFFD);
//  2. rich text keeps its markup, its raw 8-bit bytes written as the
//     format's own escapes (RichTextEscaper): it declares its code page;
//  3. a character set the host named (KSIMP_SetSourceCharset) reads the
//     whole file; "auto" names the one the detector finds, and logs it;
//  4. origin ANSI: each line that is valid UTF-8 is kept byte for byte, any
//     other is read in the ANSI code page (UndeclaredTextDecoder);
//  5. origin OEM: the OEM code page reads the whole file.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/profile_file.h"
#include "core/setdata.h"
#include "core/text_decoder.h"

class SourceFile;

namespace ks::core {

// The code pages of undeclared 8-bit text, from the per-user configuration
// ("ansi_codepage", "oem_codepage" of the import settings).
struct SourceCodePages {
  std::string ansi = "WINDOWS-1252";
  std::string oem = "CP437";
};

// What a format reads from its source.
enum class SourceTextKind {
  kBytes,     // its own format: handed over byte for byte
  kText,      // text: decoded by the rule above
  kRichText,  // rich text: escaped by rule 2
};

// The character set name that asks for detection per file.
inline constexpr std::string_view kDetectCharset = "auto";

// The decoding chosen for one source; kept, so that the source can be read
// again the same way.
struct SourceDecoding {
  enum class Kind { kAsIs, kUndeclared, kCharset, kRichText };
  Kind kind = Kind::kAsIs;
  std::string charset;  // kUndeclared: the code page of lines not UTF-8; kCharset: the set

  // A decoder that reads by this choice; null for kAsIs.
  std::unique_ptr<TextDecoder> MakeDecoder() const;
};

struct SourceDecodingChoice {
  SourceDecoding decoding;
  std::vector<std::string> log;  // what the import log should say of it
  bool unknown_charset = false;  // the host named a character set nobody knows
};

// Chooses how to read `source` (open, its byte-order mark read) for a
// format reading `kind`, by the import's options and the code pages.
SourceDecodingChoice ChooseSourceDecoding(SourceTextKind kind, const SETDATA& options,
                                          const SourceCodePages& code_pages,
                                          const SourceFile& source);

// The code pages the configuration names under the import settings key
// ("ansi_codepage", "oem_codepage"); the defaults for what it leaves out.
SourceCodePages CodePagesOf(const ProfileFile& configuration);

// Whether `charset` is a name a host may give for a source: a character set
// the system knows, or "auto".
bool IsReadableCharsetName(std::string_view charset);

}  // namespace ks::core
