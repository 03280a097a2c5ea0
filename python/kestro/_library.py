"""Finds and loads libks_eng5.so and libks_imp.so and declares the C functions
this package calls, with the argument and result types of the headers.

The libraries are looked for, in this order, in the folders named by
KESTRO_LIB_DIR (several separated by os.pathsep, as in PATH), beside this
package, and then wherever the dynamic loader finds them (LD_LIBRARY_PATH,
ldconfig's cache).  The engine is loaded first: libks_imp.so names it as a
dependency, which the loader then finds already loaded.
"""

import ctypes
import os
import threading

_IMPORT_LIBRARY = "libks_imp.so"
_ENGINE_LIBRARY = "libks_eng5.so"

_u32 = ctypes.c_uint32
_i32 = ctypes.c_int32
_u64 = ctypes.c_uint64
_i64 = ctypes.c_int64
_str = ctypes.c_char_p
_buf = ctypes.c_char_p  # a buffer the caller owns (ctypes.create_string_buffer)

# name: (result type, argument types)
_ENGINE_FUNCTIONS = {
    "EngCreateDatabase": (_i32, [_str, _str, _str, _u32]),
    "EngOpenDatabase": (_u32, [_str, _i32, _i32]),
    "EngOpenDatabaseEx": (_u32, [_str, _i32, _i32, _str, _str]),
    "EngCloseDatabase": (_i32, [_u32]),
    "EngLastError": (_u32, [_u32]),
    "EngFirstDocument": (_u64, [_u32, _i32]),
    "EngNextDocument": (_u64, [_u32, _u64, _i32]),
    "EngCountDocuments": (_u64, [_u32, _i32]),
    "EngGetDocumentKind": (_i32, [_u32, _u64]),
    "EngGetDocumentText": (_i32, [_u32, _u64, _buf, _u64, ctypes.POINTER(_u64)]),
    "EngGetDocumentName": (_i32, [_u32, _u64, _buf, _u32]),
    "EngSearch": (_i64, [_u32, _str, ctypes.POINTER(_u64), _u32]),
}

_IMPORT_FUNCTIONS = {
    "KSIMP_InitImportUsingFileHandle": (_u32, [_u32]),
    "KSIMP_AddFileToImport": (
        _u32,
        [_u32, _str, _i32, _i32, _i32, _str, _i32, _str, _i32, _i32, _str, _i32, _i32, _str,
         _i32, _i32, _str, _i32, _str, _i32, _str, _str, _i32, _i32, _str, _str, _str, _str,
         _str, _str, _str, _i32, _i32],
    ),
    "KSIMP_AddAttachmentFolder": (_u32, [_u32, _str]),
    "KSIMP_SetAttachmentSizeLimit": (_u32, [_u32, _u64]),
    "KSIMP_SetSourceCharset": (_u32, [_u32, _str]),
    "KSIMP_Import": (_u32, [_u32, _i32, _i32, ctypes.POINTER(_i64), ctypes.POINTER(_u32)]),
    "KSIMP_Abort": (_u32, [_u32]),
    "KSIMP_GetTotalBytes": (_u32, [_u32]),
    "KSIMP_GetCurBytes": (_u32, [_u32]),
    "KSIMP_GetNumDocsAdded": (_u32, [_u32]),
    "KSIMP_GetCurFile": (_u32, [_u32, _buf]),
    "KSIMP_GetLastImportError": (_u32, [_u32]),
    "KSIMP_ImportErrorToString": (_u32, [_u32, _buf, _i32]),
    "KSIMP_IsLogData": (_u32, [_u32]),
    "KSIMP_GetLogData": (_u32, [_u32, _buf, _i32]),
    "KSIMP_GetFileTypeCount": (_u32, []),
    "KSIMP_GetFileTypeInfo": (
        _u32,
        [_u32, ctypes.POINTER(_i32), ctypes.POINTER(_u32), _buf, _i32, _buf, _i32, _buf, _i32],
    ),
    "KSIMP_GetFileTypeOptionMask": (_u32, [_i32]),
    "KSIMP_GetFileTypeShortName": (_u32, [_u32, ctypes.POINTER(_i32), _buf, _i32]),
    "KSIMP_GetOptionLabel": (_u32, [_u32, _buf, _i32]),
    "KSIMP_GetMessageCaption": (_u32, [_u32, _buf, _i32]),
    "KSIMP_CheckColumnHeader": (_u32, [_str]),
    "KSIMP_WriteSettingsFile": (_u32, [_str, _str]),
    "KSIMP_ReadSettingsFile": (_u32, [_str, _buf, _i32]),
    "KSIMP_ColumnHeaderFromFirstRow": (
        _u32, [_str, _str, ctypes.c_char, _i32, _i32, _buf, _i32, ctypes.POINTER(_u32)]),
}

_loaded = None
_loading = threading.Lock()


def _candidate_folders():
    folders = [f for f in os.environ.get("KESTRO_LIB_DIR", "").split(os.pathsep) if f]
    folders.append(os.path.dirname(os.path.abspath(__file__)))
    return folders


def _load(file_name):
    for folder in _candidate_folders():
        path = os.path.join(folder, file_name)
        if os.path.exists(path):
            return ctypes.CDLL(path)
    try:
        return ctypes.CDLL(file_name)
    except OSError as error:
        raise OSError(
            f"{file_name} was not found: set KESTRO_LIB_DIR to the folder that holds it "
            f"(searched {os.pathsep.join(_candidate_folders())} and the loader's path): {error}"
        ) from None


def _declare(library, functions):
    for name, (result, arguments) in functions.items():
        function = getattr(library, name)
        function.restype = result
        function.argtypes = arguments


class _Libraries:
    def __init__(self):
        self.engine = _load(_ENGINE_LIBRARY)
        self.imp = _load(_IMPORT_LIBRARY)
        _declare(self.engine, _ENGINE_FUNCTIONS)
        _declare(self.imp, _IMPORT_FUNCTIONS)


def libraries():
    """The two loaded libraries (.engine, .imp), loaded on first use so that
    importing the package never fails for want of them."""
    global _loaded
    with _loading:
        if _loaded is None:
            _loaded = _Libraries()
        return _loaded


def encode(text):
    """A str or path as the 8-bit string the C interface takes (None stays
    None): UTF-8, the system's character set, with the bytes of a file name
    that is not UTF-8 given back as they were."""
    if text is None:
        return None
    if isinstance(text, bytes):
        return text
    if isinstance(text, (str, os.PathLike)):
        return os.fsencode(text)
    return str(text).encode("utf-8")


def decode(data):
    """Bytes from the C interface as str; bytes that are not UTF-8 (a source
    imported as it stands) become U+FFFD rather than an exception."""
    return data.decode("utf-8", "replace")


def grow_until(fill, start_size=4096, limit=1 << 28):
    """Calls fill(buffer, size) with a larger buffer each time it returns
    false; returns the buffer's text, or None when even the limit is too
    small."""
    size = start_size
    while size <= limit:
        buffer = ctypes.create_string_buffer(size)
        if fill(buffer, size):
            return buffer.value
        size *= 4
    return None
