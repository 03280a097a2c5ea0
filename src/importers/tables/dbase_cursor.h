// DbfCursor: the forward pass over the records of one dBase or FoxPro
// table.  Records are read in large blocks; deleted ones are skipped; each
// value is made text only when asked for, into a buffer of its column that
// lives as long as the cursor, so a row costs no allocation once the
// buffers have grown.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/charset_converter.h"
#include "importers/tables/dbase_layout.h"
#include "importers/tables/dbase_memo.h"
#include "importers/tables/read_only_file.h"
#include "importers/tables/table_source.h"

namespace ks::tables {

class DbfCursor : public TableCursor {
 public:
  // Reads the table in `file` (whose header `layout` describes), its text
  // in `code_page`, its memos from `memo` (null when the memo file is
  // missing: memo values are then null).  `file_name` names the table in
  // messages.
  DbfCursor(std::unique_ptr<ReadOnlyFile> file, DbfLayout layout, std::string code_page,
            std::unique_ptr<DbfMemoFile> memo, std::string file_name);

  const std::vector<std::string>& ColumnNames() const override { return names_; }
  bool Next() override;
  std::optional<std::string_view> Value(size_t column) override;
  std::vector<std::string> BinaryColumns() const override;
  std::vector<std::string> Notes() const override;
  double Progress() const override;

 private:
  // Makes the next record current; false at the end of the records.
  bool NextRecord();
  bool IsNull(const DbfField& field) const;
  // `bytes` as UTF-8 text in the table's code page: a view of `bytes` when
  // they are ASCII, else of `out`.
  std::string_view Text(std::string_view bytes, std::string& out);
  std::optional<std::string_view> Decode(const DbfField& field, std::string_view bytes, std::string& out);
  std::optional<std::string_view> Memo(std::string_view bytes, std::string& out);

  std::unique_ptr<ReadOnlyFile> file_;
  DbfLayout layout_;
  std::string code_page_;  // iconv name of the table's text
  std::unique_ptr<DbfMemoFile> memo_;
  std::string file_name_;
  ks::core::CharsetConverter converter_;

  std::vector<std::string> names_;     // the visible columns, UTF-8
  std::vector<size_t> field_of_;       // column -> index in layout_.fields
  std::vector<std::string> buffers_;   // column -> the text of its current value
  std::string memo_bytes_;             // a memo as stored, before conversion

  std::unique_ptr<char[]> block_;  // whole records read from the file
  size_t block_records_ = 0;       // how many records block_ holds
  size_t records_per_block_ = 1;
  size_t in_block_ = 0;            // index in block_ of the current record
  uint32_t records_read_ = 0;      // records taken from the file, deleted ones too
  const char* record_ = nullptr;   // the current record
};

}  // namespace ks::tables
