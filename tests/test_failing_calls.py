"""Every system call of a run fails in turn, with each error that makes sense there.

A table says what the run does then. A call that the table does not know is a failure too, so that no
new call of the program goes without an answer.
"""

import errno
import typing

import pytest

import fault_runs
from fault_runs import (
    CONFIGURATION, OUTPUTS, REST_FILE, SANITIZED, SERVER_FILES, RefuseWrite, before_read_error,
    clear, fault_at, failures_printed, information_printed, outputs_of, run_with_fault,
    sample_input, split_onto, status_of,
)  # fmt: skip
from varnel_run import HEADER

DATA = sample_input(4000)
WHOLE = outputs_of(DATA)
LAST_LINE = DATA.count(b"\n")
LOG = "run.log"

GIVEN = {"in.ldif": DATA, "varnelConfig": "".join(x + "\n" for x in CONFIGURATION).encode()}

# The errors that are tried of a call.
ERRORS = {
    "openat": ("EACCES", "EMFILE", "EIO", "ENOSPC", "EINTR"),
    "read": ("EIO", "EACCES", "EINTR"),
    "write": ("ENOSPC", "EIO", "EDQUOT", "EINTR"),
    "close": ("EIO", "ENOSPC", "EINTR"),
    "lseek": ("EIO", "EINVAL"),
    "newfstatat": ("EIO", "EACCES"),
    "fstat": ("EIO", "EACCES"),
    "statx": ("EIO", "EACCES"),
    "getcwd": ("ENOENT", "EACCES", "EIO"),
    "prlimit64": ("EPERM", "EIO"),
    "mmap": ("ENOMEM",),
    "fcntl": ("EBADF",),
}
if SANITIZED:  # the same paths through the program, at a tenth of the speed
    ERRORS = {name: errors[:1] + ("EINTR",) * ("EINTR" in errors) for name, errors in ERRORS.items()}


# Those that every run makes; of the others it depends on the C library.
EXPECTED_CALLS = ("openat", "read", "write", "close", "lseek", "newfstatat", "getcwd")
EXPECTED_CALLS += () if SANITIZED else ("prlimit64", "mmap")


class Expected(typing.NamedTuple):
    """What a run does; the files are to be beginnings of what they should be whatever it says."""

    failures: tuple  # the numbers of the messages that say so
    status: int
    logged: typing.Optional[int]  # the line that the log gets
    whole: dict  # file -> all of its content, for those that are complete at that point
    streams: bool = True  # whether all messages arrive


GOOD = Expected((), 0, None, WHOLE)
UNHEARD = GOOD._replace(streams=False)


def bad_configuration(*messages):
    return Expected((*messages, 27), 1, None, {})


def failed_at(message, line, whole):
    return Expected((message,), status_of(line), line, whole)


class Place(typing.NamedTuple):
    """A call of the good run, and how far the run was."""

    index: int
    call: fault_runs.Call
    phase: str
    # How many calls of this name and path there were before in the same phase.
    occurrence: int


PHASES = ("start", "configuration", "preparation", "split", "end")
# The messages with which the next phase begins.
PHASE_ENDS = {"start": 1, "configuration": 28, "preparation": 37, "split": 39}


def places(site, good):
    """Of the calls from the first of main on; each message on standard output is one write. With a
    sanitizer, its own calls are left out."""
    messages = iter(information_printed(good.run))
    phase, seen = "start", {}
    for index in range(fault_runs.first_call_of_main(good.calls), len(good.calls)):
        call = good.calls[index]
        if not fault_runs.is_of_the_program(site, call):
            continue
        key = (phase, call.name, call.path)
        seen[key] = seen.get(key, -1) + 1
        yield Place(index, call, phase, seen[key])
        if call.name == "write" and call.descriptor == 1 and next(messages) == PHASE_ENDS.get(phase):
            phase = PHASES[PHASES.index(phase) + 1]


# --- What is expected -----------------------------------------------------------------------------


def of_read_error(place, error):
    if error == "EINTR":
        return GOOD
    complete, line = before_read_error(DATA[: place.call.position])
    return failed_at(34, line, outputs_of(complete))


def of_write_error(name, number, ever):
    outcome = split_onto(DATA, RefuseWrite(name, number, ever))
    assert outcome.failed_file == name
    others = {file: content for file, content in outcome.taken.items() if file != name}
    return failed_at(52, outcome.line, others)


