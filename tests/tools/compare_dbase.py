#!/usr/bin/python3
"""Compares the dBase/FoxPro driver with dbfread, row by row, on every .dbf
of a folder.

    compare_dbase.py TABLE_DUMP CORPUS_FOLDER

Runs table_dump on the folder (every .dbf is a table of it) and reads each
table again with python3-dbfread.  Exit 0 when they agree, 1 on a
difference, 77 (skipped) when the corpus, table_dump or dbfread is absent.

Differences accepted, each on purpose:
  - numbers (N, F) are our stored digits ("12.50" -> "12.5"), dbfread's a
    float: compared as numbers;
  - currency is compared as a decimal, dates as YYYY-MM-DD, date-times to
    the second (we round the stored milliseconds);
  - binary memos (G, P, B outside Visual FoxPro, binary M) are null with us;
    dbfread hands out their bytes;
  - a Visual FoxPro varchar is cut at the length its last byte keeps; dbfread
    hands out the whole field, that byte included;
  - a date that is no date: dbfread stops with an error, we keep the stored
    text (the parser below does the same for the comparison);
  - a dBase IV memo is as long as its block header says (a length that
    counts the header's 8 bytes); dbfread reads 8 bytes more and cuts at the
    first 0x1F, so it may show bytes left over from an earlier, longer memo
    ("Fifth memoo" for "Fifth memo"): accepted when it starts with ours;
  - a byte Windows-1252 leaves undefined (0x81, ...) is the Latin-1
    character of that number with us, U+FFFD with dbfread;
  - columns are compared by position: a table may name two alike
    (dbase_03.dbf has Point_ID twice), which dbfread's records keep once;
  - dBase II (dbase_02.dbf): dbfread reads its header as dBase III's and
    finds millions of records; only our side is checked, for its rows.
"""
import datetime
import decimal
import json
import os
import subprocess
import sys

SKIP = 77
CODE_PAGE_FALLBACK = "cp1252"  # table_dump's read options: Windows-1252


def main():
    if len(sys.argv) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    table_dump, folder = sys.argv[1], sys.argv[2]
    if not os.path.isdir(folder) or not os.access(table_dump, os.X_OK):
        print("no corpus or no table_dump: skipped")
        return SKIP
    try:
        import dbfread
        from dbfread.codepages import codepages
    except ImportError:
        print("python3-dbfread is not installed: skipped")
        return SKIP

    class Parser(dbfread.FieldParser):
        def parseD(self, field, data):
            try:
                return super().parseD(field, data)
            except ValueError:
                return self.decode_text(data.strip(b" \0"))

        def parseL(self, field, data):
            try:
                return super().parseL(field, data)
            except ValueError:
                return None

    ours = read_table_dump(table_dump, folder)
    failures = 0
    tables = 0
    for name in sorted(os.listdir(folder)):
        stem, extension = os.path.splitext(name)
        if extension.lower() != ".dbf":
            continue
        tables += 1
        if stem not in ours:
            print(f"{name}: table_dump did not list it")
            failures += 1
            continue
        columns, rows = ours[stem]
        path = os.path.join(folder, name)
        with open(path, "rb") as f:
            head = f.read(32)
        if head[0] == 0x02:
            print(f"{name}: dBase II, {len(rows)} rows read (dbfread cannot read it)")
            continue
        encoding = codepages.get(head[29], (CODE_PAGE_FALLBACK,))[0] if head[29] else CODE_PAGE_FALLBACK
        table = dbfread.DBF(path, encoding=encoding, parserclass=Parser, ignore_missing_memofile=True,
                            char_decode_errors="replace", recfactory=None)
        fields = [f for f in table.fields if f.type != "0"]
        if [f.name for f in fields] != columns:
            print(f"{name}: columns {columns} against {[f.name for f in fields]}")
            failures += 1
            continue
        theirs = list(table)
        if len(theirs) != len(rows):
            print(f"{name}: {len(rows)} rows against {len(theirs)}")
            failures += 1
            continue
        differences = 0
        for number, (mine, record) in enumerate(zip(rows, theirs)):
            values = [value for key, value in record if key != "_NullFlags"]
            for field, value, other in zip(fields, mine, values):
                if not same(field, value, other, head[0]):
                    differences += 1
                    if differences <= 5:
                        print(f"{name} row {number} {field.name}: {value!r} against {other!r}")
        failures += differences != 0
        print(f"{name}: {len(rows)} rows, {differences} differences")
    print(f"{tables} tables, {failures} with differences")
    return 1 if failures else 0


def read_table_dump(table_dump, folder):
    """{table: (columns, rows)} as table_dump prints them."""
    driver = "Microsoft dBase VFP Driver (*.dbf), built in"
    out = subprocess.run([table_dump, f"DRIVER={{{driver}}};DBQ={folder}"], check=True,
                         capture_output=True).stdout
    tables = {}
    current = None
    for line in out.decode("utf-8").splitlines():
        item = json.loads(line)
        if "table" in item:
            current = tables[item["table"]] = (item["columns"], [])
        else:
            current[1].append(item["row"])
    return tables


def same(field, ours, theirs, version):
    if isinstance(theirs, bytes) and field.type in "MGPBWQ":
        return ours is None  # binary: not imported
    if theirs is None or ours is None:
        return ours is None and theirs is None
    if isinstance(theirs, bool):
        return ours == str(theirs)
    if isinstance(theirs, decimal.Decimal):
        return decimal.Decimal(ours) == theirs
    if isinstance(theirs, (int, float)):
        try:
            return abs(float(ours) - theirs) <= 1e-9 * max(1.0, abs(theirs))
        except ValueError:
            return False
    if isinstance(theirs, datetime.datetime):
        rounded = theirs + datetime.timedelta(microseconds=500000)
        return ours == rounded.strftime("%Y-%m-%d %H:%M:%S")
    if isinstance(theirs, datetime.date):
        return ours == theirs.isoformat()
    if field.type == "V" or (field.type == "M" and version == 0x8B):
        return theirs.startswith(ours)
    return len(ours) == len(theirs) and all(a == b or b == "\ufffd" for a, b in zip(ours, theirs))


if __name__ == "__main__":
    sys.exit(main())
