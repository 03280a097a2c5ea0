"""The keyword options of Database.import_files, with the names and values of
`ksimp import`'s flags, turned into the arguments of KSIMP_AddFileToImport.
A value the flag would refuse raises ValueError before anything is queued."""

from dataclasses import dataclass, fields

from . import constants as c


@dataclass
class ImportOptions:
    """What a caller may give; the defaults are ksimp's."""
    delimiter: str = "none"          # none, pagebreak, blankline, lines:N, string:S
    origin: str = "ansi"             # ansi or oem (CP437)
    location: str = "end"            # end, top, after-current, end-current, after:NAME
    form: str = ""                   # make entries of this entry form
    auto_fields: bool = False
    date_range: object = None        # "FROM..TO" or (FROM, TO)
    message_date_range: object = None
    sort: str = "asc"                # asc or desc
    stored_settings: bool = False
    full_header: bool = False
    save_attachments: bool = False
    import_attachments: bool = False
    attachments_dir: object = None   # a folder or a list of folders
    attachment_max_mb: int = 0
    filter: str = ""
    delete_after: bool = False
    charset: str = None              # any name iconv knows, or "auto" (detected per file)
    # Column settings of delimited and fixed-width files (see settings.py).
    settings: object = None          # a .ksi file
    columns: str = None              # a column header string
    header: bool = False             # each file's first row names its columns
    names: object = None             # "a,b,c" or a list
    delim: str = None
    qualifier: str = '"'
    consecutive: bool = False
    first_row: int = None
    widths: object = None            # "10,5,8" or a list


@dataclass
class QueueArguments:
    """The per-import arguments of KSIMP_AddFileToImport."""
    location: int = c.LOC_END
    named_document: str = ""
    delimiter_flags: int = c.DELIM_NONE
    delimiter_lines: int = 0
    delimiter_string: str = ""
    origin_ansi: int = 1
    form: str = ""
    auto_fields: int = 0
    date_from: str = ""
    date_to: str = ""
    sort_descending: int = 0
    stored_settings: int = 0
    full_header: int = 0
    message_date_from: str = ""
    message_date_to: str = ""
    save_attachments: int = 0
    filter: str = ""
    delete_after: int = 0
    import_attachments: int = 0


OPTION_NAMES = frozenset(f.name for f in fields(ImportOptions))


def parse_delimiter(text, args):
    args.delimiter_flags = c.DELIM_NONE
    if text == "none":
        return
    if text == "pagebreak":
        args.delimiter_flags = c.DELIM_PAGE_BREAK
    elif text == "blankline":
        args.delimiter_flags = c.DELIM_BLANK_LINE
    elif text.startswith("lines:"):
        try:
            args.delimiter_lines = int(text[6:])
        except ValueError:
            args.delimiter_lines = 0
        if args.delimiter_lines < 1:
            raise ValueError(f"delimiter {text!r}: the line count must be a number above 0")
        args.delimiter_flags = c.DELIM_EVERY_N_LINES
    elif text.startswith("string:") and len(text) > 7:
        args.delimiter_flags = c.DELIM_STRING
        args.delimiter_string = text[7:]
    else:
        raise ValueError(f"unknown delimiter {text!r}: use none, pagebreak, blankline, lines:N "
                         "or string:S")


_LOCATIONS = {"end": c.LOC_END, "top": c.LOC_TOP, "after-current": c.LOC_AFTER_CURRENT,
              "end-current": c.LOC_END_OF_CURRENT}


def parse_location(text, args):
    if text in _LOCATIONS:
        args.location = _LOCATIONS[text]
    elif text.startswith("after:") and len(text) > 6:
        args.location = c.LOC_AFTER_NAMED
        args.named_document = text[6:]
    else:
        raise ValueError(f"unknown location {text!r}: use end, top, after-current, end-current "
                         "or after:NAME")


def parse_date_range(value):
    """"FROM..TO" (either side may be empty) or a pair, as two strings."""
    if isinstance(value, (tuple, list)) and len(value) == 2:
        return tuple("" if v is None else str(v) for v in value)
    text = str(value)
    if ".." not in text:
        raise ValueError(f"{text!r}: a date range is FROM..TO (either side may be empty)")
    start, end = text.split("..", 1)
    return start, end


def _choice(name, value, choices):
    if value not in choices:
        raise ValueError(f"unknown {name} {value!r}: use {' or '.join(choices)}")
    return choices.index(value)


def queue_arguments(options):
    """The KSIMP_AddFileToImport arguments that `options` (ImportOptions)
    give, before any column settings."""
    args = QueueArguments()
    parse_delimiter(options.delimiter, args)
    args.origin_ansi = 1 - _choice("origin", options.origin, ["ansi", "oem"])
    parse_location(options.location, args)
    args.sort_descending = _choice("sort order", options.sort, ["asc", "desc"])
    if options.date_range is not None:
        args.date_from, args.date_to = parse_date_range(options.date_range)
    if options.message_date_range is not None:
        args.message_date_from, args.message_date_to = parse_date_range(
            options.message_date_range)
    args.form = options.form or ""
    args.auto_fields = int(bool(options.auto_fields))
    args.stored_settings = int(bool(options.stored_settings))
    args.full_header = int(bool(options.full_header))
    args.save_attachments = int(bool(options.save_attachments))
    args.import_attachments = int(bool(options.import_attachments))
    args.filter = options.filter or ""
    args.delete_after = int(bool(options.delete_after))
    return args


def requested_options(args, given):
    """The OPT_ bits the caller asked for: `given` names the keywords given."""
    requested = 0
    if "origin" in given:
        requested |= c.OPT_FILE_ORIGIN
    if "location" in given:
        requested |= c.OPT_IMPORT_LOCATION
    if args.delimiter_flags:
        requested |= c.OPT_DOCUMENT_DELIMITER
    if args.form:
        requested |= c.OPT_ENTRY_FORM
    if args.auto_fields:
        requested |= c.OPT_AUTO_FIELDS
    if "date_range" in given:
        requested |= c.OPT_DATE_RANGE
    if "sort" in given:
        requested |= c.OPT_SORT_ORDER
    if args.stored_settings:
        requested |= c.OPT_STORED_SETTINGS
    if "message_date_range" in given:
        requested |= c.OPT_MESSAGE_DATE_RANGE
    if args.full_header:
        requested |= c.OPT_FULL_HEADER
    # Importing attachments is offered with saving them, by the same bit.
    if args.save_attachments or args.import_attachments:
        requested |= c.OPT_SAVE_ATTACHMENTS
    if args.filter:
        requested |= c.OPT_FILTER
    return requested


def column_settings_given(options):
    return any([options.settings, options.columns, options.names, options.delim,
                options.widths, options.header])


def folders(value):
    """attachments_dir as a list of folders."""
    if value is None:
        return []
    if isinstance(value, (list, tuple)):
        return list(value)
    return [value]

