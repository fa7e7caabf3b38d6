"""Runs the real program in a directory of its own and compares what it did with what it should do.

A Site is a fresh directory. Its run() returns a Run, whose expect() compares the exit status and,
stream by stream, every message with its arguments; tree() is the directory's content by bytes.
What counts the lines that were run (VARNEL_COVERAGE=1) complains on standard error where it cannot keep its
counts, in runs without privileges or descriptors; a Run leaves that out.
The warnings that the input gives by its content are worked out by expect() with a plain model, so that
a test of something else need not list them.
"""

import dataclasses
import os
import pathlib
import re
import resource
import shutil
import stat
import subprocess
import sys
import time

import memcheck
import message_texts
import pytest
import split_model

# Long enough for a sanitizer build on a busy machine: a guard against a run that hangs.
HANG_GUARD_SECONDS = memcheck.patience(240)

NOBODY = 65534

# A program that counts its lines adds them to files of the build when it ends. Where it may not write
# all of them, or may be killed while it does, they must not be touched: half a file would take the counts
# of all other runs with it.
COVERED = os.environ.get("VARNEL_COVERAGE") == "1"
UNCOUNTED = {"GCOV_PREFIX": "/dev/null"} if COVERED else {}
COMPLAINT_OF_COUNTING = re.compile(rb"^(libgcov )?profiling( error)?:.*\n", re.MULTILINE)

MESSAGE_LINE = re.compile(r"VNL\d{6}[A-Z]:.*")
TRACE_LINE = re.compile(r"(c8010000|c8110000) ")

DIRECTORY = "a directory"
FIFO = "a fifo"

HEADER = b"version: 1\n\n"

CONFIGURATION_FILE = "varnelConfig"
DEFAULT_NAME = "./varnelConfig"

# The configuration that most tests vary; the number behind a line is its line number.
ACTION = "actiontype: splitonly"  # 1
INPUT = "inputfile: in.ldif"  # 2
LOG = "logfile: run.log"  # 3
REST = "defaultoutputfile: rest.ldif"  # 4
SPLIT = "splitby: numservers"  # 5
BASE = "basedn: o=example"  # 6
URL1 = "url: ldap://one"  # 7
FILE1 = "file: one.ldif"  # 8
URL2 = "url: ldap://two"  # 9
FILE2 = "file: two.ldif"  # 10

GLOBAL_LINES = (ACTION, INPUT, LOG, REST, SPLIT)
ONE_SERVER = GLOBAL_LINES + (BASE, URL1, FILE1)
TWO_SERVERS = ONE_SERVER + (URL2, FILE2)


@dataclasses.dataclass(frozen=True)
class Message:
    number: int
    arguments: tuple

    def line(self):
        return message_texts.render(32, self.number, self.arguments)

    def stream(self):
        return "stdout" if message_texts.severity(32, self.number) == "I" else "stderr"


def m(number, *arguments):
    """Message `number` of the tool's set with its arguments."""
    return Message(number, tuple(str(argument) for argument in arguments))


# What every run that reaches the split prints before it.
UP_TO_SPLIT = (m(1, DEFAULT_NAME), m(28), m(37, DEFAULT_NAME))
SUCCESS = UP_TO_SPLIT + (m(39),)


def failed_configuration(*messages):
    """Messages on a fault of the configuration, those that explain it among them."""
    return (m(1, DEFAULT_NAME),) + messages + (m(27),)


def at_line(line, text, near=""):
    """The line where a configuration is at fault, and the legal key that is proposed."""
    return m(62, DEFAULT_NAME, line, text, near)


def failed_split(*messages):
    return UP_TO_SPLIT + messages


# Warnings of what the input holds; a test that lists one of them lists them all.
OF_THE_INPUT = {63, 64, 66, 67, 69, 70}
BEGINNING_OF_SPLIT, END_OF_SPLIT, SPLIT_FAILED = 37, 39, 34
WHITE_SPACE = " \t\v\f\r\n"


def read_configuration(path):
    """(key, value) of each line, as the program takes them."""
    text = path.read_bytes().decode("utf-8", "surrogateescape")
    for line in text.split("\n"):
        key, colon, value = line.partition(":")
        value = (value if colon else line).lstrip(WHITE_SPACE)
        stripped = value.rstrip(WHITE_SPACE)
        # A value of one letter keeps what follows it.
        yield "".join(key.split()).lower(), stripped if len(stripped) > 1 else value


