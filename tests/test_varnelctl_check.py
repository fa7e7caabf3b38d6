"""varnelctl check: all that is to be said of a configuration, with no file touched."""

import itertools
import json
import os
import pathlib
import random
import shlex
import subprocess

import memcheck
import pytest

from test_foreign_formats import compressed
from varnel_run import (
    ACTION, BASE, DIRECTORY, FILE1, FILE2, GLOBAL_LINES, INPUT, LOG, ONE_SERVER, REST, SPLIT,
    TWO_SERVERS, URL1, URL2, Site, m,
)  # fmt: skip

CONFIG = "./varnelConfig"
GOOD, WRONG, MISUSE = 0, 1, 2
DATA = b"dn: o=example\no: example\n"


@pytest.fixture
def ctl(directory):
    site = Site(pathlib.Path(os.environ["VARNELCTL_BINARY"]).resolve(), directory)
    site.write("in.ldif", DATA)
    return site


@pytest.fixture
def varnel(binary, directory):
    return Site(binary, directory)


def check(site, *arguments, **options):
    return site.run("check", *arguments, **options)


def findings(site, *arguments, **options):
    """(severity, line, what, value, cure) of each, and the whole of what --json says."""
    run = check(site, "--json", *arguments, **options)
    assert run.stderr == b""
    result = json.loads(run.stdout)
    found = [
        (x["severity"], x["line"], x["what"], x["value"], x["cure"]) for x in result["findings"]
    ]
    errors = [x for x in found if x[0] == "error"]
    assert (result["errors"], result["warnings"]) == (len(errors), len(found) - len(errors))
    assert result["usable"] == (errors == []) == (run.status == GOOD)
    assert run.status in (GOOD, WRONG)
    assert [x[1] or 10**6 for x in found] == sorted(x[1] or 10**6 for x in found)
    assert len(set(found)) == len(found)
    return found, result


def placed(site, *arguments, **options):
    """(line, value) of each error, and of each warning."""
    found, _ = findings(site, *arguments, **options)
    return tuple(
        [(line, value) for severity, line, _, value, _ in found if severity == wanted]
        for wanted in ("error", "warning")
    )


def errors_of(site, *lines):
    site.configure(*lines)
    return placed(site)[0]


# --- What it says ---------------------------------------------------------------------------------


def test_a_good_configuration(ctl):
    ctl.configure(*TWO_SERVERS)
    run = check(ctl)
    assert (run.status, run.stdout, run.stderr) == (GOOD, b"0 errors, 0 warnings\n", b"")


def test_the_form_of_a_finding(ctl):
    ctl.configure(*TWO_SERVERS, "urll: ldap://three")
    lines = check(ctl).lines("stdout")
    assert lines == [
        CONFIG + ':11: error: the key is not allowed here, urll, did you mean "url"?',
        "1 error, 0 warnings",
    ]


def test_control_bytes_are_escaped(ctl):
    ctl.configure(*TWO_SERVERS, "file\x1b[2J: x")
    assert b"\x1b" not in check(ctl).stdout


def test_all_errors_at_once_and_no_follow_ups(ctl):
    ctl.configure(
        "actiontype: merge",  # 1
        "inputfile: missing.ldif",
        "logfile: nowhere/run.log",
        "defaultoutputfile: nowhere/rest.ldif",
        "splitby: name",  # 5
        "basedn: no dn",
        "url: ldap//one",
        "file: one.ldif",
        BASE,
        "ulr: ldap://two",  # 10
        "file: two.ldif",
        "inputfile: in.ldif",
    )
    errors, _ = placed(ctl)
    assert errors == [
        (1, "merge"),
        (2, ctl.absolute("missing.ldif")),
        (3, "nowhere/run.log"),
        (4, "nowhere/rest.ldif"),
        (5, "name"),
        (6, "no dn"),
    ]


def test_all_errors_of_sections(ctl):
    errors = errors_of(
        ctl, *GLOBAL_LINES, BASE, "url: ldap//one", FILE1, "basedn: no dn", "url: x", "basedn: o=b",
        "ulr: ldap://two", "file: b.ldif", "inputfile: in.ldif", "basedn: o=example", URL2,
    )  # fmt: skip
    assert errors == [
        (7, "ldap//one"),
        (9, "no dn"),
        (10, "x"),
        (12, "ulr"),
        (14, "inputfile"),
        (15, "O=EXAMPLE"),
    ]


