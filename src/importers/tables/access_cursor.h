// AccessCursor: a forward pass over one Access table through libmdb.  libmdb
// finds the rows and splits each into its column values; the bytes of each
// value are turned into text here (access_values.h), memo text read from its
// chain of long-value pages one page at a time, so that memory holds one
// row whatever the size of the table.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/utf16_decoder.h"
#include "importers/tables/access_database.h"
#include "importers/tables/table_source.h"

namespace ks::tables::access {

class AccessCursor final : public TableCursor {
 public:
  // `table` belongs to `database`, which the cursor keeps to itself.
  AccessCursor(std::unique_ptr<AccessDatabase> database, TableDefPtr table, const TableReadOptions& options);

  const std::vector<std::string>& ColumnNames() const override { return names_; }
  bool Next() override;
  std::optional<std::string_view> Value(size_t column) override;
  std::vector<std::string> BinaryColumns() const override;
  double Progress() const override;

 private:
  enum class Reading { kValue, kCalculated, kBinary };

  // Reads the value of column `index` of the current row into values_.
  void ReadValue(size_t index, const MdbField& field);
  // Appends the value's text; false when its bytes do not make its type.
  bool AppendTyped(int type, int scale, std::string_view bytes, std::string& out);
  void AppendText(std::string_view bytes, std::string& out);
  void AppendCodePageText(std::string_view bytes, std::string& out);

  std::unique_ptr<AccessDatabase> database_;
  TableDefPtr table_;
  MdbHandle* mdb_;
  TableReadOptions options_;
  core::Utf16Decoder utf16_{core::Utf16Decoder::ByteOrder::kLittleEndian};
  std::vector<std::string> names_;
  std::vector<Reading> readings_;        // per column
  std::vector<MdbField> fields_;         // the current row, split by libmdb
  std::vector<std::string> values_;      // per column, the current row's text
  std::vector<bool> nulls_;              // per column
  std::string memo_;                     // bytes of the memo being read
  uint64_t rows_read_ = 0;
};

}  // namespace ks::tables::access
