// CVerifyFiletype: says which file type a file really is, from its first
// bytes and, for databases, by opening it, so that a host can warn when the
// type chosen for a file does not fit it (11020).  The answer is a file-type
// number of the importer table, or 0 for a file no importer reads.
//
// DetectFileType runs the tests below in this order and the first that
// accepts the file decides.  The order is kept on purpose: pictures and
// archives are refused before anything else, and the plain-text test comes
// before WordPerfect, Word and the database tests, so a file whose first 256
// bytes hold no zero byte is plain text even when a later test would take it
// too.  Delimited and fixed-width text have no test of their own: they are
// plain text.
//
// Every test that reads the file first runs the sharing test: a file that
// another program holds (core/sharing_probe.h says what "holds" means on
// Linux, which has no share modes) is refused by every test and so reported
// as 0, with the sharing flag set and, when messages are shown, the message
// "Please ensure another application does not have %s opened" handed to the
// message sink under the caption "File sharing error".
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace ks::tables {
class TableDrivers;
}

class CVerifyFiletype {
 public:
  // Receives a message for the user: its caption and its text.
  using MessageSink = std::function<void(const std::string& caption, const std::string& text)>;

  // `show_messages`: whether a sharing failure is reported through `sink`.
  explicit CVerifyFiletype(bool show_messages = false, MessageSink sink = nullptr);
  ~CVerifyFiletype();
  CVerifyFiletype(const CVerifyFiletype&) = delete;
  CVerifyFiletype& operator=(const CVerifyFiletype&) = delete;

  // The file type of the file at `path`: the first test below that accepts
  // it decides; 0 for an empty file, one that does not open, one another
  // program holds, or one no test accepts.  Anything but a regular file
  // (a folder, a device, a FIFO) is 0 without being read.
  int32_t DetectFileType(const std::string& path);

  // Whether the last file tested was held by another program.
  bool SharingFailed() const { return sharing_failed_; }

  // ---- The tests, in DetectFileType's order: 1 accepts, 0 refuses ---------
  int IsPicture(const std::string& path);          // -> 0 (not importable)
  int IsArchive(const std::string& path);          // -> 0 (not importable)
  int IsRichText(const std::string& path);         // -> 19
  int IsEudoraMailbox(const std::string& path);    // -> 1005
  int IsStandardMailbox(const std::string& path);  // -> 1060
  int IsPdf(const std::string& path);              // -> 1058
  int IsHtml(const std::string& path);             // -> 108
  int IsPlainText(const std::string& path);        // -> 1000
  int IsWordPerfect(const std::string& path);      // -> 1057
  int IsWord(const std::string& path);             // -> 1056: a compound file with "WordDocument"
  // -> 1010: the engine opens it as it stands.
  int IsKestroDatabase(const std::string& path);
  // -> 1010: the engine knows it for one of its own databases although it
  // does not open it here: protected by a password, of a newer version,
  // busy, or in a folder this user cannot write to.
  int IsKestroDatabaseByEngineRefusal(const std::string& path);
  int IsExcel(const std::string& path);      // -> 21: a compound file with "Workbook" or "Book"
  int IsAccess(const std::string& path);     // -> 771: the Access driver connects to it
  int IsParadox(const std::string& path);    // -> 703: the Paradox driver opens it as a table
  // -> 1002: no Word file, its first bytes can be export text
  // (file_signatures.h), and the DOS export import's check takes it.
  int IsKestroDos(const std::string& path);
  int IsDbase(const std::string& path);      // -> 1114: the dBase/FoxPro driver opens it as a table

 private:
  // The sharing test: false (and the flag set, the message shown) when the
  // file is held by another program or does not open.
  bool MayRead(const std::string& path);
  // The file's opening block, after the sharing test; empty when refused.
  std::string OpeningBlock(const std::string& path);
  bool HasCompoundStream(const std::string& path, const char* const* names);
  // The driver list, found once per verifier.
  const ks::tables::TableDrivers& Drivers();

  bool show_messages_;
  MessageSink sink_;
  bool sharing_failed_ = false;
  std::unique_ptr<ks::tables::TableDrivers> drivers_;
};
