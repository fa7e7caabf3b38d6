"""varnelctl verify: the output files against the input, byte for byte."""

import bz2
import errno
import gzip
import lzma
import os
import random

import fault_runs
import memcheck
import pytest
import split_model
import test_conservation
from verified_split import (
    BASES, FILES, GOOD, MISUSE, REST, SYSTEM_FAILED, WRONG, configuration, control, counts, entry, home,
    input_lines, ordinary_input, result_of,
)  # fmt: skip

from varnel_run import GLOBAL_LINES, HEADER, MEASURES_MEMORY
from varnelctl_run import ControlSite, peak_memory

DATA = ordinary_input()
LINES = input_lines(DATA)


@pytest.fixture
def split(site):
    site.configure(*configuration())
    site.write("in.ldif", DATA)
    assert site.run().status == 0
    return site


def entries_of(site, name):
    """The header and the entries of a file, each with the empty line before it."""
    text = site.read(name)
    assert text.startswith(HEADER)
    first, *rest = text[len(HEADER) :].split(b"\ndn: ")
    assert first == b""
    return [b"\ndn: " + each for each in rest]


def write_entries(site, name, entries, header=HEADER):
    site.write(name, header + b"".join(entries))


def dn_of(each):
    return each[5 : each.index(b"\n", 5)]


def line_of(entries, index):
    """Of the "dn" line of that entry in its file."""
    return 4 + sum(each.count(b"\n") for each in entries[:index])


def expect_one(site, kind, **expected):
    """One difference and no other."""
    result = result_of(site, "verify", status=WRONG)
    assert counts(result) == {kind: 1}, result
    (found,) = result["differences"]
    assert found["kind"] == kind
    for key, value in expected.items():
        assert found[key] == value, (key, found)
    return found


# --- What is right --------------------------------------------------------------------------------


@pytest.mark.parametrize("seed", range(25))
def test_the_files_of_random_directories_are_right(site, seed):
    entries = test_conservation.Entries(seed)
    data = entries.random.choice([b"", b"version: 1\n\n", b"# export\r\nversion: 1\r\n\r\n"])
    data += b"".join(entries.record(number)[2] for number in range(60))
    test_conservation.configure(site)
    site.write("in.ldif", data)
    files = split_model.split(data, test_conservation.BASES, test_conservation.REST)
    assert files.stop is None
    for name in [*test_conservation.FILES, test_conservation.REST]:
        site.write(name, files.outputs.get(name, b""))
    result = result_of(site, "verify", status=GOOD)
    assert counts(result) == {} and result["differences"] == []
    assert result["entries"] == 60
    assert sum(each["bytes"] for each in result["files"]) == sum(
        len(text) - len(HEADER) for text in files.outputs.values()
    )


@pytest.mark.parametrize("seed", range(60))
def test_a_changed_byte_of_a_random_directory_is_found(site, seed):
    chance = random.Random(seed)
    entries = test_conservation.Entries(seed + 1000)
    data = b"".join(entries.record(number)[2] for number in range(60))
    test_conservation.configure(site)
    site.write("in.ldif", data)
    files = split_model.split(data, test_conservation.BASES, test_conservation.REST).outputs
    for name in [*test_conservation.FILES, test_conservation.REST]:
        site.write(name, files.get(name, b""))
    name = chance.choice(sorted(files))
    text = bytearray(files[name])
    at = chance.randrange(len(text))
    text[at] ^= 1 << chance.randrange(8)
    site.write(name, bytes(text))
    result = result_of(site, "verify", status=WRONG)
    assert 1 <= sum(counts(result).values()) <= 2, result
    assert {each["file"] for each in result["differences"]} == {site.absolute(name)}


def test_the_text_says_that_all_is_right(split):
    done = control(split, "verify")
    assert (done.returncode, done.stdout, done.stderr) == (
        GOOD, b"83 entries in 5 files: all right\n", b""
    )  # fmt: skip


def test_nothing_is_touched(split):
    before = split.tree()
    control(split, "verify")
    assert split.tree() == before


