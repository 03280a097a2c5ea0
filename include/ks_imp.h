/*
 * ks_imp.h - the Kestro import library (libks_imp.so).
 *
 * The library reads files written by other software and adds their contents
 * to an open Kestro database (see ks_eng5.h) as documents.  A host obtains an
 * import handle for a database, queues sources, runs the import, polls
 * progress from another thread while it runs, and finally reads the error
 * code, its text and the import log.
 *
 * Conventions
 *  - Handles: an import handle is an unsigned 32-bit number, random, never 0,
 *    unique among live imports.  It lives from KSIMP_InitImport... to the end
 *    of KSIMP_Import; afterwards every query on it answers as for an unknown
 *    handle (the error list and the log are kept apart and still answer).
 *    A database handle is the engine's handle (ks_eng5.h).
 *  - Results are unsigned 32-bit.  Failure is a 0 result plus an error code
 *    recorded against the import handle (handle 0 for failures before a handle
 *    exists); read it with KSIMP_GetLastImportError.  The codes are the
 *    KSIMP_ERR_ values below and double as identifiers of their message texts.
 *  - Strings are 8-bit and zero-terminated.  The library copies every string
 *    it is given before the call returns; the caller keeps ownership.
 *  - Buffers: the caller owns every buffer it passes.  Each function that
 *    fills a buffer says how it treats the size.
 *  - Exceptions never leave the library; an internal failure returns 0.
 *  - Threads: KSIMP_Import runs the whole import on the calling thread.  While
 *    it runs, another thread may call KSIMP_GetTotalBytes, KSIMP_GetCurBytes,
 *    KSIMP_GetNumDocsAdded, KSIMP_GetCurFile and KSIMP_Abort; they return at
 *    once with a snapshot and never wait for the import.  Every other call
 *    belongs to the host's importing thread; read the error list and the log
 *    after KSIMP_Import has returned.
 *  - Windows: parent windows are the host's opaque window pointers.  This
 *    build has no windowing toolkit: the dialogs and the wizard keep their
 *    argument checks and otherwise report that no dialog is available.
 *  - The in-process component entry points (DllGetClassObject,
 *    DllCanUnloadNow, DllRegisterServer) and the CKSFonts font helpers are not
 *    built on Linux.
 */
#ifndef KS_IMP_H
#define KS_IMP_H

#include <stdint.h>

#if defined(KSIMP_BUILDING)
#define KSIMP_API __attribute__((visibility("default")))
#else
#define KSIMP_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Error codes (each is also the identifier of its message text) ----- */

#define KSIMP_ERR_NO_FILE_SETS 90u        /* no file sets to import */
#define KSIMP_ERR_NO_FILENAME 91u         /* no database file name given */
#define KSIMP_ERR_OPEN_DATABASE 92u       /* database could not be opened */
#define KSIMP_ERR_BAD_DATABASE_HANDLE 93u /* database handle 0 */
#define KSIMP_ERR_NO_PARENT_WINDOW 94u    /* a dialog needs a parent window */
#define KSIMP_ERR_NO_IMPORT_FILE 95u      /* empty name given to queue */
#define KSIMP_ERR_SET_PARAMETERS 97u      /* import parameters refused */
#define KSIMP_ERR_SAVE_DOCUMENT 98u       /* a document could not be saved */
#define KSIMP_ERR_NONE 11000u             /* no error */
#define KSIMP_ERR_INTERNAL 11001u         /* internal error; also "no error recorded" */
#define KSIMP_ERR_NO_SUCH_HANDLE 11002u   /* missing result pointer of a dialog */
#define KSIMP_ERR_UNSPECIFIED 11004u      /* unspecified file error */
#define KSIMP_ERR_QUEUE 11005u            /* a source could not be queued */
#define KSIMP_ERR_END_OF_FILE 11019u      /* a source ends before what it says it holds */
#define KSIMP_ERR_WRONG_FILE_TYPE 11020u  /* file does not match its file type */
#define KSIMP_ERR_ENGINE 11021u           /* engine error */
#define KSIMP_ERR_OPEN_FILE 11024u        /* a source file could not be opened */
#define KSIMP_ERR_UNKNOWN_CHARSET 11030u  /* no character set of that name */
#define KSIMP_ERR_UNSUPPORTED_TYPE 12003u /* file of an unsupported type */
/* IMAP servers (KSIMP_TYPE_IMAP_SERVER, IMAP profiles); the log names the
 * server and gives libcurl's or the server's own words. */
#define KSIMP_ERR_IMAP_CONNECT 14600u         /* no connection: refused, unknown host, firewall */
#define KSIMP_ERR_IMAP_LOGIN 14601u           /* user name or password refused */
#define KSIMP_ERR_IMAP_TIMEOUT 14602u         /* no answer in time */
#define KSIMP_ERR_IMAP_CONNECTION_LOST 14603u /* the connection ended in the middle */
#define KSIMP_ERR_IMAP_CERTIFICATE 14604u     /* the server's certificate is not trusted */
#define KSIMP_ERR_IMAP_NO_TLS 14605u          /* no STARTTLS offered */
#define KSIMP_ERR_IMAP_MAILBOX 14606u         /* the mailbox cannot be opened */
#define KSIMP_ERR_IMAP_BAD_REPLY 14607u       /* a reply that cannot be read */

/* Results of KSIMP_GetLogData. */
#define KSIMP_LOG_NONE 0u      /* no log text for the handle */
#define KSIMP_LOG_COPIED 1u    /* texts copied, one entry removed */
#define KSIMP_LOG_TOO_SMALL 3u /* buffer too small, nothing removed */

