// Schema: DDL of the current version and the list of upgrade steps.
#include "engine/schema.h"

#include <fmt/format.h>

#include "engine/engine_error.h"
#include "engine/sqlite_connection.h"

namespace ks::engine {
namespace {

// Version 1.  The documents table is keyed by the order key, so the rows lie
// in database order and adding a document at the end is one append to one
// b-tree (a separate order index cost as much again per document).  A
// document's stable id is the key it was first stored at; the few documents
// that re-spacing moved to another key are listed in `moved`.  Forms are not
// documents: they take ids above every document key.  The body is the last
// column: SQLite then writes a large zeroblob without building it in memory,
// and the final save of a big document fills it in place.
constexpr const char* kSchemaV1 = R"sql(
CREATE TABLE settings(
  key   TEXT PRIMARY KEY,
  value ANY
) WITHOUT ROWID;

CREATE TABLE documents(
  seq  INTEGER PRIMARY KEY,  -- order key: the walk is rowid order
  id   INTEGER NOT NULL,     -- stable identifier: the key the document was first stored at
  kind INTEGER NOT NULL,     -- KSENG_KIND_*
  body BLOB NOT NULL         -- the text, byte for byte
);
CREATE TABLE moved(
  id  INTEGER PRIMARY KEY,   -- a document whose order key is no longer its id
  seq INTEGER NOT NULL       -- its order key now
);
CREATE TABLE names(
  id   INTEGER PRIMARY KEY,  -- a named document
  name TEXT NOT NULL
);
CREATE INDEX names_by_name ON names(name);

CREATE TABLE forms(
  id   INTEGER PRIMARY KEY,  -- above every document key; walked in creation order
  name TEXT NOT NULL
);
CREATE INDEX forms_by_name ON forms(name);
CREATE TABLE form_fields(
  form_id  INTEGER NOT NULL,
  position INTEGER NOT NULL,  -- 0-based place in the form
  name     TEXT NOT NULL,
  PRIMARY KEY(form_id, position)
) WITHOUT ROWID;

CREATE TABLE entries(
  id          INTEGER PRIMARY KEY,  -- document id of the entry
  form_id     INTEGER NOT NULL,
  marker      INTEGER NOT NULL,     -- field marker byte of the entry's field lines
  free_offset INTEGER NOT NULL      -- where the free text starts in the body
);
CREATE TABLE entry_fields(
  entry_id INTEGER NOT NULL,
  name     TEXT NOT NULL,
  value    BLOB NOT NULL,
  position INTEGER NOT NULL,        -- order in which the field was first given
  PRIMARY KEY(entry_id, name)
) WITHOUT ROWID;

CREATE TABLE attachments(
  id     INTEGER PRIMARY KEY,
  doc_id INTEGER NOT NULL,
  idx    INTEGER NOT NULL,          -- 0-based, in the order stored
  name   TEXT NOT NULL,
  kind   INTEGER NOT NULL,
  data   BLOB NOT NULL,
  UNIQUE(doc_id, idx)
);

-- Full-text index by document id (in the dense form of fts_rowids.h),
-- without a copy of the text and without per-row token counts (results
-- come in database order, never ranked); filled in bulk at commit points
-- (see SearchIndex), never by trigger.
CREATE VIRTUAL TABLE fts USING fts5(body, content='', columnsize=0);
-- Terms are gathered in memory up to this many bytes before a segment is
-- written (the default is 1 MB).  A bulk import then writes a few large
-- segments instead of hundreds of small ones that must be merged again,
-- which more than halves the time its index takes; the memory is bounded.
INSERT INTO fts(fts, rank) VALUES('hashsize', 16777216);
-- Documents to index that the watermark does not cover: placed below it
-- since the last indexing, or changed after indexing (their old terms are
-- already out of fts).
CREATE TABLE fts_todo(
  id INTEGER PRIMARY KEY
);
)sql";

}  // namespace

void CreateSchema(Connection& connection) {
  connection.Exec(kSchemaV1);
  connection.Exec(fmt::format("PRAGMA application_id = {}; PRAGMA user_version = {};",
                              static_cast<int32_t>(kApplicationId), kSchemaVersion)
                      .c_str());
}

void UpgradeSchema(Connection& connection, uint32_t from_version) {
  if (from_version == 0) {
    // The application id is set together with the tables, so a file of ours
    // without a version never finished being created.
    throw EngineError(KSENG_ERR_NOT_DATABASE, "database was never completed");
  }
  if (from_version > kSchemaVersion) {
    throw EngineError(KSENG_ERR_VERSION, "database written by a newer engine");
  }
  // One step per version: step N takes a file from version N to N + 1 and
  // ends by writing user_version = N + 1.
  for (uint32_t version = from_version; version < kSchemaVersion; ++version) {
    switch (version) {
      case 1:
        // Version 2 keys the full-text index by a dense form of the ids
        // (fts_rowids.h).  The old index is emptied and the watermark set
        // back, so that the open which upgrades builds it again.
        connection.Exec(
            "INSERT INTO fts(fts) VALUES('delete-all');"
            "DELETE FROM fts_todo;"
            "UPDATE settings SET value = 0 WHERE key = 'fts_indexed_through';"
            "PRAGMA user_version = 2;");
        break;
      default:
        throw EngineError(KSENG_ERR_INTERNAL, "no upgrade step for this version");
    }
  }
}

}  // namespace ks::engine
