#include "registry/verify_filetype.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <optional>

#include "core/sharing_probe.h"
#include "importers/tables/ado_util.h"
#include "formats/compound_file.h"
#include "importers/tables/table_drivers.h"
#include "importers/text/kestro_dos_import.h"
#include "ks_eng5.h"
#include "ks_imp.h"
#include "registry/file_signatures.h"

namespace {

using ks::tables::TableSourceKind;

constexpr const char* kSharingCaption = "File sharing error";
constexpr const char* kSharingText = "Please ensure another application does not have {} opened";

constexpr const char* kWordStreams[] = {"WordDocument", nullptr};
constexpr const char* kExcelStreams[] = {"Workbook", "Book", nullptr};

bool IsRegularFile(const std::string& path, uint64_t* size) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
  *size = static_cast<uint64_t>(info.st_size);
  return true;
}

bool HasExtension(const std::string& path, std::string_view extension) {
  std::string found = std::filesystem::path(path).extension().string();
  std::transform(found.begin(), found.end(), found.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return found == extension;
}

}  // namespace

CVerifyFiletype::CVerifyFiletype(bool show_messages, MessageSink sink)
    : show_messages_(show_messages), sink_(std::move(sink)) {}

CVerifyFiletype::~CVerifyFiletype() = default;

int32_t CVerifyFiletype::DetectFileType(const std::string& path) {
  sharing_failed_ = false;
  uint64_t size = 0;
  if (!IsRegularFile(path, &size) || size == 0) return 0;

  using Test = int (CVerifyFiletype::*)(const std::string&);
  struct Step {
    Test test;
    int32_t type;
  };
  static constexpr Step kSteps[] = {
      {&CVerifyFiletype::IsPicture, 0},
      {&CVerifyFiletype::IsArchive, 0},
      {&CVerifyFiletype::IsRichText, KSIMP_TYPE_RTF},
      {&CVerifyFiletype::IsEudoraMailbox, KSIMP_TYPE_EUDORA},
      {&CVerifyFiletype::IsStandardMailbox, KSIMP_TYPE_MBX},
      {&CVerifyFiletype::IsPdf, KSIMP_TYPE_PDF},
      {&CVerifyFiletype::IsHtml, KSIMP_TYPE_HTML},
      {&CVerifyFiletype::IsPlainText, KSIMP_TYPE_TEXT},
      {&CVerifyFiletype::IsWordPerfect, KSIMP_TYPE_WORDPERFECT},
      {&CVerifyFiletype::IsWord, KSIMP_TYPE_WORD},
      {&CVerifyFiletype::IsKestroDatabase, KSIMP_TYPE_KESTRO},
      {&CVerifyFiletype::IsKestroDatabaseByEngineRefusal, KSIMP_TYPE_KESTRO},
      {&CVerifyFiletype::IsExcel, KSIMP_TYPE_EXCEL},
      {&CVerifyFiletype::IsAccess, KSIMP_TYPE_ACCESS},
      {&CVerifyFiletype::IsParadox, KSIMP_TYPE_PARADOX},
      {&CVerifyFiletype::IsKestroDos, KSIMP_TYPE_KESTRO_DOS},
      {&CVerifyFiletype::IsDbase, KSIMP_TYPE_VISUAL_FOXPRO},
  };
  for (const Step& step : kSteps) {
    if ((this->*step.test)(path) != 0) return step.type;
    // A file another program holds is refused by every test: no need to
    // ask the others.
    if (sharing_failed_) return 0;
  }
  return 0;
}

bool CVerifyFiletype::MayRead(const std::string& path) {
  // Never a folder, a device or a FIFO, which a reader could wait on.
  uint64_t size = 0;
  if (!IsRegularFile(path, &size)) {
    sharing_failed_ = false;
    return false;
  }
  switch (ks::core::ProbeExclusiveReading(path)) {
    case ks::core::FileSharing::kFree:
      sharing_failed_ = false;
      return true;
    case ks::core::FileSharing::kHeldByAnother:
      sharing_failed_ = true;
      if (show_messages_ && sink_) sink_(kSharingCaption, fmt::format(kSharingText, path));
      return false;
    case ks::core::FileSharing::kCannotOpen:
      sharing_failed_ = false;
      break;
  }
  return false;
}

std::string CVerifyFiletype::OpeningBlock(const std::string& path) {
  if (!MayRead(path)) return {};
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) return {};
  std::string block(ks::registry::kOpeningBlockSize, '\0');
  size_t filled = 0;
  while (filled < block.size()) {
    const ssize_t got = ::read(fd, block.data() + filled, block.size() - filled);
    if (got <= 0) break;
    filled += static_cast<size_t>(got);
  }
  ::close(fd);
  block.resize(filled);
  return block;
}

int CVerifyFiletype::IsPicture(const std::string& path) {
  return ks::registry::IsPictureSignature(OpeningBlock(path)) ? 1 : 0;
}

int CVerifyFiletype::IsArchive(const std::string& path) {
  return ks::registry::IsArchiveSignature(OpeningBlock(path)) ? 1 : 0;
}

