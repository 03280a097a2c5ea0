// XmlPullScanner: a small streaming XML tokenizer for the parts of a
// workbook that can be large (a sheet, the shared strings).  It reads its
// bytes in chunks from a ByteSource and hands out start tags, end tags and
// text one at a time, so memory stays the size of one chunk and one text
// run whatever the size of the part.
//
// It knows the limited XML that spreadsheet writers produce: elements with
// attributes, the five named entities and character references, CDATA,
// comments, processing instructions and a DOCTYPE (skipped, never
// expanded).  Namespace prefixes are dropped from names: "x:row" is "row".
// Malformed input throws TableError kDamaged; it never reads past what the
// source gave.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ks::tables {

// Where a scanner's bytes come from: a zip entry, a buffer in memory.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  // Fills up to `size` bytes at `into`; 0 at the end.  Throws TableError
  // when the bytes cannot be read.
  virtual size_t Read(char* into, size_t size) = 0;
};

// A ByteSource over bytes held by the caller.
class MemoryByteSource : public ByteSource {
 public:
  explicit MemoryByteSource(std::string_view bytes) : rest_(bytes) {}
  size_t Read(char* into, size_t size) override;

 private:
  std::string_view rest_;
};

class XmlPullScanner {
 public:
  enum class Token { kStart, kEnd, kText, kEndOfInput };

  explicit XmlPullScanner(ByteSource& source);

  // The next token.  For kStart, Name() and Attribute() describe the tag
  // and SelfClosing() says whether it also ends the element (no kEnd
  // follows for it); for kEnd, Name(); for kText, Text().  What they return
  // stays valid until the next call.
  Token Next();

  std::string_view Name() const { return name_; }
  bool SelfClosing() const { return self_closing_; }
  // The value of the attribute whose local name is `name`, entities
  // decoded; nullopt when the tag has none.
  std::optional<std::string_view> Attribute(std::string_view name);
  // Text between tags, entities and CDATA decoded; a run split by comments
  // or CDATA sections comes as one token.
  std::string_view Text() const { return text_; }

  // Bytes consumed so far, for progress.
  uint64_t Consumed() const { return consumed_ + pos_; }

  // Skips to the end of the element whose start tag was just returned.
  void SkipElement();

 private:
  // Makes `need` bytes from pos_ available (moving the window, which
  // invalidates views into it); false when the input ends first.
  bool Fill(size_t need);
  // Consumes input up to and including `terminator`, appending what comes
  // before it to `out` when given.  Throws when the input ends first.
  void SkipPast(std::string_view terminator, std::string* out);
  void ReadTag();
  // Reads text up to the next tag into text_; handles CDATA and comments
  // inside a run.  Returns with pos_ at "<" or at the end.
  void ReadText();
  void SkipMarkup();  // "<!..." or "<?..." other than CDATA, at pos_

  ByteSource& source_;
  std::vector<char> buffer_;  // the window over the input; grows only for a long tag
  size_t pos_ = 0;            // next unread byte in buffer_
  size_t end_ = 0;            // bytes of buffer_ that hold input
  bool at_end_ = false;       // the source said it has no more
  uint64_t consumed_ = 0;     // bytes dropped from the window's front
  bool started_ = false;      // the byte-order mark check is done

  std::string_view name_;
  std::string_view attributes_;  // the raw text after the name in the tag
  bool self_closing_ = false;
  std::string text_;
  std::string attribute_value_;  // the decoded value Attribute() returns
};

// Appends `raw` with XML entities decoded; an unknown entity stays as it
// is.
void AppendXmlDecoded(std::string_view raw, std::string& out);
// Replaces the _xHHHH_ escapes that spreadsheet writers put for control
// characters with the characters (UTF-8).
void DecodeSpreadsheetEscapes(std::string& text);
// Appends code point `code` as UTF-8 (U+FFFD for what is not a character).
void AppendUtf8(uint32_t code, std::string& out);

}  // namespace ks::tables
