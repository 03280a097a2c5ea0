// FieldLines: the text form of an entry's fields, one line per field:
// name, field marker, blank, value, " ]", CR LF.  Composing them for a
// rebuilt entry and reading them back from the head of a document that an
// importer composed itself.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine/database.h"

namespace ks::engine {

// The field lines of `fields` (all with values) in the order given.
std::string ComposeFieldLines(const std::vector<FieldValue>& fields, char marker);

struct ParsedFieldLines {
  std::vector<FieldValue> fields;  // in the order found
  uint64_t end = 0;                // offset just past the last field line
};

// Reads the field lines at the start of `text`, stopping at the first line
// that is not one (CR LF or LF line ends; a name holds no marker and is not
// empty).  A later line of a name already seen also stops the reading.
ParsedFieldLines ParseFieldLines(std::string_view text, char marker);

// Orders fields for an entry's text: those named in `form_fields` first, in
// the form's order, then the others in their given order.
std::vector<FieldValue> OrderForForm(std::vector<FieldValue> fields,
                                     const std::vector<std::string>& form_fields);

}  // namespace ks::engine