def in_configuration(place, error):
    call, name = place.call, place.call.path.rpartition("/")[2]
    retried = error == "EINTR"
    if call.name == "getcwd":
        return bad_configuration(7)  # the input is looked for in no directory
    if name == "varnelConfig":
        if call.name in STATUS_CALLS:
            return GOOD  # which file it is, so that no output is; here none is
        if call.name == "close" or (call.name == "read" and retried):
            return GOOD
        return bad_configuration(2)
    if name == "site":
        return bad_configuration(13)
    if name == "in.ldif" and call.name in STATUS_CALLS:
        # Whether it exists; then which file it is, so that no output is.
        return bad_configuration(7) if place.occurrence == 0 else GOOD
    if name in (*OUTPUTS, LOG) and call.name in STATUS_CALLS:
        return GOOD  # none of them exists
    if name in OUTPUTS and place.occurrence == 0:
        # It is created. Signals do not stop that.
        return GOOD if call.name == "openat" and retried else bad_configuration(7)
    if name in SERVER_FILES and place.occurrence == 1:
        return GOOD  # emptied once more; the split would tell
    if name == LOG and call.name in ("openat", "close") and place.occurrence == 0:
        return GOOD  # the log is created; whether that worked shows when it is opened
    if name == LOG and call.name in ("openat", "lseek"):
        return of_log(place.occurrence - (1 if call.name == "openat" else 0))
    if name == LOG and call.name == "close":
        return GOOD
    return None


def of_log(occurrence):
    """Where the log cannot be opened: at the end of the configuration, for the run, to look at it."""
    return (bad_configuration(), Expected((7,), 1, None, {}), GOOD)[occurrence]


def in_preparation(place, _error):
    call, name = place.call, place.call.path.rpartition("/")[2]
    if call.name == "prlimit64":
        return GOOD
    if name == "null":
        return Expected((61,), 1, None, {}) if call.name == "openat" else GOOD
    return None


def in_split(place, error):
    call, name = place.call, place.call.path.rpartition("/")[2]
    if name == "in.ldif":
        if call.name == "openat":
            return failed_at(34, 0, {})
        if call.name == "read":
            return of_read_error(place, error)
        if call.name == "close":
            return GOOD
    if name in OUTPUTS:
        if call.name == "openat":
            return failed_at(34, 0, {})
        if call.name == "write":
            return of_write_error(name, place.occurrence, ever=False)
        if call.name == "close":
            return failed_at(52, LAST_LINE, WHOLE)
        if call.name in STATUS_CALLS:
            return GOOD
    return None


STATUS_CALLS = ("newfstatat", "fstat", "statx")

TABLE = {
    "start": lambda place, error: None,
    "configuration": in_configuration,
    "preparation": in_preparation,
    "split": in_split,
    "end": lambda place, error: GOOD if place.call.path.endswith(LOG) else None,
}


def expected(place, error):
    call = place.call
    if call.descriptor in (1, 2) and call.name in ("write", *STATUS_CALLS):
        return UNHEARD
    if call.name in ("mmap", "fcntl"):
        # Memory comes from elsewhere; a standard stream is taken for closed, which it is not.
        return GOOD
    return TABLE[place.phase](place, error)


# --- The runs -------------------------------------------------------------------------------------


def content(site, name):
    path = site.path / name
    return path.read_bytes() if path.exists() else b""


def faults_found(site, result, wanted, whole_outputs=None):
    """What is not as it should be, as texts."""
    whole_outputs = WHOLE if whole_outputs is None else whole_outputs
    found = []
    if not result.ended.startswith("exit"):
        found.append("a signal")
    if result.run.status != wanted.status:
        found.append(f"status {result.run.status}, not {wanted.status}")
    if wanted.streams:
        if failures_printed(result.run) != list(wanted.failures):
            found.append(f"messages {failures_printed(result.run)}, not {list(wanted.failures)}")
        if (39 in information_printed(result.run)) != (wanted.status == 0):
            found.append("message 39 and the status do not agree")
    logged = b"" if wanted.logged is None else b"%d\n" % wanted.logged
    if content(site, LOG) != logged:
        found.append(f"log {content(site, LOG)!r}, not {logged!r}")
    for name in OUTPUTS:
        written = content(site, name)
        if not whole_outputs[name].startswith(written):
            found.append(f"{name} is no beginning of what it should be")
        if name in wanted.whole and written != wanted.whole[name]:
            found.append(f"{name}: {len(written)} bytes, not {len(wanted.whole[name])}")
        if result.run.status == 0 and written != whole_outputs[name]:
            found.append(f"status 0 with {len(written)} bytes in {name}")
    return found


