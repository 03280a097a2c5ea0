#include "importers/text/field_line_composer.h"

#include "core/profile_file.h"
#include "importers/text/ksi_file_handler.h"

namespace ks::text {
namespace {

std::string_view TrimBlanks(std::string_view value) {
  const size_t first = value.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  const size_t last = value.find_last_not_of(' ');
  return value.substr(first, last - first + 1);
}

}  // namespace

bool FieldLineComposer::IsWrittenColumn(std::string_view name) {
  return !name.empty() && !ks::core::EqualsIgnoreCase(name, CKSIFileHandler::kSkippedColumnName);
}

FieldLineComposer::FieldLineComposer(std::span<const std::string> names, char marker, ValueGap gap)
    : gap_(gap == ValueGap::kFixedWidth ? " " : "") {
  columns_.reserve(names.size());
  for (const std::string& name : names) {
    Column column{IsWrittenColumn(name), {}};
    if (column.written) {
      // A blank or a marker inside a field name would end the name early
      // when the document is read back.
      for (const char c : name) {
        if (c != ' ' && c != marker) column.heading += c;
      }
      column.heading += marker;
      column.heading += ' ';
    }
    columns_.push_back(std::move(column));
  }
}

void FieldLineComposer::Compose(std::span<const std::string> values, std::string* text) const {
  text->clear();
  for (size_t i = 0; i < columns_.size(); ++i) {
    const Column& column = columns_[i];
    if (column.written) *text += column.heading;
    if (i >= values.size() || !column.written) continue;
    *text += gap_;
    *text += TrimBlanks(values[i]);
    *text += " ]\r\n";
  }
}

}  // namespace ks::text
