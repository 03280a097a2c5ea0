#include "core/charset_detection.h"

#include <uchardet.h>

#include <memory>
#include <type_traits>

namespace ks::core {

std::string DetectCharset(std::string_view sample) {
  const std::unique_ptr<std::remove_pointer_t<uchardet_t>, void (*)(uchardet_t)> detector(
      uchardet_new(), uchardet_delete);
  if (!detector || sample.empty()) return {};
  if (uchardet_handle_data(detector.get(), sample.data(), sample.size()) != 0) return {};
  uchardet_data_end(detector.get());
  const char* name = uchardet_get_charset(detector.get());
  return name != nullptr ? std::string(name) : std::string();
}

}  // namespace ks::core
