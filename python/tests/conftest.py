"""Shared fixtures.  The libraries are found through KESTRO_LIB_DIR (the
CTest run points it at the build); the corpus of real files lies beside the
checkout, and the tests that need it skip when it is absent."""

import os
import pathlib
import sys
import tempfile

import pytest

# The library keeps its list of file types in the per-user configuration:
# the tests keep theirs apart from the user's.
os.environ.setdefault("KESTRO_CONFIG_DIR", tempfile.mkdtemp(prefix="kestro-config-"))

CHECKOUT = pathlib.Path(__file__).resolve().parents[2]

try:
    import kestro  # the installed package, when there is one
except ImportError:
    sys.path.insert(0, str(CHECKOUT / "python"))
    import kestro  # noqa: F401 - the source beside these tests
CORPUS = CHECKOUT / ".." / "shared" / "corpus"


@pytest.fixture
def corpus():
    if not CORPUS.is_dir():
        pytest.skip("the shared corpus is not beside the checkout")
    return CORPUS


@pytest.fixture
def db(tmp_path):
    with kestro.Database.create(tmp_path / "test.kst") as database:
        yield database


MANY = 200_000


@pytest.fixture(scope="session")
def many_documents(tmp_path_factory):
    """A text file of MANY documents cut by blank lines: an import of it is
    still adding them when the first progress polls come."""
    path = tmp_path_factory.mktemp("big") / "many.txt"
    path.write_bytes(b"".join(b"Document %d about widgets\r\n\r\n" % i for i in range(MANY)))
    return path
