/*
 * ks_eng5.h - the Kestro database engine (libks_eng5.so).
 *
 * One database is one ".kst" file, an SQLite database marked as ours by its
 * application id and schema version.  It holds documents in a user-visible
 * order, named documents, entry forms and the entries made from them,
 * attachments, the database's field marker, an optional login group and
 * password (only a salted hash is stored), display settings, and a full-text
 * index over the document text.
 *
 * Conventions
 *  - Handles: a database handle is an unsigned 32-bit number, never 0 for an
 *    open database.  Document identifiers are unsigned 64-bit numbers, never 0
 *    for a document; they are stable for the life of the database and say
 *    nothing about order.  Order is the database's own (walk it with
 *    EngFirstDocument / EngNextDocument).
 *  - Strings are 8-bit, zero-terminated, UTF-8.  Document text is kept byte for
 *    byte as given (CR LF line ends stay CR LF).
 *  - Buffers: the caller owns every buffer it passes.  A function that fills a
 *    buffer says what happens when it is too small; it never writes past the
 *    size given.  Pointers the engine returns are never owned by the caller.
 *  - Failure: functions return 0 (or a non-positive identifier, or a status
 *    other than 1 and 6) and set the calling thread's last error, read with
 *    EngLastError(0).  Every other call sets it too: to KSENG_OK when it
 *    succeeds.  The engine never lets an exception out.
 *  - Threads: a database handle must be used by one thread at a time; several
 *    handles may be used from several threads at once.  EngLastError is kept
 *    per thread.
 *  - Durability: documents are added inside batched transactions, and every
 *    other change of a writable handle joins the open batch.  They are
 *    committed by EngEndAdd, by EngCloseDatabase, and whenever a batch fills;
 *    until then only the same handle sees them.  A process killed during an
 *    import leaves a database that opens, holds every committed document and
 *    no half-written one.
 *  - Protection is an access check, not encryption: a protected database is
 *    refused by EngOpenDatabase (error 4000) and opened by EngOpenDatabaseEx
 *    with the right login group and password, but the documents are plain
 *    text in the file for anyone who can read it, and deleting one row of
 *    the file's settings (the password hash) with any SQLite tool removes
 *    the check.  Keep a file whose contents must stay secret where only its
 *    owner can read it, or on an encrypted disk.
 *
 * The ordinal in each comment is the function's number in the engine's
 * ordinal table; it is documentation only, the functions are linked by name.
 * docs/engine.md describes the storage behind these calls.
 */
#ifndef KS_ENG5_H
#define KS_ENG5_H

#include <stdint.h>

#if defined(KSENG_BUILDING)
#define KSENG_API __attribute__((visibility("default")))
#else
#define KSENG_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Values ------------------------------------------------------------ */

/* Access modes of EngOpenDatabase / EngOpenDatabaseEx. */
#define KSENG_ACCESS_READ 1      /* read only: the file is never written */
#define KSENG_ACCESS_READWRITE 2 /* read and write */

/* Share modes: recorded with the handle; SQLite's own locking decides who
 * may write at a time. */
#define KSENG_SHARE_READ 1
#define KSENG_SHARE_READWRITE 2

/* Document kinds. */
#define KSENG_KIND_TEXT 1     /* plain text document */
#define KSENG_KIND_FORM 2     /* entry form (EngFindDocument kind 2) */
#define KSENG_KIND_ENTRY 3    /* entry made from a form (EngOp251) */
#define KSENG_KIND_RICHTEXT 4 /* rich text document */

/* Walk filters of EngFirstDocument / EngNextDocument / EngCountDocuments. */
#define KSENG_WALK_DOCUMENTS 1 /* text, rich text and entries, in order */
#define KSENG_WALK_FORMS 2     /* entry forms, in order of creation */

/* Import locations: where EngAddDocument* / EngOp251 / EngCopyDocument put a
 * new document.  The anchor argument of those calls names the document that
 * the previous call of the same import returned; when it is non-zero the new
 * document goes right after it (for KSENG_LOC_END_OF_CURRENT: its text is
 * appended to that document), so that one import keeps its documents
 * together and in source order.  Any other code means end of database. */