/* ---- File types (argument 3 of KSIMP_AddFileToImport) ----------------- */
/* Offered to the user (KSIMP_GetFileTypeInfo lists them with their texts): */
#define KSIMP_TYPE_TEXT 1000            /* plain text, cut by the document delimiter */
#define KSIMP_TYPE_KESTRO_DOS 1002      /* the DOS export text */
#define KSIMP_TYPE_KESTRO 1010          /* another Kestro database */
#define KSIMP_TYPE_EUDORA 1005          /* Eudora mailbox */
#define KSIMP_TYPE_MBX 1060             /* standard (MBX) mailbox */
#define KSIMP_TYPE_DELIMITED 1004       /* delimited text (CSV) */
#define KSIMP_TYPE_HTML 108             /* HTML, kept as its markup */
#define KSIMP_TYPE_WORD 1056            /* Word document */
#define KSIMP_TYPE_WORDPERFECT 1057     /* WordPerfect document */
#define KSIMP_TYPE_RTF 19               /* rich text, one document per file */
#define KSIMP_TYPE_VISUAL_FOXPRO 1114   /* dBase/FoxPro tables (Visual FoxPro driver) */
#define KSIMP_TYPE_FOXPRO 1109          /* offered with a plain FoxPro driver; no importer */
#define KSIMP_TYPE_PDF 1058             /* PDF */
#define KSIMP_TYPE_OUTLOOK_EXPRESS 1059 /* Outlook Express folder */
#define KSIMP_TYPE_ANY_FILE 1061        /* any file, as a link or attachment */
/* Reached by number only: */
#define KSIMP_TYPE_FIXED_WIDTH 9999    /* fixed-width text (the delimited wizard's other half) */
#define KSIMP_TYPE_WFW 7               /* Word for Windows 2.0, 6.0/95 (and any Word file) */
#define KSIMP_TYPE_EXCEL 21            /* Excel table */
#define KSIMP_TYPE_PARADOX 703         /* Paradox table */
#define KSIMP_TYPE_DBASE 770           /* dBase table */
#define KSIMP_TYPE_ACCESS 771          /* Access table */
#define KSIMP_TYPE_ACCEPTED_1003 1003  /* accepted without an importer: counts as imported */
#define KSIMP_TYPE_ACCEPTED_1007 1007  /* accepted without an importer: counts as imported */
#define KSIMP_TYPE_OUTLOOK_FOLDER 1008 /* Outlook .pst/.ost file; queued size is its item count */
#define KSIMP_TYPE_WIN_THREE 1009      /* Windows 3.x Write (.wri) */
#define KSIMP_TYPE_IMAP_SERVER 1062    /* queued size is a message count */
/* Imported as another type: */
#define KSIMP_TYPE_DBASE_ALIAS 1099   /* as KSIMP_TYPE_DBASE */
#define KSIMP_TYPE_EXCEL_ALIAS 1219   /* as KSIMP_TYPE_EXCEL */
#define KSIMP_TYPE_PARADOX_ALIAS 1300 /* as KSIMP_TYPE_PARADOX */
/* Added by this library: */
#define KSIMP_TYPE_ODBC 2000 /* any ODBC data source: the name is a connection
                              * string, or a table settings string */
#define KSIMP_TYPE_MAILDIR 1200 /* a Maildir folder (cur/, new/ and its Maildir++
                                 * sub-folders ".Name"): the name is the folder;
                                 * one document per message, in delivery order;
                                 * the queued size is the bytes of its messages */
#define KSIMP_TYPE_EML 1201     /* one mail message in a file of its own (.eml) */

/* ---- Import locations (argument 4 of KSIMP_AddFileToImport) ------------ */
#define KSIMP_LOC_END 1            /* end of the database */
#define KSIMP_LOC_AFTER_CURRENT 2  /* after the current document */
#define KSIMP_LOC_AFTER_NAMED 3    /* after the named document (argument 8) */
#define KSIMP_LOC_END_OF_CURRENT 4 /* at the end of the current document */
#define KSIMP_LOC_TOP 6            /* top of the database */

/* ---- Document delimiters (argument 9: bits) ---------------------------- */
#define KSIMP_DELIM_NONE 0          /* the whole source is one document */
#define KSIMP_DELIM_BLANK_LINE 1    /* a blank line ends a document */
#define KSIMP_DELIM_PAGE_BREAK 2    /* a form feed ends a document */
#define KSIMP_DELIM_EVERY_N_LINES 4 /* every N lines (argument 10) */
#define KSIMP_DELIM_STRING 8        /* a line holding the string (argument 11) */

/* ---- Starting an import ---------------------------------------------- */

/* Opens the database at `path` for reading and writing and returns a new
 * import handle for it; the database is closed again when KSIMP_Import ends.
 * A protected database is opened through the password prompt (see
 * "Protected databases").  Returns 0 and records 91 (NULL path) or 92 (the
 * engine could not open the file, or the prompt was cancelled) against
 * handle 0; EngLastError(0) on the same thread then says why. */
KSIMP_API uint32_t KSIMP_InitImportUsingFileName(const char* path);

/* Returns a new import handle for a database the host has open; the database
 * stays open after the import.  Returns 0 and records 93 against handle 0
 * when `database` is 0. */
KSIMP_API uint32_t KSIMP_InitImportUsingFileHandle(uint32_t database);

/* ---- Queuing sources --------------------------------------------------- */

/* Queues one source (or several names separated by "|"; blanks after a bar
 * are dropped) for the import handle.  Returns 1 when queued, else 0 with:
 *   95    `file_name` is NULL or empty;
 *   11005 the handle is unknown;
 *   14600-14607 an IMAP server (KSIMP_TYPE_IMAP_SERVER) could not be read.
 * The handle's total bytes grow by the source's size: the file length of
 * each name (a file that cannot be examined counts 0 and its cause is added
 * to the log; it is queued anyway, and the import reports it), or for an
 * Outlook file (KSIMP_TYPE_OUTLOOK_FOLDER) the number of items of the folder
 * it names (2000 when the file or folder cannot be read), or the messages of
 * an IMAP mailbox (see "IMAP servers" below).  NULL strings are kept as
 * empty strings.
 *
 * Arguments, in order:
 *  1 handle                import handle
 *  2 file_name             source path(s), "|"-separated
 *  3 file_type             selects the importer: a KSIMP_TYPE_ value
 *  4 import_location       where new documents go: a KSIMP_LOC_ value
 *                          (KSIMP_LOC_AFTER_NAMED goes after the document
 *                          named by argument 8); the dialogs pass
 *                          KSIMP_LOC_END
 *  5 use_entry_form        non-zero: documents are made from the entry form
 *                          named by argument 6
 *  6 entry_form_name       kept only when argument 5 is non-zero
 *  7 use_named_document    non-zero: argument 8 is kept
 *  8 named_document        the document that location 3 places after
 *  9 delimiter_flags       document delimiter: KSIMP_DELIM_ bits, or
 *                          KSIMP_DELIM_NONE (the whole source is one document)
 * 10 delimiter_lines       the N of "every N lines"
 * 11 delimiter_string      the string of delimiter bit 8
 * 12 file_origin_ansi      non-zero: source is ANSI (Windows); 0: OEM (DOS);
 *                          see "Character sets of text sources" below
 * 13 auto_field_recognition  Yes/No flag
 * 14 date_from             date range: from.  Delimited (1004) and fixed-width
 *                          (9999) text have no dated items; with argument 16
 *                          set it says where their column settings are:
 *                          text holding a line break is the column header
 *                          string itself (KEY=VALUE lines: T, N, NA1..,
 *                          P1.., L1.., D, TQ, TC, S); other text is the path
 *                          of a ".ksi" settings file; "" or NULL means the
 *                          settings file beside the source (its path with the
 *                          extension replaced by ".ksi": orders.csv ->
 *                          orders.ksi)
 * 15 sort_order            0 ascending, 1 descending
 * 16 use_stored_settings   Yes/No: read stored settings.  For 1004 and 9999:
 *                          without it each row of the source is imported as
 *                          a document of its own text; with it the columns
 *                          become fields (see argument 14).  A settings file
 *                          that cannot be read, or settings that do not
 *                          validate (message 13000-13012), are written to the
 *                          log and the lines are imported as text (delimited)
 *                          or not at all (fixed-width)
 * 17 date_to               date range: to
 * 18 full_header           Yes/No: keep the full header of mail messages
 * 19 message_date_from     message date range: from ("MM/DD/YYYY"; mail
 *                          sources take a message whose Date line falls on
 *                          or between the two days, and every message whose
 *                          date cannot be read)
 * 20 save_attachments      Yes/No
 * 21 message_date_to       message date range: to
 * 22 filter_name           name of an external text filter, or empty
 * 23 delete_after_import   1: delete the file after a successful import when
 *                          it lies in the library's temporary import folder
 *                          ($TMPDIR, else /tmp, followed by "/KSTmpImp/")
 * 24 import_attachments    Yes/No: mail sources import their attachments
 *                          into the message's document text
 * 25 imap_server           IMAP server name
 * 26 imap_user             IMAP user name
 * 27 imap_password         IMAP password
 * 28 imap_mailbox          IMAP mailbox; for KSIMP_TYPE_OUTLOOK_FOLDER the
 *                          folder of the .pst/.ost file to import, by its
 *                          path below the top of the personal folders
 *                          ("Inbox/Projects"), or "" for every folder
 * 29 firewall_server       firewall host name or address
 * 30 firewall_user         firewall user name
 * 31 firewall_password     firewall password
 * 32 firewall_type         firewall type (0 none)
 * 33 imap_port             IMAP port; only the low 16 bits are used
 */