def test_files_without_entries_are_empty(site):
    site.configure(*configuration())
    site.write("in.ldif", entry(b"ou=things,o=example", b"x"))
    assert site.run().status == 0
    assert site.read("p1.ldif") == site.read(REST) == b""
    result_of(site, "verify", status=GOOD)
    for name in ("p1.ldif", REST):
        site.write(name, HEADER)
        expect_one(site, "header", file=site.absolute(name), line=1)
        site.write(name, b"")


@pytest.mark.parametrize("content", [b"", HEADER])
def test_the_default_file_of_its_default_name_may_have_the_header_alone(site, content):
    site.configure(*[line for line in configuration() if not line.startswith("defaultoutputfile")])
    site.write("in.ldif", entry(b"ou=things,o=example", b"x"))
    assert site.run().status == 0
    (name,) = [name for name, text in site.tree().items() if text == HEADER]
    site.write(name, content)
    result_of(site, "verify", status=GOOD)
    site.write(name, HEADER + b"\n")
    result_of(site, "verify", status=WRONG)


@pytest.mark.parametrize("pack, ending", [(gzip.compress, ".gz"), (bz2.compress, ".bz2"), (lzma.compress, ".xz")])
def test_compressed_files_are_read(split, pack, ending):
    text = split.read("p1.ldif")
    split.write("p1.ldif", pack(text))
    result_of(split, "verify", status=GOOD)
    (split.path / "p1.ldif").rename(split.path / ("p1.ldif" + ending))
    result_of(split, "verify", status=GOOD)
    split.write("p1.ldif" + ending, pack(text.replace(b"of ", b"on ", 1)))
    expect_one(split, "changed")
    split.write("p1.ldif" + ending, pack(text)[:-9])
    assert control(split, "verify").returncode == SYSTEM_FAILED


def test_large_entries_are_compared_in_pieces(site):
    large = b"".join(b"jpegPhoto: %060d\n" % i for i in range(20000))
    records = [entry(b"cn=%d,ou=things,o=example" % i, b"small") + (large if i == 2 else b"") for i in range(5)]
    site.configure(*configuration())
    site.write("in.ldif", b"\n".join(records))
    assert site.run().status == 0
    result_of(site, "verify", status=GOOD)
    text = site.read("t1.ldif")
    place = text.index(b"%060d\n" % 19000) + 5
    site.write("t1.ldif", text[:place] + b"1" + text[place + 1 :])
    expect_one(site, "changed", dn="cn=2,ou=things,o=example", line=text[:place].count(b"\n") + 1)
    begin = text.index(b"\ndn: cn=2")
    site.write("t1.ldif", text[:begin] + text[text.index(b"\ndn: cn=3") :])
    expect_one(site, "missing", dn="cn=2,ou=things,o=example")


@MEASURES_MEMORY
@pytest.mark.parametrize("arguments", [["verify"], ["verify", "--names"], ["split", "--replace"]], ids=" ".join)
def test_memory_does_not_grow_with_the_input(site, arguments):
    site.configure(*configuration())

    def peak(people):
        site.write("in.ldif", ordinary_input(people))
        assert control(site, "split", "--replace").returncode == GOOD
        return peak_memory(site.path, *arguments)

    # What is filled up to a limit, the smaller one fills too.
    assert peak(300_000) < peak(60_000) + 4_000


def test_a_file_that_stands_for_two_servers(site):
    """It gets the base entry twice, line by line."""
    site.configure(*GLOBAL_LINES, "basedn: ou=people,o=example", "url: ldap://a", "file: a.ldif",
                   "url: ldap://b", "file: a.ldif")  # fmt: skip
    site.write("in.ldif", entry(b"ou=people,o=example", b"x", b"y") + b"\n" + entry(b"cn=1,ou=people,o=example", b"z"))
    for name in ("a.ldif", REST, "run.log"):
        site.write(name, b"")
    run = site.run("-r", "true")
    assert run.status == 0, run
    assert site.read("a.ldif").count(b"dn: ou=people") == 2
    result_of(site, "verify", status=GOOD)


# --- Each kind of damage --------------------------------------------------------------------------