#define KSENG_LOC_END 1           /* end of the database */
#define KSENG_LOC_AFTER_CURRENT 2 /* after the current document (end if none) */
/* after the named document given by anchor, or by EngSaveDocument's name */
#define KSENG_LOC_AFTER_NAMED 3
#define KSENG_LOC_END_OF_CURRENT 4 /* appended to the current document's text */
#define KSENG_LOC_TOP 6            /* top of the database */

/* Status of the adding calls. */
#define KSENG_STATUS_TAKEN 1
#define KSENG_STATUS_SAVE_FIRST 6 /* taken; call EngSaveDocument before more */

/* Field record type word and attachment kind. */
#define KSENG_FIELD_FLAGS 0x20000001u
#define KSENG_ATTACH_FILE 16u

/* Error codes read with EngLastError(0). */
#define KSENG_OK 0
#define KSENG_ERR_NOT_FOUND 1    /* file does not exist */
#define KSENG_ERR_ACCESS 2       /* file cannot be read (or written) */
#define KSENG_ERR_NOT_DATABASE 3 /* not an SQLite file, or damaged */
#define KSENG_ERR_FOREIGN 4      /* an SQLite file that is not ours */
#define KSENG_ERR_VERSION 5      /* ours, but a newer schema version */
#define KSENG_ERR_EXISTS 6       /* EngCreateDatabase on an existing file */
#define KSENG_ERR_ARGUMENT 7     /* null or invalid argument */
#define KSENG_ERR_IO 8           /* I/O error while reading or writing */
#define KSENG_ERR_BUSY 9         /* another process holds the write lock */
#define KSENG_ERR_READONLY 10    /* write on a handle opened for reading */
#define KSENG_ERR_HANDLE 11      /* unknown database handle */
#define KSENG_ERR_NO_DOCUMENT 12 /* no document with that identifier */
#define KSENG_ERR_MEMORY 13      /* out of memory */
#define KSENG_ERR_QUERY 14       /* full-text query does not parse */
#define KSENG_ERR_BUFFER 15      /* buffer too small */
#define KSENG_ERR_STATE 16       /* call out of order (e.g. save, nothing added) */
#define KSENG_ERR_INTERNAL 17    /* unexpected engine failure */
/* a read-only open found the journal of an interrupted write and may not roll
 * it back (read-only file system, no permission): open the database once for
 * writing, as its owner */
#define KSENG_ERR_INTERRUPTED 18
#define KSENG_ERR_FULL 19 /* the disk or the file size limit is full */
#define KSENG_ERR_PASSWORD_REQUIRED 4000
#define KSENG_ERR_PASSWORD_WRONG 4001

/* ---- Records passed to the engine -------------------------------------- */

/* One field of an entry (EngOp249, EngAddDocumentWithFormEx).  On the original
 * 32-bit platform this record was 268 bytes with a movable memory handle at
 * offset 264; here the handle is replaced by a plain pointer to the value, so
 * the record is 272 bytes on LP64:
 *   offset 0   name[256]  field name, NUL-terminated
 *   offset 256 flags      KSENG_FIELD_FLAGS
 *   offset 260 count      1
 *   offset 264 value      NUL-terminated value owned by the caller, or NULL
 *                         when the row has no value for this field
 * The engine copies what it needs before returning. */
typedef struct KSENG_FIELD {
  char name[256];
  uint32_t flags;
  uint32_t count;
  const char* value;
} KSENG_FIELD;

/* One attachment stored with a document.  The engine copies name and data. */
typedef struct KSENG_ATTACHMENT {
  const char* name;  /* file name shown for the attachment */
  uint32_t kind;     /* KSENG_ATTACH_FILE, or another caller-defined kind */
  uint32_t reserved; /* 0 */
  const void* data;  /* content bytes; may be NULL when size is 0 */
  uint64_t size;     /* content length in bytes */
} KSENG_ATTACHMENT;

/* ---- Databases --------------------------------------------------------- */

