#include "importers/mail/pst_file.h"

#include <fmt/format.h>
#include <libpff.h>
#include <sys/stat.h>

#include <fstream>

namespace {

// The message store's entry naming the top of the personal folders; the
// last four bytes of an entry identifier are the folder's node number.
constexpr uint32_t kIpmSubtreeEntryId = 0x35e0;
constexpr size_t kEntryIdBytes = 24;

uint64_t FileSize(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
    throw PstError(PstError::Kind::kDamaged, "the file cannot be read");
  }
  return static_cast<uint64_t>(info.st_size);
}

std::string FirstBytes(const std::string& path, size_t count) {
  std::ifstream in(path, std::ios::binary);
  std::string bytes(count, '\0');
  in.read(bytes.data(), static_cast<std::streamsize>(count));
  bytes.resize(static_cast<size_t>(in.gcount()));
  return bytes;
}

}  // namespace

namespace pst {

void ThrowDamaged(const std::string& what) {
  throw PstError(PstError::Kind::kDamaged, what);
}

namespace {

// The property's entry in the item's first record set, freed with it.
class PropertyEntry {
 public:
  PropertyEntry(PffHandle* item, uint32_t entry_type) {
    if (libpff_item_get_record_set_by_index(item, 0, &set_, nullptr) != 1) {
      // An item without a record set has no properties at all.
      set_ = nullptr;
      return;
    }
    const int found = libpff_record_set_get_entry_by_type(
        set_, entry_type, 0, &entry_, LIBPFF_ENTRY_VALUE_FLAG_MATCH_ANY_VALUE_TYPE, nullptr);
    if (found == -1) ThrowDamaged("a property cannot be read");
    if (found != 1) entry_ = nullptr;
  }
  ~PropertyEntry() {
    if (entry_ != nullptr) libpff_record_entry_free(&entry_, nullptr);
    if (set_ != nullptr) libpff_record_set_free(&set_, nullptr);
  }
  PropertyEntry(const PropertyEntry&) = delete;
  PropertyEntry& operator=(const PropertyEntry&) = delete;

  libpff_record_entry_t* get() const { return entry_; }

 private:
  libpff_record_set_t* set_ = nullptr;
  libpff_record_entry_t* entry_ = nullptr;
};

void CheckSize(size_t size, uint64_t most) {
  if (size > most) {
    throw PstError(PstError::Kind::kDamaged,
                   fmt::format("a property claims {} bytes, more than can be real", size));
  }
}

}  // namespace

std::optional<std::string> PropertyText(PffHandle* item, uint32_t entry_type, uint64_t most) {
  const PropertyEntry entry(item, entry_type);
  if (entry.get() == nullptr) return std::nullopt;
  size_t size = 0;
  if (libpff_record_entry_get_data_as_utf8_string_size(entry.get(), &size, nullptr) != 1) {
    ThrowDamaged("a text property cannot be read");
  }
  CheckSize(size, most);
  if (size == 0) return std::string();
  std::string text(size, '\0');
  if (libpff_record_entry_get_data_as_utf8_string(
          entry.get(), reinterpret_cast<uint8_t*>(text.data()), size, nullptr) != 1) {
    ThrowDamaged("a text property cannot be read");
  }
  std::erase(text, '\0');
  return text;
}

std::optional<std::string> PropertyBytes(PffHandle* item, uint32_t entry_type, uint64_t most) {
  const PropertyEntry entry(item, entry_type);
  if (entry.get() == nullptr) return std::nullopt;
  size_t size = 0;
  if (libpff_record_entry_get_data_size(entry.get(), &size, nullptr) != 1) {
    ThrowDamaged("a property cannot be read");
  }
  CheckSize(size, most);
  std::string bytes(size, '\0');
  if (size > 0 && libpff_record_entry_get_data(
                      entry.get(), reinterpret_cast<uint8_t*>(bytes.data()), size, nullptr) != 1) {
    ThrowDamaged("a property cannot be read");
  }
  return bytes;
}

std::optional<uint32_t> PropertyNumber(PffHandle* item, uint32_t entry_type) {
  const PropertyEntry entry(item, entry_type);
  if (entry.get() == nullptr) return std::nullopt;
  uint32_t value = 0;
  if (libpff_record_entry_get_data_as_32bit_integer(entry.get(), &value, nullptr) != 1) {
    return std::nullopt;
  }
  return value;
}

}  // namespace pst

PstItem& PstItem::operator=(PstItem&& other) noexcept {
  if (this != &other) {
    PstItem dropped(item_);
    item_ = other.item_;
    other.item_ = nullptr;
  }
  return *this;
}

PstItem::~PstItem() {
  if (item_ != nullptr) libpff_item_free(&item_, nullptr);
}

PstFile::PstFile(const std::string& path, int ascii_code_page) {
  size_ = FileSize(path);
  const std::optional<PstHeader> header = PstHeader::Read(FirstBytes(path, PstHeader::kBytesRead));
  if (!header) {
    throw PstError(PstError::Kind::kNotOutlookFile, "it is no Outlook personal folders file");
  }
  header_ = *header;
  if (const std::optional<std::string> problem = header_.Problem(size_)) {
    throw PstError(header_.IsCut(size_) ? PstError::Kind::kCut : PstError::Kind::kDamaged,
                   *problem);
  }
  if (libpff_file_initialize(&file_, nullptr) != 1) pst::ThrowDamaged("libpff failed");
  if (ascii_code_page != 0) {
    // A code page libpff does not know leaves its default: the folder
    // names of an ANSI file then read as Windows-1252.
    libpff_file_set_ascii_codepage(file_, ascii_code_page, nullptr);
  }
  if (libpff_file_open(file_, path.c_str(), LIBPFF_OPEN_READ, nullptr) != 1) {
    libpff_file_free(&file_, nullptr);
    pst::ThrowDamaged(header_.IsCut(size_) ? "the file is cut short and cannot be opened"
                                           : "the file cannot be opened");
  }
}

PstFile::~PstFile() {
  libpff_file_close(file_, nullptr);
  libpff_file_free(&file_, nullptr);
}

PstItem PstFile::RootFolder() {
  libpff_item_t* root = nullptr;
  if (libpff_file_get_root_folder(file_, &root, nullptr) != 1 || root == nullptr) {
    pst::ThrowDamaged("the folder list cannot be read");
  }
  return PstItem(root);
}

std::optional<uint32_t> PstFile::TopOfPersonalFoldersId() {
  libpff_item_t* store = nullptr;
  if (libpff_file_get_message_store(file_, &store, nullptr) != 1 || store == nullptr) {
    return std::nullopt;
  }
  const PstItem owned(store);
  std::optional<std::string> entry_id;
  try {
    entry_id = pst::PropertyBytes(store, kIpmSubtreeEntryId, kEntryIdBytes);
  } catch (const PstError&) {
    return std::nullopt;  // the folders are then all named from the root
  }
  if (!entry_id || entry_id->size() != kEntryIdBytes) return std::nullopt;
  uint32_t id = 0;
  for (size_t i = 0; i < 4; ++i) {
    id |= static_cast<uint32_t>(static_cast<unsigned char>((*entry_id)[20 + i])) << (8 * i);
  }
  return id;
}
