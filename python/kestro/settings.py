"""Column settings of delimited and fixed-width imports: the column header
string (KEY=VALUE lines joined by CR LF) and the ".ksi" settings files that
keep it, as `ksimp settings write/show` and `ksimp import --names/--columns/
--settings/--header` make and read them."""

import ctypes
import os

from . import constants as c
from ._library import decode, encode, grow_until, libraries
from .errors import import_error

_FILE_NOT_LOCATED = 11006  # "The file %s, could not be located."


def _split(value):
    """A list given as a sequence or as one comma-separated string."""
    if value is None:
        return []
    if isinstance(value, str):
        return value.split(",") if value else []
    return [str(v) for v in value]


def _qualifier_text(qualifier):
    if qualifier in (None, "", "none"):
        return ""
    if qualifier not in ('"', "'"):
        raise ValueError("qualifier takes '\"', \"'\" or None")
    return qualifier


def normalize_column_header(text):
    """A column header string written with any line breaks (or none) as the
    library takes it: CR LF after each line.  A string without a line break
    would be read by the import as the name of a settings file."""
    lines = text.replace("\r\n", "\n").replace("\r", "\n").split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    return "".join(line + "\r\n" for line in lines) or "\r\n"


def column_header(names=None, widths=None, delim=None, qualifier='"', consecutive=False,
                  first_row=None):
    """The column header string of columns named `names` (a list or
    "a,b,c"; "Skip" leaves a column out).  With `widths` the columns are
    fixed-width (T=FXD), else delimited by the characters of `delim`
    (default ",") with the text qualifier `qualifier` ('"', "'" or None)."""
    column_names, column_widths = _split(names), _split(widths)
    fixed = bool(column_widths)
    count = max(len(column_names), len(column_widths))
    lines = [f"T={'FXD' if fixed else 'CSV'}", f"N={count}"]
    for i in range(count):
        lines.append(f"NA{i + 1}={column_names[i] if i < len(column_names) else ''}")
        if fixed:
            lines.append(f"L{i + 1}={column_widths[i] if i < len(column_widths) else '0'}")
        else:
            lines.append(f"P{i + 1}={i + 1}")
    if not fixed:
        lines += [f"D={delim or ','}", f"TQ={_qualifier_text(qualifier)}",
                  f"TC={1 if consecutive else 0}"]
    return with_first_row("".join(line + "\r\n" for line in lines), first_row)


def with_first_row(header, first_row):
    """`header` importing from row `first_row` (1 = the first) instead of
    the row it names."""
    if not header or first_row is None:
        return header
    # The first occurrence of a key counts, so a leading S line wins.  A
    # column without a position takes the first row as its position, which
    # then lies beyond the columns: fixed-width settings carry no
    # positions, so column 1 is given its own.
    lines = f"S={int(first_row)}\r\n"
    has_p1 = any(line.split("=", 1)[0].upper() == "P1" for line in header.split("\r\n"))
    if not has_p1:
        lines += "P1=1\r\n"
    return lines + header


def column_header_from_first_row(path, delim=None, qualifier='"', consecutive=False,
                                 origin="ansi", first_row=None):
    """The column header string of a delimited file whose first row names
    its columns (rows are imported from the second).  Error when the file
    cannot be read or has no first row."""
    quote = _qualifier_text(qualifier)
    message = ctypes.c_uint32(0)
    size = 1 << 16
    while True:
        buffer = ctypes.create_string_buffer(size)
        if libraries().imp.KSIMP_ColumnHeaderFromFirstRow(
                encode(path), encode(delim or ","), quote.encode() if quote else b"\0",
                1 if consecutive else 0, 0 if origin == "oem" else 1, buffer, size,
                ctypes.byref(message)):
            break
        # 11001 also answers a buffer too small: try a larger one.
        if message.value != c.ERR_INTERNAL or size >= 1 << 28:
            raise import_error(message.value, subject=path,
                               context=f"cannot take the column names from the first row of "
                                       f"{path}")
        size *= 4
    header = buffer.value
    return with_first_row(decode(header), first_row)


def check_column_header(header):
    """Raises Error with the library's message (13000-13012) when the column
    header string does not parse."""
    code = libraries().imp.KSIMP_CheckColumnHeader(encode(header))
    if code != 0:
        raise import_error(code, context="the column header string does not parse")


def write_settings(path, header=None, *, names=None, widths=None, delim=None, qualifier='"',
                   consecutive=False, names_from=None):
    """Saves a settings file: the column header string `header`, or the one
    the keywords describe (as column_header), or the one the first row of
    the delimited file `names_from` names.  A settings file keeps no first
    row: give first_row again when importing with it."""
    if header is None:
        if names_from is not None:
            header = column_header_from_first_row(names_from, delim, qualifier, consecutive)
        elif names is not None or widths is not None:
            header = column_header(names, widths, delim, qualifier, consecutive)
        else:
            raise ValueError("describe the columns: header, names, widths or names_from")
    else:
        header = normalize_column_header(header)
    code = libraries().imp.KSIMP_WriteSettingsFile(encode(path), encode(header))
    if code != 0:
        raise import_error(code, subject=path, context=f"cannot write {path}")


def read_settings(path):
    """The column header string the settings file `path` yields.  A file
    that does not exist is an Error: the library would read it as defaults
    that do not parse."""
    if not os.path.isfile(path):
        raise import_error(_FILE_NOT_LOCATED, subject=path)

    def fill(buffer, size):
        return libraries().imp.KSIMP_ReadSettingsFile(encode(path), buffer, size)

    return decode(grow_until(fill, 1 << 16) or b"")
