"""Database: one open Kestro database (.kst) through the engine's C
interface, its documents in database order, full-text search, and imports
into it through the import library."""

import contextlib
import ctypes
import threading
from dataclasses import dataclass

from . import constants as c
from ._library import decode, encode, libraries
from .errors import Error, engine_error


@dataclass(frozen=True)
class Document:
    id: int        # the engine's identifier: stable, says nothing about order
    kind: int      # ENG_KIND_TEXT, ENG_KIND_ENTRY or ENG_KIND_RICHTEXT
    name: str      # "" when the document has none
    data: bytes    # the text exactly as stored

    @property
    def text(self):
        """The text as str (UTF-8; bytes that are not become U+FFFD)."""
        return decode(self.data)


class Database:
    """An open database.  Use Database.create or Database.open, as a context
    manager or with close().  One thread at a time uses the engine's handle:
    calls from several threads wait for each other, and an import holds the
    database until it ends (abort() alone does not wait)."""

    def __init__(self, handle, path):
        self._handle = handle
        self._path = path
        self._lock = threading.Lock()   # the engine handle is one thread's at a time
        self._running_import = None     # set while an import runs, for abort() from anywhere
        self._importing_thread = None   # the thread that waits for that import

    @classmethod
    def create(cls, path, *, login_group=None, password=None, replace=False):
        """Creates an empty database at `path` and opens it for writing.  A
        protected database needs both a login group and a password.  An
        existing file is an Error unless `replace`."""
        engine = libraries().engine
        if not engine.EngCreateDatabase(encode(path), encode(login_group), encode(password),
                                        1 if replace else 0):
            raise engine_error(context=f"cannot create {path}")
        return cls.open(path, login_group=login_group, password=password)

    @classmethod
    def open(cls, path, *, password=None, login_group=None, readonly=False):
        """Opens the database at `path` (for reading only with `readonly`);
        a protected one with its login group and password."""
        engine = libraries().engine
        mode = c.ENG_ACCESS_READ if readonly else c.ENG_ACCESS_READWRITE
        if password is None and login_group is None:
            handle = engine.EngOpenDatabase(encode(path), mode, mode)
        else:
            handle = engine.EngOpenDatabaseEx(encode(path), mode, mode, encode(password),
                                              encode(login_group))
        if handle == 0:
            raise engine_error(context=f"cannot open {path}")
        return cls(handle, path)

    @property
    def path(self):
        return self._path

    @property
    def closed(self):
        return self._handle == 0

    @contextlib.contextmanager
    def _engine_handle(self, must_be_open=True):
        """The engine handle, this thread's alone while it is used.  The
        thread waiting for an import (its progress callback) may not use it:
        the import's worker does."""
        if self._importing_thread == threading.get_ident():
            raise RuntimeError("the database is busy with an import: use it after "
                               "import_files has returned")
        with self._lock:
            yield self._open_handle() if must_be_open else self._handle

    def close(self):
        """Commits what is pending and closes the database.  Closing twice is
        harmless."""
        with self._engine_handle(must_be_open=False) as handle:
            if handle == 0:
                return
            self._handle = 0
            if not libraries().engine.EngCloseDatabase(handle):
                raise engine_error(context=f"cannot close {self._path}")

    def __enter__(self):
        return self

    def __exit__(self, *exc_info):
        self.close()

    def _open_handle(self):
        if self._handle == 0:
            raise Error(c.ENG_ERR_HANDLE, "the database is closed", engine=True,
                        context=str(self._path))
        return self._handle

    def __len__(self):
        with self._engine_handle() as handle:
            return libraries().engine.EngCountDocuments(handle, c.ENG_WALK_DOCUMENTS)

    def __iter__(self):
        """The documents (text, rich text and entries) in database order."""
        engine = libraries().engine
        with self._engine_handle() as handle:
            current = engine.EngFirstDocument(handle, c.ENG_WALK_DOCUMENTS)
        while current != 0:
            with self._engine_handle() as handle:
                document = self._read(handle, current)
                current = engine.EngNextDocument(handle, current, c.ENG_WALK_DOCUMENTS)
            yield document

    def document(self, document_id):
        """The document with the identifier `document_id`."""
        with self._engine_handle() as handle:
            return self._read(handle, document_id)

    @staticmethod
    def _read(handle, document_id):
        engine = libraries().engine
        kind = engine.EngGetDocumentKind(handle, document_id)
        if kind == 0:
            raise engine_error(context=f"document {document_id}")
        length = ctypes.c_uint64(0)
        engine.EngGetDocumentText(handle, document_id, None, 0, ctypes.byref(length))
        text = ctypes.create_string_buffer(length.value + 1)
        if not engine.EngGetDocumentText(handle, document_id, text, len(text),
                                         ctypes.byref(length)):
            raise engine_error(context=f"cannot read document {document_id}")
        name = ctypes.create_string_buffer(4096)
        if not engine.EngGetDocumentName(handle, document_id, name, len(name)):
            name.value = b""
        return Document(document_id, kind, decode(name.value), text.raw[:length.value])

    def search(self, query):
        """The documents whose text matches the full-text query (FTS5
        syntax: words, "phrases", AND, OR, NOT, prefix*), in database
        order.  A query that does not parse is an Error."""
        engine = libraries().engine
        with self._engine_handle() as handle:
            count = engine.EngSearch(handle, encode(query), None, 0)
            if count < 0:
                raise engine_error(context=f"search {query!r}")
            ids = (ctypes.c_uint64 * count)()
            found = engine.EngSearch(handle, encode(query), ids, count)
            if found < 0:
                raise engine_error(context=f"search {query!r}")
            return [self._read(handle, ids[i]) for i in range(min(found, count))]

    def import_files(self, paths, type=None, *, progress=None, poll_interval=0.1, **options):
        """Imports files into the database and returns an ImportResult.

        paths     one path or several
        type      a file type number (TYPE_ values) or short name ("text",
                  "csv", ...); by default each file's extension chooses
        progress  called with a Progress about every poll_interval seconds
                  while the import runs, and once at its end; returning
                  False (or raising) aborts the import
        options   the import options, named as `ksimp import`'s flags:
                  delimiter, origin, location, form, auto_fields,
                  date_range, message_date_range, sort, stored_settings,
                  full_header, save_attachments, import_attachments,
                  attachments_dir, attachment_max_mb, filter, delete_after,
                  charset,
                  and the column settings settings, columns, header, names,
                  delim, qualifier, consecutive, first_row, widths

        The import runs on a thread of its own; this thread polls its
        progress.  Ctrl-C (KeyboardInterrupt), abort() or the callback stop
        it: what was imported stays, and KeyboardInterrupt or the callback's
        exception is raised again once the import has stopped.  A failure
        raises Error, whose `result` says what was imported before it.
        """
        from .importing import run_import
        with self._engine_handle() as handle:
            self._importing_thread = threading.get_ident()
            try:
                return run_import(self, handle, paths, type, progress, poll_interval, options)
            finally:
                self._importing_thread = None

    def abort(self):
        """Aborts the import running on this database (from any thread).
        Returns True when one was running."""
        running = self._running_import
        return running is not None and running.abort()
