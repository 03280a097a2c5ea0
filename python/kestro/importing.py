"""One import, as `ksimp import` runs it: the files are queued with their
options, KSIMP_Import runs on a worker thread, and the calling thread polls
the progress counters, calls the progress callback and aborts on request.
Afterwards the error and the log are read once."""

import ctypes
import os
import threading
import warnings
from dataclasses import dataclass, field
from typing import NamedTuple

from . import constants as c
from . import file_type_list, settings
from ._library import decode, encode, libraries
from .errors import Error, import_error, message_text
from .import_options import (OPTION_NAMES, ImportOptions, column_settings_given, folders,
                             queue_arguments, requested_options)

_PATH_MAX = 4096  # KSIMP_GetCurFile's buffer: the caller supplies PATH_MAX bytes
_NOT_WRITTEN = 0xFFFFFFFF  # KSIMP_Import leaves its count unwritten when it stops early


class Progress(NamedTuple):
    total_bytes: int      # of every queued source
    current_bytes: int    # read so far
    documents_added: int
    current_file: str     # the source being read ("" before the first)


@dataclass
class ImportResult:
    documents_added: int
    log: list = field(default_factory=list)  # the import log's lines, oldest first
    aborted: bool = False                    # stopped by abort(), the callback or Ctrl-C


class RunningImport:
    """The import a database is running, for aborting it from any thread."""

    def __init__(self, handle):
        self._handle = handle
        self.aborted = False  # set once KSIMP_Abort found the handle

    def abort(self):
        if libraries().imp.KSIMP_Abort(self._handle) == 1:
            self.aborted = True
        return self.aborted


class OptionNotOffered(UserWarning):
    """An option given for a file whose type does not offer it: the file is
    imported with that option's default."""


def read_log(handle):
    """The handle's import log as lines.  Read it once: each read removes an
    entry from the library's log."""
    imp = libraries().imp
    if not imp.KSIMP_IsLogData(handle):
        return []
    size = 1 << 16
    while True:
        buffer = ctypes.create_string_buffer(size)
        outcome = imp.KSIMP_GetLogData(handle, buffer, size)
        if outcome != c.LOG_TOO_SMALL or size >= 1 << 28:
            break
        size *= 4
    if outcome == c.LOG_NONE:
        return []
    return [line for line in decode(buffer.value).split("\r\n") if line]


def _refuse_bars(paths):
    # The library's queue reads "|" as the border between two file names.
    for path in paths:
        if "|" in path:
            raise ValueError(f"cannot import {path}: its name holds \"|\", which the import "
                             "library reads as a separator between file names")


def _refuse_delimiter_with_attachments(args, given):
    """A document delimiter and saving attachments exclude each other; the
    one given last is refused with the library's own message."""
    if not args.delimiter_flags or not args.save_attachments:
        return
    code = 14045 if given.index("save_attachments") > given.index("delimiter") else 14053
    caption = ctypes.create_string_buffer(256)
    libraries().imp.KSIMP_GetMessageCaption(code, caption, len(caption))
    raise Error(code, message_text(code), context=decode(caption.value))


def _column_settings(options, args, file_type, paths):
    """Applies the column settings to `args`; returns the file type they
    imply and, with `header`, each file's own column header string."""
    if not column_settings_given(options):
        return file_type, None
    if options.date_range is not None:
        raise ValueError("date_range cannot be combined with column settings")
    args.stored_settings = 1
    if options.header:
        # Every file's names are read before anything is imported, so a file
        # without a first row stops the import with nothing half done.
        headers = [settings.column_header_from_first_row(
            path, options.delim, options.qualifier, options.consecutive, options.origin,
            options.first_row) for path in paths]
        return file_type or c.TYPE_DELIMITED, headers
    if options.settings:
        header = settings.read_settings(options.settings)
    elif options.columns:
        header = settings.normalize_column_header(options.columns)
    else:
        header = settings.column_header(options.names, options.widths, options.delim,
                                        options.qualifier, options.consecutive)
    header = settings.with_first_row(header, options.first_row)
    args.date_from = header
    fixed = "T=FXD" in header
    file_type = file_type or (c.TYPE_FIXED_WIDTH if fixed else c.TYPE_DELIMITED)
    code = libraries().imp.KSIMP_CheckColumnHeader(encode(header))
    if code != 0:
        outcome = "no row is imported" if file_type == c.TYPE_FIXED_WIDTH \
            else "each row is imported as it stands"
        warnings.warn(f"the column header string does not parse: message {code}: "
                      f"{message_text(code)}; {outcome}", OptionNotOffered, stacklevel=4)
    return file_type, None


