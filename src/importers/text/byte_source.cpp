#include "importers/text/byte_source.h"

#include <algorithm>
#include <cstring>

namespace ks::text {

ssize_t StreamSource::Read(char* buffer, size_t size) {
  if (stream_.bad()) return -1;
  if (stream_.eof()) return 0;
  stream_.read(buffer, static_cast<std::streamsize>(size));
  if (stream_.bad()) return -1;
  return static_cast<ssize_t>(stream_.gcount());
}

ssize_t StringSource::Read(char* buffer, size_t size) {
  const size_t count = std::min({size, piece_, rest_.size()});
  std::memcpy(buffer, rest_.data(), count);
  rest_.remove_prefix(count);
  return static_cast<ssize_t>(count);
}

}  // namespace ks::text
