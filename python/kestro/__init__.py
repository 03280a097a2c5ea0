"""kestro: create and open Kestro databases, import files into them through
the import library, read and search their documents.

    import kestro
    with kestro.Database.create("notes.kst", replace=True) as db:
        result = db.import_files(["notes.txt", "orders.csv"], progress=print)
        print(result.documents_added, "documents added", *result.log, sep="\\n")
        for doc in db.search("invoice"): print(doc.id, doc.text[:60])

The package calls libks_imp.so and libks_eng5.so through ctypes; it finds
them through KESTRO_LIB_DIR, beside the package, or on the loader's path.
"""

from .constants import *  # noqa: F401,F403 - the header's numbers, e.g. kestro.TYPE_TEXT
from .database import Database, Document
from .errors import Error
from .file_type_list import FileType, file_types, short_names
from .importing import ImportResult, OptionNotOffered, Progress
from .settings import (check_column_header, column_header, column_header_from_first_row,
                       read_settings, write_settings)

# Tracebacks and reprs name the classes where users import them from.
for _public in (Database, Document, Error, FileType, ImportResult, OptionNotOffered, Progress):
    _public.__module__ = __name__
del _public

__version__ = "0.1.0"