@pytest.mark.parametrize("missing", range(len(GLOBAL_LINES)))
def test_a_missing_global_line_is_one_error_or_none(ctl, missing):
    key = GLOBAL_LINES[missing].split(":")[0]
    lines = [line for i, line in enumerate(TWO_SERVERS) if i != missing]
    mandatory = key in ("actiontype", "inputfile", "splitby")
    assert errors_of(ctl, *lines) == ([(0, key)] if mandatory else [])


@pytest.mark.parametrize("wrong, key", [
    ("actiontyp: splitonly", 0), ("inputfle: in.ldif", 1), ("spliby: rdnhash", 4),
    ("basednn: o=example", 5),
])  # fmt: skip
def test_a_misspelt_key_is_one_error(ctl, wrong, key):
    lines = [*TWO_SERVERS]
    lines[key] = wrong
    assert errors_of(ctl, *lines) == [(key + 1, wrong.split(":")[0])]


def test_a_wrong_base_directory_is_one_error(ctl):
    lines = ["basedirectory: nowhere", *TWO_SERVERS]
    ctl.configure(*[line.replace("in.ldif", "other.ldif") for line in lines])
    assert placed(ctl) == ([(1, "nowhere")], [])


def test_names_with_a_slash_do_not_depend_on_the_base_directory(ctl):
    lines = ["basedirectory: nowhere", *TWO_SERVERS]
    ctl.configure(*[line.replace("in.ldif", "./other.ldif") for line in lines])
    assert placed(ctl)[0] == [(1, "nowhere"), (3, "./other.ldif")]


def test_each_incomplete_section_is_told_at_its_own_line(ctl):
    errors = errors_of(
        ctl, *GLOBAL_LINES, BASE, URL1, FILE1, URL2, "basedn: o=b", "basedn: o=c", "file: c.ldif",
        "basedn: o=d", "url: ldap://d", "file: d.ldif", "url: ldap://e",
    )  # fmt: skip
    assert errors == [(6, "file"), (10, "url"), (11, "url"), (13, "file")]


def test_an_empty_section_before_a_complete_last_one(ctl):
    """The reader takes the last section for the empty one."""
    assert errors_of(ctl, *GLOBAL_LINES, BASE, "basedn: o=b", URL1, FILE1) == [(6, "url")]


def test_a_fault_behind_the_last_line_hides_none_of_the_last_section(ctl):
    lines = [*GLOBAL_LINES[1:], BASE, URL1]
    assert errors_of(ctl, *lines) == [(5, "file"), (0, "actiontype")]


def test_an_unreadable_configuration(ctl):
    found, result = findings(ctl, "-f", "none")
    assert [(x[0], x[1]) for x in found] == [("error", 0)]
    assert "No such file" in found[0][2] and result["file"] == "none"


def test_files_that_no_split_could_use(ctl):
    (ctl.path / "sub").mkdir()
    lines = (ACTION, "inputfile: sub", LOG, "defaultoutputfile: sub", SPLIT, BASE, URL1,
             "file: nowhere/x", URL2, "file: in.ldif")  # fmt: skip
    assert errors_of(ctl, *lines) == [
        (2, ctl.absolute("sub")), (4, ctl.absolute("sub")), (8, "nowhere/x"),
    ]  # fmt: skip


def test_a_configuration_with_a_byte_order_mark(ctl):
    ctl.write("varnelConfig", b"\xef\xbb\xbf" + "".join(x + "\n" for x in TWO_SERVERS).encode())
    assert [line for line, _ in placed(ctl)[0]] == [1]


def test_a_compressed_configuration(ctl):
    ctl.configure(*TWO_SERVERS)
    ctl.write("varnelConfig", compressed("gzip", ctl.read("varnelConfig")))
    found, _ = findings(ctl)
    assert [(x[0], x[3]) for x in found] == [("error", "compressed data (gzip)")]


# --- What varnel says -----------------------------------------------------------------------------

LINES = [ACTION, INPUT, LOG, REST, SPLIT, BASE, URL1, FILE1, URL2, FILE2, "basedn: o=b", "basedn: x",
         "actiontype: x", "file: one.ldif", "file: three.ldif", "url: x", "ulr: ldap://x", "dn: o=x",
         "inputfile: none", "basedirectory: .", "basedirectory: none", "file:", "splitby: x", "",
         "# comment", "no colon", "file: ./one.ldif", "logfile: in.ldif"]  # fmt: skip