/* 162: creates a new, empty database file.  login_group and password may be
 * NULL or "" for an unprotected database; a protected one needs both.  flags:
 * 0, or 1 to replace an existing file.  Returns non-zero on success; fails
 * with KSENG_ERR_EXISTS when the file exists and flags is 0. */
KSENG_API int32_t EngCreateDatabase(const char* path, const char* login_group, const char* password,
                                    uint32_t flags);

/* 1: opens a database.  Returns its handle, or 0 (see EngLastError; 4000 when
 * the database is protected).  A path that names a folder is
 * KSENG_ERR_NOT_DATABASE.  Opening with KSENG_ACCESS_READ never writes the
 * file, and a failed open changes nothing on disk, with one exception: a
 * writer killed in the middle of a commit leaves a journal ("<path>-journal")
 * that must be rolled back before the file can be read.  Every open rolls
 * it back, a read-only one on a writable connection of its own that it closes
 * at once; rolling back restores the last committed state and changes nothing
 * that was committed.  When the file or its folder cannot be written
 * (read-only file system, no permission), a read-only open fails with
 * KSENG_ERR_INTERRUPTED and leaves everything as it is: the database must be
 * opened once for writing, by its owner. */
KSENG_API uint32_t EngOpenDatabase(const char* path, int32_t access_mode, int32_t share_mode);

/* 156: opens a database with credentials.  For an unprotected database the
 * credentials are ignored.  Wrong credentials fail with 4001. */
KSENG_API uint32_t EngOpenDatabaseEx(const char* path, int32_t access_mode, int32_t share_mode,
                                     const char* password, const char* login_group);

/* 2: commits what is pending and closes the handle.  Returns non-zero when the
 * handle was open and everything was committed. */
KSENG_API int32_t EngCloseDatabase(uint32_t db);

/* 19: the calling thread's last error (argument must be 0). */
KSENG_API uint32_t EngLastError(uint32_t zero);

/* 246: copies the database's full path.  Returns non-zero when it fitted
 * (path plus terminator strictly shorter than size), else 0 with
 * KSENG_ERR_BUFFER and the buffer untouched. */
KSENG_API int32_t EngGetDatabaseName(uint32_t db, char* buffer, uint32_t size);

/* Sets the database's field marker (a printable byte; "[" in a new database).
 * Returns non-zero on success. */
KSENG_API int32_t EngSetFieldMarker(uint32_t db, char marker);

/* ---- Adding documents -------------------------------------------------- */

/* 29: starts a run of additions.  Returns non-zero when the handle is open for
 * writing; *marker receives the database's field marker. */
KSENG_API int32_t EngBeginAdd(uint32_t db, char* marker);

/* 15: identifier of the first document, in database order, whose name is
 * `name`: kind 1 looks among named documents, kind 2 among entry forms.
 * Returns 0 when there is none, -1 on error. */
KSENG_API int64_t EngFindDocument(uint32_t db, int32_t kind, const char* name);

/* 124: ends a run of additions: commits every document added so far and
 * brings the full-text index up to date.  kind and id name the last document
 * or form the caller worked with (0 for none); a non-zero id must exist, else
 * the call fails before committing anything.  marker is the byte EngBeginAdd
 * gave.  *added (may be NULL) receives the number of documents made since
 * EngBeginAdd (or the previous EngEndAdd), all committed when this returns
 * (text appended to an existing document makes no new document).  A document
 * still being added stays pending and is not committed.  When the commit
 * fails (KSENG_ERR_FULL when the disk or the file size limit is full), every
 * document not committed before is lost, as after any failed write that
 * rolls the batch back, and EngCountDocuments counts what the file holds. */
KSENG_API int32_t EngEndAdd(uint32_t db, int32_t kind, uint64_t id, char marker, uint32_t* added);

/* 17: hands a piece of a new document's text to the engine.  The first piece
 * of a document fixes its kind (KSENG_KIND_TEXT or KSENG_KIND_RICHTEXT),
 * location and anchor and its attachments; later pieces before
 * EngSaveDocument(final = 1) only add text (their other arguments are
 * ignored).  length 0 means strlen(text).  one must be 1.
 * Returns KSENG_STATUS_TAKEN, or KSENG_STATUS_SAVE_FIRST when the piece was
 * taken and the engine wants EngSaveDocument called before more text; any
 * other value is a failure and the pending document is dropped. */
