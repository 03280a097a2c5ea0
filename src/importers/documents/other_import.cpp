#include "importers/documents/other_import.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <new>
#include <system_error>
#include <vector>

#include "core/message_texts.h"
#include "importers/documents/link_document.h"
#include "importers/documents/machine_typefaces.h"
#include "importers/documents/rich_text_header.h"
#include "ks_eng5.h"

namespace {

constexpr uint32_t kStyleNameText = 14102;  // "Normal"
// The attachment's name is kept to what an attachment record holds.
constexpr size_t kAttachmentNameLimit = 254;
// The database's path is read into a buffer of this size.
constexpr uint32_t kDatabaseNameSize = 2048;

std::string AbsolutePath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute.lexically_normal().string();
}

}  // namespace

int COtherImport::CheckFile(const std::string& file_name) {
  SourceFile probe;
  return probe.Open(file_name) ? 1 : 0;
}

bool COtherImport::IntoEntryForm() const {
  return Options().use_entry_form != 0 && !Options().entry_form_name.empty();
}

int COtherImport::Prepare(ImportContext& context) {
  const int prepared = CIMPImportBase::Prepare(context);
  if (prepared == 0 || IntoEntryForm()) return prepared;
  if (const std::optional<ks::documents::DocumentLook> look =
          ks::documents::ReadDocumentLook(context.database())) {
    header_ = ks::documents::BuildRichTextHeader(*look, ks::documents::MachineTypefaces::Installed(),
                                                 std::string(MessageText(kStyleNameText)));
  }
  return prepared;
}

int32_t COtherImport::DocumentKind() const {
  return header_ ? KSENG_KIND_RICHTEXT : KSENG_KIND_TEXT;
}

bool COtherImport::AttachSourceFile(const std::string& path, const std::string& name) {
  const uint64_t limit = Context().attachment_rules().max_bytes;
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    Log(fmt::format("{} is linked without its attachment: it cannot be read.", path));
    return false;
  }
  struct stat info {};
  bool read_whole = false;
  std::string content;
  if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
    const auto length = static_cast<uint64_t>(info.st_size);
    if (length > limit) {
      ::close(fd);
      Log(fmt::format("{} is linked without its attachment: it is larger than {} bytes.", path, limit));
      return false;
    }
    try {
      content.resize(length);
      size_t filled = 0;
      while (filled < content.size()) {
        const ssize_t got = ::read(fd, content.data() + filled, content.size() - filled);
        if (got <= 0) break;
        filled += static_cast<size_t>(got);
      }
      read_whole = filled == content.size();
    } catch (const std::bad_alloc&) {
      content.clear();
    }
  }
  ::close(fd);
  if (!read_whole) {
    Log(fmt::format("{} is linked without its attachment: it cannot be read whole.", path));
    return false;
  }
  std::vector<CDocumentWriter::Attachment> attachments;
  attachments.push_back({name, std::move(content)});
  AttachToNextDocument(std::move(attachments));
  return true;
}

int COtherImport::ImportSource() {
  if (Aborted()) return 1;
  const std::string path = AbsolutePath(Source().path());
  std::string attachment_name;
  if (Options().save_attachments != 0) {
    const std::string name = ks::documents::AttachmentNameOf(path, kAttachmentNameLimit);
    if (AttachSourceFile(path, name)) attachment_name = name;
  }

  std::string text;
  if (IntoEntryForm()) {
    text = ks::documents::ComposeEntryFieldLine(FieldMarker(), path);
  } else if (!header_) {
    text = ks::documents::ComposePlainLinkDocument(FieldMarker(), path);
  } else {
    char database_path[kDatabaseNameSize] = {};
    if (EngGetDatabaseName(Database(), database_path, sizeof database_path) == 0) {
      // A database whose path does not fit cannot be named in the link.
      database_path[0] = '\0';
    }
    ks::documents::LinkParts parts;
    parts.header = *header_;
    parts.field_marker = FieldMarker();
    parts.database_path = database_path;
    parts.file_path = path;
    parts.attachment_name = attachment_name;
    text = ks::documents::ComposeLinkDocument(parts);
  }
  SaveDocument(text, Source().size());
  return Failed() ? 0 : 1;
}