KSIMP_API uint32_t KSIMP_AddFileToImport(
    uint32_t handle, const char* file_name, int32_t file_type, int32_t import_location,
    int32_t use_entry_form, const char* entry_form_name, int32_t use_named_document,
    const char* named_document, int32_t delimiter_flags, int32_t delimiter_lines,
    const char* delimiter_string, int32_t file_origin_ansi, int32_t auto_field_recognition,
    const char* date_from, int32_t sort_order, int32_t use_stored_settings, const char* date_to,
    int32_t full_header, const char* message_date_from, int32_t save_attachments,
    const char* message_date_to, const char* filter_name, int32_t delete_after_import,
    int32_t import_attachments, const char* imap_server, const char* imap_user, const char* imap_password,
    const char* imap_mailbox, const char* firewall_server, const char* firewall_user,
    const char* firewall_password, int32_t firewall_type, int32_t imap_port);

/* ---- Character sets of text sources ----------------------------------- */
/* The database holds text in UTF-8, always valid.  Every text source (plain
 * text, HTML, rich text, delimited, fixed-width, the DOS export text; mail
 * reads the character sets its messages declare) is read as follows:
 *  - a file that begins with a byte-order mark is what the mark says,
 *    UTF-16 of either byte order or UTF-8, whatever else is asked;
 *  - a character set named with KSIMP_SetSourceCharset reads the whole file
 *    ("auto": the one detected in the file's first bytes, written to the
 *    log);
 *  - origin ANSI (argument 12 non-zero): a line that is valid UTF-8 is kept
 *    byte for byte; a line that is not is read in the ANSI code page,
 *    Windows-1252 unless the configuration's "ansi_codepage" value (under
 *    SOFTWARE\Kestro\Windows\5.0\Kestro\Import) names another, so
 *    nothing is lost and everything can be searched;
 *  - origin OEM (argument 12 zero): the OEM code page, CP437 unless
 *    "oem_codepage" there names another, reads the whole file.
 * A byte the character set does not define becomes U+FFFD (in a single-byte
 * code page, the Latin-1 character of the same number).  A code page of the
 * configuration that cannot be read is replaced by the default, with a log
 * line.  Rich text keeps its markup: it declares its own code page, and its
 * raw 8-bit bytes are stored as the format's \'xx escapes, which mean the
 * same.  Delimiters, quotes and line ends are looked for in the decoded
 * text, so a multibyte character set never splits a record wrongly. */

/* Names the character set of the sources queued with KSIMP_AddFileToImport
 * after this call, until the next call: any name the system's iconv knows
 * ("KOI8-R", "SHIFT_JIS", "UTF-16LE", "CP850", case does not matter),
 * "auto" to detect it per file, or NULL or "" to read them by their origin
 * again.  Returns 1, or 0 for an unknown handle (nothing recorded) or, with
 * error 11030 recorded against the handle and a log line naming it, for a
 * character set nobody knows; the sources then keep the previous setting. */
KSIMP_API uint32_t KSIMP_SetSourceCharset(uint32_t handle, const char* charset);

/* ---- IMAP servers (KSIMP_TYPE_IMAP_SERVER) ------------------------------ */
/* An IMAP source is queued with KSIMP_AddFileToImport: the file name only
 * names it for the host (non-empty); arguments 25 to 33 say where it is:
 *   25 the server: "host", "host:port", "imap://host[:port]" or
 *      "imaps://host[:port]".  imaps (or port 993) speaks TLS from the
 *      start; otherwise the connection must switch to TLS with STARTTLS
 *      before the login (a server that does not offer it is refused);
 *   26, 27 the user name and password; 28 the mailbox (NULL or "": INBOX);
 *   29 the firewall (proxy) "host[:port]", 30 and 31 its user name and
 *      password, 32 its type: KSIMP_FIREWALL_ below;
 *   33 the port (0: the server text's, else 143, or 993 for imaps).
 * Queuing connects, logs in and counts the mailbox's messages, which the
 * total bytes grow by; when that fails nothing is queued and 0 is returned
 * with one of the KSIMP_ERR_IMAP_ codes recorded and a log line saying why.
 * The import fetches the messages without changing anything on the server
 * (none is marked read); a connection that fails in the middle ends it with
 * its error, keeping every message imported before. */
#define KSIMP_FIREWALL_NONE 0
#define KSIMP_FIREWALL_HTTP_TUNNEL 1 /* an HTTP proxy, through CONNECT */
#define KSIMP_FIREWALL_SOCKS4 2
#define KSIMP_FIREWALL_SOCKS5 3

/* Whether the IMAP sources queued after this call check their server's TLS
 * certificate (check non-zero, the default) or accept any certificate
 * (0: for a server whose certificate is of its own making, on a network the
 * user trusts).  Returns 1, or 0 for an unknown handle. */
KSIMP_API uint32_t KSIMP_SetImapCertificateCheck(uint32_t handle, int32_t check);

/* ---- Attachment files named in messages -------------------------------- */
/* A mail message may name files the mail program saved (its attachments);
 * with "Save Attachments" the import reads them.  Because anyone who sends a
 * message chooses those names, a file is read only when its real path (after
 * ".." and symbolic links) lies in the mail store: the mailbox's own folder
 * tree, the folders of the configuration's "AttachmentFolders" value
 * ("|"-separated, under SOFTWARE\Kestro\Windows\5.0\Kestro\Import) and the
 * folders added here; only regular files are read, each up to a size limit
 * (256 MiB unless "AttachmentMaxBytes" there or the call below says
 * otherwise).  A Windows path ("C:\Mail\Attach\x.doc") is looked up by its
 * file name in the store.  Every name refused gets a log line. */

