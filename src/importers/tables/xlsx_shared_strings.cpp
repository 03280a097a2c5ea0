#include "importers/tables/xlsx_shared_strings.h"

#include "importers/tables/table_source.h"

namespace ks::tables {
namespace {

// Far beyond a real workbook's shared strings; a zip bomb stops here.
constexpr size_t kMostText = size_t{1} << 30;

}  // namespace

SharedStrings SharedStrings::Read(ByteSource& source) {
  using Token = XmlPullScanner::Token;
  SharedStrings strings;
  XmlPullScanner scanner(source);
  std::string item;      // the string being read
  bool in_item = false;  // inside <si>
  bool in_text = false;  // inside a <t> that counts
  int phonetic = 0;      // depth of <rPh> (phonetic guide) elements, whose text is left out
  for (;;) {
    switch (scanner.Next()) {
      case Token::kStart:
        if (scanner.Name() == "si") {
          item.clear();
          in_item = !scanner.SelfClosing();
          if (!in_item) strings.ends_.push_back(strings.text_.size());
        } else if (in_item && scanner.Name() == "rPh" && !scanner.SelfClosing()) {
          ++phonetic;
        } else if (in_item && scanner.Name() == "t" && !scanner.SelfClosing()) {
          in_text = phonetic == 0;
        }
        break;
      case Token::kEnd:
        if (scanner.Name() == "t") {
          in_text = false;
        } else if (scanner.Name() == "rPh") {
          if (phonetic > 0) --phonetic;
        } else if (scanner.Name() == "si" && in_item) {
          DecodeSpreadsheetEscapes(item);
          strings.text_ += item;
          if (strings.text_.size() > kMostText) {
            throw TableError(TableError::Kind::kDamaged, "the workbook's shared strings are larger than any workbook holds");
          }
          strings.ends_.push_back(strings.text_.size());
          in_item = false;
          in_text = false;
          phonetic = 0;
        }
        break;
      case Token::kText:
        if (in_text) item += scanner.Text();
        break;
      case Token::kEndOfInput:
        if (in_item) throw TableError(TableError::Kind::kDamaged, "the workbook's shared strings end early");
        strings.text_.shrink_to_fit();
        strings.ends_.shrink_to_fit();
        return strings;
    }
  }
}

}  // namespace ks::tables