@pytest.mark.parametrize("seed", range(60))
def test_an_error_is_found_exactly_where_varnel_finds_one(ctl, varnel, seed):
    """Random configurations. The first error of varnel is one of those found, at its line."""
    generator = random.Random(seed)
    lines = [*TWO_SERVERS]
    for _ in range(generator.choice([0, 1, 1, 2, 4])):
        at = generator.randrange(len(lines))
        kind = generator.randrange(3)
        if kind == 0:
            lines[at] = generator.choice(LINES)
        elif kind == 1:
            lines.insert(at, generator.choice(LINES))
        else:
            del lines[at]
    ctl.configure(*lines)
    errors, warnings = placed(ctl)
    run = varnel.run()
    refused = 27 in [int(x[6:9]) for x in run.message_lines("stderr")]
    # One name for two servers is no error, as varnel takes it with -r.
    twice = [x for x in lines if x.startswith("file:")]
    shares = len(set(twice)) < len(twice)
    assert refused == (errors != []) or (refused and shares and warnings), (lines, errors, run)
    named = [x for x in run.message_lines("stderr") if x[:10] == "VNL032062E"]
    if named and not shares:
        line = int(named[0].split(", line ")[1].split(" ")[0])
        section = max((i for i, x in enumerate(lines[: line - 1], 1) if x.startswith("basedn")),
                      default=0)  # fmt: skip
        assert {x for x, _ in errors} & {line, section}, (lines, errors, run)


# --- Warnings -------------------------------------------------------------------------------------


def warnings_of(site, *lines, **options):
    site.configure(*lines)
    found, result = findings(site, **options)
    assert result["errors"] == 0, found
    return [(line, what, value) for _, line, what, value, _ in found]


def test_what_varnel_warns_of_while_it_reads(ctl, varnel):
    lines = [*GLOBAL_LINES, "basedn: cn=a+sn=b,o=c", URL1, "file: one.ldif # comment", URL1, FILE2]
    assert [(line, value) for line, _, value in warnings_of(ctl, *lines)] == [
        (6, "CN=A+SN=B,O=C"), (8, "one.ldif # comment"), (9, "ldap://one"),
    ]  # fmt: skip
    messages = {x[:10] for x in varnel.run().message_lines("stderr")}
    assert {"VNL032065W", "VNL032072W", "VNL032071W"} <= messages


def test_existing_output_files_and_the_command_that_removes_them(ctl, varnel):
    names = ["one.ldif", "it's two", "-three $x\\y", "four\x1b\tz", "rest.ldif"]
    lines = [*GLOBAL_LINES, BASE]
    for name in names[:-1]:
        lines += [f"url: ldap://{len(lines)}", "file: " + name]
    for name in names:
        ctl.write(name, "kept")
    found = warnings_of(ctl, *lines)
    assert [value for line, what, value in found if what == "the output file exists"] == [
        ctl.absolute(name) for name in ["rest.ldif", *names[:-1]]
    ]
    command = findings(ctl)[1]["remove"]
    assert found[-1][0] == 0 and "\n" not in command
    assert command in check(ctl).lines("stdout")[-2]
    subprocess.run(["bash", "-c", command], check=True, cwd="/")
    assert sorted(ctl.tree()) == ["in.ldif", "varnelConfig"]
    assert warnings_of(ctl, *lines) == []
    assert varnel.run().status == 0


def test_a_name_that_begins_with_a_dash_is_no_option_of_rm(ctl):
    ctl.write("-f", "")
    ctl.configure(*GLOBAL_LINES, BASE, URL1, "file: ./-f")
    assert findings(ctl)[1]["remove"] == "rm -- ./-f"


def test_devices_and_pipes_are_not_to_be_removed(ctl):
    os.mkfifo(ctl.path / "pipe")
    found = warnings_of(ctl, *GLOBAL_LINES, BASE, URL1, "file: pipe", URL2, "file: /dev/null")
    assert [(line, value) for line, _, value in found] == [
        (8, ctl.absolute("pipe")), (10, "/dev/null"),
    ]  # fmt: skip
    assert findings(ctl)[1]["remove"] == ""


@pytest.mark.parametrize("exists", [False, True])
@pytest.mark.parametrize("other", ["./one.ldif", "link", "sub/../one.ldif", "linked/one.ldif"])
def test_two_names_for_one_file(ctl, exists, other):
    (ctl.path / "sub").mkdir()
    (ctl.path / "linked").symlink_to(".")
    (ctl.path / "link").symlink_to("one.ldif")
    if exists:
        ctl.write("one.ldif", "")
    name = other if "/" in other else ctl.absolute(other)
    ctl.configure(*GLOBAL_LINES, BASE, URL1, FILE1, URL2, "file: " + other)
    found, _ = findings(ctl)
    errors = [x for x in found if x[0] == "error"]
    assert [(x[1], x[3]) for x in errors] == [(10, name)]
    assert ctl.absolute("one.ldif") in errors[0][4]