/* Adds `folder` to the mail store of the import.  Returns 1, or 0 for an
 * unknown handle or an empty folder. */
KSIMP_API uint32_t KSIMP_AddAttachmentFolder(uint32_t handle, const char* folder);

/* Sets the largest attachment file the import reads, in bytes (0 restores
 * the configured limit or the default).  Returns 1, or 0 for an unknown
 * handle. */
KSIMP_API uint32_t KSIMP_SetAttachmentSizeLimit(uint32_t handle, uint64_t max_bytes);

/* ---- Dialogs ---------------------------------------------------------- */
/* No dialog can be shown in this build.  Each call checks its arguments as
 * the dialog would and then returns 0 and adds a log text for the handle
 * saying that no dialog is available; the handle stays usable, so the host
 * can queue its sources with KSIMP_AddFileToImport instead.
 *  - unknown handle: 0, nothing recorded;
 *  - NULL parent window: 0 and error 94;
 *  - NULL result pointer (ImportDlg, ImportOutlookDlg): 0 and error 11002.
 * Where a result pointer is given and the checks pass, *result receives 0. */

/* The import dialog; host_value1..4 are passed on to it. */
KSIMP_API uint32_t KSIMP_ImportDlg(uint32_t handle, void* parent_window, int32_t host_value1,
                                   int32_t host_value2, int32_t host_value3, int32_t host_value4,
                                   uint32_t* result);

/* The Outlook folder picker. */
KSIMP_API uint32_t KSIMP_ImportOutlookDlg(uint32_t handle, void* parent_window, uint32_t* result);

/* The import wizard; host_value is passed on to it. */
KSIMP_API uint32_t KSIMP_ImportWizard(uint32_t handle, void* parent_window, int32_t host_value,
                                      int32_t wizard_mode);

/* ---- Running ---------------------------------------------------------- */

/* Imports every queued source of the handle on the calling thread, one
 * importer per file name, and releases the handle at the end (closing the
 * database when KSIMP_InitImportUsingFileName opened it).
 *  host_value1, host_value2  kept by the library for the length of the run.
 *  carry   may be NULL.  In and out: a value greater than 0 is handed to each
 *          importer; the importer's value is written back after each file.
 *  result  may be NULL.  Receives the number of documents added when the run
 *          reaches its end, even when the last file failed.  A file type
 *          without an importer ends the run early and leaves it unwritten.
 * Returns the result code of the last importer (1 success, 0 failure);
 * 0 for an unknown handle or a file type without an importer. */
KSIMP_API uint32_t KSIMP_Import(uint32_t handle, int32_t host_value1, int32_t host_value2,
                                int64_t* carry, uint32_t* result);

/* May come from another thread.  Marks the import aborted (importers stop at
 * their next check) and deletes the temporary files of attachments waiting to
 * be imported.  Returns 1 when the handle was found, else 0. */
KSIMP_API uint32_t KSIMP_Abort(uint32_t handle);

/* ---- Progress (may come from another thread) --------------------------- */

/* Total size of the queued sources (bytes, or message counts); 0 for an
 * unknown handle. */
KSIMP_API uint32_t KSIMP_GetTotalBytes(uint32_t handle);

/* Bytes processed so far; 0 for an unknown handle. */
KSIMP_API uint32_t KSIMP_GetCurBytes(uint32_t handle);

/* Documents added so far; 0 for an unknown handle. */
KSIMP_API uint32_t KSIMP_GetNumDocsAdded(uint32_t handle);

/* Copies the name of the source being imported ("Importing Attachment(s)"
 * while attachments are read).  The buffer's size is not passed: the host
 * must supply PATH_MAX (4096) bytes; at most PATH_MAX - 1 bytes and a
 * terminator are written.  Returns 1 when a name was copied, else 0 with the
 * buffer untouched. */
KSIMP_API uint32_t KSIMP_GetCurFile(uint32_t handle, char* buffer);

/* ---- Errors and log ---------------------------------------------------- */

/* The FIRST error recorded for the handle (later ones do not replace it);
 * 11001 when none was recorded.  Answers for released handles too. */
KSIMP_API uint32_t KSIMP_GetLastImportError(uint32_t handle);

/* Copies the message text of `code` (the text of 11001 for a code without
 * text), raw: placeholders such as "%s" stay in it.  Returns 1 when copied;
 * 0 with the buffer untouched unless the text and its terminator are
 * strictly shorter than `size` (so a buffer of exactly length + 1 fails). */
KSIMP_API uint32_t KSIMP_ImportErrorToString(uint32_t code, char* buffer, int32_t size);

/* 1 when the handle has a non-empty log text, else 0. */
KSIMP_API uint32_t KSIMP_IsLogData(uint32_t handle);

/* Copies the handle's log texts, oldest first, joined with nothing between
 * them (each text is a line ending in CR LF), after filling the whole buffer
 * with zero bytes.
 *  KSIMP_LOG_COPIED (1)    texts copied; then ONE entry is removed from the
 *                          log: the newest entry of any handle.  The other
 *                          copied texts stay and are returned again.
 *  KSIMP_LOG_TOO_SMALL (3) the next text would make the joined length exceed
 *                          size + 1; the texts before it are in the buffer
 *                          and nothing is removed.
 *  KSIMP_LOG_NONE (0)      the log is empty (buffer untouched) or holds no
 *                          text for the handle; also for a NULL buffer or a
 *                          size below 1.
 * Never writes more than `size` bytes: the text is cut to size - 1 bytes and
 * terminated. */
KSIMP_API uint32_t KSIMP_GetLogData(uint32_t handle, char* buffer, int32_t size);

/* ---- What became of each file (after KSIMP_Import) ----------------------- */
/* The handle's counters, error and log tell about the whole run; these tell
 * about each file it took, in the order it took them (index 0, 1, ...).
 * They answer after KSIMP_Import has returned, for the handle's last run, for
 * as long as the library is loaded (like the error list). */

/* Describes file `index` of the handle's run.  Any out pointer may be NULL.
 *  file_name, name_size  the file's name as queued (one name of a "|" list);
 *                        same size rule as KSIMP_ImportErrorToString
 *  file_type             the type it was queued with (KSIMP_TYPE_ value)
 *  documents_added       the documents this file added
 *  error                 the first error recorded while it was imported,
 *                        KSIMP_ERR_NONE when none.  A type without an
 *                        importer gives KSIMP_ERR_UNSUPPORTED_TYPE here; it
 *                        ends the run and is not in the handle's error list
 *  imported_whole        1 when everything in the file was imported; 0 when
 *                        it failed, was aborted, has no importer, or its
 *                        import stopped before its end (a record too long, a
 *                        blank line that ends a delimited file before rows
 *                        with text, a mailbox with no message); the log
 *                        says where
 * Returns 1, or 0 for an index past the last file the run took (the files
 * after one without an importer are never taken) or a name buffer too small. */
