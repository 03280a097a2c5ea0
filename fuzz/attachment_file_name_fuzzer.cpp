// Fuzzes SafeAttachmentFileName, which turns the name a mail message gives an
// attachment into the name the attachment is saved under for its import,
// and the lookup of the attachment's type by that name's extension.
//
// Input: the whole input is the name.
//
// Checks: the safe name is never empty, "." or "..", at most 200 bytes,
// holds no folder separator, control byte or reserved character and neither
// starts nor ends with a dot or blank; making it safe again changes nothing;
// a name that was safe already (and short enough) is kept as it is; its type
// is 0 or one the file-type table offers for its extension.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "api/attachment_file_name.h"
#include "api/attachment_type.h"
#include "fuzz_input.h"
#include "registry/file_type_table.h"

namespace {

bool IsUnsafe(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F ||
         std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos;
}

bool IsTrimmed(char c) {
  return c == '.' || c == ' ' || c == '\t';
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view name(reinterpret_cast<const char*>(data), size);
  const std::string safe = SafeAttachmentFileName(name);

  FUZZ_CHECK(!safe.empty() && safe.size() <= 200);
  FUZZ_CHECK(safe != "." && safe != "..");
  for (const char c : safe) FUZZ_CHECK(!IsUnsafe(c));
  FUZZ_CHECK(!IsTrimmed(safe.front()) && !IsTrimmed(safe.back()));
  FUZZ_CHECK(SafeAttachmentFileName(safe) == safe);

  bool already_safe =
      !name.empty() && name.size() <= 200 && !IsTrimmed(name.front()) && !IsTrimmed(name.back());
  for (const char c : name) already_safe = already_safe && !IsUnsafe(c);
  if (already_safe) FUZZ_CHECK(safe == name);

  const int32_t type = AttachmentFileType(AttachmentExtension(safe));
  if (type != 0) {
    const ks::registry::FileTypeRow* row = ks::registry::FindFileType(type);
    FUZZ_CHECK(row != nullptr);
    FUZZ_CHECK(std::string_view(row->extensions).find(AttachmentExtension(safe)) !=
               std::string_view::npos);
  }
  return 0;
}