KSENG_API int32_t EngAddDocument(uint32_t db, const char* text, int32_t one, uint32_t length,
                                 int32_t kind, int32_t location, uint64_t anchor,
                                 const KSENG_ATTACHMENT* attachments, uint32_t attachment_count);

/* 74: as EngAddDocument, for an entry made from the form `form` (an id from
 * EngFindDocument kind 2; 0 makes a plain document).  The entry's fields are
 * read from the field lines at the start of its text.  flags and reserved
 * must be 0. */
KSENG_API int32_t EngAddDocumentWithForm(uint32_t db, const char* text, int32_t one,
                                         uint32_t length, int32_t kind, int32_t location,
                                         uint64_t anchor, uint64_t form,
                                         const KSENG_ATTACHMENT* attachments,
                                         uint32_t attachment_count, uint32_t flags,
                                         uint32_t reserved);

/* 280: as EngAddDocumentWithForm, with field values for the entry.  The text
 * (may be empty) follows the field lines, which are written as EngOp249
 * writes them (fields with a NULL value are left out). */
KSENG_API int32_t EngAddDocumentWithFormEx(uint32_t db, const char* text, int32_t one,
                                           uint32_t length, int32_t kind, int32_t location,
                                           uint64_t anchor, uint64_t form,
                                           const KSENG_ATTACHMENT* attachments,
                                           uint32_t attachment_count, const KSENG_FIELD* fields,
                                           uint32_t field_count, uint32_t flags, uint32_t reserved,
                                           uint32_t reserved2);

/* 57: saves the pending document.  With final = 0 the text so far is moved
 * out of memory and more pieces may follow (returns 1, or 6 when called while
 * more is still to be flushed); with final = 1 the document is made: it takes
 * its place, *new_id (may be NULL) receives its identifier, and it becomes the
 * handle's last saved document.  name: with location KSENG_LOC_AFTER_NAMED and
 * anchor 0, the named document to go after (NULL otherwise).  text: an
 * optional last piece (NULL or "" for none).  A document is never visible in
 * part: until the final save nothing of it is in the database. */
KSENG_API int32_t EngSaveDocument(uint32_t db, const char* name, const char* text, int32_t final,
                                  uint64_t* new_id);

/* Drops the pending document, if any: nothing of it reaches the database.
 * For an import that stops in the middle of a document.  Returns non-zero
 * when the handle is open (whether or not a document was pending). */
KSENG_API int32_t EngCancelDocument(uint32_t db);

/* 130: attaches the entry form named `form_name` to the last saved document,
 * making it an entry of that form; the field lines at the start of its text
 * become the entry's fields and the text stays as it is.  Returns non-zero on
 * success (KSENG_ERR_STATE when nothing was saved on this handle). */
KSENG_API int32_t EngAttachForm(uint32_t db, const char* form_name);

/* ---- Entry forms and entries ------------------------------------------ */

/* Creates an entry form named `name` with field_count field names (names of 1
 * to 255 bytes, all different).  Returns its identifier, 0 on failure (a form
 * of that name exists already: KSENG_ERR_EXISTS). */
KSENG_API uint64_t EngCreateForm(uint32_t db, const char* name, const char* const* field_names,
                                 uint32_t field_count);

/* 251: creates a new, empty entry of the form `form` at `location` (after
 * `anchor` when non-zero; KSENG_LOC_END_OF_CURRENT puts it after the current
 * document, an empty entry having nothing to append).  *entry receives its
 * identifier.  marker is the field marker the caller uses (0 for the
 * database's); text, if not NULL or empty, is kept as the entry's free text
 * below its fields.  Returns non-zero on success. */
KSENG_API int32_t EngOp251(uint32_t db, uint64_t form, uint64_t* entry, char marker,
                           const char* text, int32_t location, uint64_t anchor);

/* 249: writes `count` field records into the entry whose identifier is
 * (high << 32 | low).  one must be 1.  A field of the same name is replaced;
 * a record with a NULL value clears that field.  The entry's text is rebuilt:
 * one line "name<marker> value ]" CR LF per field in the form's order (fields
 * not in the form follow in the order first given), then the free text. */