@pytest.fixture
def good(site):
    clear(site, GIVEN)
    result = run_with_fault(site, "-")
    assert faults_found(site, result, GOOD) == []
    return result


def failing_once(site, good, name):
    """(place, error) for every call of that name."""
    for place in places(site, good):
        if place.call.name == name:
            for error in ERRORS[name]:
                yield place, error


def run_and_compare(site, fault, calls, place, error, wanted):
    """What is wrong, as texts that name the call."""
    clear(site, GIVEN)
    number = getattr(errno, error)
    result = run_with_fault(site, fault_at(fault, calls, place.index, number))
    where = f"{place.phase}: {error} of {place.call.name} {place.call.path} #{place.occurrence}"
    if wanted is None:
        return [f"{where}: no row says what follows; {result.shown()}"]
    return [f"{where}: {fault}; {result.shown()}" for fault in faults_found(site, result, wanted)]


@pytest.mark.parametrize("name", fault_runs.CALLS)
def test_a_call_fails_once(site, good, name):
    found, count = [], 0
    for place, error in failing_once(site, good, name):
        count += 1
        found += run_and_compare(site, "fail", good.calls, place, error, expected(place, error))
    assert found == []
    assert count > 0 or name not in EXPECTED_CALLS


def places_of(site, good, call, name):
    path = site.absolute(name)
    return [x for x in places(site, good) if x.call.name == call and x.call.path == path]


@pytest.mark.parametrize("name", OUTPUTS)
@pytest.mark.parametrize("error", ["ENOSPC", "EIO", "EDQUOT", "EFBIG"])
def test_every_write_of_a_file_fails_from_one_on(site, good, name, error):
    writes = places_of(site, good, "write", name)
    assert len(writes) >= 3
    found = []
    for place in writes:
        wanted = of_write_error(name, place.occurrence, ever=True)
        found += run_and_compare(site, "failing", good.calls, place, error, wanted)
        # What was written before the failure is there, and no more.
        if len(content(site, name)) != place.call.position:
            found.append(f"{name}: {len(content(site, name))} bytes, not {place.call.position}")
    assert found == []


def test_every_read_of_the_input_fails_from_one_on(site, good):
    reads = places_of(site, good, "read", "in.ldif")
    assert len(reads) >= 3
    found = []
    for place in reads:
        found += run_and_compare(site, "failing", good.calls, place, "EIO", of_read_error(place, "EIO"))
    assert found == []


# --- Before main ----------------------------------------------------------------------------------

LOADER_FAILED = 127


@pytest.mark.skipif(SANITIZED, reason="a sanitizer's own start ends as it likes")
def test_calls_of_the_dynamic_loader(site, good):
    """The program never starts, or it is as good as ever."""
    found = []
    for index in range(fault_runs.first_call_of_main(good.calls)):
        call = good.calls[index]
        for error in ERRORS[call.name]:
            clear(site, GIVEN)
            result = run_with_fault(
                site, fault_at("fail", good.calls, index, getattr(errno, error))
            )
            # Without the very first memory of all the loader itself breaks off, with a signal.
            never_started = len(result.calls) == index + 1 and result.run.status != 0
            if never_started or result.ended == f"exit {LOADER_FAILED}":
                if site.tree() != GIVEN:
                    found.append(f"{error} of {call}: {sorted(site.tree())}")
            else:
                found += [f"{error} of {call}: {x}" for x in faults_found(site, result, GOOD)]
    assert found == []


# --- A run that fails anyhow ----------------------------------------------------------------------

BAD_LINE = 20
BAD_DATA = b"dn: o=example\n" + b"o: example\n" * (BAD_LINE - 2) + b"no colon\n" + b"o: example\n"
BAD_GIVEN = {**GIVEN, "in.ldif": BAD_DATA}
BAD_OUTPUTS = outputs_of(BAD_DATA)


