"""Runs of the program in which a system call fails, and a plain model of what its streams do then.

The calls are watched and made to fail by inject_fault, which is built beside the program.
"""

import functools
import os
import pathlib
import signal
import subprocess
import typing

import memcheck
import pytest
import split_model
from varnel_run import HANG_GUARD_SECONDS, HEADER, MESSAGE_LINE, ONE_SERVER, URL2, Run

INJECTOR = pathlib.Path(os.environ["VARNEL_INJECT_FAULT"]).resolve()
SANITIZED = bool(os.environ.get("VARNEL_SANITIZE"))

CALLS = (
    "openat", "read", "write", "writev", "readv", "close", "lseek", "newfstatat", "fstat", "statx",
    "getcwd", "prlimit64", "mmap", "fcntl", "unlinkat", "renameat2", "fsync",
)  # fmt: skip
# A sanitizer makes calls of its own, which are not the program's and differ from run to run.
if SANITIZED:
    CALLS = tuple(name for name in CALLS if name not in ("mmap", "prlimit64"))

BUFFER = 64 * 1024  # of an output stream

SERVER_FILES = ["one.ldif", "two.ldif"]
REST_FILE = "rest.ldif"
BASES = {b"o=example": SERVER_FILES}
OUTPUTS = [*SERVER_FILES, REST_FILE]
CONFIGURATION = ONE_SERVER + (URL2, "file: two.ldif")


class Call(typing.NamedTuple):
    name: str
    descriptor: int
    position: int  # in the file, of a read or a write
    path: str


class FaultRun(typing.NamedTuple):
    run: Run
    calls: list
    ended: str  # "exit STATUS" or "signal NUMBER"

    def shown(self):
        return f"{self.ended}, {self.run.stdout!r}, {self.run.stderr!r}"


GOOD_RUN = "-"


def fault_at(kind, calls, index, error=0):
    """What inject_fault is told, for the call of that index in a run that made these calls."""
    call = calls[index]
    before = sum(other.name == call.name and other.path == call.path for other in calls[:index])
    return f"{kind}:{before}:{error}:{call.name}:{call.path}"


def start_with_fault(site, fault, *arguments, calls=CALLS, **options):
    if memcheck.ON:
        pytest.skip("valgrind would make the calls of the program, among many of its own")
    log = site.path.parent / "calls"
    log.unlink(missing_ok=True)
    options.setdefault("stdin", subprocess.DEVNULL)
    options.setdefault("stdout", subprocess.PIPE)
    options.setdefault("stderr", subprocess.PIPE)
    return subprocess.Popen(
        [INJECTOR, log, ",".join(calls), fault, site.binary, *arguments], cwd=site.path, **options
    )


def finish(site, process, fault):
    """The result of what start_with_fault started."""
    with process:
        try:
            stdout, stderr = process.communicate(timeout=HANG_GUARD_SECONDS)
        except subprocess.TimeoutExpired:
            process.kill()
            raise
    # The injector's own failure, for example a kernel that hands over no calls.
    assert process.returncode == 0, stderr
    lines = (site.path.parent / "calls").read_text("utf-8", "surrogateescape").splitlines()
    calls = []
    for line in lines[:-1]:
        name, descriptor, position, path = line.split("\t")
        calls.append(Call(name, int(descriptor), int(position), path))
    ended, happened = lines[-1].split("\t")
    assert int(happened) > 0 or fault == GOOD_RUN or fault.startswith("disk:"), fault
    status = int(ended.split()[1]) * (1 if ended.startswith("exit") else -1)
    return FaultRun(Run(status, stdout or b"", stderr or b""), calls, ended)


def run_with_fault(site, fault, *arguments, **options):
    return finish(site, start_with_fault(site, fault, *arguments, **options), fault)


def run_with_pause(site, calls, index, act, **options):
    """The call of that index in a run that made these calls waits until act() is done."""
    fault = fault_at("pause", calls, index)
    process = start_with_fault(site, fault, **options)
    wait_until_stopped(process)
    act()
    process.send_signal(signal.SIGCONT)
    return finish(site, process, fault)


def wait_until_stopped(process):
    _, status = os.waitpid(process.pid, os.WUNTRACED)
    assert os.WIFSTOPPED(status), "the call was never made"


def first_call_of_main(calls):
    """Behind the work of the dynamic loader: main looks at the standard streams first."""
    return next(
        i for i, call in enumerate(calls) if call.name == "fcntl" and call.descriptor == 0
    )


def is_of_the_program(site, call):
    """Sanitizers make calls too, through pipes of their own as well, and so does what counts the lines
    that were run, on files beside the objects."""
    if call.path.startswith(os.environ["VARNEL_BUILD"] + "/"):
        return False
    of_the_test = call.path.startswith(str(site.path.parent))
    relative = call.path != "" and call.path[0] != "/" and ":[" not in call.path
    return not SANITIZED or of_the_test or relative or call.name == "getcwd"


def index_of(calls, name, path, occurrence=0):
    found = [i for i, call in enumerate(calls) if call.name == name and call.path == str(path)]
    return found[occurrence]


def clear(site, given):
    """Leaves the directory with these files alone: name -> content."""
    for path in site.path.iterdir():
        if path.name not in given:
            path.unlink()
    for name, content in given.items():
        if not (site.path / name).exists() or site.read(name) != content:
            site.write(name, content)


# --- Messages -------------------------------------------------------------------------------------

# They stand beside a message: the place in the configuration, the system's reason, what a file is.
DETAILS = {62, 73, 74}