KSIMP_API uint32_t KSIMP_GetFileOutcome(uint32_t handle, uint32_t index, char* file_name,
                                        int32_t name_size, int32_t* file_type,
                                        uint32_t* documents_added, uint32_t* error,
                                        uint32_t* imported_whole);

/* Copies the log texts written while file `index` of the handle's run was
 * imported, joined as KSIMP_GetLogData joins them (possibly none: "").  The
 * handle's log is left as it is.
 *  KSIMP_LOG_COPIED (1)    copied with its terminator
 *  KSIMP_LOG_TOO_SMALL (3) text plus terminator not strictly shorter than
 *                          `size` (or a NULL buffer); buffer untouched
 *  KSIMP_LOG_NONE (0)      no such file */
KSIMP_API uint32_t KSIMP_GetFileLog(uint32_t handle, uint32_t index, char* buffer, int32_t size);

/* ---- File types and options ------------------------------------------ */
/* The import options a file type may offer, as bits of its option mask. */
#define KSIMP_OPT_FILE_ORIGIN 1u
#define KSIMP_OPT_IMPORT_LOCATION 2u
#define KSIMP_OPT_DOCUMENT_DELIMITER 4u
#define KSIMP_OPT_ENTRY_FORM 8u
#define KSIMP_OPT_AUTO_FIELDS 16u
#define KSIMP_OPT_DATE_RANGE 32u
#define KSIMP_OPT_SORT_ORDER 64u
#define KSIMP_OPT_STORED_SETTINGS 128u
#define KSIMP_OPT_MESSAGE_DATE_RANGE 256u
#define KSIMP_OPT_FULL_HEADER 512u
#define KSIMP_OPT_SAVE_ATTACHMENTS 1024u
#define KSIMP_OPT_FILTER 2048u

/* Number of file types offered on this machine.  The list is built for what
 * is installed here and kept in the per-user configuration.  Returns 0 when
 * the configuration is damaged or cannot be written; the file is then left
 * as it is and the reason is in the log of handle 0 (KSIMP_GetLogData). */
KSIMP_API uint32_t KSIMP_GetFileTypeCount(void);

/* Describes offered file type `index` (0-based, in list order): its number,
 * its option mask and, each into its own buffer, its name, its extensions
 * (blank-separated, without dots; "*" for any file) and its description.
 * Any pointer may be NULL.  Texts follow the rule of
 * KSIMP_ImportErrorToString (text plus terminator strictly shorter than the
 * size).  Returns 1, or 0 for an index past the end or a buffer too small. */
KSIMP_API uint32_t KSIMP_GetFileTypeInfo(uint32_t index, int32_t* file_type, uint32_t* option_mask,
                                         char* name, int32_t name_size, char* extensions,
                                         int32_t extensions_size, char* description,
                                         int32_t description_size);

/* The options a file type offers (KSIMP_OPT_ bits).  KSIMP_AddFileToImport
 * gives every option the type does not offer its default.  A type that the
 * list does not offer (fixed width, mail sources) keeps every option. */
KSIMP_API uint32_t KSIMP_GetFileTypeOptionMask(int32_t file_type);

/* The file type the file at `path` really is, told by its first bytes and,
 * for databases, by opening it: a KSIMP_TYPE_ value, or 0 for a file that no
 * importer reads (a picture, an archive, an empty file, one that does not
 * open, anything but a regular file).  A host warns with 11020 when the type
 * chosen for a file does not fit.  Delimited and fixed-width text are
 * reported as KSIMP_TYPE_TEXT, and a file whose first 256 bytes hold no zero
 * byte is KSIMP_TYPE_TEXT whatever else it might be.  A file another program
 * holds locked is 0 too, and `message` (may be NULL) then receives "Please
 * ensure another application does not have PATH opened"; otherwise it
 * receives "" (text plus terminator strictly shorter than `size`, else
 * nothing is written). */
KSIMP_API int32_t KSIMP_DetectFileType(const char* path, char* message, int32_t size);

/* The short names a host may let its user type instead of a file type's
 * number ("text", "csv", "fixed", ...), offered types first, in the order of
 * the list, then the others.  Call with `index` 0, 1, ... until it returns 0:
 * it writes the type's number to *file_type (may be NULL) and its short name
 * into `buffer` (text plus terminator strictly shorter than `size`).  Returns
 * 1, or 0 for an index past the end or a buffer too small. */
KSIMP_API uint32_t KSIMP_GetFileTypeShortName(uint32_t index, int32_t* file_type, char* buffer,
                                              int32_t size);

/* The row label of one option bit, e.g. "File Origin" for
 * KSIMP_OPT_FILE_ORIGIN.  Returns 1 when copied (same size rule), else 0. */
KSIMP_API uint32_t KSIMP_GetOptionLabel(uint32_t option, char* buffer, int32_t size);

/* The caption of the box a message is shown in (14045: "Cannot Set Save
 * Attachments", 14053: "Cannot Set Document Delimiter").  The message text
 * itself comes from KSIMP_ImportErrorToString.  Returns 1 when copied, 0
 * when the message has no caption or the buffer is too small. */
KSIMP_API uint32_t KSIMP_GetMessageCaption(uint32_t code, char* buffer, int32_t size);

/* ---- Import settings files -------------------------------------------- */
/* A column header string is the KEY=VALUE list (lines separated by CR LF)
 * that describes the columns of a delimited or fixed-width import:
 *   T=CSV or T=FXD, N=<columns>, S=<first row>, NA<i>=<name>, P<i>=<position>
 *   (delimited), L<i>=<width> (fixed width), D=<delimiter characters>,
 *   TQ=<qualifier>, TC=<1: consecutive delimiters count as one, or 0>.
 * A ".ksi" settings file holds the same layout as the import wizard saves it. */

/* 0 when the string is valid, else the number of the message that says why
 * (13000-13012; KSIMP_ImportErrorToString gives its text). */
KSIMP_API uint32_t KSIMP_CheckColumnHeader(const char* column_header);

/* Saves a valid column header string as the settings file `path`, replacing
 * it.  Returns 0 on success, the string's message number when it does not
 * parse, or 11009 when the file cannot be written. */
KSIMP_API uint32_t KSIMP_WriteSettingsFile(const char* path, const char* column_header);

/* Copies the column header string that the settings file `path` yields (a
 * missing or unreadable file yields the defaults, which do not parse).
 * Returns 1 when copied (text plus terminator strictly shorter than size),
 * else 0. */
KSIMP_API uint32_t KSIMP_ReadSettingsFile(const char* path, char* buffer, int32_t size);