def content_of(path):
    """None where it can be read but once, or is no file."""
    if not path.is_file():
        return None
    return path.read_bytes() if path.stat().st_size > 0 else b""


class RunInput:
    """What a run was given to split, for the model of the warnings."""

    def __init__(self, directory, configuration, standard_input):
        pairs = list(read_configuration(directory / configuration))
        keys = dict(pairs)
        base = keys.get("basedirectory", keys.get("filedirectory", str(directory)))
        name = keys["inputfile"]
        self.name = name if "/" in name else f"{base}/{name}"
        self.bases = [os.fsencode(value) for key, value in pairs if key == "basedn"]
        path = directory / self.name
        if self.name == "/dev/stdin":
            self.data = standard_input
        else:
            self.data = content_of(path)

    def warnings(self, messages):
        """Those of a run that prints these messages; none where the input can be read but once."""
        numbers = [message.number for message in messages]
        if self.data is None:
            return []
        if END_OF_SPLIT in numbers:
            lines = split_model.warnings_of_lines(self.data)
            bases = split_model.warnings_of_bases(self.data, self.bases)
        elif SPLIT_FAILED in numbers:
            stop = int(messages[numbers.index(SPLIT_FAILED)].arguments[0])
            lines, bases = split_model.warnings_of_lines(self.data, stop), []
        else:
            return []
        # The pieces of overlong lines are listed by their tests.
        listed = [(x.number, int(x.arguments[0])) for x in messages if x.number == 60]
        lines = split_model.by_line([x for x in lines if x[0] != 60] + listed)
        return [m(number, line, self.name) for number, line in lines] + [
            m(number, os.fsdecode(base)) for number, base in bases
        ]


class Run:
    """`site` and `standard_input` are where the warnings of the input are worked out; without a site
    there are none."""

    def __init__(self, status, stdout, stderr, site=None, standard_input=None):
        self.status = status
        self.stdout = COMPLAINT_OF_COUNTING.sub(b"", stdout) if COVERED else stdout
        self.stderr = COMPLAINT_OF_COUNTING.sub(b"", stderr) if COVERED else stderr
        self.site = site
        self.standard_input = standard_input

    def __repr__(self):
        return f"Run(status={self.status}, stdout={self.stdout!r}, stderr={self.stderr!r})"

    def lines(self, stream):
        return getattr(self, stream).decode("utf-8", "surrogateescape").splitlines()

    def traces(self):
        return [line for line in self.lines("stderr") if TRACE_LINE.match(line)]

    def message_lines(self, stream):
        return [line for line in self.lines(stream) if MESSAGE_LINE.fullmatch(line)]

    def identifiers(self):
        """Of both streams, standard output first."""
        return [line[:10] for name in ("stdout", "stderr") for line in self.message_lines(name)]

    def with_warnings_of_the_input(self, messages):
        numbers = [message.number for message in messages]
        if self.site is None or BEGINNING_OF_SPLIT not in numbers or OF_THE_INPUT & {*numbers}:
            return messages
        configuration = messages[numbers.index(BEGINNING_OF_SPLIT)].arguments[0]
        given = RunInput(self.site.path, configuration, self.standard_input)
        at = numbers.index(BEGINNING_OF_SPLIT) + 1
        rest = [message for message in messages[at:] if message.number != 60]
        return [*messages[:at], *given.warnings(messages), *rest]

    def expect(self, status, *messages):
        """The status; these messages and the warnings that the input gives, on their streams; and
        nothing else but traces there."""
        return self.expect_exactly(status, *self.with_warnings_of_the_input(messages))

    def expect_exactly(self, status, *messages):
        """The status, and these messages on their streams and nothing else but traces there."""
        for stream in ("stdout", "stderr"):
            expected = [x.line() for x in messages if x.stream() == stream]
            found = [line for line in self.lines(stream) if not TRACE_LINE.match(line)]
            assert found == expected, self
        assert self.status == status, self
        return self


def with_file_size_limit(size):
    """Options of Site.run()."""
    if memcheck.ON:
        pytest.skip(memcheck.WRITES_FILES)
    return {
        "preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size)),
        "environment": UNCOUNTED,
    }


