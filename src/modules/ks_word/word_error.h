// WordError: why a document cannot be converted, in words for the import
// log.  Thrown by the readers; the module's export turns it into a failed
// conversion and never lets it out.
#pragma once

#include <stdexcept>
#include <string>

namespace ks::word {

class WordError : public std::runtime_error {
 public:
  explicit WordError(const std::string& why) : std::runtime_error(why) {}
};

}  // namespace ks::word
