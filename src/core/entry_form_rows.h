// EntryFormRows: turns the rows of a record import (delimited, fixed width,
// database tables) into entries of an entry form, in the engine's two steps
// per row: make an empty entry of the form where the import places its
// documents (EngOp251), then write the row's values into its fields
// (EngOp249).
//
// Entries follow one another, and the documents of earlier files of the same
// import, in source order: each goes right after the last document the
// import made, and becomes the import's last document itself.
//
// Field names go to the engine as the settings give them ("Skip" included;
// only text mode leaves such columns out).  A column without a name cannot
// be stored under one and is left out, as is a value beyond the last column.
// A column the row has no value for is handed over without one, which leaves
// that field of the entry empty.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/import_context.h"
#include "ks_eng5.h"

namespace ks::core {

class EntryFormRows {
 public:
  enum class Outcome {
    kAdded,            // the entry was made and filled
    kNoPlace,          // the named document the import goes after does not exist
    kEntryNotCreated,  // the engine would not make an entry of the form
    kFieldsRefused,    // the entry was made but the engine refused its values
  };

  // `form` is the entry form's identifier; `marker` the field marker the
  // import uses.  `value_suffix` is appended to every value handed over: the
  // delimited import has always stored its values followed by a blank, the
  // fixed-width import as they stand.
  // The database and the import's location come from `context`, which
  // outlives the rows.
  EntryFormRows(ImportContext& context, uint64_t form, char marker, std::string_view value_suffix);

  // Makes one entry from a row: `names[i]` is the field of `values[i]`;
  // columns beyond `values` are handed over without a value.
  Outcome Add(std::span<const std::string> names, std::span<const std::string> values);

  uint64_t last_entry() const { return anchor_; }
  // The engine's error code for the last kEntryNotCreated or kFieldsRefused.
  uint32_t engine_error() const { return engine_error_; }

 private:
  // Where the first entry goes when the import has placed nothing yet.
  std::optional<uint64_t> FirstAnchor() const;

  ImportContext& context_;
  uint32_t database_;
  int32_t location_;
  std::string named_document_;  // location 3: the document to go after
  uint64_t form_;
  char marker_;
  std::string value_suffix_;
  uint64_t anchor_ = 0;               // the import's last document; entries go after it
  uint32_t engine_error_ = KSENG_OK;  // see engine_error()
  std::vector<KSENG_FIELD> records_;  // reused from row to row
  std::vector<std::string> values_;   // the values the records point into
};

}  // namespace ks::core