def test_calls_behind_a_failure(site):
    """Neither the status nor what the files hold depends on whether the failure can be told."""
    clear(site, BAD_GIVEN)
    known = run_with_fault(site, "-")
    wanted = Expected((33, 34), 1, BAD_LINE, BAD_OUTPUTS)
    assert faults_found(site, known, wanted, BAD_OUTPUTS) == []
    first = fault_runs.index_of(known.calls, "read", site.path / "in.ldif") + 1
    found, roles = [], set()
    for index in range(first, len(known.calls)):
        call = known.calls[index]
        name = call.path.rpartition("/")[2]
        if call.name == "mmap" or not fault_runs.is_of_the_program(site, call):
            continue
        for error in ERRORS[call.name]:
            clear(site, BAD_GIVEN)
            result = run_with_fault(
                site, fault_at("fail", known.calls, index, getattr(errno, error))
            )
            row = wanted
            if name in OUTPUTS and call.name == "openat":
                row = failed_at(34, 0, {})
            elif name in OUTPUTS and call.name == "write":
                # At the exit, when nobody can be told any more; the status says it already.
                row = wanted._replace(whole={})
            elif call.name == "write" and call.descriptor in (1, 2):
                row = wanted._replace(streams=False)
            elif call.name == "write" and name == LOG:
                row = wanted._replace(logged=None)
            roles.add((call.name, name if name in (*OUTPUTS, LOG) else call.descriptor))
            faults = faults_found(site, result, row, BAD_OUTPUTS)
            found += [f"{error} of {call}: {x}; {result.shown()}" for x in faults]
    assert found == []
    assert {("openat", "one.ldif"), ("write", "one.ldif"), ("write", 2), ("write", LOG)} <= roles


# --- Other ways to run ----------------------------------------------------------------------------


def faults_of_any_run(site, result, warned):
    """What holds whatever fails: the run is whole, or it says that it is not."""
    found = [] if result.ended.startswith("exit") else ["a signal"]
    for name in OUTPUTS:
        whole, written = WHOLE[name], content(site, name)
        if result.run.status == 0 and written != whole and not warned(result.run):
            found.append(f"status 0 with {len(written)} bytes in {name}")
        if not whole.startswith(written) and not warned(result.run):
            found.append(f"{name} is no beginning of what it should be")
    if (39 in information_printed(result.run)) != (result.run.status == 0):
        found.append("message 39 and the status do not agree")
    return found


def try_every_call(site, given, calls, chosen, check, *arguments):
    """(place, error, result) of each that check finds at fault, with what it finds."""
    found = []
    for place in chosen:
        for error in NO_STREAMS.get(place.call.name, ()):
            clear(site, given)
            result = run_with_fault(
                site, fault_at("fail", calls, place.index, getattr(errno, error)), *arguments
            )
            found += [
                f"{error} of {place.call} in {place.phase}: {fault}; {result.shown()}"
                for fault in check(site, result, place, error)
            ]
    return found


NO_STREAMS = {name: errors for name, errors in ERRORS.items() if name not in ("mmap", "fcntl")}


def of_the_run(site, calls):
    return [
        place
        for place in calls
        if place.call.descriptor not in (1, 2) and place.call.path.startswith(str(site.path.parent))
    ]


def test_recovery_mode(site):
    """The output files exist already, and the log is read."""
    existing = {name: b"of the last run\n" for name in OUTPUTS}
    given = {**GIVEN, **existing, LOG: b"17\n"}
    clear(site, given)
    known = run_with_fault(site, "-", "-r")
    assert known.run.status == 0 and {x: site.read(x) for x in OUTPUTS} == WHOLE

    def check(checked_site, result, place, _error):
        # A file that no entry has come to yet may still be that of the last run.
        for name in OUTPUTS:
            if result.run.status != 0 and content(checked_site, name) == existing[name]:
                checked_site.write(name, b"")
        faults = faults_of_any_run(checked_site, result, lambda run: False)
        # What the log told before is not lost.
        if not content(checked_site, LOG).startswith(b"17\n") and place.call.name != "newfstatat":
            faults.append(f"the log: {content(checked_site, LOG)!r}")
        return faults

    chosen = of_the_run(site, places(site, known))
    assert try_every_call(site, given, known.calls, chosen, check, "-r") == []


