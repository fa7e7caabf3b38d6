"""The input changes while it is read, the output goes away while it is written, a terminal closes:
the run waits at a system call, the change happens, the run goes on."""

import errno
import functools
import os
import pty
import resource
import shutil
import signal
import subprocess
import sys

import memcheck
import pytest

import fault_runs
from fault_runs import (
    CONFIGURATION, OUTPUTS, before_read_error, entries, failures_printed, fault_at, index_of,
    information_printed, outputs_of, run_with_fault, run_with_pause, sample_input,
    status_of, wait_until_stopped,
)  # fmt: skip
from varnel_run import DEFAULT_NAME, HANG_GUARD_SECONDS, SUCCESS, UNCOUNTED, UP_TO_SPLIT, m, wait_for

DATA = sample_input(4000)
OTHER = b"dn: o=rest\n" + b"".join(entries(4800, width=60, first=10_000))
WHOLE = outputs_of(DATA)
OUTPUTS_IN_ORDER = sorted(OUTPUTS)
LAST_LINE = DATA.count(b"\n")


@pytest.fixture
def ready(site):
    site.write("in.ldif", DATA)
    site.configure(*CONFIGURATION)
    return site


def calls_of(site, name, path):
    """The calls of a good run, and (index, call) of these; the directory is left as it was."""
    known = run_with_fault(site, "-")
    assert known.run.status == 0, known
    assert contents(site) == WHOLE
    remove_results(site)
    return known.calls, [
        (index, call)
        for index, call in enumerate(known.calls)
        if call.name == name and call.path == site.absolute(path)
    ]


def contents(site):
    return {name: site.read(name) for name in OUTPUTS}


def remove_results(site):
    for name in (*OUTPUTS, "run.log"):
        (site.path / name).unlink(missing_ok=True)
    site.write("in.ldif", DATA)


def expect_split_of(site, result, data):
    assert result.ended == "exit 0", result
    assert failures_printed(result.run) == []
    assert information_printed(result.run) == [1, 28, 37, 39]
    assert contents(site) == outputs_of(data)
    assert site.read("run.log") == b""


# --- The input ------------------------------------------------------------------------------------


