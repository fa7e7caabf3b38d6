"""Which files must exist before a run and which must not, with -r and without."""

import pytest

from varnel_run import (
    ACTION, DEFAULT_NAME, HEADER, INPUT, LOG, ONE_SERVER, REST, SUCCESS, TWO_SERVERS, at_line,
    m,
)  # fmt: skip

RECOVERY = (m(30, DEFAULT_NAME),)
INPUT_BYTES = b"dn: ou=above\n\ndn: o=example\n"
REST_WRITTEN = HEADER + b"\ndn: ou=above\n"
ONE_WRITTEN = HEADER + b"\ndn: o=example\n"
KEPT = b"57\n"

NO_DEFAULTS = ONE_SERVER
WITH_DEFAULTS = tuple(line for line in ONE_SERVER if line not in (LOG, REST))
WARNED = (m(1, DEFAULT_NAME), m(28), m(36, "parent.ldif"), m(37, DEFAULT_NAME), m(39))

# state -> mode of the file, or none
STATES = {"missing": None, "present": 0o600, "unreadable": 0o200, "not writable": 0o400}

EXISTS, MISSING, NO_TEXT = "exists", "missing", "no-text"
CANNOT_OPEN, CANNOT_CREATE, FINE = "cannot-open", "cannot-create", "fine"


def place(site, name, state):
    if STATES[state] is not None:
        site.write(name, KEPT).chmod(STATES[state])


NOT_FOUND, DENIED = "No such file or directory", "Permission denied"


def expect(site, outcome, name, line, recovery, success):
    """`name` as the configuration resolves it, `line` where it stands (0: nowhere)."""
    before = site.tree()
    run = site.run(*(["-r"] if recovery else []))
    start, extra = success[:1], RECOVERY if recovery else ()
    if outcome == FINE:
        run.expect(0, *start, *extra, *success[1:])
    elif outcome == CANNOT_CREATE:
        run.expect(2, *start, *extra, *success[1:-1], m(34, 0), m(73, name, DENIED))
    else:
        messages = {
            EXISTS: [m(8, name)],
            MISSING: [m(7, name, line), m(73, name, NOT_FOUND)],
            # Missing at its line, or not to be opened behind the last one.
            NO_TEXT: [m(73, name, NOT_FOUND)],
            CANNOT_OPEN: [m(73, name, DENIED)],
        }[outcome]
        if line != 0 and outcome != CANNOT_OPEN:
            messages.append(at_line(line, site.read("varnelConfig").decode().splitlines()[line - 1]))
        run.expect(1, *start, *extra, *messages, m(27))
    return before, site.tree()


def prepare(site, lines, recovery, *present):
    site.configure(*lines)
    site.write("in.ldif", INPUT_BYTES)
    if recovery:
        for name in present:
            site.write(name, KEPT)


# --- The configured log ---------------------------------------------------------------------------


@pytest.mark.parametrize(
    "state, recovery, outcome",
    [
        ("missing", False, FINE),
        ("present", False, FINE),
        ("unreadable", False, FINE),
        ("not writable", False, CANNOT_OPEN),
        ("missing", True, NO_TEXT),
        ("present", True, FINE),
        ("unreadable", True, FINE),
        ("not writable", True, CANNOT_OPEN),
    ],
)
def test_a_configured_log(unprivileged_site, state, recovery, outcome):
    site = unprivileged_site
    prepare(site, NO_DEFAULTS, recovery, "rest.ldif", "one.ldif")
    place(site, "run.log", state)
    before, after = expect(site, outcome, site.absolute("run.log"), 3, recovery, SUCCESS)
    log = {} if state == "missing" else {"run.log": KEPT}
    if outcome == FINE:
        log = log or {"run.log": b""}
        assert after == {**before, **log, "rest.ldif": REST_WRITTEN, "one.ldif": ONE_WRITTEN}
    elif state == "missing":
        # The fault is found at the line of the log, so that no later line has had an effect.
        assert after == before
    else:
        # The fault is found behind the last line: the server files are emptied by then, and
        # without -r the default output file too.
        rest = KEPT if recovery else b""
        assert after == {**before, **log, "rest.ldif": rest, "one.ldif": b""}


