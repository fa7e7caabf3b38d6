"""What a terminal shows of a run beside its messages: a line while the split goes on, and a table of the
shares behind it. Elsewhere there is neither."""

import fcntl
import os
import pty
import re
import struct
import subprocess
import sys
import termios
import threading
import time

import message_texts
import pytest

from varnel_run import (
    ACTION, BASE, DEFAULT_NAME, FILE1, FILE2, HANG_GUARD_SECONDS, HEADER, INPUT, LOG, REST, SPLIT,
    SUCCESS, URL1, URL2, failed_split, m, wait_for,
)  # fmt: skip

CONFIGURATION = (ACTION, INPUT, LOG, REST, SPLIT, BASE, URL1, FILE1, URL2, FILE2)
HEAD = ["file", "entries", "size", "share"]


def entries(count, base="o=example"):
    """LDIF of the base entry and of so many below it, of about 1 kB each."""
    filler = "".join(f"description: {'x' * 60}\n" for _ in range(13))
    below = (f"dn: cn=entry {i},{base}\ncn: entry {i}\n{filler}\n" for i in range(count))
    return f"dn: {base}\no: example\n\n" + "".join(below)


class Terminal:
    """A pseudo-terminal, and all that was ever written to it."""

    def __init__(self, columns=80):
        self.main, self.side = pty.openpty()
        fcntl.ioctl(self.side, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        self.bytes = b""
        self.reader = threading.Thread(target=self.read)
        self.reader.start()

    def read(self):
        while True:
            try:
                piece = os.read(self.main, 65536)
            except OSError:  # nobody has the other end any more
                return
            self.bytes += piece

    def text(self):
        return self.bytes.decode("utf-8").replace("\r\n", "\n")

    def close(self):
        """Once the processes that write to it have ended."""
        os.close(self.side)
        self.reader.join(HANG_GUARD_SECONDS)
        os.close(self.main)


class Shown:
    """What a run showed."""

    def __init__(self, status, out, text, seconds):
        self.status, self.out, self.text, self.seconds = status, out, text, seconds

    def drawn(self):
        """Each line that was written anew, the empty ones that cleared it apart."""
        written = re.findall(r"\r([^\r\n]*)", self.text)
        others = ("VNL", "file ")  # what begins behind the carriage return that cleared the line
        return [line.rstrip() for line in written if line.strip() and not line.startswith(others)]

    def screen(self):
        """The lines that stand there in the end."""
        lines = []
        for line in self.text.split("\n"):
            cells = []
            for part in line.split("\r"):
                cells[: len(part)] = part
            lines.append("".join(cells).rstrip())
        assert lines.pop() == ""
        return lines

    def table(self):
        """File, entries, size of each row, with the line above its group in front."""
        lines = self.screen()
        start = [line.split() for line in lines].index(HEAD)
        group, rows = None, []
        for line in lines[start + 1 :]:
            row = re.fullmatch(r"  (\S.*?) +(\d+) +([\d.]+ k?B)(?: +([\d.]+) %)?(?:  (#*))?", line)
            if row is None:
                group = line
            else:
                rows.append((group, *row.groups()))
        return rows


def run(site, *arguments, columns=80, feed=None, **options):
    """`feed`: a function of the terminal, while the program runs."""
    terminal = Terminal(columns)
    began = time.monotonic()
    try:
        with site.start(*arguments, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                        stderr=terminal.side, **options) as process:  # fmt: skip
            try:
                if feed is not None:
                    feed(terminal)
                out = process.communicate(timeout=HANG_GUARD_SECONDS)[0].decode()
            except BaseException:
                process.kill()
                raise
    finally:
        terminal.close()
    return Shown(process.returncode, out, terminal.text(), time.monotonic() - began)


def lines_of(*messages):
    return [message.line() for message in messages]


def information(messages=SUCCESS):
    return "".join(x + "\n" for x in lines_of(*(x for x in messages if x.stream() == "stdout")))


def of_catalog(number, *arguments):
    """The text of a message without its identifier."""
    return message_texts.render(32, number, arguments).partition(": ")[2]


@pytest.fixture
def ready(site):
    site.configure(*CONFIGURATION)
    site.write("in.ldif", entries(1000))
    return site


@pytest.fixture
def fed(site):
    """Its input is a FIFO."""
    site.configure(*CONFIGURATION)
    os.mkfifo(site.path / "in.ldif")
    return site


# --- The line -------------------------------------------------------------------------------------

# Left figures go last.
FIGURES = [r" *\d+ %", r"(\d+ s|\d+ min \d+ s|\?) left", r"[\d.]+ [kM]?B of 1\.\d MB",
           r"[\d.]+ [kMG]?B/s", r"\d+ entries"]  # fmt: skip


def is_beginning_of_the_figures(line):
    given = re.sub(r"^\[#*\.*\] ", "", line).split("  ")
    given = [x for x in given if x]
    return len(given) <= len(FIGURES) and all(map(re.fullmatch, FIGURES, given))


@pytest.mark.parametrize("columns", [250, 100, 80, 72, 60, 45, 33, 20])
def test_the_line_is_narrower_than_the_terminal(ready, columns):
    shown = run(ready, columns=columns)
    assert shown.status == 0 and shown.out == information()
    assert shown.drawn()
    for line in shown.drawn():
        assert len(line) < columns
        assert is_beginning_of_the_figures(line), line
    assert not any("%  " in x and "left" in x for x in shown.screen())


def test_all_figures_have_room_in_eighty_columns(ready):
    # No terminal that tells its width: taken for one of 80.
    for columns in (80, 0):
        line = run(ready, columns=columns).drawn()[0]
        assert re.match(r"\[#+\.+\]  ", line) and len(line) < 80
        assert line.count("  ") == len(FIGURES) and line.endswith(" entries")
        renew(ready)


def renew(site):
    for name in ("one.ldif", "two.ldif", "rest.ldif", "run.log"):
        (site.path / name).unlink(missing_ok=True)


@pytest.mark.parametrize("columns", [19, 5, 1])
def test_no_line_on_a_very_narrow_terminal(ready, columns):
    shown = run(ready, columns=columns)
    assert shown.status == 0 and shown.drawn() == []
    assert "\r" not in shown.text and shown.screen()[0].split() == HEAD


def test_an_input_of_unknown_size_and_how_often_the_line_is_written(fed):
    def feed(terminal):
        with open(fed.path / "in.ldif", "wb", buffering=0) as pipe:
            pipe.write(b"dn: o=example\n")
            for i in range(60):
                pipe.write(b"dn: cn=%d,o=example\ncn: x\n" % i)
                time.sleep(0.01)
            wait_for(lambda: terminal.bytes.count(b"\r") >= 1)

    shown = run(fed, feed=feed)
    assert shown.status == 0
    drawn = shown.drawn()
    assert 2 <= len(drawn) <= 5 * shown.seconds + 1
    for line in drawn:
        assert re.fullmatch(r"[\d.]+ k?B  [\d.]+ [kM]?B/s  \d+ entries", line)
    assert int(drawn[-1].split()[-2]) > int(drawn[0].split()[-2])


def test_a_standard_input_that_is_a_file_has_a_size(site):
    site.configure(*(x.replace("in.ldif", "/dev/stdin") for x in CONFIGURATION))
    site.write("in.ldif", entries(1000))
    terminal = Terminal()
    with open(site.path / "in.ldif", "rb") as given:
        done = subprocess.run([site.binary], cwd=site.path, stdin=given, stdout=subprocess.DEVNULL,
                              stderr=terminal.side, timeout=HANG_GUARD_SECONDS, check=False)  # fmt: skip
    terminal.close()
    assert done.returncode == 0
    assert is_beginning_of_the_figures(Shown(0, "", terminal.text(), 0).drawn()[0])


def test_texts_are_those_of_the_catalog(ready):
    line = run(ready, columns=250).drawn()[0]
    figures = re.fullmatch(r"\[#+\.+\] ( *\d+ %)  (.*) left  (.*) of (.*)  (.*)/s  (\d+) entries", line)
    assert figures and line.endswith(of_catalog(75, *figures.groups()))


def test_the_first_line_counts_what_was_read(ready):
    """The first block is of 256 kB at most, and no entry of it has begun."""
    line = run(ready, columns=250).drawn()[0]
    size = (ready.path / "in.ldif").stat().st_size
    percent = int(re.search(r"(\d+) %", line).group(1))
    assert 0 < percent <= 100 * 262144 // size and line.endswith("  0 entries")
    assert f" of {size / 1e6:.1f} MB" in line or f" of {int(size / 1e5) / 10} MB" in line


@pytest.mark.parametrize("in_background", [True, False], ids=["background", "foreground"])
def test_no_line_from_the_background(ready, in_background):
    """It would be written over what somebody types there."""
    program = "import fcntl, os, sys, termios\n"
    program += "fcntl.ioctl(2, termios.TIOCSCTTY, 0)\n"
    program += "child = os.fork()\n"
    program += "if child == 0:\n"
    program += "    os.setpgid(0, 0)\n" if in_background else ""
    program += "    os.execv(sys.argv[1], sys.argv[1:])\n"
    program += "sys.exit(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))\n"
    terminal = Terminal()
    done = subprocess.run([sys.executable, "-c", program, ready.binary], cwd=ready.path,
                          stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=terminal.side,
                          start_new_session=True, timeout=HANG_GUARD_SECONDS, check=False)  # fmt: skip
    terminal.close()
    shown = Shown(done.returncode, "", terminal.text(), 0)
    assert shown.status == 0 and bool(shown.drawn()) != in_background
    assert shown.table()


# --- Messages meanwhile ---------------------------------------------------------------------------


def feed_behind_the_line(site, first, second):
    def feed(terminal):
        with open(site.path / "in.ldif", "wb", buffering=0) as pipe:
            pipe.write(first)
            wait_for(lambda: b" entries" in terminal.bytes)
            time.sleep(0.25)  # so that the line may be written once more
            pipe.write(second)

    return feed


def test_a_warning_meanwhile_stands_alone(fed):
    feed = feed_behind_the_line(fed, b"dn: o=example\n", b"DN: x\n" + entries(500).encode())
    shown = run(fed, feed=feed)
    assert shown.status == 0 and shown.drawn()
    warning = m(66, 2, fed.absolute("in.ldif")).line()
    assert shown.screen()[0] == warning and shown.screen()[1].split() == HEAD
    # Nothing of the line is left before it, and what came behind it begins anew.
    assert re.search(r"\r +\r" + re.escape(warning) + "\n", shown.text)


def test_a_failure_leaves_its_messages_alone(fed):
    feed = feed_behind_the_line(fed, b"dn: o=example\n", b"no LDIF\n")
    shown = run(fed, feed=feed)
    messages = (m(33, 2, fed.absolute("in.ldif")), m(34, 2))
    assert shown.status == 2 and shown.drawn()
    assert shown.out == information(failed_split(*messages))
    assert shown.screen() == lines_of(*messages)
    assert fed.read("run.log") == b"2\n"


def test_an_output_that_cannot_be_written(ready):
    ready.configure(*(x.replace("two.ldif", "/dev/full") for x in CONFIGURATION))
    for name in ("one.ldif", "rest.ldif", "run.log"):
        ready.write(name, "")
    shown = run(ready, "-r")
    assert shown.status == 1
    assert shown.screen()[0] == m(52, "/dev/full").line()
    assert HEAD not in [x.split() for x in shown.screen()]


def test_warnings_behind_the_split_stand_before_the_table(site):
    site.configure(*CONFIGURATION)
    site.write("in.ldif", "dn: cn=x,o=example\n")
    shown = run(site)
    assert shown.screen()[0] == m(64, "O=EXAMPLE").line() and shown.screen()[1].split() == HEAD


def test_debug_output_is_not_torn_apart(ready):
    shown = run(ready, "-d", "1")
    assert shown.status == 0 and "\r" not in shown.text
    assert f"c8010000 entering function ldifsplit::ldifSplit({ready.absolute('in.ldif')})" in shown.screen()
    assert len(shown.table()) == 2


# --- The table ------------------------------------------------------------------------------------


def count_of(data):
    return data.count(b"\ndn: ")


def test_the_table_has_each_base_dn_and_file(site):
    site.configure(*CONFIGURATION, "basedn: ou=deep,o=example", URL1, "file: deep.ldif",
                   URL2, "file: /dev/null", "basedn: o=empty", URL1, "file: empty.ldif")  # fmt: skip
    site.write("in.ldif", entries(300) + entries(40, "ou=deep,o=example")
               + "dn: o=elsewhere\no: e\n\ndn: cn=localhost\ncn: localhost\n")  # fmt: skip
    for name in ("one.ldif", "two.ldif", "deep.ldif", "empty.ldif", "rest.ldif", "run.log"):
        site.write(name, "")
    shown = run(site, "-r")
    assert shown.status == 0
    copied = len(b"\ndn: cn=localhost\ncn: localhost\n")
    rows = {row[:2]: row[2:] for row in shown.table()}

    def is_right(group, name, data, below):
        number, size, *_ = rows.pop((group, name))
        assert int(number) == count_of(data) - below
        expected = len(data) - len(HEADER) - below * copied if data else 0
        factor = 1000 if size.endswith("kB") else 1
        assert abs(float(size.split()[0]) * factor - expected) <= expected / 100, (name, size, expected)

    main, deep, empty = (of_catalog(79, x) for x in ("O=EXAMPLE", "OU=DEEP,O=EXAMPLE", "O=EMPTY"))
    is_right(main, "one.ldif", site.read("one.ldif"), 1)
    is_right(main, "two.ldif", site.read("two.ldif"), 1)
    is_right(deep, "deep.ldif", site.read("deep.ldif"), 1)
    assert int(rows.pop((deep, "/dev/null"))[0]) == 42 - (count_of(site.read("deep.ldif")) - 1)
    assert rows.pop((empty, "empty.ldif")) == ("0", "0 B", None, None)
    assert rows.pop((of_catalog(81), "rest.ldif"))[0] == "1"
    assert rows.pop((of_catalog(79, "CN=LOCALHOST"), of_catalog(80)))[0] == "1"
    assert rows == {}


def test_the_bar_of_an_uneven_split(site):
    """One entry in a server's file, and many in the other's."""
    site.configure(*CONFIGURATION)
    few, many = "cn=entry 0", "".join(f"dn: cn=x{i},cn=entry 0,o=example\n\n" for i in range(200))
    site.write("in.ldif", f"dn: o=example\n\ndn: {few},o=example\n\n{many}")
    rows = run(site).table()
    share = sorted((float(row[4]), len(row[5] or "")) for row in rows)
    assert share[1][0] > 98 and share[1][1] == 20 and share[0][1] == 0
    assert sum(x for x, _ in share) == pytest.approx(100, abs=0.11)


def test_a_file_of_two_base_dns_is_told_for_each(site):
    site.configure(*CONFIGURATION, "basedn: o=b", URL1, FILE1)
    site.write("in.ldif", "dn: o=b\n\ndn: cn=x,o=b\n\ndn: o=example\n")
    for name in ("one.ldif", "two.ldif", "rest.ldif", "run.log"):
        site.write(name, "")
    rows = [row[:3] for row in run(site, "-r").table()]
    assert rows == [
        (of_catalog(79, "O=B"), "one.ldif", "2"),
        (of_catalog(79, "O=EXAMPLE"), "one.ldif", "1"),
        (of_catalog(79, "O=EXAMPLE"), "two.ldif", "1"),
    ]


@pytest.mark.parametrize("columns", [60, 45, 36])
def test_the_table_is_cut_to_the_width(site, columns):
    base = "ou=a department of a long name,o=example"
    site.configure(ACTION, INPUT, LOG, REST, SPLIT, f"basedn: {base}", URL1,
                   "file: a-server-of-a-long-name-1.ldif", URL2, "file: a-server-of-a-long-name-2.ldif")  # fmt: skip
    site.write("in.ldif", entries(50, base))
    lines = run(site, columns=columns).screen()
    assert all(len(line) < columns for line in lines), lines
    assert sum(bool(re.search(r"(^|\.\.\.).*-?[12]\.ldif  ", line)) for line in lines) == 2
    assert any("#" in line for line in lines) == (columns > 50)


# --- Locales --------------------------------------------------------------------------------------


@pytest.mark.parametrize("locale", ["C.UTF-8", "C", "POSIX"])
def test_in_every_locale_the_same(site, locale):
    site.configure(ACTION, INPUT, LOG, REST, SPLIT, "basedn: o=\u00e4rzte", URL1, FILE1, URL2, "file: z\u00fc.ldif")
    site.write("in.ldif", entries(1000, "o=\u00e4rzte"))
    shown = run(site, environment={"LC_ALL": locale, "LANG": locale})
    assert shown.status == 0
    assert shown.drawn() and all(line.isascii() for line in shown.drawn())
    lines = shown.screen()
    assert lines[0].split() == HEAD and lines[1] == of_catalog(79, "O=\u00c4RZTE")
    rows = [row[1] for row in shown.table()]
    assert rows == ["one.ldif", "z\u00fc.ldif"]
    # Told by characters, the columns are one below the other.
    assert lines[2].index(" B") == lines[3].index(" B") if " B" in lines[2] else "kB" in lines[2]
    assert lines[2].index(" %") == lines[3].index(" %")


# --- Elsewhere ------------------------------------------------------------------------------------


def test_a_pipe_gets_the_messages_alone(ready):
    done = ready.run()
    assert (done.status, done.stdout.decode(), done.stderr) == (0, information(), b"")


def test_standard_output_on_a_terminal_is_not_enough(ready):
    terminal = Terminal()
    with ready.start(stdin=subprocess.DEVNULL, stdout=terminal.side, stderr=subprocess.PIPE) as process:
        errors = process.communicate(timeout=HANG_GUARD_SECONDS)[1]
    terminal.close()
    assert (process.returncode, errors, terminal.text()) == (0, b"", information())


def test_a_closed_standard_error(ready):
    with ready.start(stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                     preexec_fn=lambda: os.close(2)) as process:  # fmt: skip
        out = process.communicate(timeout=HANG_GUARD_SECONDS)[0].decode()
    assert (process.returncode, out) == (0, information())
    assert count_of(ready.read("one.ldif")) + count_of(ready.read("two.ldif")) == 1002


def test_the_files_are_the_same_with_and_without_a_terminal(ready):
    assert run(ready).status == 0
    watched = ready.tree()
    renew(ready)
    assert ready.run().status == 0
    assert ready.tree() == watched
    assert watched["one.ldif"].startswith(HEADER)
    assert DEFAULT_NAME in information()