KSENG_API int32_t EngOp249(uint32_t db, uint32_t entry_low, uint32_t entry_high, int32_t one,
                           uint32_t count, const KSENG_FIELD* fields);

/* Number of fields of a form, or of fields holding a value in an entry (0 for
 * other documents). */
KSENG_API uint32_t EngGetFieldCount(uint32_t db, uint64_t id);

/* Field `index` of a form or entry, in the order of the entry's text: name
 * (and, for entries, value) copied into the buffers (either may be NULL).
 * Returns 1, or 0 when the index is out of range (KSENG_ERR_ARGUMENT) or a
 * buffer is too small (KSENG_ERR_BUFFER; neither buffer is written). */
KSENG_API int32_t EngGetField(uint32_t db, uint64_t id, uint32_t index, char* name,
                              uint32_t name_size, char* value, uint32_t value_size);

/* The form an entry was made from, 0 for anything else. */
KSENG_API uint64_t EngGetEntryForm(uint32_t db, uint64_t entry);

/* ---- Reading and walking ---------------------------------------------- */

/* 10: first document of the walk `filter` (KSENG_WALK_*), 0 when none. */
KSENG_API uint64_t EngFirstDocument(uint32_t db, int32_t filter);

/* 12: the document after `current` in the walk `filter`, 0 at the end. */
KSENG_API uint64_t EngNextDocument(uint32_t db, uint64_t current, int32_t filter);

/* Number of documents in the walk `filter`. */
KSENG_API uint64_t EngCountDocuments(uint32_t db, int32_t filter);

/* Kind of a document or form (KSENG_KIND_*), 0 when there is none
 * (KSENG_ERR_NO_DOCUMENT). */
KSENG_API int32_t EngGetDocumentKind(uint32_t db, uint64_t id);

/* Copies a document's text.  *length (may be NULL) receives the text's length
 * in bytes.  Returns 1 when the text and a terminator fitted in size bytes;
 * 0 otherwise (KSENG_ERR_BUFFER when only the buffer was too small: call
 * again with *length + 1).  buffer may be NULL with size 0 to ask the length. */
KSENG_API int32_t EngGetDocumentText(uint32_t db, uint64_t id, char* buffer, uint64_t size,
                                     uint64_t* length);

/* Name of a document or form ("" when it has none).  Returns 1 when it fitted
 * with its terminator, else 0. */
KSENG_API int32_t EngGetDocumentName(uint32_t db, uint64_t id, char* buffer, uint32_t size);

/* Gives a document a name (NULL or "" removes it), or renames a form (which
 * keeps a name).  Names need not be unique; EngFindDocument finds the first in
 * database order. */
KSENG_API int32_t EngSetDocumentName(uint32_t db, uint64_t id, const char* name);

/* The handle's current document (locations 2 and 4).  It starts as 0 (none).
 * Setting an identifier that does not exist fails. */
KSENG_API int32_t EngSetCurrentDocument(uint32_t db, uint64_t id);
KSENG_API uint64_t EngGetCurrentDocument(uint32_t db);

/* Attachments of a document, in the order they were stored. */
KSENG_API uint32_t EngGetAttachmentCount(uint32_t db, uint64_t id);

/* Name, kind and size of attachment `index`.  name may be NULL.  Returns 1,
 * or 0 when there is no such attachment or the name did not fit. */
KSENG_API int32_t EngGetAttachmentInfo(uint32_t db, uint64_t id, uint32_t index, char* name,
                                       uint32_t name_size, uint32_t* kind, uint64_t* size);

/* Copies attachment `index`'s content; size must be at least its size.
 * Returns 1 on success. */
KSENG_API int32_t EngReadAttachment(uint32_t db, uint64_t id, uint32_t index, void* buffer,
                                    uint64_t size);