def _warn_about_options_not_offered(path, file_type, requested):
    offered = file_type_list.option_mask(file_type)
    missing = requested & ~offered
    for label in file_type_list.option_labels(missing):
        warnings.warn(f"file type {file_type} does not offer \"{label}\"; {path} is imported "
                      "without it", OptionNotOffered, stacklevel=4)


def _queue(handle, path, file_type, args):
    return libraries().imp.KSIMP_AddFileToImport(
        handle, encode(path), file_type, args.location, 1 if args.form else 0, encode(args.form),
        1 if args.named_document else 0, encode(args.named_document), args.delimiter_flags,
        args.delimiter_lines, encode(args.delimiter_string), args.origin_ansi, args.auto_fields,
        encode(args.date_from), args.sort_descending, args.stored_settings, encode(args.date_to),
        args.full_header, encode(args.message_date_from), args.save_attachments,
        encode(args.message_date_to), encode(args.filter), args.delete_after,
        args.import_attachments,
        None, None, None, None, None, None, None, 0, 0)  # IMAP and firewall: not offered


def _progress(handle, total_at_start, last_file):
    """The import's progress now, or None once the run has released its handle.

    The run releases the handle just before KSIMP_Import returns, and a
    released handle reads as zeros. The total is read last: a queued file's
    total never shrinks, so when it still reads in full, every value before
    it was read from the live handle.
    """
    imp = libraries().imp
    name = ctypes.create_string_buffer(_PATH_MAX)
    if imp.KSIMP_GetCurFile(handle, name):
        last_file = decode(name.value)
    current_bytes = imp.KSIMP_GetCurBytes(handle)
    documents_added = imp.KSIMP_GetNumDocsAdded(handle)
    total_bytes = imp.KSIMP_GetTotalBytes(handle)
    if total_bytes < total_at_start:
        return None
    return Progress(total_bytes, current_bytes, documents_added, last_file)


def run_import(database, db_handle, paths, file_type, progress, poll_interval, given_options):
    if isinstance(paths, (str, bytes, os.PathLike)):
        paths = [paths]
    paths = [os.fsdecode(p) for p in paths]
    if not paths or "" in paths:
        raise ValueError("give the files to import by their names")
    unknown = set(given_options) - OPTION_NAMES
    if unknown:
        raise TypeError(f"unknown import option(s): {', '.join(sorted(unknown))}")
    options = ImportOptions(**given_options)
    given = list(given_options)

    # Everything that can refuse the import does so before the library
    # holds an import handle for it.
    _refuse_bars(paths)
    args = queue_arguments(options)
    chosen_type = file_type_list.type_number(file_type) if file_type is not None else 0
    _refuse_delimiter_with_attachments(args, given)
    chosen_type, first_row_headers = _column_settings(options, args, chosen_type, paths)
    requested = requested_options(args, given)
    types = [chosen_type or file_type_list.type_for_path(path) for path in paths]
    for path, each_type in zip(paths, types):
        _warn_about_options_not_offered(path, each_type, requested)

    imp = libraries().imp
    handle = imp.KSIMP_InitImportUsingFileHandle(db_handle)
    if handle == 0:
        raise import_error(imp.KSIMP_GetLastImportError(0),
                           context=f"cannot import into {database.path}")
    try:
        for folder in folders(options.attachments_dir):
            imp.KSIMP_AddAttachmentFolder(handle, encode(folder))
        if options.attachment_max_mb:
            imp.KSIMP_SetAttachmentSizeLimit(handle, int(options.attachment_max_mb) << 20)
        if options.charset and not imp.KSIMP_SetSourceCharset(handle, encode(options.charset)):
            raise import_error(imp.KSIMP_GetLastImportError(handle),
                               context=f"character set {options.charset}")
        for index, (path, each_type) in enumerate(zip(paths, types)):
            if first_row_headers is not None:
                args.date_from = first_row_headers[index]
            if not _queue(handle, path, each_type, args):
                raise import_error(imp.KSIMP_GetLastImportError(handle), subject=path,
                                   context=f"cannot queue {path}")
    except BaseException:
        # Only a run releases a handle: an aborted one imports nothing of
        # what was queued.
        imp.KSIMP_Abort(handle)
        imp.KSIMP_Import(handle, 0, 0, None, None)
        raise
    documents_before = libraries().engine.EngCountDocuments(db_handle, c.ENG_WALK_DOCUMENTS)
    return _run(database, handle, documents_before, db_handle, paths, progress, poll_interval)


