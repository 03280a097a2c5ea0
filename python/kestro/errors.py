"""kestro.Error: every failure the import library or the engine reports.

The import library's codes are the identifiers of its message texts
(KSIMP_ImportErrorToString); the engine has numbers of its own
(EngLastError) and no texts, so their meanings are written here, in the
words the command-line host uses.
"""

import ctypes

from . import constants as c
from ._library import decode, libraries

_ENGINE_TEXTS = {
    c.ENG_ERR_NOT_FOUND: "the file does not exist",
    c.ENG_ERR_ACCESS: "the file cannot be read or written (permission denied?)",
    c.ENG_ERR_NOT_DATABASE: "the file is not a Kestro database (or it is damaged)",
    c.ENG_ERR_FOREIGN: "the file is a database of another program, not a Kestro database",
    c.ENG_ERR_VERSION: "the database was written by a newer version of Kestro",
    c.ENG_ERR_EXISTS: "the file exists already",
    c.ENG_ERR_ARGUMENT: "an argument is missing or invalid",
    c.ENG_ERR_IO: "an input/output error occurred",
    c.ENG_ERR_BUSY: "the database is in use by another program",
    c.ENG_ERR_READONLY: "the database is open for reading only",
    c.ENG_ERR_HANDLE: "the database is not open",
    c.ENG_ERR_NO_DOCUMENT: "there is no such document",
    c.ENG_ERR_MEMORY: "out of memory",
    c.ENG_ERR_QUERY: "the search query is not valid",
    c.ENG_ERR_BUFFER: "a buffer was too small",
    c.ENG_ERR_STATE: "the call came out of order",
    c.ENG_ERR_INTERNAL: "the engine failed unexpectedly",
    c.ENG_ERR_INTERRUPTED: "an interrupted write left a journal beside the database that must be "
                           "rolled back: open the database once for writing, as the owner of "
                           "the file and its folder",
    c.ENG_ERR_FULL: "the disk or the file size limit is full",
    c.ENG_ERR_PASSWORD_REQUIRED: "the database is protected by a password",
    c.ENG_ERR_PASSWORD_WRONG: "the login group or password is wrong",
}


class Error(Exception):
    """A failure reported by the import library or the engine.

    code    the library's error number (a KSIMP_ERR_ value, or a message
            number such as 13003), or the engine's (KSENG_ERR_) when engine
            is true
    text    the message text of that number
    engine  true when the number is the engine's
    result  for a failed import, the ImportResult of what it did before
            (documents added, log lines); else None

    The message says what failed, the text and number, and for an import
    the last lines of its log, which name the file and the cause.
    """

    _LOG_LINES_SHOWN = 5

    def __init__(self, code, text, *, engine=False, context=None, result=None):
        self.code = code
        self.text = text
        self.engine = engine
        self.result = result
        kind = "engine error" if engine else "error"
        message = f"{text} ({kind} {code})"
        if context:
            message = f"{context}: {message}"
        if result is not None and result.log:
            message += "".join("\n  " + line for line in result.log[-self._LOG_LINES_SHOWN:])
        super().__init__(message)


def message_text(code):
    """The import library's text of message `code`, raw (with its "%s")."""
    buffer = ctypes.create_string_buffer(1 << 16)
    if not libraries().imp.KSIMP_ImportErrorToString(code, buffer, len(buffer)):
        return f"message {code}"
    return decode(buffer.value)


def import_error(code, subject=None, context=None, result=None):
    """An Error for the import library's `code`; `subject` (a file name)
    takes the place of the text's placeholder."""
    text = message_text(code)
    if subject is not None:
        text = text.replace("%s", str(subject)).replace("%1", str(subject))
    return Error(code, text, context=context, result=result)


def engine_error(context=None):
    """An Error for the engine call that just failed on this thread."""
    code = libraries().engine.EngLastError(0)
    return Error(code, _ENGINE_TEXTS.get(code, f"engine error {code}"), engine=True,
                 context=context)
