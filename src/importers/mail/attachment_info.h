// AttachmentInfo: one attachment of a mail message, whatever its source:
// a file the mail program saved and named in the message, or a part of the
// message's own MIME text, decoded.
#pragma once

#include <cstdint>
#include <string>

namespace ks::mail {

struct AttachmentInfo {
  static constexpr int32_t kEncodedPart = 1;      // a MIME part, decoded
  static constexpr int32_t kFileOnDisk = 3;       // a file read from disk
  static constexpr int32_t kAttachedMessage = 5;  // a message/rfc822 part, as it stands

  int32_t kind = kEncodedPart;
  std::string path;       // the full path, or the name the part gives itself
  uint32_t length = 0;    // bytes of content
  std::string file_name;  // base name and extension of the path; the path when that is empty
  std::string content;
  int32_t flag = 0;       // cleared when the record is filled
};

}  // namespace ks::mail