@pytest.mark.parametrize("line", [2, 3, 4])
def test_a_file_of_another_role_under_another_name(ctl, line):
    name = GLOBAL_LINES[line - 1].split(": ")[1]
    ctl.configure(*GLOBAL_LINES, BASE, URL1, "file: ./" + name)
    assert placed(ctl)[0] == [(8, "./" + name)]


@pytest.mark.parametrize("line", [3, 4])
def test_a_server_file_of_a_default_name(ctl, line):
    lines = [x for i, x in enumerate(GLOBAL_LINES, 1) if i != line]
    default = {3: "./varnel.log", 4: "./parent.ldif"}[line]
    ctl.configure(*lines, BASE, URL1, "file: " + default)
    assert (7, default) in placed(ctl)[0]


def test_one_file_for_two_servers(ctl, varnel):
    lines = [*GLOBAL_LINES, BASE, URL1, FILE1, URL2, FILE1]
    found = warnings_of(ctl, *lines)
    assert [(line, value) for line, _, value in found] == [(10, ctl.absolute("one.ldif"))]
    assert varnel.run().status == 1


def test_base_dns_inside_each_other(ctl):
    lines = [*GLOBAL_LINES, "basedn: ou=a,o=example", URL1, FILE1, BASE, URL2, FILE2,
             "basedn: l=b,cn=x,ou=A, o=example", "url: ldap://3", "file: 3", "basedn: xo=example",
             "url: ldap://4", "file: 4"]  # fmt: skip
    found = warnings_of(ctl, *lines)
    assert [(line, value) for line, _, value in found] == [
        (6, "OU=A,O=EXAMPLE"), (12, "L=B,CN=X,OU=A,O=EXAMPLE"),
    ]  # fmt: skip
    assert "line 9, O=EXAMPLE" in found[0][1] and "line 6, OU=A,O=EXAMPLE" in found[1][1]


def test_a_base_dn_of_several_values_wins_nothing(ctl):
    lines = [*GLOBAL_LINES, "basedn: ou=a+l=b,o=example", URL1, FILE1, BASE, URL2, FILE2]
    assert [x[0] for x in warnings_of(ctl, *lines)] == [6]
    lines = [*GLOBAL_LINES, "basedn: ou=a\\+l,o=example", URL1, FILE1, BASE, URL2, FILE2]
    assert "below that of line 9" in warnings_of(ctl, *lines)[0][1]


def test_the_base_dn_of_the_keys(ctl):
    lines = [*GLOBAL_LINES, "basedn: CN = localhost", URL1, FILE1]
    assert [(line, value) for line, _, value in warnings_of(ctl, *lines)] == [(6, "CN=LOCALHOST")]


@pytest.mark.parametrize("program", ["gzip", "bzip2", "xz", "zstd"])
def test_a_compressed_input(ctl, program):
    ctl.write("in.ldif", compressed(program, DATA))
    found = warnings_of(ctl, *TWO_SERVERS)
    assert [(line, value) for line, _, value in found] == [(2, ctl.absolute("in.ldif"))]
    assert program in found[0][1]


def test_an_input_with_a_byte_order_mark(ctl, varnel):
    ctl.write("in.ldif", b"\xef\xbb\xbf" + DATA)
    found = warnings_of(ctl, *TWO_SERVERS)
    assert [x[0] for x in found] == [2] and "byte order mark" in found[0][1]
    assert varnel.run().status == 2


def limited(command, limit):
    return ["bash", "-c", f"{limit}; exec \"$@\"", "bash", *command]


@pytest.mark.skipif(memcheck.ON, reason=memcheck.NEEDS_DESCRIPTORS)
def test_too_few_descriptors(ctl):
    ctl.configure(*GLOBAL_LINES, BASE, *itertools.chain(
        *([f"url: ldap://{i}", f"file: {i}.ldif"] for i in range(40))))  # fmt: skip
    for limit, warns in (("ulimit -n 30", True), ("ulimit -n 200", False)):
        run = subprocess.run(limited([ctl.binary, "check", "--json"], limit), cwd=ctl.path,
                             capture_output=True, check=True)  # fmt: skip
        found = json.loads(run.stdout)["findings"]
        assert [x["cure"] for x in found] == (
            ["raise the limit of open files (ulimit -n)"] if warns else []
        )