def test_the_default_output_file_gets_its_header_with_the_configuration(site):
    text = GIVEN["varnelConfig"].replace(b"defaultoutputfile: rest.ldif\n", b"")
    given = {**GIVEN, "varnelConfig": text}
    clear(site, given)
    known = run_with_fault(site, "-")
    assert known.run.status == 0
    assert site.read("parent.ldif") == WHOLE[REST_FILE]

    def check(checked_site, result, place, _error):
        header = content(checked_site, "parent.ldif")
        faults = []
        if not WHOLE[REST_FILE].startswith(header):
            faults.append(f"parent.ldif: {header!r}")
        if failures_printed(result.run) != [27] or result.run.status != 1:
            faults.append("not message 27 and status 1")
        return faults

    chosen = [
        place
        for place in places(site, known)
        if place.phase == "configuration"
        and place.call.path.endswith("parent.ldif")
        and place.call.name in ("openat", "write", "close")
    ]
    assert [place.call.name for place in chosen] == ["openat", "write", "close"]
    assert try_every_call(site, given, known.calls, chosen, check) == []


SCHEMA = b"""\
attributetype ( 2.5.4.3 NAME ( 'cn' 'commonName' ) EQUALITY caseExactMatch SYNTAX 1.2 )
attributetype ( 2.5.4.10 NAME ( 'o' 'organizationName' ) EQUALITY caseIgnoreMatch SYNTAX 1.2 )
"""


def test_the_schema_of_an_instance(site):
    """With the schema the base DN is found in the input, without it is not: a schema that is not read,
    and nobody told, sends entries to the wrong file."""
    instance = site.path.parent / "instance"
    instance.mkdir()
    (instance / "own.schema").write_bytes(SCHEMA)
    (instance / "instance.conf").write_bytes(b"systemschema: own.schema\n")
    text = GIVEN["varnelConfig"].replace(b"basedn: o=", b"basedn: organizationName=")
    given = {**GIVEN, "varnelConfig": text}
    arguments = ("-I", str(instance))
    clear(site, given)
    known = run_with_fault(site, "-", *arguments)
    assert known.run.status == 0
    assert {x: site.read(x) for x in OUTPUTS} == WHOLE

    def warned(run):
        return any(line.startswith("VNL033") for line in run.lines("stderr"))

    def check(checked_site, result, _place, _error):
        if result.run.status == 1 and warned(result.run):
            return []
        return faults_of_any_run(checked_site, result, warned)

    chosen = [x for x in of_the_run(site, places(site, known)) if x.call.path.startswith(str(instance))]
    assert {"openat", "read"} <= {place.call.name for place in chosen}
    assert try_every_call(site, given, known.calls, chosen, check, *arguments) == []


# --- A failure between the pieces of a record's start ---------------------------------------------

FILLER = b"a: " + b"x" * 96 + b"\n"
RECORD = b"\ndn: cn=one,o=rest\n"


def data_with_record_at(room):
    """A record whose start comes when the stream's buffer has room for so many bytes more."""
    text = b"dn: o=rest\n"
    left = fault_runs.BUFFER - room - len(HEADER) - 1 - len(text)
    fillers, rest = divmod(left, len(FILLER))
    padding = b"b: " + b"y" * (len(FILLER) + rest - 4) + b"\n"
    text += FILLER * (fillers - 1) + padding + RECORD[1:] + b"c: last\n"
    return text


@pytest.mark.parametrize("room", range(0, len(RECORD) + 10, 4 if SANITIZED else 1))
@pytest.mark.parametrize("ever", [False, True], ids=["once", "ever"])
def test_a_write_that_fails_at_the_start_of_a_record(site, room, ever):
    """Only the line end of the start is looked at at once. Where another piece of it is lost, the run
    goes on, and fails at its end."""
    data = data_with_record_at(room)
    outcome = split_onto(data, RefuseWrite(REST_FILE, 0, ever))
    clear(site, {**GIVEN, "in.ldif": data})
    known = run_with_fault(site, "-")
    assert site.read(REST_FILE) == outputs_of(data)[REST_FILE]
    assert known.run.status == 0
    index = fault_runs.index_of(known.calls, "write", site.path / REST_FILE)
    clear(site, {**GIVEN, "in.ldif": data})
    kind = "failing" if ever else "fail"
    result = run_with_fault(site, fault_at(kind, known.calls, index, errno.ENOSPC))
    assert failures_printed(result.run) == [52], result
    assert result.run.status == outcome.status() == 1, result
    assert site.read(LOG) == b"%d\n" % outcome.line
    if ever:
        assert site.read(REST_FILE) == b""