/* Full-text search over document text (FTS5 query syntax).  Fills up to
 * capacity identifiers of matching documents in database order and returns
 * the number of matches (which may exceed capacity); -1 on error
 * (KSENG_ERR_QUERY for a query that does not parse).  ids may be NULL with
 * capacity 0 to count.  Documents not indexed yet are found too; on a
 * writable handle the search indexes them first, inside the open batch. */
KSENG_API int64_t EngSearch(uint32_t db, const char* query, uint64_t* ids, uint32_t capacity);

/* ---- Copying between databases ---------------------------------------- */

/* 250: prepares copying from source to target: entry forms of the source
 * missing in the target (by name) are created there.  Returns non-zero. */
KSENG_API int32_t EngPrepareCopy(uint32_t source, uint32_t target);

/* 147: copies document `id` of source (text, kind, name, attachments, and for
 * entries their fields and form) into target at `location`, after *position
 * when it is non-zero.  *position receives the new document's identifier.
 * one must be 1.  Returns non-zero on success. */
KSENG_API int32_t EngCopyDocument(uint32_t source, uint64_t id, int32_t one, uint32_t target,
                                  uint64_t* position, int32_t location);

/* ---- Display settings ------------------------------------------------- */
/* Per-database settings read to start a rich-text document that looks like
 * the database's own.  Each returns non-zero when the value was delivered.
 * String getters copy with a terminator and fail when it does not fit.
 * Defaults of a new database are given with each. */
KSENG_API int32_t EngOp25(uint32_t db, char* font,
                          uint32_t size); /* body font name: "Times New Roman" */
KSENG_API int32_t EngOp27(uint32_t db, int32_t* half_points); /* body font size: 24 (12 pt) */
KSENG_API int32_t EngOp31(uint32_t db, uint32_t* rgb);        /* text colour: 0x000000 */
KSENG_API int32_t EngOp39(uint32_t db, uint64_t id, char* name,
                          uint32_t size);                /* name of a form or document */
KSENG_API int32_t EngOp48(uint32_t db, uint32_t* rgb);   /* background colour: 0xFFFFFF */
KSENG_API int32_t EngOp93(uint32_t db, int32_t* twips);  /* left margin: 1440 */
KSENG_API int32_t EngOp97(uint32_t db, int32_t* twips);  /* right margin: 1440 */
KSENG_API int32_t EngOp99(uint32_t db, int32_t* twips);  /* top margin: 1440 */
KSENG_API int32_t EngOp101(uint32_t db, int32_t* twips); /* bottom margin: 1440 */
KSENG_API int32_t EngOp102(uint32_t db, int32_t* twips); /* default tab width: 720 */
KSENG_API int32_t EngOp105(uint32_t db, int32_t* twips); /* space before a paragraph: 0 */
KSENG_API int32_t EngOp108(uint32_t db, int32_t* twips); /* space after a paragraph: 0 */
KSENG_API int32_t EngOp113(uint32_t db, int32_t* twips); /* line spacing (0 = single): 0 */
KSENG_API int32_t EngOp114(uint32_t db, uint32_t* rgb);  /* field name colour: 0x000080 */
KSENG_API int32_t EngOp157(uint32_t db, uint32_t* rgb);  /* field value colour: 0x000000 */
KSENG_API int32_t EngOp178(uint32_t db, char* font, uint32_t size); /* field name font: "Arial" */
KSENG_API int32_t EngOp180(uint32_t db, int32_t* half_points);      /* field name font size: 20 */
KSENG_API int32_t EngOp182(uint32_t db, int32_t* bold);             /* field names bold: 1 */
KSENG_API int32_t EngOp192(uint32_t db, char* style,
                           uint32_t size);                  /* paragraph style name: "Normal" */
KSENG_API int32_t EngOp232(uint32_t db, uint32_t* rgb);     /* hyperlink colour: 0x0000FF */
KSENG_API int32_t EngOp236(uint32_t db, int32_t* codepage); /* code page of rich text: 1252 */
KSENG_API int32_t EngOp244(uint32_t db, int32_t* language); /* language id: 1033 */
KSENG_API int32_t EngOp253(uint32_t db, int32_t* twips);    /* page width: 12240 */

#ifdef __cplusplus
}
#endif

#endif /* KS_ENG5_H */
