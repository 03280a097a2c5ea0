#!/usr/bin/python3
"""Compares the Excel driver with independent readers, row by row, on every
workbook of the shared corpus: python3-xlrd for .xls, python3-openpyxl
(read-only, cached formula values) for .xlsx.

    compare_excel.py TABLE_DUMP CORPUS_DIR

Both sides are brought to the driver's table model: the first row holding a
value names the columns (a blank header cell is F<column number>), empty rows
at the end are dropped, columns past the last value that carry a generated
name and only nulls are dropped (the driver spans the sheet's declared used
range, the readers the cells they found).  Values are compared as the
driver's text.  Exit 0 when everything matches or differs only as explained
below, 1 otherwise, 77 when the corpus or a reader is missing.
"""

import datetime
import json
import os
import re
import subprocess
import sys

DRIVER = "Microsoft Excel Driver (*.xls, *.xlsx), built in"

# Workbooks the driver refuses on purpose, with the reason.
REFUSED = {
    # Excel 4: the driver reads BIFF5 and BIFF8 only.
    "biff4_no_format_no_window2.xls": "Excel 2, 3 or 4",
    # Encrypted (RC4, XOR obfuscation, an agile-encrypted .xlsx package).
    "poi-password.xls": "protected by a password",
    "poi-xor-encryption-abc.xls": "protected by a password",
    "pass_protected.xlsx": "encrypted",
    # Not a workbook at all: both readers fail too.
    "too_small.xls": "not an Excel workbook",
}


def decode_escapes(text):
    """_xHHHH_ escapes as Excel shows them; openpyxl 3.0 leaves them in."""
    return re.sub(r"_x([0-9A-Fa-f]{4})_", lambda m: chr(int(m.group(1), 16)), text)


def number_text(value):
    """The driver's number text: shortest round trip, no ".0" on whole numbers."""
    if isinstance(value, bool):
        return "True" if value else "False"
    if isinstance(value, int):
        return str(value)
    text = repr(float(value))
    return text[:-2] if text.endswith(".0") else text


