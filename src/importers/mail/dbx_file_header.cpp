#include "importers/mail/dbx_file_header.h"

#include "importers/mail/dbx_bytes.h"

namespace {

constexpr std::string_view kSignature = "\xCF\xAD\x12\xFE";
constexpr std::string_view kMessageFolderKind = "\xC5\xFD\x74\x6F";
constexpr std::string_view kFolderListKind = "\xC6\xFD\x74\x6F";

constexpr uint64_t kMessageCountAt = 0xC4;
constexpr uint64_t kIndexRootAt = 0xE4;

}  // namespace

DbxFileHeader ReadDbxFileHeader(std::string_view file) {
  DbxFileHeader header;
  if (file.size() < 8 || file.substr(0, 4) != kSignature) return header;
  const std::string_view kind = file.substr(4, 4);
  if (kind == kFolderListKind) {
    header.kind = DbxFileKind::kFolderList;
    return header;
  }
  if (kind != kMessageFolderKind) {
    header.kind = DbxFileKind::kOtherDatabase;
    return header;
  }
  header.kind = DbxFileKind::kMessageFolder;
  const DbxBytes bytes(file);
  const std::optional<uint32_t> count = bytes.U32(kMessageCountAt);
  const std::optional<uint32_t> root = bytes.U32(kIndexRootAt);
  if (!count || !root) {
    header.cut_short = true;
    return header;
  }
  header.message_count = *count;
  header.index_root = *root;
  return header;
}