@pytest.mark.parametrize("place", [0, 1, 7, -2])
def test_a_lost_entry(split, place):
    entries = entries_of(split, "p2.ldif")
    index = place % len(entries)
    write_entries(split, "p2.ldif", entries[:index] + entries[index + 1 :])
    dn = dn_of(entries[index])
    expect_one(split, "missing", file=split.absolute("p2.ldif"), dn=dn.decode(), input_line=LINES[dn],
               line=line_of(entries, index))  # fmt: skip


def test_the_last_entry_is_lost(split):
    entries = entries_of(split, "p2.ldif")
    write_entries(split, "p2.ldif", entries[:-1])
    expect_one(split, "missing", dn=dn_of(entries[-1]).decode())


@pytest.mark.parametrize("place", [0, 1, 7, None])
@pytest.mark.parametrize("new", [b"cn=person1000,ou=people,o=example", b"cn=x,o=elsewhere"])
def test_a_foreign_entry(split, place, new):
    entries = entries_of(split, "p2.ldif")
    index = len(entries) if place is None else place
    write_entries(split, "p2.ldif", [*entries[:index], b"\n" + entry(new, b"new"), *entries[index:]])
    found = expect_one(split, "foreign", file=split.absolute("p2.ldif"), dn=new.decode(), input_line=0,
                       line=line_of(entries, index))  # fmt: skip
    belongs = split.absolute(home(new))
    assert found["expected"].endswith("it belongs in " + belongs) == (home(new) != "p2.ldif")


@pytest.mark.parametrize("place", [0, 3, -1])
@pytest.mark.parametrize("distance", [1, 4, 100])
def test_a_doubled_entry(split, place, distance):
    entries = entries_of(split, "p2.ldif")
    index = place % len(entries)
    to = min(index + distance, len(entries))
    write_entries(split, "p2.ldif", [*entries[:to], entries[index], *entries[to:]])
    expect_one(split, "doubled", file=split.absolute("p2.ldif"), dn=dn_of(entries[index]).decode(),
               line=line_of(entries, to))  # fmt: skip


def test_every_changed_byte_of_an_entry(split):
    entries = entries_of(split, "p2.ldif")
    index = 4
    before = len(HEADER) + sum(map(len, entries[:index]))
    text = split.read("p2.ldif")
    for at in memcheck.some(range(len(entries[index]))):
        damaged = text[: before + at] + b"\x01" + text[before + at + 1 :]
        split.write("p2.ldif", damaged)
        found = expect_one(split, "changed", file=split.absolute("p2.ldif"))
        if at > 5:
            assert found["dn"] == dn_of(entries[index]).decode()
            assert found["input_line"] == LINES[dn_of(entries[index])]
            assert found["line"] == text[: before + at].count(b"\n") + 1


@pytest.mark.parametrize("change", [
    lambda each: each + b"sn: more\n",
    lambda each: each + b"\n",
    lambda each: each + b"# remark\n",
    lambda each: each[:-1],
    lambda each: each.replace(b"cn: too\n", b""),
    lambda each: b"\n" + each[1:].replace(b"\n", b"\r\n"),
    lambda each: b"\n" + each,
])  # fmt: skip
def test_lines_more_or_less(split, change):
    entries = entries_of(split, "p2.ldif")
    changed = [change(each) if index == 4 else each for index, each in enumerate(entries)]
    write_entries(split, "p2.ldif", changed)
    result = result_of(split, "verify", status=WRONG)
    assert counts(result) == {"changed": 1}, result


def test_an_entry_in_another_file(split):
    first, second = entries_of(split, "p1.ldif"), entries_of(split, "p3.ldif")
    moved = first.pop(5)
    second.insert(3, moved)
    write_entries(split, "p1.ldif", first)
    write_entries(split, "p3.ldif", second)
    expect_one(split, "misplaced", file=split.absolute("p3.ldif"), dn=dn_of(moved).decode(),
               line=line_of(second, 3), input_line=LINES[dn_of(moved)],
               expected=f"expected in {split.absolute('p1.ldif')}:{line_of(first, 5)} and not here, the entry",
               )  # fmt: skip