/* The column header string of a delimited file whose first row names its
 * columns, as the import wizard proposes it: the first row of `path` is split
 * by the characters of `delimiters`, the qualifier ('"' or '\'', 0 for none)
 * and the consecutive switch; each value, trimmed and on one line, names a
 * column, and the rows to import start at the second (S=2).  The file is
 * read as the import reads it (see "Character sets of text sources"; no
 * character set is named here): by its byte-order mark, else by
 * `origin_ansi` (non-zero ANSI, 0 the DOS code page).  Returns 1
 * when the string is copied (text plus terminator strictly shorter than
 * size), else 0.  `message`, when not null, receives 0 or the number of the
 * message that says why nothing was copied: 13007 (no delimiters), 11024
 * (the file cannot be opened), 11019 (the file has no first row), 11001 (the
 * buffer is too small, or an internal failure). */
KSIMP_API uint32_t KSIMP_ColumnHeaderFromFirstRow(const char* path, const char* delimiters,
                                                  char qualifier, int32_t consecutive,
                                                  int32_t origin_ansi, char* buffer, int32_t size,
                                                  uint32_t* message);

/* ---- Database tables ---------------------------------------------------
 * KSIMP_TYPE_ACCESS, _EXCEL, _DBASE, _VISUAL_FOXPRO, _PARADOX and _ODBC import
 * the rows of database tables, one document per row and one field line per
 * column ("Name[ value ]", the database's field marker), or one entry of the
 * import's entry form per row.  Access (.mdb, .accdb), Excel (.xls, .xlsx;
 * every sheet a table, its first row the column names), dBase and FoxPro
 * (.dbf with .dbt/.fpt memos; deleted records skipped) and Paradox (.db with
 * .mb memos) are read by drivers built into this library; anything else
 * through the ODBC drivers unixODBC lists, which come first in the driver
 * list.
 *
 * The name queued (argument 2 of KSIMP_AddFileToImport) is either a path,
 * whose every table is imported, or a settings string of elements separated
 * by ESC (byte 27): the connection string (KSIMP_GetTableConnectionString,
 * or any ODBC connection string), the source file's path, the tables to
 * import separated by ";" and ended by "end_tables", and the field names
 * to use instead of the column names, each followed by CR LF.  For
 * KSIMP_TYPE_ODBC the name may also be a bare connection string ("DSN=name",
 * "DRIVER={SQLite3};Database=/data/x.db").
 *
 * Values become text by one rule, never by the machine's locale: whole
 * numbers as they are (-1234); other numbers the shortest text that reads
 * back the same (3.25, 1e+20); fixed decimals (dBase N, currency, SQL
 * DECIMAL) as stored, trailing zeros after the point dropped (12.50 -> 12.5);
 * dates YYYY-MM-DD, date-times YYYY-MM-DD HH:MM:SS; booleans True or False;
 * text converted to UTF-8 from the table's code page (dBase, FoxPro,
 * Paradox), or by the import's origin where the table names none; a null is
 * an empty value ("Name[  ]"); binary columns (pictures, OLE objects) are
 * left empty and named in the import log.
 *
 * Errors: 14004 a settings string without a connection; 11025 no driver
 * reads the type; 11026 the source is password protected; 11024 it cannot
 * be opened or read (the driver's words in the log); 14003 it holds no
 * tables; 12000 the engine made no entry of the entry form. */

/* The connection string the table dialogs build for the file `path` read as
 * `file_type` (a table type other than KSIMP_TYPE_ODBC).  Returns 1 when
 * copied (text plus terminator strictly shorter than size), else 0: no driver
 * reads the type, or the buffer is too small. */
KSIMP_API uint32_t KSIMP_GetTableConnectionString(int32_t file_type, const char* path,
                                                  char* buffer, int32_t size);

/* The tables the source `connection` opens, read as `file_type`, as the
 * table dialogs list them: one line per table, ended by LF, its name and
 * then a tab before each column's name (an Access database's system tables
 * and queries are left out).  Returns 1 when copied (strictly shorter than
 * size), else 0; `message`, when not null, receives 0 or why not: 11026
 * (password protected), 11024 (cannot be opened; the buffer then holds the
 * driver's words when they fit), 14003 (no tables), 11001 (the buffer is too
 * small, or an internal failure). */
KSIMP_API uint32_t KSIMP_GetTableList(int32_t file_type, const char* connection, char* buffer,
                                      int32_t size, uint32_t* message);

/* ---- E-mail imports ---------------------------------------------------- */
/* An e-mail profile remembers, under a name the user chose, what to import
 * from where and into which database: the mail application, its mail store
 * and the mailboxes or folders selected there, which messages (all, those
 * between two dates, or those new since the last import) and the import
 * options.  Profiles are kept per user, readable by their owner only, in the
 * folder "profiles" of the configuration folder ($KESTRO_CONFIG_DIR, else
 * $XDG_CONFIG_HOME/kestro, else ~/.config/kestro): one ".emw" file each and
 * the list "Profiles.inf" in the user's order.
 *
 * Running profiles:
 *   h = KSIMP_InitEmailImportUsingFileHandle(db);   e-mail mode from here
 *   KSIMP_AddEmailProfileToImport(h, "Work"); ...   in the order to run
 *   KSIMP_Import(h, 0, 0, &carry, &added);          runs KSIMP_ImportEmail
 * Each profile imports into the database it names: the host's own database
 * (given here or with KSIMP_AddKSFileHandle) when it is the same file, else
 * the library opens and closes it.  Eudora profiles read their mailboxes as
 * KSIMP_TYPE_EUDORA, Netscape and PocoMail profiles as KSIMP_TYPE_MBX,
 * Maildir profiles their folders as KSIMP_TYPE_MAILDIR, IMAP profiles their
 * server's mailboxes as KSIMP_TYPE_IMAP_SERVER;
 * Outlook profiles read the folders of their .pst/.ost file (MAILROOT: the
 * file; FOLDER=Inbox/Projects per folder, or ALL=Yes for every one) as
 * KSIMP_TYPE_OUTLOOK_FOLDER, new messages by the start date alone;
 * Outlook Express profiles cannot be run by this build
 * (error 12003 and a log line).  Per profile the log of `h` says what
 * happened in the profile messages below (a profile's name in place of the
 * first %s) and how many documents it added.
 *
 * A profile that selects new messages imports, on its first run, every
 * message dated on or after its start date (every message when it has
 * none).  After each successful run its start date becomes the day of that
 * run, and the library remembers beside the profile how far each mailbox was
 * read (for an IMAP mailbox, the last UID taken): the next run reads only
 * what was appended since, even on the same day (for a Maildir: the
 * messages delivered since the second the last run began in).  A mailbox
 * that was rewritten in the meantime (compacted, replaced)
 * is read again from its start, taking the messages dated on or after the
 * start date.  A run that fails leaves the start date as it was. */

/* Mail applications (a profile's TYPE). */
#define KSIMP_MAIL_OUTLOOK 1400
#define KSIMP_MAIL_OUTLOOK_EXPRESS 1401
#define KSIMP_MAIL_NETSCAPE 1402
#define KSIMP_MAIL_EUDORA 1403
#define KSIMP_MAIL_POCOMAIL 1404
#define KSIMP_MAIL_IMAP 1405
/* Added by this library: */
#define KSIMP_MAIL_MAILDIR 1406 /* Maildir folders: each MAILBOX (or FOLDER) entry
                                 * is a Maildir, ALL=Yes is the Maildir MAILROOT;
                                 * Maildir++ sub-folders are imported with it */

