#include "api/attachment_import.h"

#include <fmt/format.h>

#include <memory>
#include <utility>

#include "api/attachment_file_name.h"
#include "api/attachment_import_context.h"
#include "api/attachment_temp_file.h"
#include "api/attachment_type.h"
#include "core/error_codes.h"
#include "core/message_texts.h"
#include "ks_imp.h"
#include "registry/file_type_table.h"

namespace {

// What the mail importers call a file read from disk (kind of an attachment
// record).
constexpr int32_t kAttachmentFromFile = 3;

void LogNotImported(ImportContext& message_import, const std::string& name, std::string_view why) {
  message_import.Log(fmt::format(
      "The attachment \"{}\" was not imported into its message's document: {}", name, why));
}

// The options the attachment's importer is prepared with: the whole file
// appended to the end of the current document, its bytes taken as they are.
SETDATA AttachmentOptions(uint32_t handle, const std::string& path, int32_t file_type) {
  SETDATA options;
  options.import_handle = handle;
  options.file_name = path;
  options.file_type = file_type;
  options.import_location = KSIMP_LOC_END_OF_CURRENT;
  options.file_origin_ansi = 1;
  return options;
}

// Undoes everything the attachment's import set up, in the order that keeps
// an abort on the host's thread from finding half of it: the list entry
// first, then the file and its folder, the handle and the flag.
class AttachmentCleanup {
 public:
  AttachmentCleanup(CImportSession& session, uint32_t handle, AttachmentTempFile& file)
      : session_(session), handle_(handle), file_(file) {}
  ~AttachmentCleanup() {
    session_.RemoveAttachment(handle_);
    file_.Remove();
    session_.ReleaseHandle(handle_);
    session_.SetImportingAttachments(false);
  }
  AttachmentCleanup(const AttachmentCleanup&) = delete;
  AttachmentCleanup& operator=(const AttachmentCleanup&) = delete;

 private:
  CImportSession& session_;
  uint32_t handle_;
  AttachmentTempFile& file_;
};

}  // namespace

bool ImportAttachmentIntoDocument(CImportSession& session, ImportContext& message_import,
                                  const std::string& file_name, std::string_view content) {
  // An aborted import writes nothing more.
  if (message_import.IsAborted()) return false;
  const std::string name = SafeAttachmentFileName(file_name);
  const uint64_t message_document = message_import.LastDocument();
  if (message_document == 0) {
    LogNotImported(message_import, name, "no document of its message was saved.");
    return false;
  }
  const int32_t file_type = ks::registry::ImportedAs(AttachmentFileType(AttachmentExtension(name)));
  CreatedImporter created = file_type != 0 ? session.CreateImporter(file_type) : CreatedImporter{};
  if (created.outcome != CreatedImporter::Outcome::kCreated) {
    LogNotImported(message_import, name, "no importer reads files of its type.");
    return false;
  }

  std::string why;
  const std::unique_ptr<AttachmentTempFile> file = AttachmentTempFile::Write(name, content, &why);
  if (!file) {
    LogNotImported(message_import, name, why);
    return false;
  }
  const uint32_t handle = session.handles().Create(message_import.database(), false);
  session.handles().AddTotalBytes(handle, content.size());
  session.AddAttachment({file->path(), file_name, kAttachmentFromFile, handle});
  session.SetImportingAttachments(true);
  const AttachmentCleanup cleanup(session, handle, *file);

  AttachmentImportContext context(session, message_import, handle,
                                  AttachmentOptions(handle, file->path(), file_type),
                                  message_document);
  // Destroyed before the cleanup, so that no importer holds the file open
  // when it goes.
  const std::unique_ptr<CIMPImportBase> importer = std::move(created.importer);
  int result = importer->Prepare(context);
  if (result != 0) {
    importer->SetFirstFile(false);
    result = importer->Run();
  }
  if (result == 1 && importer->ImportedWhole()) return true;
  if (context.IsAborted()) return false;
  const uint32_t code = context.first_error() != 0 ? context.first_error() : error_code::kInternal;
  LogNotImported(message_import, name, ErrorText(code));
  return false;
}
