"""Exports hold hashes of passwords: what the tool creates is for its owner alone, and no value of an
entry is shown."""

import os

import pytest

from varnel_run import (
    ACTION, BASE, DEFAULT_NAME, FILE1, INPUT, SPLIT, SUCCESS, TWO_SERVERS, URL1, m,
)  # fmt: skip

DATA = b"dn: o=example\no: example\n\ndn: o=x\n"
RECOVERY = m(30, DEFAULT_NAME)
CREATED = ("run.log", "rest.ldif", "one.ldif", "two.ldif")


@pytest.fixture
def ready(site):
    """What a run in recovery mode needs."""
    site.write("in.ldif", DATA)
    for name in CREATED:
        site.write(name, b"")
    return site



def mode(site, name):
    return os.stat(site.path / name).st_mode & 0o777


@pytest.mark.parametrize("umask", [0o000, 0o022, 0o027, 0o077])
def test_new_files_are_for_their_owner_alone(site, umask):
    site.write("in.ldif", DATA)
    site.configure(*TWO_SERVERS)
    site.run(umask=umask).expect(0, *SUCCESS)
    assert [mode(site, name) for name in CREATED] == [0o600] * 4


def test_new_files_under_default_names_are_for_their_owner_alone(site):
    site.write("in.ldif", DATA)
    site.configure(ACTION, INPUT, SPLIT, BASE, URL1, FILE1)
    assert site.run(umask=0).status == 0
    assert [mode(site, name) for name in ("varnel.log", "parent.ldif")] == [0o600] * 2


def test_existing_files_keep_their_mode(ready):
    for name in CREATED:
        (ready.path / name).chmod(0o664)
    ready.configure(*TWO_SERVERS)
    ready.run("-r").expect(0, m(1, DEFAULT_NAME), RECOVERY, *SUCCESS[1:])
    assert [mode(ready, name) for name in CREATED] == [0o664] * 4


SECRET = b"{SSHA}TopSecretHash"
ENTRY = b"dn: cn=a,o=example\nuserPassword: " + SECRET + b"\nuserPassword:: " + SECRET + b"=\n"


@pytest.mark.parametrize(
    "data",
    [ENTRY, ENTRY * 3, ENTRY + b"userPassword " + SECRET + b"\n", ENTRY + SECRET + b"\n",
     b"userPassword: " + SECRET + b"\n" + ENTRY, ENTRY + b"x: " + b"y" * 5000 + SECRET + b"\n",
     ENTRY + b"x: " + b"y" * 4092 + b"#" + SECRET + b"\n", ENTRY + b"x:: " + SECRET + b"\n",
     ENTRY + b"dn: cn=\nx: " + SECRET, ENTRY + b"x:< file:///" + SECRET,
     b"dn: cn=a,cn=localhost\nx: " + SECRET + b"\n"],
)  # fmt: skip
@pytest.mark.parametrize("one", ["one.ldif", "/dev/full"])
def test_no_value_of_an_entry_is_shown(ready, data, one):
    """Whatever goes wrong, and with all that can be traced."""
    ready.configure(*(f"file: {one}" if line == FILE1 else line for line in TWO_SERVERS))
    ready.write("in.ldif", data)
    run = ready.run("-r", "-d", "15")
    assert run.traces() and m(37, DEFAULT_NAME).line() in run.lines("stdout")
    assert SECRET not in run.stdout + run.stderr
    assert SECRET not in ready.read("run.log")