/* Message selections (a profile's TYPE_MSG). */
#define KSIMP_SELECT_NEW 0     /* new messages since DATE_START */
#define KSIMP_SELECT_BETWEEN 1 /* messages from DATE_START thru DATE_END */
#define KSIMP_SELECT_ALL 2     /* every message (so is any other code) */

/* Profile messages (texts through KSIMP_ImportErrorToString; those with a
 * caption through KSIMP_GetMessageCaption). */
#define KSIMP_MSG_PROFILE_MAILBOX_EMPTY 14400u    /* the mailbox "%s" is empty */
#define KSIMP_MSG_PROFILE_NOTHING_IN_RANGE 14401u /* no messages in the date range */
#define KSIMP_MSG_PROFILE_NO_MAILBOX 14402u       /* unable to open mailbox %s */
#define KSIMP_MSG_PROFILE_NOTHING_NEW 14403u      /* no new messages since last import */
#define KSIMP_MSG_PROFILE_NO_DATABASE 14404u      /* cannot open Kestro file %s */
#define KSIMP_MSG_PROFILE_NO_RIGHTS 14405u        /* insufficient security rights */
#define KSIMP_ERR_PROFILE_INCOMPLETE 14406u       /* the profile requires more information */
#define KSIMP_ERR_PROFILE_DUPLICATE 14407u        /* a profile of that name exists */
#define KSIMP_ERR_PROFILE_NAME_CHARACTERS 14408u  /* name holds invalid characters */
#define KSIMP_ERR_PROFILE_NAME_INVALID 14409u     /* name is invalid */
#define KSIMP_MSG_PROFILE_DELETE 14410u           /* are you sure ... delete ... */
#define KSIMP_ERR_PROFILES_FAILED 14411u          /* error with one or more profiles */

/* Starts an e-mail import and puts the library in e-mail mode, in which
 * KSIMP_Import runs the queued profiles.  `database` is the host's open
 * database, used by the profiles that name its file; 0 when the host has
 * none (each profile then opens the database it names).  Returns the
 * e-mail import's handle; 0 with 11005 recorded against handle 0 while
 * another e-mail import is running.  An e-mail import that was started and
 * never run is dropped by the next one. */
KSIMP_API uint32_t KSIMP_InitEmailImportUsingFileHandle(uint32_t database);

/* Queues the profile named `profile` (the list's name) to run after those
 * queued before it.  Returns 1, else 0 with:
 *   11002 `handle` is not the handle of the e-mail import;
 *   11005 no profile of that name, or its file cannot be read (the log says
 *         which);
 *   14406 the profile is incomplete (the log holds the message).
 * The e-mail import's total bytes grow by the size of the profile's
 * mailboxes. */
KSIMP_API uint32_t KSIMP_AddEmailProfileToImport(uint32_t handle, const char* profile);

/* Runs the queued profiles in order and ends the e-mail import (e-mail mode
 * ends, the handle is released); arguments as for KSIMP_Import, which calls
 * it in e-mail mode.  carry is handed to each mailbox's importer as
 * KSIMP_Import does; *result (may be NULL) receives the documents added by
 * all profiles.  A profile that fails is logged and the next one runs; the
 * first error recorded for any profile is the handle's error, and the log
 * then ends with "Error with one or more profiles".  KSIMP_Abort stops the
 * profile being run (what it imported stays) and the ones after it.
 * Returns 1 when every profile ran successfully, else 0 (0 also for a
 * handle that is not the e-mail import's). */
KSIMP_API uint32_t KSIMP_ImportEmail(uint32_t handle, int32_t host_value1, int32_t host_value2,
                                     int64_t* carry, uint32_t* result);

/* The e-mail wizard and the profile list, dialogs that cannot be shown in
 * this build (see Dialogs).  KSIMP_ImportEmailWizard records 94 against
 * handle 0 for a NULL parent window; otherwise each adds a log text for
 * handle 0 saying that no dialog is available.  Both return 0.  Profiles
 * are made with KSIMP_SaveEmailProfile and run as above. */
KSIMP_API uint32_t KSIMP_ImportEmailWizard(void* parent_window, uint32_t database);
KSIMP_API uint32_t KSIMP_ImportEmailProfile(void);

/* Adds another open database of the host to the e-mail import: profiles
 * that name its file import into it instead of opening the file again.
 * Ignored for a handle that is not the e-mail import's or a 0 database. */
KSIMP_API void KSIMP_AddKSFileHandle(uint32_t handle, uint32_t database);

/* While the e-mail import runs (may come from another thread): the name,
 * the database file and the selection's description ("New messages since
 * Jan 31, 2024") of the profile being run.  Texts follow the rule of
 * KSIMP_ImportErrorToString (text plus terminator strictly shorter than
 * size).  Return 1 when copied, else 0: no profile is running, the handle
 * is not the e-mail import's, or the buffer is too small.  In e-mail mode
 * KSIMP_GetCurBytes, KSIMP_GetNumDocsAdded and KSIMP_GetCurFile (the
 * mailbox's file name without its folder) answer for the profile being run
 * and KSIMP_GetTotalBytes for all the queued profiles. */
KSIMP_API uint32_t KSIMP_GetCurEmailProfile(uint32_t handle, char* buffer, int32_t size);
KSIMP_API uint32_t KSIMP_GetCurEmailKroFile(uint32_t handle, char* buffer, int32_t size);
KSIMP_API uint32_t KSIMP_GetCurEmailDescription(uint32_t handle, char* buffer, int32_t size);

/* Number of profiles queued in the e-mail import; 0 for another handle. */
KSIMP_API uint32_t KSIMP_GetEmailProfileCount(uint32_t handle);

/* ---- Keeping e-mail profiles ------------------------------------------- */
/* What the e-mail wizard and the profile list do, for hosts without them.
 * Names are compared exactly; texts follow the rule of
 * KSIMP_ImportErrorToString. */

