"""What every test is given: the program, and a fresh directory to run it in."""

import os
import pathlib
import shutil
import signal
import tempfile

import pytest

import memcheck

pytest.register_assert_rewrite("varnel_run")

# Where they are ignored, as in a job in the background, the programs that the tests start would ignore them too.
for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
    if signal.getsignal(number) == signal.SIG_IGN:
        signal.signal(number, signal.SIG_DFL)

if memcheck.ON:
    # Before a test reads where the programs are.
    memcheck.wrap_programs()

import varnel_run  # noqa: E402  (behind the lines above)


def pytest_sessionstart(session):
    reporter = session.config.pluginmanager.get_plugin("terminalreporter")
    if memcheck.ON and reporter:
        # ctest waits longer behind this line.
        reporter.write_line("The programs run under valgrind.")
        reporter.flush()


# What a process does that outlives its test fails a later one, or this.
@pytest.fixture(scope="session", autouse=memcheck.ON)
def no_finding_of_memcheck_in_the_end():
    yield
    assert not (found := memcheck.take_findings()), found


@pytest.fixture(autouse=memcheck.ON)
def no_finding_of_memcheck(no_finding_of_memcheck_in_the_end):
    yield
    assert not (found := memcheck.take_findings()), found


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
