// ParadoxCursor: reads one Paradox table (.db, with its .mb for memos) row
// by row.  The data blocks form a chain, each naming the next and the
// previous one; the cursor holds one block at a time, so its memory does
// not grow with the table, and checks the chain as it goes: a block beyond
// the file, or one whose back link does not name the block it was reached
// from (as in a chain that loops), is a damaged table.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/charset_converter.h"
#include "importers/tables/paradox_header.h"
#include "importers/tables/paradox_memo_file.h"
#include "importers/tables/read_only_file.h"
#include "importers/tables/table_source.h"

namespace ks::tables {

class ParadoxCursor : public TableCursor {
 public:
  // Opens the table `table_path` and reads its header; `memo_path` is its
  // .mb file, opened when a memo needs it (empty when there is none: memos
  // then give only the first bytes their records keep).
  // Throws TableError.
  ParadoxCursor(const std::filesystem::path& table_path, std::filesystem::path memo_path,
                const TableReadOptions& options);

  const std::vector<std::string>& ColumnNames() const override { return columns_; }
  bool Next() override;
  std::optional<std::string_view> Value(size_t column) override;
  std::vector<std::string> BinaryColumns() const override;
  double Progress() const override;

 private:
  // Reads the next block of the chain that holds records; false at the end.
  bool NextBlock();
  // Decodes the record at `record` of the current block into values_.
  void DecodeRecord(std::string_view record);
  // The value of a memo field; false for a null.
  bool ReadMemo(const ParadoxField& field, std::string_view bytes, std::string& out);
  void AppendText(std::string_view bytes, std::string& out);

  ReadOnlyFile file_;
  ParadoxHeader header_;
  std::filesystem::path memo_path_;
  std::unique_ptr<ParadoxMemoFile> memo_;  // opened at the first memo kept there
  std::string charset_;                    // the table's code page; "" when it names none
  std::string fallback_code_page_;         // for text in a table that names none
  ks::core::CharsetConverter converter_;
  std::vector<std::string> columns_;

  uint64_t blocks_in_file_ = 0;
  uint64_t blocks_read_ = 0;   // bounds the walk, and gives the progress
  uint32_t next_block_ = 0;    // the next block of the chain; 0 at its end
  uint32_t block_number_ = 0;  // the block in block_; 0 before the first
  bool finished_ = false;      // the chain's end was reached
  std::string block_;
  size_t records_in_block_ = 0;
  size_t next_record_ = 0;

  std::vector<std::string> values_;  // of the current row
  std::vector<bool> present_;        // false where the value is null
  std::string memo_bytes_;
};

}  // namespace ks::tables
