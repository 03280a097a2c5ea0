// The text of a WordPerfect document as libwpd's text generator makes it
// (what wpd2text prints).  Knows nothing of files written or paths, so that
// the exported function and the fuzz target share it.
#pragma once

#include <string>

namespace librevenge {
class RVNGInputStream;
}

namespace ks::wordperfect {

enum class ConvertError {
  kNone,
  kNotWordPerfect,  // libwpd does not take it for a WordPerfect document
  kEncrypted,       // protected by a password
  kParse,           // libwpd stopped part way: nothing is kept of it
};

// Converts the document read from `input` into UTF-8 text in `text`
// (emptied on failure).
ConvertError ConvertToText(librevenge::RVNGInputStream& input, std::string& text);

}  // namespace ks::wordperfect
