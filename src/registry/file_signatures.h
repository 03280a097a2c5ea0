// The marks by which a file's first bytes say what it is: pictures and
// archives (never importable), rich text, the two kinds of mailbox, PDF,
// HTML, plain text and WordPerfect.  Each test reads only the opening block
// it is given (the file's first kOpeningBlockSize bytes, or fewer for a
// shorter file), so that they can be tested and fuzzed without a file.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ks::registry {

// How much of a file the signature tests look at.
inline constexpr size_t kOpeningBlockSize = 4096;
// How much of the opening block the plain-text test looks at.
inline constexpr size_t kPlainTextWindow = 256;

// GIF ("GIF" and two digits), JPEG ("JFIF" or "Exif" at offset 6, any case,
// or a bare start-of-image marker), Windows bitmap ("BM"), PNG and TIFF.
bool IsPictureSignature(std::string_view opening);
// Zip ("PK" 3 4, or the end record of an empty zip), gzip, bzip2, xz, 7-Zip
// and RAR.  Word and Excel files of the zipped kinds are archives too.
bool IsArchiveSignature(std::string_view opening);
// "{\rtf", any case.
bool IsRichTextSignature(std::string_view opening);
// The Eudora separator line: exactly "From ???@???".
bool IsEudoraMailboxSignature(std::string_view opening);
// A separator line "From " at the start (after a UTF-8 byte-order mark and
// blank lines, which mail programs leave before the first message), or
// "\r\nFrom " anywhere in the opening block.
bool IsStandardMailboxSignature(std::string_view opening);
// "%PDF-", any case.
bool IsPdfSignature(std::string_view opening);
// "<html" or "</html", any case, in the text of the opening block: no zero
// byte stands before it (a database page that holds a web page's text is no
// web page).
bool IsHtmlSignature(std::string_view opening);
// No zero byte among the first kPlainTextWindow bytes of the text.
bool IsPlainTextSignature(std::string_view opening);
// The HTML and plain-text tests read the opening block as text: a file that
// begins with a UTF-16 byte-order mark is read one character per two bytes,
// so that the zero halves of its characters do not make it binary (a
// character outside 8 bits stands as '?', a zero character as a zero byte).
std::string TextOfOpeningBlock(std::string_view opening);
// Whether the opening block can be DOS export text: no control byte but the
// zero bytes that end its documents, tab, the line and page ends, and the
// DOS end-of-file and escape bytes.  The export's own check looks at the
// file's last bytes alone, which most database and mail files would pass.
bool IsExportTextSignature(std::string_view opening);
// "WPC" (any case) at offset 1: the WordPerfect header after its FF.
bool IsWordPerfectSignature(std::string_view opening);

}  // namespace ks::registry
