"""What every test is given: the program, and a fresh directory to run it in."""

import os
import pathlib
import shutil
import tempfile

import pytest

pytest.register_assert_rewrite("varnel_run")

import varnel_run  # noqa: E402  (behind the registration above)


@pytest.fixture(scope="session")
def binary():
    return pathlib.Path(os.environ["VARNEL_BINARY"]).resolve()


@pytest.fixture
def directory():
    # A run without privileges has to reach it: pytest's own directories are closed to other users.
    base = pathlib.Path(tempfile.mkdtemp(prefix="varnel-test."))
    base.chmod(0o755)
    site = base / "site"
    site.mkdir()
    yield site.resolve()
    shutil.rmtree(base)


@pytest.fixture
def site(binary, directory):
    return varnel_run.Site(binary, directory)


@pytest.fixture
def unprivileged_site(binary, directory):
    return varnel_run.UnprivilegedSite(binary, directory)