def test_an_input_that_shrinks(ready):
    """What is gone cannot be split; what was read before it went still is."""
    site = ready
    calls, reads = calls_of(site, "read", "in.ldif")
    assert len(reads) >= 3
    for index, call in reads:
        for size in (0, 1000, len(DATA) // 2, len(DATA) - 1):
            remove_results(site)
            result = run_with_pause(
                site, calls, index, lambda length=size: os.truncate(site.path / "in.ldif", length)
            )
            left = max(size, call.position)
            if left == 0:
                assert failures_printed(result.run) == [34], result
                assert site.read("run.log") == b"1\n"
            elif call.position == len(DATA):
                expect_split_of(site, result, DATA)
            else:
                expect_split_of(site, result, DATA[:left])


def test_an_input_that_grows(ready):
    site = ready
    more = b"".join(entries(200, first=5000))

    def grow():
        with open(site.path / "in.ldif", "ab") as data:
            data.write(more)

    calls, reads = calls_of(site, "read", "in.ldif")
    for index, _ in reads:
        remove_results(site)
        expect_split_of(site, run_with_pause(site, calls, index, grow), DATA + more)


@pytest.mark.parametrize("how", ["removed", "replaced"])
def test_an_input_whose_name_leads_elsewhere(ready, how):
    """What was opened is what is split."""
    site = ready

    def change():
        if how == "removed":
            (site.path / "in.ldif").unlink()
        else:
            site.write("other.ldif", OTHER).replace(site.path / "in.ldif")

    calls, reads = calls_of(site, "read", "in.ldif")
    for index, _ in reads:
        remove_results(site)
        expect_split_of(site, run_with_pause(site, calls, index, change), DATA)


def test_an_input_that_is_written_over(ready):
    """Every line of either content is read as it stands at that moment; none is made up."""
    site = ready
    assert len(OTHER) > len(DATA)

    def write_over():
        with open(site.path / "in.ldif", "r+b") as data:
            data.write(OTHER)

    calls, reads = calls_of(site, "read", "in.ldif")
    for index, call in reads:
        remove_results(site)
        result = run_with_pause(site, calls, index, write_over)
        data = DATA[: call.position] + OTHER[call.position :]
        expected = fault_runs.split_model.split(data, fault_runs.BASES, fault_runs.REST_FILE)
        if expected.stop is None:
            expect_split_of(site, result, data)
            continue
        # Where the two meet there may be no valid line.
        assert result.run.status == status_of(expected.stop)
        assert failures_printed(result.run) == ([33] if expected.reported else []) + [34]
        assert site.read("run.log") == b"%d\n" % expected.stop
        assert contents(site) == {**dict.fromkeys(OUTPUTS, b""), **expected.outputs}


def test_a_fifo_whose_writer_fails(site):
    """Its reader cannot tell that from the end: what came is split."""
    os.mkfifo(site.path / "in.ldif")
    site.configure(*CONFIGURATION)
    part = DATA[: len(DATA) // 3]
    writer = subprocess.Popen(
        ["sh", "-c", "cat >in.ldif; kill -9 $$"], cwd=site.path, stdin=subprocess.PIPE
    )
    process = site.start(stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    writer.communicate(part)
    assert writer.returncode == -signal.SIGKILL
    stdout, _ = process.communicate(timeout=HANG_GUARD_SECONDS)
    assert process.returncode == 0
    assert stdout.decode().splitlines() == [x.line() for x in SUCCESS]
    assert contents(site) == outputs_of(part)


# --- The output -----------------------------------------------------------------------------------

IN_DIRECTORY = [
    line.replace(": ", ": out/") if line.endswith(tuple(OUTPUTS)) else line
    for line in CONFIGURATION
]


@pytest.fixture
def with_directory(site):
    site.write("in.ldif", DATA)
    site.configure(*IN_DIRECTORY)
    (site.path / "out").mkdir()
    return site


def calls_with_outputs(site):
    known = run_with_fault(site, "-")
    assert known.run.status == 0, known
    assert {name: site.read(f"out/{name}") for name in OUTPUTS} == WHOLE
    return known.calls


def renew(site):
    shutil.rmtree(site.path / "out", ignore_errors=True)
    (site.path / "out").mkdir()
    (site.path / "run.log").unlink(missing_ok=True)


def place_of(site, call):
    """The call as (name, name of the output file), or as it is."""
    directory, _, name = call.path.rpartition("/")
    return (call.name, name) if directory in ("out", site.absolute("out")) else None


def test_an_output_directory_that_vanishes(with_directory):
    """Whenever it does: a run with status 0 has left its files behind."""
    site = with_directory
    calls = calls_with_outputs(site)
    split_begins = index_of(calls, "openat", site.path / "in.ldif")
    opened, tried = set(), 0
    for index in range(split_begins, len(calls)):
        place = place_of(site, calls[index])
        if place is None or place[0] not in ("openat", "write"):
            continue
        renew(site)
        result = run_with_pause(site, calls, index, lambda: shutil.rmtree(site.path / "out"))
        tried += 1
        assert result.ended.startswith("exit"), result
        assert not (site.path / "out").exists()
        if place[0] == "openat":
            # The file, or the next one, cannot be created.
            opened.add(place[1])
            assert failures_printed(result.run) == [34], result
            assert (result.run.status, site.read("run.log")) == (2, b"0\n")
        else:
            assert failures_printed(result.run) == [52], result
            assert result.run.status == 1
            assert site.read("run.log") == b"%d\n" % LAST_LINE
            # The first in the order of names, unless it has been closed before.
            is_last = all(place_of(site, call) != place for call in calls[index + 1 :])
            named = place[1] if is_last else OUTPUTS_IN_ORDER[0]
            assert m(52, f"out/{named}").line() in result.run.lines("stderr"), result
        assert 39 not in information_printed(result.run)
    assert opened == set(OUTPUTS)
    assert tried >= 9


@pytest.mark.parametrize("name", OUTPUTS)
@pytest.mark.parametrize("how", ["removed", "replaced", "moved", "linked"])
def test_an_output_file_that_vanishes(with_directory, name, how):
    site = with_directory
    output = site.path / "out" / name

    def change():
        if how == "moved":
            output.rename(site.path / "moved")
        elif how == "linked":
            os.link(output, site.path / "moved")
            output.unlink()
        else:
            output.unlink()
            if how == "replaced":
                output.write_bytes(b"of somebody else\n")

    calls = calls_with_outputs(site)
    writes = [i for i, call in enumerate(calls) if place_of(site, call) == ("write", name)]
    assert len(writes) >= 2
    for index in writes:
        renew(site)
        (site.path / "moved").unlink(missing_ok=True)
        result = run_with_pause(site, calls, index, change)
        for other in OUTPUTS:
            if other != name:
                assert site.read(f"out/{other}") == WHOLE[other]
        if how in ("moved", "linked"):
            # Its bytes are all there, where they were taken to.
            assert result.ended == "exit 0", result
            assert site.read("moved") == WHOLE[name]
        else:
            assert failures_printed(result.run) == [52], result
            assert m(52, f"out/{name}").line() in result.run.lines("stderr")
            assert result.run.status == 1
            assert site.read("run.log") == b"%d\n" % LAST_LINE


# --- The standard streams -------------------------------------------------------------------------


def test_a_terminal_that_goes_away(ready):
    """At every call; no session hangs on it. Messages are lost, nothing else."""
    site = ready
    known = run_with_fault(site, "-")
    first = fault_runs.first_call_of_main(known.calls)
    for index in range(first, len(known.calls)):
        if not fault_runs.is_of_the_program(site, known.calls[index]):
            continue
        remove_results(site)
        other_end, terminal = pty.openpty()
        act = functools.partial(os.close, other_end)
        result = run_with_pause(site, known.calls, index, act, stdout=terminal, stderr=terminal)
        os.close(terminal)
        assert result.ended == "exit 0", (index, result)
        assert contents(site) == WHOLE, index


@pytest.mark.parametrize("ignored", [False, True], ids=["hangup", "nohup"])
def test_the_terminal_of_the_session_goes_away(ready, ignored):
    """The hangup ends the run as it ends any program; its files are beginnings of what they should be,
    and no message says that it is complete. With nohup it goes on."""
    site = ready
    calls, reads = calls_of(site, "read", "in.ldif")
    program = "import fcntl, os, signal, sys, termios\n"
    program += f"signal.signal(signal.SIGHUP, signal.{'SIG_IGN' if ignored else 'SIG_DFL'})\n"
    program += "fcntl.ioctl(1, termios.TIOCSCTTY, 0)\n"
    program += "os.execv(sys.argv[1], sys.argv[1:])\n"
    for index, _ in reads:
        remove_results(site)
        other_end, terminal = pty.openpty()
        log = site.path.parent / "calls"
        log.unlink(missing_ok=True)
        # The injector is the leader of the session, which is told of the hangup with all of its group.
        process = subprocess.Popen(
            [sys.executable, "-c", program, fault_runs.INJECTOR, log,
             ",".join(fault_runs.CALLS), fault_at("pause", calls, index), site.binary],
            cwd=site.path, stdin=subprocess.DEVNULL, stdout=terminal, stderr=terminal,
            start_new_session=True,
        )  # fmt: skip
        os.close(terminal)
        wait_until_stopped(process)
        os.close(other_end)
        process.send_signal(signal.SIGCONT)
        process.wait(timeout=60)
        written = contents(site)
        assert all(WHOLE[name].startswith(written[name]) for name in OUTPUTS)
        assert site.read("run.log") == b""
        if ignored:
            assert log.read_text().endswith("exit 0\t1\n")
            assert written == WHOLE
        else:
            assert process.returncode == -signal.SIGHUP


def test_a_run_that_is_killed(site):
    """Its files are beginnings of what they should be, no message says that it is complete, and -r writes
    them whole."""
    os.mkfifo(site.path / "in.ldif")
    site.configure(*CONFIGURATION)
    process = site.start(stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    # It keeps the input open, so that the run cannot end by itself.
    writer = subprocess.Popen(["sh", "-c", "exec cat >in.ldif"], cwd=site.path, stdin=subprocess.PIPE)
    try:
        writer.stdin.write(DATA[: len(DATA) * 2 // 3])
        writer.stdin.flush()
        wait_for(lambda: any((site.path / name).is_file() and site.read(name) for name in OUTPUTS))
    finally:
        process.kill()
        writer.kill()
    stdout, _ = process.communicate()
    writer.communicate()
    assert process.returncode == -signal.SIGKILL
    assert stdout.decode().splitlines() == [x.line() for x in UP_TO_SPLIT]
    written = contents(site)
    assert all(WHOLE[name].startswith(written[name]) for name in OUTPUTS) and written != WHOLE
    (site.path / "in.ldif").unlink()
    site.write("in.ldif", DATA)
    site.run("-r").expect(0, SUCCESS[0], m(30, DEFAULT_NAME), *SUCCESS[1:])
    assert contents(site) == WHOLE


def closing(*streams):
    def close():
        for stream in streams:
            os.close(stream)

    return close


@pytest.mark.parametrize("streams", [(1,), (2,), (0, 1, 2)], ids=str)
def test_closed_streams_and_a_failing_write(ready, streams):
    """The failure is in the status and in the log, whoever listens. No output file takes the place of a
    stream that was closed."""
    site = ready
    if memcheck.ON:
        pytest.skip(memcheck.WRITES_FILES)
    limit = fault_runs.BUFFER - 1

    def prepare():
        closing(*streams)()
        resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))

    outcome = fault_runs.split_onto(DATA, fault_runs.FileSize(limit))
    run = site.run(preexec_fn=prepare, environment=UNCOUNTED)
    assert run.status == outcome.status() == 1
    assert site.read("run.log") == b"%d\n" % outcome.line
    assert site.read(outcome.failed_file) == WHOLE[outcome.failed_file][:limit]
    for name in OUTPUTS:
        assert WHOLE[name].startswith(site.read(name))


@pytest.mark.parametrize("stream", ["stdout", "stderr"])
def test_a_full_stream_and_a_failing_read(ready, stream):
    site = ready
    calls, reads = calls_of(site, "read", "in.ldif")
    for index, call in reads:
        remove_results(site)
        complete, line = before_read_error(DATA[: call.position])
        with open("/dev/full", "wb") as full:
            fault = fault_at("failing", calls, index, errno.EIO)
            result = run_with_fault(site, fault, **{stream: full})
        assert result.run.status == status_of(line)
        assert site.read("run.log") == b"%d\n" % line
        assert contents(site) == outputs_of(complete)
