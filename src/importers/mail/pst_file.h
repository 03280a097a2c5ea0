// PstFile, PstItem: an Outlook personal folders file opened through libpff,
// and the items (folders, messages, attachments) it hands out, each freed
// with its owner.  Every libpff failure becomes a PstError saying what could
// not be read.
//
// A file is judged by its header (PstHeader) before libpff opens it.
// libpff reads the file lazily: a damaged page shows only when an item that
// lives in it is read, and then as a PstError of that item.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "importers/mail/pst_header.h"

// libpff's handles are opaque integers (libpff_file_t, libpff_item_t).
using PffHandle = intptr_t;

class PstError : public std::runtime_error {
 public:
  enum class Kind {
    kNotOutlookFile,  // no personal folders file at all
    kCut,             // shorter than its header says
    kDamaged,         // libpff could not read it, or a part of it
  };
  PstError(Kind kind, const std::string& what) : std::runtime_error(what), kind_(kind) {}
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

// One item of the file; empty when libpff gave none.
class PstItem {
 public:
  PstItem() = default;
  explicit PstItem(PffHandle* item) : item_(item) {}
  PstItem(PstItem&& other) noexcept : item_(other.item_) { other.item_ = nullptr; }
  PstItem& operator=(PstItem&& other) noexcept;
  PstItem(const PstItem&) = delete;
  PstItem& operator=(const PstItem&) = delete;
  ~PstItem();

  PffHandle* get() const { return item_; }
  explicit operator bool() const { return item_ != nullptr; }

 private:
  PffHandle* item_ = nullptr;
};

class PstFile {
 public:
  // Opens `path` for reading.  Throws PstError: kNotOutlookFile for a file
  // that is none, kCut or kDamaged for one libpff must not or cannot read.
  // `ascii_code_page` is the Windows code page (1252, 932, ...) of the text
  // of an ANSI file; 0 keeps libpff's default.
  PstFile(const std::string& path, int ascii_code_page);
  ~PstFile();
  PstFile(const PstFile&) = delete;
  PstFile& operator=(const PstFile&) = delete;

  const PstHeader& header() const { return header_; }
  // The file's size on disk; a cut file holds less than its header says.
  uint64_t size() const { return size_; }

  // The folder every other one descends from.
  PstItem RootFolder();
  // The folder Outlook shows as the top of the personal folders (its
  // Inbox, Sent Items, ... lie below it), as the message store names it;
  // none when the store does not say.
  std::optional<uint32_t> TopOfPersonalFoldersId();

 private:
  PffHandle* file_ = nullptr;
  PstHeader header_;
  uint64_t size_ = 0;
};

// libpff is never handed an error object to fill.  On some damaged tables
// libpff 20180714 frees the error object it is filling and then grows it
// again (a double free inside libcerror, found by the fuzz target); given
// none, it records nothing and only says that the call failed.  So the
// reasons given for a failure are ours: what was being read.
namespace pst {

[[noreturn]] void ThrowDamaged(const std::string& what);

// A property of an item (its MAPI property number `entry_type`) as text in
// UTF-8, as its bytes, or as a 32-bit number; none when the item does not
// have it.  Throws PstError (kDamaged) when it cannot be read, or claims
// more than `most` bytes.
std::optional<std::string> PropertyText(PffHandle* item, uint32_t entry_type, uint64_t most);
std::optional<std::string> PropertyBytes(PffHandle* item, uint32_t entry_type, uint64_t most);
std::optional<uint32_t> PropertyNumber(PffHandle* item, uint32_t entry_type);

}  // namespace pst
