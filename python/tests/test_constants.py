"""The package's numbers are the headers' numbers."""

import re

import kestro.constants as constants
from conftest import CHECKOUT

_DEFINE = re.compile(r"^#define (KSIMP|KSENG)_([A-Z0-9_]+)\s+(0x[0-9A-Fa-f]+|\d+)u?\b", re.M)
# The groups the package defines; their every header value must be here.
_GROUPS = re.compile(r"^(TYPE|LOC|DELIM|OPT|ERR|LOG|ENG_ERR|ENG_OK$|ENG_ACCESS|ENG_KIND|ENG_WALK)")


def _header_values():
    values = {}
    for header in ("ks_imp.h", "ks_eng5.h"):
        text = (CHECKOUT / "include" / header).read_text()
        for prefix, name, value in _DEFINE.findall(text):
            values[("ENG_" if prefix == "KSENG" else "") + name] = int(value, 0)
    return values


def test_every_constant_is_the_headers_value_and_none_is_missing():
    header = {k: v for k, v in _header_values().items() if _GROUPS.match(k)}
    package = {k: v for k, v in vars(constants).items() if k.isupper()}
    assert len(header) > 100
    assert package == header
