"""The file-type list and column settings files, through the C interface."""

import pytest

import kestro


def test_the_type_list_gives_numbers_names_extensions_and_options():
    types = {t.number: t for t in kestro.file_types()}
    assert len(types) == 13
    text = types[kestro.TYPE_TEXT]
    assert (text.short_name, text.name, text.extensions) == ("text", "Text (*.txt)", ("txt",))
    assert text.option_mask & kestro.OPT_DOCUMENT_DELIMITER
    assert "Document Delimiter" in text.options
    assert "Use Stored Settings" in types[kestro.TYPE_DELIMITED].options
    assert types[kestro.TYPE_ANY_FILE].extensions == ("*",)
    # Types reached by short name only are not offered in the list.
    assert kestro.short_names()["fixed"] == kestro.TYPE_FIXED_WIDTH
    assert kestro.TYPE_FIXED_WIDTH not in types


def test_mail_kept_one_message_to_a_file_is_found_by_itself(tmp_path):
    from kestro.file_type_list import type_for_path
    (tmp_path / "Maildir" / "cur").mkdir(parents=True)
    assert type_for_path(tmp_path / "Maildir") == kestro.TYPE_MAILDIR
    assert type_for_path(tmp_path / "saved.EML") == kestro.TYPE_EML
    assert type_for_path(tmp_path) == kestro.TYPE_TEXT
    assert kestro.short_names()["maildir"] == kestro.TYPE_MAILDIR


def test_a_settings_file_round_trips_and_imports_fields(db, tmp_path):
    settings = tmp_path / "people.ksi"
    kestro.write_settings(settings, names="Name,Skip,Home Phone")
    header = kestro.read_settings(settings)
    assert "NA3=Home Phone" in header.split("\r\n")
    kestro.check_column_header(header)

    rows = tmp_path / "people.csv"
    rows.write_bytes(b"Name,Skip,Home Phone\r\nSmith ,x, 555\r\n")
    assert db.import_files(rows, settings=settings, first_row=2).documents_added == 1
    assert [d.text for d in db] == ["Name[ Smith ]\r\nHomePhone[ 555 ]\r\n"]

    from_first_row = tmp_path / "first-row.ksi"
    kestro.write_settings(from_first_row, names_from=rows)
    assert kestro.read_settings(from_first_row) == header


def test_fixed_width_columns_cut_each_row(db, tmp_path):
    rows = tmp_path / "states.txt"
    rows.write_bytes(b"Smith     WA\r\nJones     CA\r\n")
    result = db.import_files(rows, type="fixed", names=["Name", "State"], widths=[10, 2])
    assert result.documents_added == 2
    # Two blanks after the marker: the fixed-width import's own layout.
    assert next(iter(db)).text == "Name[  Smith ]\r\nState[  WA ]\r\n"


def test_settings_errors_carry_the_librarys_message(tmp_path):
    with pytest.raises(kestro.Error) as error:
        kestro.check_column_header("T=CSV\nN=x")
    assert 13000 <= error.value.code <= 13012
    with pytest.raises(kestro.Error) as error:
        kestro.write_settings(tmp_path / "bad.ksi", "T=XYZ\nN=1")
    assert error.value.code == 13001 and not (tmp_path / "bad.ksi").exists()
    with pytest.raises(kestro.Error) as error:
        kestro.read_settings(tmp_path / "nowhere.ksi")
    assert "nowhere.ksi, could not be located" in error.value.text
    (tmp_path / "empty.csv").write_bytes(b"")
    with pytest.raises(kestro.Error):
        kestro.column_header_from_first_row(tmp_path / "empty.csv")
