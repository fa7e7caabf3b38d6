"""Runs the real program in a directory of its own and compares what it did with what it should do.

A Site is a fresh directory. Its run() returns a Run, whose expect() compares the exit status and,
stream by stream, every message with its arguments; tree() is the directory's content by bytes.
"""

import dataclasses
import os
import pathlib
import re
import shutil
import stat
import subprocess
import time

import message_texts

# Long enough for a sanitizer build on a busy machine: a guard against a run that hangs.
HANG_GUARD_SECONDS = 240

NOBODY = 65534

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


class Run:
    def __init__(self, status, stdout, stderr):
        self.status = status
        self.stdout = stdout
        self.stderr = stderr

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

    def expect(self, status, *messages):
        """The status, and these messages on their streams and nothing else but traces there."""
        for stream in ("stdout", "stderr"):
            expected = [x.line() for x in messages if x.stream() == stream]
            found = [line for line in self.lines(stream) if not TRACE_LINE.match(line)]
            assert found == expected, self
        assert self.status == status, self
        return self


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
        return subprocess.Popen(
            [name or str(self.binary), *arguments],
            executable=str(self.binary),
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
        return Run(process.returncode, stdout or b"", stderr or b"")


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