# --- The log by default ---------------------------------------------------------------------------


@pytest.mark.parametrize(
    "state, recovery, outcome",
    [
        ("missing", False, FINE),
        ("present", False, FINE),
        ("unreadable", False, FINE),
        ("not writable", False, CANNOT_OPEN),
        # Where no line names a log, -r does not ask for one: it is created.
        ("missing", True, FINE),
        ("present", True, FINE),
        ("unreadable", True, FINE),
        ("not writable", True, CANNOT_OPEN),
    ],
)
def test_the_log_by_default(unprivileged_site, state, recovery, outcome):
    site = unprivileged_site
    prepare(site, WITH_DEFAULTS, recovery, "parent.ldif", "one.ldif")
    place(site, "varnel.log", state)
    before, after = expect(site, outcome, "varnel.log", 0, recovery, WARNED)
    log = {"varnel.log": b"" if state == "missing" else KEPT}
    if outcome == FINE:
        assert after == {**before, **log, "parent.ldif": REST_WRITTEN, "one.ldif": ONE_WRITTEN}
    else:
        parent = KEPT if recovery else HEADER
        assert after == {**before, **log, "parent.ldif": parent, "one.ldif": b""}


# --- The configured default output file -----------------------------------------------------------


@pytest.mark.parametrize(
    "state, recovery, outcome",
    [
        ("missing", False, FINE),
        ("present", False, EXISTS),
        ("unreadable", False, EXISTS),
        ("not writable", False, EXISTS),
        ("missing", True, MISSING),
        ("present", True, FINE),
        ("unreadable", True, FINE),
        ("not writable", True, CANNOT_CREATE),
    ],
)
def test_a_configured_default_output_file(unprivileged_site, state, recovery, outcome):
    site = unprivileged_site
    prepare(site, NO_DEFAULTS, recovery, "run.log", "one.ldif")
    place(site, "rest.ldif", state)
    before, after = expect(site, outcome, site.absolute("rest.ldif"), 4, recovery, SUCCESS)
    log = KEPT if recovery else b""
    if outcome == FINE:
        assert after == {
            **before, "run.log": log, "rest.ldif": REST_WRITTEN, "one.ldif": ONE_WRITTEN
        }
    elif outcome == CANNOT_CREATE:
        assert after == {**before, "run.log": log + b"0\n", "one.ldif": b""}
    else:
        assert after == {**before, "run.log": log}


# --- The default output file by default -----------------------------------------------------------


@pytest.mark.parametrize(
    "state, recovery, outcome",
    [
        ("missing", False, FINE),
        ("present", False, EXISTS),
        ("unreadable", False, EXISTS),
        ("not writable", False, EXISTS),
        ("missing", True, MISSING),
        ("present", True, FINE),
        ("unreadable", True, FINE),
        ("not writable", True, CANNOT_CREATE),
    ],
)
def test_the_default_output_file_by_default(unprivileged_site, state, recovery, outcome):
    site = unprivileged_site
    prepare(site, WITH_DEFAULTS, recovery, "varnel.log", "one.ldif")
    place(site, "parent.ldif", state)
    before, after = expect(site, outcome, "parent.ldif", 0, recovery, WARNED)
    if outcome == FINE:
        log = KEPT if recovery else b""
        assert after == {
            **before, "varnel.log": log, "parent.ldif": REST_WRITTEN, "one.ldif": ONE_WRITTEN
        }
    elif outcome == CANNOT_CREATE:
        assert after == {**before, "varnel.log": KEPT + b"0\n", "one.ldif": b""}
    else:
        # This fault is found before the log is opened.
        assert after == {**before, "one.ldif": b""}


# --- A server file --------------------------------------------------------------------------------