@pytest.mark.parametrize("a, b", [(2, 3), (0, 1), (2, 9)])
def test_swapped_entries(split, a, b):
    entries = entries_of(split, "p1.ldif")
    names = {dn_of(entries[a]).decode(), dn_of(entries[b]).decode()}
    entries[a], entries[b] = entries[b], entries[a]
    write_entries(split, "p1.ldif", entries)
    result = result_of(split, "verify", status=WRONG)
    assert set(counts(result)) == {"out_of_order"}
    assert {each["dn"] for each in result["differences"]} <= names


def test_every_length_that_a_file_can_be_cut_to(split):
    text = split.read("t1.ldif")
    entries = entries_of(split, "t1.ldif")
    starts = [len(HEADER) + sum(map(len, entries[:i])) for i in range(len(entries) + 1)]
    for size in memcheck.some(range(len(text))):
        split.write("t1.ldif", text[:size])
        result = result_of(split, "verify", status=WRONG)
        whole = sum(end <= size for end in starts[1:])
        lost = len(entries) - whole
        at_entry = size in starts
        expected = {"truncated": 1, "missing": lost if at_entry or size < starts[0] else lost - 1}
        if lost == 1 and at_entry:
            expected = {"missing": 1}
        if 0 < size < len(HEADER):
            expected["header"] = 1
        assert counts(result) == {kind: n for kind, n in expected.items() if n}, (size, result)


@pytest.mark.parametrize("header, differences", [
    (b"", 1), (b"\n", 1), (b"version: 2\n\n", 1), (b"version: 1\n", 1), (b"# mine\nversion: 1\n\n", 1),
    (b"version: 1\n\n\n", 1), (b"version: 1\n\n# mine\n", 1),
])  # fmt: skip
def test_a_wrong_header(split, header, differences):
    write_entries(split, "p1.ldif", entries_of(split, "p1.ldif"), header)
    result = result_of(split, "verify", status=WRONG)
    assert sum(counts(result).values()) == differences, result
    (found,) = result["differences"]
    assert found["kind"] == ("changed" if header == b"version: 1\n" else "header")


def test_a_file_without_header_that_begins_with_its_first_line(split):
    write_entries(split, "p1.ldif", entries_of(split, "p1.ldif"), b"")
    split.write("p1.ldif", split.read("p1.ldif")[1:])
    expect_one(split, "header", line=1)


def test_a_missing_file(split):
    number = len(entries_of(split, "p1.ldif"))
    (split.path / "p1.ldif").unlink()
    result = result_of(split, "verify", status=WRONG)
    assert counts(result) == {"missing_file": 1, "missing": number}
    assert [each["kind"] for each in result["differences"]] == ["missing_file"]


@pytest.mark.parametrize("seed", range(40))
def test_many_damages_at_a_time_do_not_make_others(split, seed):
    """Lost, foreign, changed and doubled entries, apart from each other, in each of the files."""
    chance = random.Random(seed)
    expected = {}
    for name in FILES:
        entries = entries_of(split, name)
        for index in sorted(chance.sample(range(1, len(entries) - 1, 2), 4), reverse=True):
            kind = chance.choice(["missing", "foreign", "changed", "doubled"])
            expected[kind] = expected.get(kind, 0) + 1
            if kind == "missing":
                del entries[index]
            elif kind == "foreign":
                entries.insert(index, b"\n" + entry(b"cn=new%d%s" % (index, name.encode()), b"new"))
            elif kind == "changed":
                entries[index] = entries[index].replace(b"of ", b"on ")
            else:
                entries.insert(index, entries[index])
        write_entries(split, name, entries)
    assert counts(result_of(split, "verify", status=WRONG)) == expected


def test_a_large_block_is_lost_or_added(site):
    data = ordinary_input(people=6000)
    site.configure(*configuration())
    site.write("in.ldif", data)
    assert site.run().status == 0
    entries = entries_of(site, "p1.ldif")
    write_entries(site, "p1.ldif", entries[:200] + entries[1500:])
    assert counts(result_of(site, "verify", status=WRONG)) == {"missing": 1300}
    others = entries_of(site, "p2.ldif")[1:]
    write_entries(site, "p1.ldif", entries[:200] + others + entries[200:])
    result = result_of(site, "verify", "--limit", "3", status=WRONG)
    assert counts(result) == {"foreign": len(others)}
    assert len(result["differences"]) == 3 and result["more"] == len(others) - 3


