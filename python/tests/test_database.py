"""Databases: creating, opening (also protected ones), reading documents in
order, searching, and the errors of each."""

import pytest

import kestro


def _add_pages(db, tmp_path, pages):
    source = tmp_path / "pages.txt"
    source.write_bytes("\f".join(pages).encode())
    return db.import_files(source, delimiter="pagebreak")


def test_documents_come_in_database_order_with_their_exact_text(db, tmp_path):
    _add_pages(db, tmp_path, ["alpha one\r\n", "beta two\r\n", "gamma three"])
    docs = list(db)
    assert [d.text for d in docs] == ["alpha one\r\n", "beta two\r\n", "gamma three"]
    assert len(db) == 3 and len({d.id for d in docs}) == 3
    assert db.document(docs[1].id) == docs[1]
    # Imported at the top, new documents come first.
    db.import_files(tmp_path / "pages.txt", location="top")
    assert [d.text for d in db][0].startswith("alpha one\r\n\f")


def test_search_finds_matches_in_database_order(db, tmp_path):
    _add_pages(db, tmp_path, ["red apple", "green pear", "red cherry"])
    assert [d.text for d in db.search("red")] == ["red apple", "red cherry"]
    assert db.search("blue") == []
    with pytest.raises(kestro.Error) as error:
        db.search('"unclosed')
    assert (error.value.code, error.value.engine) == (kestro.ENG_ERR_QUERY, True)


def test_documents_persist_after_close_and_reopen(tmp_path):
    path = tmp_path / "kept.kst"
    with kestro.Database.create(path) as db:
        _add_pages(db, tmp_path, ["one", "two"])
    with kestro.Database.open(path, readonly=True) as db:
        assert [d.text for d in db] == ["one", "two"]
    assert db.closed
    with pytest.raises(kestro.Error):
        len(db)


@pytest.mark.parametrize("content, code", [
    (None, kestro.ENG_ERR_NOT_FOUND),
    (b"plain text, not a database", kestro.ENG_ERR_NOT_DATABASE),
])
def test_a_file_that_is_no_database_cannot_be_opened(tmp_path, content, code):
    path = tmp_path / "x.kst"
    if content is not None:
        path.write_bytes(content)
    with pytest.raises(kestro.Error) as error:
        kestro.Database.open(path)
    assert error.value.engine and error.value.code == code
    assert str(path) in str(error.value)


def test_create_refuses_an_existing_file_unless_replacing(tmp_path):
    path = tmp_path / "x.kst"
    kestro.Database.create(path).close()
    with pytest.raises(kestro.Error) as error:
        kestro.Database.create(path)
    assert error.value.code == kestro.ENG_ERR_EXISTS
    kestro.Database.create(path, replace=True).close()


def test_a_protected_database_opens_only_with_its_password(tmp_path):
    path = tmp_path / "locked.kst"
    kestro.Database.create(path, login_group="staff", password="secret").close()
    with pytest.raises(kestro.Error) as error:
        kestro.Database.open(path)
    assert error.value.code == kestro.ENG_ERR_PASSWORD_REQUIRED
    with pytest.raises(kestro.Error) as error:
        kestro.Database.open(path, login_group="staff", password="wrong")
    assert error.value.code == kestro.ENG_ERR_PASSWORD_WRONG
    assert "password is wrong" in error.value.text
    with kestro.Database.open(path, login_group="staff", password="secret") as db:
        assert len(db) == 0