def time_text(seconds):
    return "%02d:%02d:%02d" % (seconds // 3600, seconds // 60 % 60, seconds % 60)


def xls_rows(path):
    import xlrd
    book = xlrd.open_workbook(path, formatting_info=True)
    for sheet in book.sheets():
        rows = []
        for r in range(sheet.nrows):
            row = []
            for cell in sheet.row(r):
                if cell.ctype in (xlrd.XL_CELL_EMPTY, xlrd.XL_CELL_BLANK):
                    row.append(None)
                elif cell.ctype == xlrd.XL_CELL_TEXT:
                    row.append(cell.value)
                elif cell.ctype == xlrd.XL_CELL_BOOLEAN:
                    row.append("True" if cell.value else "False")
                elif cell.ctype == xlrd.XL_CELL_ERROR:
                    row.append(xlrd.error_text_from_code.get(cell.value))
                elif cell.ctype == xlrd.XL_CELL_DATE:
                    # The driver decides date, date-time, time of day or
                    # elapsed time by the cell's format, as for .xlsx.
                    fmt = format_of(book, cell)
                    if "[h" in fmt:
                        total = round(cell.value * 86400)
                        row.append("%d:%02d:%02d" % (total // 3600, total // 60 % 60, total % 60))
                        continue
                    if "d" not in fmt and "y" not in fmt and 0 <= cell.value < 1:
                        row.append(time_text(round(cell.value * 86400)))
                        continue
                    y, mo, d, h, mi, s = xlrd.xldate_as_tuple(cell.value, book.datemode)
                    if cell.value % 1 == 0:
                        row.append("%04d-%02d-%02d" % (y, mo, d))
                    else:
                        row.append("%04d-%02d-%02d %s" % (y, mo, d, time_text(h * 3600 + mi * 60 + s)))
                else:
                    row.append(number_text(cell.value))
            rows.append(row)
        yield sheet.name, rows


def format_of(book, cell):
    """The cell's number format, lowered (needs formatting info)."""
    try:
        return book.format_map[book.xf_list[cell.xf_index].format_key].format_str.lower()
    except (AttributeError, IndexError, KeyError, TypeError):
        return ""


def xlsx_rows(path):
    from openpyxl import load_workbook
    from openpyxl.utils.datetime import to_excel
    book = load_workbook(path, read_only=True, data_only=True)
    for sheet in book.worksheets:  # chart sheets have no cells: not tables
        rows = []
        for cells in sheet.iter_rows():
            row = []
            for cell in cells:
                v = getattr(cell, "value", None)
                if v is None:
                    row.append(None)
                elif isinstance(v, datetime.datetime) and "[h" in str(cell.number_format).lower():
                    # An elapsed time ([h]:mm:ss): openpyxl 3.0 gives a date,
                    # the driver the hours past 24 that Excel shows.
                    total = round(to_excel(v, book.epoch) * 86400)
                    row.append("%d:%02d:%02d" % (total // 3600, total // 60 % 60, total % 60))
                elif isinstance(v, datetime.datetime):
                    # The driver shows a date format without its midnight
                    # time; openpyxl gives every date as a datetime.  Both
                    # forms of a midnight are accepted (see same()).
                    row.append(v.strftime("%Y-%m-%d %H:%M:%S"))
                elif isinstance(v, datetime.date):
                    row.append(v.strftime("%Y-%m-%d"))
                elif isinstance(v, datetime.time):
                    row.append(time_text(v.hour * 3600 + v.minute * 60 + v.second))
                elif isinstance(v, (bool, int, float)):
                    row.append(number_text(v))
                else:
                    row.append(decode_escapes(str(v)))
            rows.append(row)
        yield sheet.title, rows


def same(ours, theirs):
    if ours == theirs:
        return True
    # openpyxl gives a date-formatted cell as a datetime at midnight.
    if ours is not None and theirs is not None and theirs == ours + " 00:00:00":
        return True
    return False


def as_table(rows):
    """The reader's grid in the driver's table model: (columns, rows)."""
    rows = [list(r) for r in rows]
    while rows and all(v is None for v in rows[0]):
        rows.pop(0)
    while rows and all(v is None for v in rows[-1]):
        rows.pop()
    if not rows:
        return [], []
    header = rows[0]
    columns = [h if h not in (None, "") else "F%d" % (i + 1) for i, h in enumerate(header)]
    return columns, rows[1:]


def trim(columns, rows):
    """Drops trailing columns with a generated name and no value."""
    width = len(columns)
    while width > 0 and columns[width - 1] == "F%d" % width and all(
            width - 1 >= len(r) or r[width - 1] is None for r in rows):
        width -= 1
    return columns[:width], [(list(r) + [None] * width)[:width] for r in rows]


def dump(table_dump, path):
    result = subprocess.run([table_dump, "DRIVER={%s};DBQ=%s" % (DRIVER, path)],
                            capture_output=True, text=True)
    if result.returncode != 0:
        return None, result.stderr.strip()
    tables = []
    for line in result.stdout.splitlines():
        item = json.loads(line)
        if "table" in item:
            tables.append((item["table"], item["columns"], []))
        else:
            tables[-1][2].append(item["row"])
    return tables, ""


def main():
    if len(sys.argv) != 3:
        print(__doc__)
        return 2
    table_dump, corpus = sys.argv[1], sys.argv[2]
    try:
        import openpyxl  # noqa: F401
        import xlrd  # noqa: F401
    except ImportError as error:
        print("SKIP: %s" % error)
        return 77
    files = []
    for folder, ext in (("xls", ".xls"), ("xlsx", ".xlsx")):
        directory = os.path.join(corpus, folder)
        if os.path.isdir(directory):
            files += [os.path.join(directory, f) for f in sorted(os.listdir(directory)) if f.endswith(ext)]
    if not files:
        print("SKIP: no corpus at %s" % corpus)
        return 77

    failures = 0
    read = 0
    for path in files:
        name = os.path.basename(path)
        tables, error = dump(table_dump, path)
        if name in REFUSED:
            if tables is not None or REFUSED[name] not in error:
                print("FAIL %s: expected a refusal (%s), got %s" % (name, REFUSED[name], error or "tables"))
                failures += 1
            else:
                print("ok   %s: refused as expected: %s" % (name, error))
            continue
        if tables is None:
            print("FAIL %s: %s" % (name, error))
            failures += 1
            continue
        theirs = list(xls_rows(path) if name.endswith(".xls") else xlsx_rows(path))
        problems = []
        if [t[0] for t in tables] != [t[0] for t in theirs]:
            problems.append("sheets %s vs %s" % ([t[0] for t in tables], [t[0] for t in theirs]))
        for (sheet, columns, rows), (_, their_rows) in zip(tables, theirs):
            ours_c, ours_r = trim(columns, rows)
            their_c, their_r = trim(*as_table(their_rows))
            if len(ours_c) != len(their_c) or not all(same(a, b) for a, b in zip(ours_c, their_c)):
                problems.append("%s: columns %s vs %s" % (sheet, ours_c, their_c))
                continue
            if len(ours_r) != len(their_r):
                problems.append("%s: %d rows vs %d" % (sheet, len(ours_r), len(their_r)))
            for i, (a, b) in enumerate(zip(ours_r, their_r)):
                if not all(same(x, y) for x, y in zip(a, b)):
                    problems.append("%s row %d: %s vs %s" % (sheet, i + 1, a, b))
        if problems:
            failures += 1
            print("FAIL %s:\n  %s" % (name, "\n  ".join(problems[:10])))
        else:
            read += 1
            print("ok   %s: %d sheets match" % (name, len(tables)))
    print("%d workbooks read and matching, %d refused as expected, %d failures"
          % (read, sum(1 for f in files if os.path.basename(f) in REFUSED), failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