def test_less_space_than_the_input_takes(ctl):
    statistics = os.statvfs(ctl.path)
    size = statistics.f_bavail * statistics.f_frsize + 10**12
    with open(ctl.path / "in.ldif", "r+b") as file:
        try:
            file.truncate(size)  # a hole
        except OSError:
            pytest.skip("no file can be that long here")
    found = warnings_of(ctl, *TWO_SERVERS[:-1], "file: ./two.ldif")
    assert len(found) == 1  # three files, one file system
    assert found[0][0] == 4 and str(size) in found[0][1]


# --- Nothing is touched ---------------------------------------------------------------------------


def state(directory):
    """All that shows whether a file was touched, apart from the time of the last reading."""
    found = {}
    for path in [directory, *sorted(directory.rglob("*"))]:
        status = path.lstat()
        content = path.read_bytes() if path.is_file() else DIRECTORY
        found[str(path)] = (status.st_ino, status.st_mode, status.st_size, status.st_mtime_ns,
                            status.st_ctime_ns, status.st_nlink, content)  # fmt: skip
    return found


@pytest.mark.parametrize("lines", [
    TWO_SERVERS, ONE_SERVER, GLOBAL_LINES, (ACTION, INPUT, SPLIT, BASE, URL1, FILE1), ("x: y",),
])  # fmt: skip
@pytest.mark.parametrize("existing", [(), ("one.ldif", "rest.ldif", "run.log", "parent.ldif")])
def test_no_file_is_touched(ctl, lines, existing):
    for name in existing:
        ctl.write(name, "kept")
    ctl.configure(*lines)
    before = state(ctl.path)
    for arguments in ((), ("--json",)):
        check(ctl, *arguments)
        assert state(ctl.path) == before


def test_no_pipe_is_opened(ctl):
    """Opening one would wait for its other end."""
    for name in ("in", "out", "log"):
        os.mkfifo(ctl.path / name)
    ctl.configure(ACTION, "inputfile: in", "logfile: log", REST, SPLIT, BASE, URL1, "file: out")
    assert check(ctl).status == GOOD


# --- Use ------------------------------------------------------------------------------------------


def test_help(ctl):
    run = check(ctl, "--help")
    assert run.status == GOOD and b"--json" in run.stdout and b"--config" in run.stdout


@pytest.mark.parametrize("arguments", [("--jso",), ("-x",), ("operand",), ("-f",)])
def test_wrong_use(ctl, arguments):
    run = check(ctl, *arguments)
    assert run.status == MISUSE and run.stderr != b""


def test_an_unknown_instance(ctl):
    ctl.configure(*TWO_SERVERS)
    assert check(ctl, "-I", "./none").status == WRONG


def test_a_schema_says_which_base_dns_are_one(ctl):
    (ctl.path / "instance").mkdir()
    (ctl.path / "instance/x.schema").write_text(
        "attributetype ( 1.2.3 NAME ( 'ou' 'organizationalUnitName' )"
        " EQUALITY caseIgnoreMatch SYNTAX 1.3.6.1.4.1.1466.115.121.1.15 )\n"
    )
    (ctl.path / "instance/instance.conf").write_text("systemschema: x.schema\n")
    ctl.configure(*GLOBAL_LINES, "basedn: ou=a", URL1, FILE1, "basedn: organizationalUnitName=a",
                  URL2, FILE2)  # fmt: skip
    assert placed(ctl)[0] == []
    assert placed(ctl, "-I", "./instance")[0] == [(9, "OU=A")]


def test_standard_output_that_cannot_be_written(ctl):
    ctl.configure(*TWO_SERVERS)
    with open("/dev/full", "wb") as full:
        assert check(ctl, stdout=full).status == 3


def test_words_for_a_shell(ctl):
    """Each byte in a name, back through a shell."""
    for first in range(1, 256, 16):
        name = bytes(x for x in range(first, min(first + 16, 256)) if x not in b"/\n\r\v\f")
        path = os.path.join(os.fsencode(ctl.path), b"x" + name + b"y")
        with open(path, "wb"):
            pass
        lines = "\n".join([*GLOBAL_LINES, BASE, URL1]).encode()
        ctl.write("varnelConfig", lines + b"\nfile: x" + name + b"y\n")
        command = [line for line in check(ctl).stdout.split(b"\n") if b"rm -- " in line][0]
        subprocess.run([b"bash", b"-c", command[command.index(b"rm -- ") :]], check=True)
        assert not os.path.exists(path)
