#include "wordperfect_text.h"

#include <librevenge-generators/librevenge-generators.h>
#include <librevenge-stream/librevenge-stream.h>
#include <librevenge/librevenge.h>
#include <libwpd/libwpd.h>

namespace ks::wordperfect {

ConvertError ConvertToText(librevenge::RVNGInputStream& input, std::string& text) {
  text.clear();
  switch (libwpd::WPDocument::isFileFormatSupported(&input)) {
    case libwpd::WPD_CONFIDENCE_NONE:
      return ConvertError::kNotWordPerfect;
    case libwpd::WPD_CONFIDENCE_UNSUPPORTED_ENCRYPTION:
    case libwpd::WPD_CONFIDENCE_SUPPORTED_ENCRYPTION:
      return ConvertError::kEncrypted;
    case libwpd::WPD_CONFIDENCE_EXCELLENT:
      break;
  }
  librevenge::RVNGString document;
  librevenge::RVNGTextTextGenerator generator(document);
  // The detection moved the stream; the parser reads it from its start.
  input.seek(0, librevenge::RVNG_SEEK_SET);
  switch (libwpd::WPDocument::parse(&input, &generator, nullptr)) {
    case libwpd::WPD_OK:
      break;
    case libwpd::WPD_UNSUPPORTED_ENCRYPTION_ERROR:
    case libwpd::WPD_PASSWORD_MISSMATCH_ERROR:
      return ConvertError::kEncrypted;
    default:
      return ConvertError::kParse;
  }
  text.assign(document.cstr(), document.size());
  return ConvertError::kNone;
}

}  // namespace ks::wordperfect