def wait_for(condition):
    """Until the program has done something that shows from outside."""
    deadline = time.monotonic() + HANG_GUARD_SECONDS
    while not condition():
        assert time.monotonic() < deadline
        time.sleep(0.005)


class Site:
    """A fresh directory in which the program runs."""

    def __init__(self, binary, path):
        self.binary = binary
        self.path = pathlib.Path(path)

    def write(self, name, content):
        data = content if isinstance(content, bytes) else content.encode("utf-8")
        target = self.path / name
        target.write_bytes(data)
        return target

    def read(self, name):
        return (self.path / name).read_bytes()

    def configure(self, *lines, name=CONFIGURATION_FILE):
        return self.write(name, "".join(line + "\n" for line in lines))

    def absolute(self, name):
        return str(self.path / name)

    def tree(self):
        """Every name below the directory with its content by bytes."""
        found = {}
        for path in sorted(self.path.rglob("*")):
            name = str(path.relative_to(self.path))
            mode = path.lstat().st_mode
            if stat.S_ISLNK(mode):
                found[name] = "-> " + os.readlink(path)
            elif stat.S_ISDIR(mode):
                found[name] = DIRECTORY
            elif stat.S_ISFIFO(mode):
                found[name] = FIFO
            else:
                found[name] = path.read_bytes()
        return found

    def start(self, *arguments, name=None, environment=None, **options):
        options["executable"] = str(memcheck.itself(self.binary) if name else self.binary)
        return subprocess.Popen(
            [name or str(self.binary), *arguments],
            cwd=self.path,
            env={**os.environ, **(environment or {})},
            **options,
        )

    def run(self, *arguments, input=None, **options):
        """Options are those of start() and of subprocess.Popen."""
        options.setdefault("stdin", subprocess.PIPE if input is not None else subprocess.DEVNULL)
        options.setdefault("stdout", subprocess.PIPE)
        options.setdefault("stderr", subprocess.PIPE)
        with self.start(*arguments, **options) as process:
            try:
                stdout, stderr = process.communicate(input, timeout=HANG_GUARD_SECONDS)
            except subprocess.TimeoutExpired:
                process.kill()
                raise
        # With the schema of an instance names are equal that the model does not know to be.
        modelled = None if "-I" in arguments[:-1] else self
        return Run(process.returncode, stdout or b"", stderr or b"", modelled, input)


class UnprivilegedSite(Site):
    """A site whose runs have no privileges, so that file modes bind them."""

    def __init__(self, binary, path):
        super().__init__(binary, path)
        self.drops = os.geteuid() == 0
        if self.drops:
            os.chown(self.path, NOBODY, NOBODY)
            # The build directory may be closed to others.
            program = self.path.parent / "varnel"
            shutil.copy(binary, program)
            program.chmod(0o755)
            self.binary = program

    def write(self, name, content):
        target = super().write(name, content)
        if self.drops:
            os.chown(target, NOBODY, NOBODY)
        return target

    def start(self, *arguments, **options):
        if self.drops:
            options.update(user=NOBODY, group=NOBODY, extra_groups=[])
        return super().start(*arguments, **options)


# --- Memory ---------------------------------------------------------------------------------------

# A process begins with the peak of the one that it was started from, so that this has to be a small one.
STARTER = """
import os, sys
pid = os.posix_spawn(sys.argv[1], sys.argv[1:], os.environ,
                     file_actions=[(os.POSIX_SPAWN_OPEN, 1, "/dev/null", os.O_WRONLY, 0)])
_, status, usage = os.wait4(pid, 0)
print(os.waitstatus_to_exitcode(status), usage.ru_maxrss)
"""


def peak_memory(program, directory, *arguments):
    """In kB, of a run with status 0 whose standard output goes nowhere."""
    done = subprocess.run(
        [sys.executable, "-c", STARTER, program, *arguments],
        cwd=directory, stdin=subprocess.DEVNULL, capture_output=True, check=True, timeout=HANG_GUARD_SECONDS,
    )  # fmt: skip
    status, peak = done.stdout.split()
    assert int(status) == 0, done
    return int(peak)


# What a sanitizer keeps of memory that was given back grows.
MEASURES_MEMORY = pytest.mark.skipif(
    bool(os.environ.get("VARNEL_SANITIZE")) or memcheck.ON, reason="the memory is that of the sanitizer or of valgrind"
)