int CVerifyFiletype::IsRichText(const std::string& path) {
  return ks::registry::IsRichTextSignature(OpeningBlock(path)) ? 1 : 0;
}

int CVerifyFiletype::IsEudoraMailbox(const std::string& path) {
  return ks::registry::IsEudoraMailboxSignature(OpeningBlock(path)) ? 1 : 0;
}

int CVerifyFiletype::IsStandardMailbox(const std::string& path) {
  return ks::registry::IsStandardMailboxSignature(OpeningBlock(path)) ? 1 : 0;
}

int CVerifyFiletype::IsPdf(const std::string& path) {
  return ks::registry::IsPdfSignature(OpeningBlock(path)) ? 1 : 0;
}

int CVerifyFiletype::IsHtml(const std::string& path) {
  return ks::registry::IsHtmlSignature(OpeningBlock(path)) ? 1 : 0;
}

int CVerifyFiletype::IsPlainText(const std::string& path) {
  return ks::registry::IsPlainTextSignature(OpeningBlock(path)) ? 1 : 0;
}

int CVerifyFiletype::IsWordPerfect(const std::string& path) {
  return ks::registry::IsWordPerfectSignature(OpeningBlock(path)) ? 1 : 0;
}

bool CVerifyFiletype::HasCompoundStream(const std::string& path, const char* const* names) {
  if (!MayRead(path)) return false;
  try {
    const ks::formats::CompoundFile file(path);
    for (; *names != nullptr; ++names) {
      if (file.OpenStream(*names)) return true;
    }
  } catch (const std::exception&) {
    // Not a sound compound file.
  }
  return false;
}

int CVerifyFiletype::IsWord(const std::string& path) {
  return HasCompoundStream(path, kWordStreams) ? 1 : 0;
}

int CVerifyFiletype::IsKestroDatabase(const std::string& path) {
  if (!MayRead(path)) return 0;
  const uint32_t db = EngOpenDatabase(path.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
  if (db == 0) return 0;
  EngCloseDatabase(db);
  return 1;
}

int CVerifyFiletype::IsKestroDatabaseByEngineRefusal(const std::string& path) {
  if (!MayRead(path)) return 0;
  // No credentials: a protected database of ours answers that it wants
  // them, which is all this test needs to know.
  const uint32_t db = EngOpenDatabaseEx(path.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ, "", "");
  if (db != 0) {
    EngCloseDatabase(db);
    return 1;
  }
  switch (EngLastError(0)) {
    case KSENG_ERR_PASSWORD_REQUIRED:  // protected: the right login opens it
    case KSENG_ERR_PASSWORD_WRONG:
    case KSENG_ERR_VERSION:      // ours, written by a newer engine
    case KSENG_ERR_BUSY:         // ours, another process is writing it
    case KSENG_ERR_INTERRUPTED:  // ours, but its folder is not writable here
      return 1;
    default:  // not found, unreadable, not ours or no database at all
      return 0;
  }
}

int CVerifyFiletype::IsExcel(const std::string& path) {
  return HasCompoundStream(path, kExcelStreams) ? 1 : 0;
}

const ks::tables::TableDrivers& CVerifyFiletype::Drivers() {
  if (!drivers_) {
    drivers_ = std::make_unique<ks::tables::TableDrivers>(ks::tables::TableDrivers::Installed());
  }
  return *drivers_;
}

namespace {

// Opens the connection the table import would open for `path` read as
// `kind`; for the kinds whose data source is a folder of table files, also
// opens the table that is this file, as the folder opens for any file in
// it.  True when all of that succeeds.
bool DriverOpens(const ks::tables::TableDrivers& drivers, TableSourceKind kind,
                 const std::string& path, std::optional<std::string_view> table_extension) {
  if (table_extension && !HasExtension(path, *table_extension)) return false;
  const std::string connection = ks::tables::CAdoUtil::BuildConnectionString(kind, path, drivers);
  if (connection.empty()) return false;
  try {
    const std::unique_ptr<ks::tables::TableConnection> opened =
        drivers.Connect(connection, ks::tables::TableReadOptions{});
    if (!opened) return false;
    if (table_extension) {
      const std::string table = std::filesystem::path(path).stem().string();
      return opened->OpenTable(table) != nullptr;
    }
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace

int CVerifyFiletype::IsAccess(const std::string& path) {
  if (!MayRead(path)) return 0;
  return DriverOpens(Drivers(), TableSourceKind::kAccess, path, std::nullopt) ? 1 : 0;
}

int CVerifyFiletype::IsParadox(const std::string& path) {
  if (!MayRead(path)) return 0;
  return DriverOpens(Drivers(), TableSourceKind::kParadox, path, ".db") ? 1 : 0;
}

int CVerifyFiletype::IsKestroDos(const std::string& path) {
  if (IsWord(path) != 0 || sharing_failed_) return 0;
  if (!ks::registry::IsExportTextSignature(OpeningBlock(path))) return 0;
  CIMPKestroDos dos;
  return dos.CheckFile(path);
}

int CVerifyFiletype::IsDbase(const std::string& path) {
  if (!MayRead(path)) return 0;
  return DriverOpens(Drivers(), TableSourceKind::kDbase, path, ".dbf") ? 1 : 0;
}