def _run(database, handle, documents_before, db_handle, paths, progress, poll_interval):
    imp = libraries().imp
    total_bytes = imp.KSIMP_GetTotalBytes(handle)
    added = ctypes.c_uint32(_NOT_WRITTEN)
    carry = ctypes.c_int64(0)
    outcome = []
    done = threading.Event()

    def work():
        try:
            outcome.append(imp.KSIMP_Import(handle, 0, 0, ctypes.byref(carry),
                                            ctypes.byref(added)))
        finally:
            done.set()

    worker = threading.Thread(target=work, name="kestro import")
    running = RunningImport(handle)
    database._running_import = running
    stopped_by = None  # KeyboardInterrupt or the callback's exception, raised at the end
    snapshot = Progress(total_bytes, 0, 0, "")
    worker.start()
    try:
        while not done.wait(poll_interval):
            now = _progress(handle, total_bytes, snapshot.current_file)
            if now is None:
                continue  # the run is ending; its last progress is given below
            snapshot = now
            if progress is not None and progress(snapshot) is False:
                running.abort()
    except BaseException as stop:  # noqa: B902 - Ctrl-C must abort too
        stopped_by = stop
        running.abort()
    finally:
        # The database may not be closed or used while the import runs on
        # it: wait for the worker, however often Ctrl-C is pressed.
        while worker.is_alive():
            try:
                worker.join()
            except KeyboardInterrupt:
                running.abort()
        database._running_import = None
    aborted = running.aborted

    ran_to_the_end = added.value != _NOT_WRITTEN
    if not ran_to_the_end:
        now = libraries().engine.EngCountDocuments(db_handle, c.ENG_WALK_DOCUMENTS)
        added.value = max(0, now - documents_before)
    result = ImportResult(added.value, read_log(handle), aborted)
    if stopped_by is not None:
        raise stopped_by
    if progress is not None:
        progress(Progress(total_bytes, snapshot.current_bytes if aborted else total_bytes,
                          result.documents_added, snapshot.current_file))

    # A file's name fills a placeholder of the text only when it is surely
    # the file that failed.
    only_file = paths[0] if len(paths) == 1 else None
    error = imp.KSIMP_GetLastImportError(handle)
    if error != c.ERR_INTERNAL:  # 11001 also means that none was recorded
        raise import_error(error, subject=only_file, result=result)
    if outcome[0] == 0 and not aborted:
        where = only_file or snapshot.current_file or "its first file"
        if not ran_to_the_end:
            raise import_error(c.ERR_UNSUPPORTED_TYPE, result=result,
                               context=f"the import stopped at {where}: no importer is "
                                       f"available for its file type")
        raise import_error(c.ERR_INTERNAL, result=result, context=f"the import of {where} failed")
    return result