@pytest.mark.parametrize(
    "state, recovery, outcome",
    [
        ("missing", False, FINE),
        ("present", False, EXISTS),
        ("unreadable", False, EXISTS),
        ("not writable", False, EXISTS),
        ("missing", True, MISSING),
        ("present", True, FINE),
        ("unreadable", True, FINE),
        ("not writable", True, CANNOT_CREATE),
    ],
)
def test_a_server_file(unprivileged_site, state, recovery, outcome):
    site = unprivileged_site
    prepare(site, NO_DEFAULTS, recovery, "run.log", "rest.ldif")
    place(site, "one.ldif", state)
    before, after = expect(site, outcome, site.absolute("one.ldif"), 8, recovery, SUCCESS)
    log = KEPT if recovery else b""
    if outcome == FINE:
        assert after == {
            **before, "run.log": log, "rest.ldif": REST_WRITTEN, "one.ldif": ONE_WRITTEN
        }
    elif outcome == CANNOT_CREATE:
        # That it could not be emptied is no fault yet; its first record is.
        assert after == {**before, "run.log": log + b"0\n", "rest.ldif": REST_WRITTEN}
    else:
        assert after == {**before, "run.log": log, "rest.ldif": KEPT if recovery else b""}


# --- Without a record for the file ----------------------------------------------------------------


@pytest.mark.parametrize("name", ["rest.ldif", "one.ldif"])
def test_an_output_file_that_cannot_be_written_and_gets_no_record(unprivileged_site, name):
    site = unprivileged_site
    prepare(site, NO_DEFAULTS, True, "run.log", "rest.ldif", "one.ldif")
    site.write("in.ldif", b"version: 1\n\n")
    (site.path / name).chmod(0o400)
    before, after = expect(site, FINE, None, 0, True, SUCCESS)
    assert after == {**before, "one.ldif": KEPT if name == "one.ldif" else b""}


def test_outputs_that_get_no_record(site):
    """A server file is emptied in recovery mode too; the default output file is left alone."""
    prepare(site, TWO_SERVERS, True, "run.log", "rest.ldif", "one.ldif", "two.ldif")
    site.write("in.ldif", b"version: 1\n\n")
    before, after = expect(site, FINE, None, 0, True, SUCCESS)
    assert after == {**before, "one.ldif": b"", "two.ldif": b""}


def test_server_files_before_a_missing_one_are_empty(site):
    prepare(site, TWO_SERVERS, True, "run.log", "rest.ldif", "one.ldif")
    before, after = expect(site, MISSING, site.absolute("two.ldif"), 10, True, SUCCESS)
    assert after == {**before, "one.ldif": b""}


def test_a_second_run_in_recovery_mode_writes_the_same_again(site):
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", INPUT_BYTES + b"".join(b"dn: cn=%d,o=example\n" % i for i in range(99)))
    site.run().expect(0, *SUCCESS)
    before = site.tree()
    site.write("run.log", b"57\n")
    site.run("-r").expect(0, *SUCCESS[:1], *RECOVERY, *SUCCESS[1:])
    assert site.tree() == {**before, "run.log": b"57\n"}


def test_recovery_behind_a_failure_starts_from_the_first_line_again(site):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", INPUT_BYTES + b"no colon\n")
    assert site.run().status == 2
    assert site.read("run.log") == b"4\n"
    site.write("in.ldif", INPUT_BYTES)
    site.run("-r").expect(0, *SUCCESS[:1], *RECOVERY, *SUCCESS[1:])
    assert site.read("rest.ldif") == REST_WRITTEN
    assert site.read("one.ldif") == ONE_WRITTEN
    assert site.read("run.log") == b"4\n"


def test_the_input_must_exist_with_recovery_mode_as_without(site):
    site.configure(ACTION, INPUT)
    name = site.absolute("in.ldif")
    for options, extra in ([], ()), (["-r"], RECOVERY):
        site.run(*options).expect(
            1, m(1, DEFAULT_NAME), *extra, m(7, name, 2), m(73, name, NOT_FOUND),
            at_line(2, INPUT), m(27))
