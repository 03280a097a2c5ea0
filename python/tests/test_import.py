"""Imports: real files of the corpus, progress, aborting (the callback,
another thread, Ctrl-C) with what was imported kept, and every way an
import fails."""

import signal
import threading
import warnings

import pytest

import kestro
from conftest import MANY


def test_every_corpus_csv_imports_with_its_first_row_as_field_names(db, corpus):
    files = sorted((corpus / "csv").glob("*.csv"))
    assert files
    for path in files:
        result = db.import_files(path, header=True)
        assert result.documents_added >= 1, path
    assert len(db) == sum(1 for _ in db)
    quoted = db.search('"Anytown"')
    assert [d.text for d in quoted] == [
        "first[ John ]\r\nlast[ Doe ]\r\naddress[ 120 any st. ]\r\ncity[ Anytown, WW ]\r\n"
        "zip[ 08123 ]\r\n"]


def test_mailboxes_import_one_document_per_message(db, corpus):
    assert db.import_files(corpus / "mbox" / "mailarc-1-dos.mbox",
                           type="mbx").documents_added == 16
    result = db.import_files(corpus / "eudora" / "In-win-eudora71.mbx", type=kestro.TYPE_EUDORA)
    assert result.documents_added == 5
    assert len(db) == 21


def test_table_files_import_a_document_per_row_by_their_extension(db, corpus):
    assert db.import_files(corpus / "paradox" / "ORDERS.DB").documents_added == 224
    assert db.import_files(corpus / "dbf" / "dbase_03.dbf").documents_added == 14
    assert db.import_files(corpus / "xlsx" / "date.xlsx").documents_added == 2
    assert "Ship VIA[ UPS ]" in next(iter(db.search("UPS"))).text


def test_text_is_cut_by_the_delimiter_given(db, tmp_path):
    source = tmp_path / "notes.txt"
    source.write_bytes(b"one\r\ntwo\r\nthree\r\nfour\r\nfive\r\n")
    assert db.import_files(source, delimiter="lines:2").documents_added == 3
    assert db.import_files(source, delimiter="string:three").documents_added == 2
    assert db.import_files(source).documents_added == 1


def test_text_is_read_in_the_character_set_named(db, tmp_path):
    source = tmp_path / "koi8.txt"
    source.write_bytes("Привет, мир\r\n".encode("koi8-r"))
    db.import_files(source, charset="KOI8-R")
    assert [d.text for d in db.search("мир")] == ["Привет, мир\r\n"]
    with pytest.raises(kestro.Error) as raised:
        db.import_files(source, charset="no-such-charset")
    assert raised.value.code == 11030
    assert len(db) == 1


def test_progress_reaches_the_callback_and_ends_with_the_total(db, many_documents):
    seen = []
    result = db.import_files(many_documents, delimiter="blankline", progress=seen.append,
                             poll_interval=0.01)
    assert result.documents_added == MANY and not result.aborted
    assert len(seen) >= 2
    assert all(p.total_bytes == many_documents.stat().st_size for p in seen)
    counts = [p.documents_added for p in seen]
    assert counts == sorted(counts)
    last = seen[-1]
    assert (last.current_bytes, last.documents_added) == (last.total_bytes, MANY)
    assert any(p.current_file.endswith("many.txt") for p in seen[:-1])


# The ways to stop an import act at the first poll that sees a document
# added: polled every millisecond, that comes long before the last of the
# many documents (which take at least a tenth of a second here).
POLL = 0.001


def once_adding(action):
    return lambda progress: action() if progress.documents_added else None


def _abort_from_another_thread(db):
    adding = threading.Event()
    threading.Thread(target=lambda: adding.wait() and db.abort(), daemon=True).start()
    return once_adding(adding.set)


