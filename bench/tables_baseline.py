#!/usr/bin/env python3
"""The baseline of tables_bench: an independent reader of a table file
(dbfread for .dbf, openpyxl in read-only mode for .xlsx) turning every row
into the same document text the import makes ("Name[ value ]" lines) and
inserting the documents into a plain SQLite table.  Prints the rows and the
seconds taken, from opening the file to the commit.

    tables_baseline.py FILE DATABASE
"""
import sqlite3
import sys
import time


def dbf_rows(path):
    from dbfread import DBF
    table = DBF(path, encoding="cp1252")
    names = table.field_names
    for record in table:
        yield names, [record[n] for n in names]


def xlsx_rows(path):
    from openpyxl import load_workbook
    book = load_workbook(path, read_only=True)
    for sheet in book.worksheets:
        rows = sheet.iter_rows(values_only=True)
        names = [str(n) for n in next(rows, ())]
        for row in rows:
            yield names, row


def text(value):
    return "" if value is None else str(value)


def main():
    path, database = sys.argv[1], sys.argv[2]
    start = time.perf_counter()
    rows = dbf_rows(path) if path.lower().endswith(".dbf") else xlsx_rows(path)
    db = sqlite3.connect(database)
    db.execute("PRAGMA journal_mode=WAL")
    db.execute("PRAGMA synchronous=OFF")
    db.execute("CREATE TABLE documents(text TEXT)")
    count = 0
    batch = []
    for names, values in rows:
        batch.append(("".join("%s[ %s ]\r\n" % (n, text(v)) for n, v in zip(names, values)),))
        count += 1
        if len(batch) == 10000:
            db.executemany("INSERT INTO documents VALUES (?)", batch)
            batch = []
    db.executemany("INSERT INTO documents VALUES (?)", batch)
    db.commit()
    db.close()
    print(count, time.perf_counter() - start)


if __name__ == "__main__":
    main()