# --- The input, the options, the system -----------------------------------------------------------


@pytest.mark.parametrize("line", [b"no LDIF\n", b"\ndn: no DN\ncn: of nobody\n", b"cn:: !\n"])
def test_an_unusable_line_of_the_input(split, line):
    split.write("in.ldif", DATA + line)
    number = (DATA + line.rstrip(b"\n").split(b"\ncn: of")[0]).count(b"\n") + 1
    expect_one(split, "unusable_line", file=split.absolute("in.ldif"), line=number)


def test_an_empty_input_is_refused_by_a_split(split):
    split.write("in.ldif", b"")
    for name in FILES:
        split.write(name, b"")
    expect_one(split, "unusable_line")


def test_the_text_names_file_line_and_dn_and_no_value(split):
    text = split.read("p2.ldif")
    split.write("p2.ldif", text.replace(b"cn: of", b"cn: \x1bsecret of", 1))
    done = control(split, "verify")
    assert done.returncode == WRONG
    lines = done.stdout.decode().splitlines()
    assert lines[0].startswith(split.absolute("p2.ldif") + ":") and " changed, cn=person" in lines[0]
    assert lines[-1] == "83 entries in 5 files: 1 changed"
    assert b"secret" not in done.stdout


def test_the_limit_holds_for_the_text(split):
    for name in FILES:
        split.write(name, split.read(name).replace(b"cn: of", b"cn: on"))
    lines = control(split, "verify", "--limit", "2").stdout.decode().splitlines()
    assert len(lines) == 4 and lines[2] == "and 78 more"
    assert len(control(split, "verify").stdout.splitlines()) == 22


def test_names_that_are_no_utf8_come_out_as_json(split):
    split.write("p1.ldif", split.read("p1.ldif") + b"\ndn: cn=\xff\ncn: x\n")
    expect_one(split, "foreign", dn="cn=\ufffd")


def test_misuse(split):
    for arguments in (["--unknown"], ["--limit", "x"], ["--limit"], ["--names", "x"]):
        assert control(split, "verify", *arguments).returncode == MISUSE, arguments
    assert control(split, "verify", "--help").returncode == GOOD


def test_an_unusable_configuration(split):
    split.configure("nonsense: x")
    done = control(split, "verify")
    assert done.returncode == WRONG and b"varnelConfig:1: error" in done.stderr


def test_what_cannot_be_read(split):
    (split.path / "p1.ldif").unlink()
    (split.path / "p1.ldif.gz").mkdir()
    done = control(split, "verify")
    assert done.returncode == SYSTEM_FAILED and b"p1.ldif.gz: " in done.stderr


@pytest.mark.parametrize("call, error", [("openat", "EACCES"), ("read", "EIO")])
def test_a_file_that_fails(binary, split, call, error):
    ctl = ControlSite(binary, split.path)
    fault = f"failing:0:{getattr(errno, error)}:{call}:{split.absolute('p1.ldif')}"
    result = fault_runs.run_with_fault(ctl, fault, "verify")
    reason = os.strerror(getattr(errno, error))
    assert result.run.status == SYSTEM_FAILED, result.shown()
    assert result.run.stderr.decode() == f"varnelctl: {split.absolute('p1.ldif')}: {reason}\n"


def test_the_model_routes_as_the_files_say(split):
    assert {dn for name in FILES for dn in map(dn_of, entries_of(split, name))} == set(LINES)
    assert all(home(dn) in FILES for dn in LINES if dn not in BASES)


def test_only_the_files_that_are_compared_have_to_be_there(split):
    """Long after a split nobody can write its files any more, and its log may be gone."""
    text = split.read("varnelConfig")
    split.write("varnelConfig", text.replace(b"logfile: run.log", b"logfile: /nonexistent/run.log"))
    result = result_of(split, "verify", status=GOOD)
    assert result["good"] is True