@pytest.mark.parametrize("stopper", [
    lambda db: once_adding(lambda: False),  # the callback says stop
    _abort_from_another_thread,
])
def test_an_abort_keeps_what_was_imported(db, many_documents, stopper):
    result = db.import_files(many_documents, delimiter="blankline", progress=stopper(db),
                             poll_interval=POLL)
    assert result.aborted
    kept = result.documents_added
    assert 0 < kept == len(db) < MANY
    # Documents 0 .. kept-1, each whole, and none after them.
    assert next(iter(db)).text == "Document 0 about widgets\r\n"
    assert [d.text for d in db.search(str(kept - 1))] == [f"Document {kept - 1} about widgets\r\n"]
    assert db.search(str(kept)) == []


def test_a_callback_that_raises_aborts_and_may_not_use_the_database(db, many_documents):
    with pytest.raises(RuntimeError, match="busy with an import"):
        db.import_files(many_documents, delimiter="blankline", poll_interval=POLL,
                        progress=once_adding(lambda: len(db)))
    assert 0 < len(db) < MANY


def test_ctrl_c_aborts_and_keeps_what_was_imported(tmp_path, many_documents):
    path = tmp_path / "interrupted.kst"
    with kestro.Database.create(path) as db:
        with pytest.raises(KeyboardInterrupt):
            db.import_files(many_documents, delimiter="blankline", poll_interval=POLL,
                            progress=once_adding(lambda: signal.raise_signal(signal.SIGINT)))
        kept = len(db)
    assert 0 < kept < MANY
    with kestro.Database.open(path) as db:
        assert len(db) == kept


def test_a_missing_file_fails_and_the_files_before_it_stay(db, tmp_path):
    good = tmp_path / "good.txt"
    good.write_text("kept")
    with pytest.raises(kestro.Error) as error:
        db.import_files([good, tmp_path / "nope.txt"])
    assert error.value.code == kestro.ERR_OPEN_FILE
    assert error.value.text == "Could not open file."
    assert error.value.result.documents_added == 1
    assert error.value.result.log == [f"The file {tmp_path / 'nope.txt'}, could not be located."]
    assert [d.text for d in db] == ["kept"]


@pytest.mark.parametrize("file_type, code", [
    ("doc", kestro.ERR_WRONG_FILE_TYPE),      # a text file is no Word document
    (kestro.TYPE_IMAP_SERVER, kestro.ERR_IMAP_CONNECT),  # queued without a server to read
])
def test_a_type_that_cannot_be_imported_is_an_error(db, tmp_path, file_type, code):
    source = tmp_path / "a.txt"
    source.write_text("x")
    with pytest.raises(kestro.Error) as error:
        db.import_files(source, type=file_type)
    assert error.value.code == code
    assert len(db) == 0
    assert db.import_files(source).documents_added == 1


@pytest.mark.parametrize("arguments", [
    {"type": "nonsense"},
    {"delimiter": "sometimes"},
    {"location": "middle"},
    {"origin": "ebcdic"},
    {"date_range": "2020"},
])
def test_option_values_ksimp_refuses_are_value_errors(db, tmp_path, arguments):
    with pytest.raises(ValueError):
        db.import_files(tmp_path / "a.txt", **arguments)


def test_unknown_options_and_bars_in_names_are_refused_before_importing(db, tmp_path):
    with pytest.raises(TypeError):
        db.import_files(tmp_path / "a.txt", colour="blue")
    with pytest.raises(ValueError):
        db.import_files(tmp_path / "a|b.txt")


def test_delimiter_and_saving_attachments_exclude_each_other(db, tmp_path):
    with pytest.raises(kestro.Error) as error:
        db.import_files(tmp_path / "a.txt", delimiter="blankline", save_attachments=True)
    assert error.value.code == 14045
    with pytest.raises(kestro.Error) as error:
        db.import_files(tmp_path / "a.txt", save_attachments=True, delimiter="blankline")
    assert error.value.code == 14053


def test_an_option_the_type_does_not_offer_is_a_warning(db, tmp_path):
    source = tmp_path / "a.txt"
    source.write_text("x")
    with pytest.warns(kestro.OptionNotOffered, match='does not offer "Full Header"'):
        assert db.import_files(source, full_header=True).documents_added == 1
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        db.import_files(source, origin="oem")