def failures_printed(run):
    """The numbers of the messages that say that the run failed, in order."""
    return [
        int(line[6:9])
        for line in run.lines("stderr")
        if MESSAGE_LINE.fullmatch(line) and line[9] == "E" and int(line[6:9]) not in DETAILS
    ]


def information_printed(run):
    return [int(line[6:9]) for line in run.lines("stdout") if MESSAGE_LINE.fullmatch(line)]


# --- Inputs ---------------------------------------------------------------------------------------


def entries(count, width=100, first=0):
    """No two lines are alike; lengths vary, some lines are folded."""
    for i in range(first, first + count):
        base = "rest" if i % 3 == 0 else "example"
        yield (
            f"\ndn: cn={i},o={base}\ncn: {i}\n# comment {i}\ndescription: {i} {'x' * (i * 7 % width)}\n"
            f" folded {i}\n"
        ).encode()


def sample_input(count):
    return b"version: 1\n\ndn: o=example\no: example\n" + b"".join(entries(count))


@functools.lru_cache(maxsize=None)
def outputs_of(data):
    """File -> content after a good run."""
    found = split_model.split(data, BASES, REST_FILE).outputs
    return {name: found.get(name, b"") for name in OUTPUTS}


# --- The output streams ---------------------------------------------------------------------------


class Piece(typing.NamedTuple):
    """Bytes that the split hands to a stream at a time."""

    file: str
    data: bytes
    line: int  # what the log is to say where it is not taken
    checked: bool


@functools.lru_cache(maxsize=None)
def pieces(data):
    """In the order of the split, and the number of the last line."""
    found, opened, current = [], set(), []
    number = 0
    for number, _, line in split_model.logical_lines(data):
        if line[:1] in (b"#", b"\n", b"\0", b"\r"):
            continue
        name, value = split_model.parse_line(line)
        if name != b"dn":
            found += [Piece(file, line, number, True) for file in current]
            continue
        current = split_model.route(value, BASES, REST_FILE)
        for file in current:
            if file not in opened:
                opened.add(file)
                found += [Piece(file, HEADER[:11], 0, True), Piece(file, HEADER[11:], 0, True)]
        for file in current:
            found += [
                Piece(file, b"\ndn: ", number, False),
                Piece(file, value, number, False),
                Piece(file, b"\n", number, True),
            ]
    return found, number


class Stream:
    """A buffered stream of the C library: it writes when the next piece does not fit."""

    def __init__(self, file, accept):
        self.file = file
        self.accept = accept  # (file, offset, size) -> how many bytes the system takes
        self.taken = b""  # all that fwrite was given
        self.on_disk = 0
        self.buffered = 0
        self.failed = False

    def flush(self):
        if self.buffered == 0:
            return True
        taken = self.accept(self.file, self.on_disk, self.buffered)
        complete = taken == self.buffered
        self.on_disk += taken
        self.buffered = 0
        self.failed = self.failed or not complete
        return complete

    def write(self, data):
        self.taken += data
        room = BUFFER - self.buffered
        if len(data) <= room:
            self.buffered += len(data)
            return True
        assert len(data) < BUFFER, "beyond this model"
        self.buffered = BUFFER
        if not self.flush():
            return False
        self.buffered = len(data) - room
        return True


class Outcome(typing.NamedTuple):
    failed_file: typing.Optional[str]
    line: typing.Optional[int]
    on_disk: dict  # file -> how many bytes of it the system had taken until the failure
    taken: dict  # file -> all that its stream was given until then

    def status(self):
        return status_of(self.line)


def status_of(line):
    if line is None:
        return 0
    return 2 if line <= 9 else 1


def split_onto(data, accept):
    """What becomes of a split whose writes are taken as accept says."""
    streams = {}

    def outcome(file, line):
        return Outcome(
            file,
            line,
            {name: stream.on_disk for name, stream in streams.items()},
            {name: stream.taken for name, stream in streams.items()},
        )

    found, last_line = pieces(data)
    for piece in found:
        stream = streams.setdefault(piece.file, Stream(piece.file, accept))
        if not stream.write(piece.data) and piece.checked:
            return outcome(piece.file, piece.line)
    failed = []
    for name in sorted(streams):
        incomplete = streams[name].failed
        if not streams[name].flush() or incomplete:
            failed.append(name)
    return outcome(failed[0], last_line) if failed else outcome(None, None)


class FileSize:
    """Each file takes so many bytes."""

    def __init__(self, limit):
        self.limit = limit

    def __call__(self, _file, offset, size):
        return max(0, min(size, self.limit - offset))


class RefuseWrite:
    """The n-th write of a file is refused, and with `ever` all that follow it."""

    def __init__(self, file, number, ever):
        self.file = file
        self.number = number
        self.ever = ever
        self.seen = 0

    def __call__(self, file, _offset, size):
        if file != self.file:
            return size
        self.seen += 1
        refused = self.seen > self.number if self.ever else self.seen == self.number + 1
        return 0 if refused else size


# --- The input ------------------------------------------------------------------------------------


def before_read_error(read):
    """Of the bytes that were read before a read failed: those of complete logical lines, and the line
    that the failure is reported at."""
    complete = read[: read.rfind(b"\n") + 1]
    count = complete.count(b"\n")
    if count == 0:
        return b"", 1
    if not read[len(complete) :].startswith(b" "):
        return complete, count
    # The logical line that goes on here is not complete; its last physical line so far is not counted.
    dropped = list(split_model.logical_lines(complete))[-1][2]
    return complete[: -len(dropped)], count - 1