/* Saves a profile given as "KEY=value" lines ("\n" or "\r\n" after each):
 *   TYPE=<KSIMP_MAIL_ code>   NAME=<name>   NAME_KESTRO=<database path>
 *   TYPE_MSG=<KSIMP_SELECT_ code>   DATE_START=MM/DD/YYYY   DATE_END=...
 *   OPTION_LOCATION=<KSIMP_LOC_END or KSIMP_LOC_TOP>   OPTION_EFORM=0
 *   OPTION_HEADER, OPTION_ATTACH, OPTION_IMPORT_ATTACH=<0 or 1> (full
 *   header, save attachments, import attachments into the document)
 *   MAILROOT=<folder>   ALL=Yes (every mailbox under MAILROOT), or one
 *   MAILBOX=<mailbox file> or FOLDER=<folder of mailboxes> line each
 *   (paths relative to MAILROOT when not absolute); for IMAP:
 *   IMAP_SERVER, IMAP_USER, IMAP_PASSWORD, TYPE_FIREWALL, FIREWALL_PORT,
 *   FIREWALL_SERVER, FIREWALL_USER, FIREWALL_PASSWORD, FIREWALL_DATA,
 *   IMAP_VERIFY_CERTIFICATE=<Yes or No> (No: accept any certificate); the
 *   server text and firewall types as for KSIMP_TYPE_IMAP_SERVER, the
 *   server's mailboxes as MAILBOX lines (none: INBOX).
 * Passwords are given in plain text; the file keeps them scrambled.  With
 * `replace` non-zero a profile of the same name is overwritten, keeping its
 * place in the list (and what its runs remembered); otherwise the profile
 * is added at the end.  Returns 0 when saved, else:
 *   97    a line names no key, or its value is not of the key's kind;
 *   14406 the profile is incomplete (no name, application, database or
 *         mailbox; DATE_START and DATE_END missing for TYPE_MSG 1);
 *   14407 a profile of that name exists and `replace` is 0;
 *   14408 the name holds a character file names cannot (\ / : * ? " < > |
 *         or a control character);
 *   14409 the name is empty, "." or "..", starts or ends with a blank, or
 *         is longer than 200 bytes;
 *   11009 the profile folder or a file in it cannot be written. */
KSIMP_API uint32_t KSIMP_SaveEmailProfile(const char* profile, int32_t replace);

/* Name of profile `index` (0-based) in the user's order.  Returns 1 when
 * copied, 0 past the end or for a buffer too small. */
KSIMP_API uint32_t KSIMP_GetEmailProfileName(uint32_t index, char* buffer, int32_t size);

/* The profile `name` as its file reads, as "KEY=value" lines, without the
 * password lines.  Returns 1 when copied, else 0 (no such profile, its file
 * cannot be read, or the buffer is too small). */
KSIMP_API uint32_t KSIMP_GetEmailProfile(const char* name, char* buffer, int32_t size);

/* The description of what profile `name` selects: "All New Messages",
 * "New messages since %s", "Messages from %s thru %s" or "All Messages",
 * dates written "Jan 31, 2024".  Returns 1 when copied, else 0. */
KSIMP_API uint32_t KSIMP_GetEmailProfileDescription(const char* name, char* buffer,
                                                    int32_t size);

/* Deletes profile `name`: its place in the list, its file and what its runs
 * remembered.  Returns 1, or 0 when there is no such profile or the list
 * cannot be written. */
KSIMP_API uint32_t KSIMP_DeleteEmailProfile(const char* name);


/* ---- Protected databases ---------------------------------------------- */
/* A Kestro database may be protected by its owner with a login group and a
 * password (ks_eng5.h).  The protection is an access check made by the
 * engine when the file is opened, not encryption: the documents are plain
 * text in the file, and removing one row of it with any SQLite tool removes
 * the check.  Protect the file itself (file permissions, an encrypted disk)
 * where its contents must stay secret.
 *
 * Wherever the library opens a database itself - KSIMP_InitImportUsingFileName,
 * another Kestro database queued as a source (KSIMP_TYPE_KESTRO),
 * KSIMP_OpenDatabase and KSIMP_GetEntryFormNames - and the engine answers
 * that it is protected, the library asks the host's password prompt for the
 * login group and password and opens it with them.  While the engine
 * answers that they are wrong, it asks again, with the message "The
 * password you have entered is invalid, please try again." (14085); there
 * is no limit on the tries, the host cancels.  Once the database opens, the
 * login group is remembered for the file in the user's configuration
 * (value "Login Group" under "Software\Kestro\Windows\5.0\File Settings\"
 * followed by the file's full path with every "/" and "\" made "*") and
 * proposed the next time; "Default" is proposed for a file never opened.
 * The password is never stored.  Without a prompt a protected database stays
 * closed (engine error 4000). */

/* The host's password prompt, called on the thread that opens the database:
 *  host_data        the pointer given to KSIMP_SetPasswordPrompt
 *  path             the database file
 *  reason           4000 (KSENG_ERR_PASSWORD_REQUIRED) on the first ask for
 *                   this open, 4001 (KSENG_ERR_PASSWORD_WRONG) when the
 *                   previous answer was refused
 *  message          text to show the user first, "" for none: 14085 when
 *                   asking again, and for an entry-form list "A password is
 *                   required to access the Entryform names in <path>.
 *                   Please enter your password."
 *  login_group      in: the group to propose, terminated; out: the answer
 *  password         out: the answer (the buffer holds zero bytes on entry and
 *                   is overwritten with zero bytes once read)
 *  *_size           the buffers' sizes (1024); answers are read up to their
 *                   terminator or the buffer's end
 * Returns non-zero for OK, 0 to cancel: the database then stays closed. */
typedef uint32_t (*KSIMP_PASSWORD_PROMPT)(void* host_data, const char* path, uint32_t reason,
                                          const char* message, char* login_group,
                                          int32_t login_group_size, char* password,
                                          int32_t password_size);

/* Sets the process's password prompt (NULL: none).  May be called at any
 * time; an open already asking goes on with the prompt it started with. */
KSIMP_API void KSIMP_SetPasswordPrompt(KSIMP_PASSWORD_PROMPT prompt, void* host_data);

/* The login group and password of the protected Kestro databases queued
 * with KSIMP_AddFileToImport after this call, until the next call (NULL or
 * "" for both: none).  The source is opened with them; when the engine
 * rejects them it is opened once more without them, and a source still
 * refused for its protection goes to the password prompt, when there is
 * one.  A source that stays closed is not imported: error 11026, and the
 * import log says whether the password was missing or wrong.  Returns 1, or
 * 0 for an unknown handle. */
KSIMP_API uint32_t KSIMP_SetSourceCredentials(uint32_t handle, const char* login_group,
                                              const char* password);

/* Opens the database at `path` through the engine with the access and share
 * modes of ks_eng5.h, asking the password prompt when it is protected.
 * Returns the engine's database handle (the host closes it with
 * EngCloseDatabase), or 0; `engine_error` (may be NULL) then receives why:
 * the engine's error, 4000 when the prompt was cancelled or there is none. */
KSIMP_API uint32_t KSIMP_OpenDatabase(const char* path, int32_t access_mode, int32_t share_mode,
                                      uint32_t* engine_error);

/* The names offered for the entry-form choice of an import into the database
 * at `path`: first "No" (no entry form, message 42), then the database's
 * entry forms in the order they were made, each line ended by LF.  The
 * database is opened for reading and writing; when it is protected the
 * prompt is shown with the message above.  A database that stays closed
 * gives "No" alone.  Returns 1 when copied (text plus terminator strictly
 * shorter than size), else 0. */
KSIMP_API uint32_t KSIMP_GetEntryFormNames(const char* path, char* buffer, int32_t size);

#ifdef __cplusplus
}
#endif

#endif /* KS_IMP_H */
