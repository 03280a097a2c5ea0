"""The file types the import library offers, their short names and options,
read through the C interface the way `ksimp types` reads them."""

import ctypes
import os
from dataclasses import dataclass

from . import constants as c
from ._library import decode, libraries
from .errors import Error


@dataclass(frozen=True)
class FileType:
    number: int          # the KSIMP_TYPE_ value
    short_name: str      # what `type=` also accepts ("text", "csv", ...); "" when none
    name: str            # the name shown to the user
    extensions: tuple    # without dots; ("*",) for any file
    description: str
    option_mask: int     # OPT_ bits
    options: tuple       # the labels of those bits ("File Origin", ...)


def option_label(option):
    """The label of one OPT_ bit, e.g. "File Origin"."""
    buffer = ctypes.create_string_buffer(256)
    if libraries().imp.KSIMP_GetOptionLabel(option, buffer, len(buffer)):
        return decode(buffer.value)
    return f"option {option}"


def option_labels(mask):
    return tuple(option_label(bit) for bit in _option_bits() if mask & bit)


def _option_bits():
    bit = 1
    while bit <= c.OPT_FILTER:
        yield bit
        bit <<= 1


def short_names():
    """{short name: type number}, offered types first, as the library lists
    them."""
    imp = libraries().imp
    names = {}
    number = ctypes.c_int32()
    buffer = ctypes.create_string_buffer(256)
    index = 0
    while imp.KSIMP_GetFileTypeShortName(index, ctypes.byref(number), buffer, len(buffer)):
        names[decode(buffer.value)] = number.value
        index += 1
    return names


def _offered_count():
    imp = libraries().imp
    count = imp.KSIMP_GetFileTypeCount()
    if count == 0:
        # The library keeps the reason (a damaged configuration) in the log
        # of handle 0.
        from .importing import read_log
        reason = " ".join(read_log(0)) or "no file types are available"
        raise Error(c.ERR_INTERNAL, reason)
    return count


def file_types():
    """Every file type offered here, in the library's order."""
    imp = libraries().imp
    names = {number: name for name, number in short_names().items()}
    types = []
    for index in range(_offered_count()):
        number, mask = ctypes.c_int32(), ctypes.c_uint32()
        name = ctypes.create_string_buffer(1024)
        extensions = ctypes.create_string_buffer(1024)
        description = ctypes.create_string_buffer(8192)
        if not imp.KSIMP_GetFileTypeInfo(index, ctypes.byref(number), ctypes.byref(mask), name,
                                         len(name), extensions, len(extensions), description,
                                         len(description)):
            continue
        types.append(FileType(number.value, names.get(number.value, ""), decode(name.value),
                              tuple(decode(extensions.value).split()),
                              decode(description.value), mask.value, option_labels(mask.value)))
    return types


def type_number(value):
    """A file type given as a number or a short name (any case), as its
    number; ValueError for a name the library does not know."""
    if isinstance(value, int):
        return value
    text = str(value)
    names = short_names()
    if text.lower() in names:
        return names[text.lower()]
    try:
        return int(text)
    except ValueError:
        raise ValueError(f"unknown file type {text!r}: give a number or one of "
                         f"{', '.join(names)}") from None


# Table files, which the offered list leaves out (as ksimp reads them).
_TABLE_TYPES = {"mdb": c.TYPE_ACCESS, "accdb": c.TYPE_ACCESS, "xls": c.TYPE_EXCEL,
                "xlsx": c.TYPE_EXCEL, "dbf": c.TYPE_DBASE, "db": c.TYPE_PARADOX}


# Mail kept one message to a file, which the offered list leaves out too.
_MAIL_TYPES = {"eml": c.TYPE_EML}


def type_for_path(path):
    """A Maildir for a folder holding cur/ or new/; else the first offered
    type whose extensions hold the file's, else the table or mail type of
    its extension; plain text when none fits."""
    path = os.fspath(path)
    if os.path.isdir(path) and any(os.path.isdir(os.path.join(path, sub))
                                   for sub in ("cur", "new")):
        return c.TYPE_MAILDIR
    extension = os.path.splitext(path)[1].lower().lstrip(".")
    for file_type in file_types():
        if extension in (e.lower() for e in file_type.extensions):
            return file_type.number
    return _TABLE_TYPES.get(extension, _MAIL_TYPES.get(extension, c.TYPE_TEXT))


def option_mask(file_type):
    """The OPT_ bits a file type offers."""
    return libraries().imp.KSIMP_GetFileTypeOptionMask(file_type)
