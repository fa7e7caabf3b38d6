"""The manual pages say what the program does: what they list is what there is, and what they show runs.

dirclient(3) has its own file, test_client_library_page.py; options and keys are compared in
test_documentation.py.
"""

import datetime
import gzip
import json
import os
import pathlib
import re
import shutil
import subprocess

import message_texts
import pytest
import rendered_page
import varnel_run
from varnel_run import BASE, FILE1, HEADER, INPUT, LOG, REST, SPLIT, TWO_SERVERS, URL1

SOURCES = pathlib.Path(os.environ["VARNEL_SOURCES"])
BUILD = pathlib.Path(os.environ["VARNEL_BUILD"]).resolve()
BINARY = pathlib.Path(os.environ["VARNEL_BINARY"]).resolve()
PAGES = sorted(page.name for page in (BUILD / "docs").iterdir() if re.fullmatch(r".*\.[1-8]", page.name))
SECTIONS = ["EXIT STATUS", "MESSAGES", "LIMITATIONS", "SECURITY", "EXAMPLES"]


@pytest.fixture(scope="module")
def varnel_page():
    return rendered_page.rendered("varnel.1")


@pytest.fixture(scope="module")
def configuration_page():
    return rendered_page.rendered("varnelConfig.5")


def in_one_line(text):
    return " ".join(text.split())


def says(page, words):
    """Whether the page has these words, wherever its lines end."""
    return words in in_one_line(page)


# --- What the pages list -------------------------------------------------------------------------------


def test_there_is_a_page_for_each_matter():
    assert {"varnel.1", "varnelConfig.5", "varnel-instance.conf.5", "dirclient.3"} <= set(PAGES)


@pytest.mark.parametrize("name", SECTIONS)
def test_page_of_the_program_has_the_section(name, varnel_page):
    assert rendered_page.section(varnel_page, name).strip()


@pytest.mark.parametrize("page", PAGES)
def test_message_numbers_are_those_of_the_catalog(page):
    catalog = {
        f"VNL{message_set:03d}{number:03d}{severity}"
        for (message_set, number), (severity, _, _) in message_texts.catalog().items()
    }
    named = set(re.findall(r"VNL\d+\w*", rendered_page.rendered(page)))
    assert named - catalog == set()


def test_page_explains_each_warning_of_a_split(varnel_page):
    listed = re.findall(
        r"^ +(VNL\d{6}W) {2}\w", rendered_page.section(varnel_page, "MESSAGES"), re.MULTILINE
    )
    warnings = [
        f"VNL032{number:03d}W"
        for (message_set, number), (severity, _, _) in sorted(message_texts.catalog().items())
        if (message_set, severity) == (32, "W")
    ]
    assert listed == warnings


def test_page_names_the_sets_of_messages(varnel_page):
    sets = {message_set for message_set, _ in message_texts.catalog()}
    told = re.search(r"The sets are (\d+), .*?, and (\d+),", in_one_line(varnel_page)).groups()
    assert sorted(map(int, told)) == sorted(sets)


def test_page_of_the_instance_has_its_keys(directory):
    keys = re.findall(r"^ +(\w+): path$", rendered_page.rendered("varnel-instance.conf.5"), re.MULTILINE)
    text = message_texts.catalog()[33, 5][2]
    assert keys == re.findall(r"\b\w+schema\b", text.split("The keys are")[1])
    (directory / "instance").mkdir()
    (directory / "each.schema").write_text("attributetype ( 1.2 NAME 'x' SYNTAX 1.3 )\n")
    (directory / "instance/instance.conf").write_text("".join(f"{key}: ../each.schema\n" for key in keys))
    (directory / "varnelConfig").write_text(configuration_of(TWO_SERVERS))
    (directory / "in.ldif").write_text(ENTRY)
    done = varnel(directory, "-I", "./instance")
    assert (done.returncode, done.stderr) == (0, "")


# --- Defaults ------------------------------------------------------------------------------------------


def configuration_of(lines):
    return "".join(f"{line}\n" for line in lines)


def varnel(directory, *options, **more):
    return subprocess.run(
        [BINARY, *options], cwd=directory, capture_output=True, encoding="utf-8", timeout=60, **more
    )


def test_defaults_of_the_configuration(directory, configuration_page):
    log, rest = (
        re.search(
            rf" {key}: file (?:(?!: ).)*?The default is ([\w.]+) in the working directory",
            in_one_line(configuration_page),
        )[1]
        for key in ("logfile", "defaultoutputfile")
    )
    assert says(configuration_page, "The default is the working directory.")
    (directory / "base").mkdir()
    (directory / "base/in.ldif").write_text("dn: o=other\no: other\n\ndn: o=example\no: example\n")
    lines = ("actiontype: splitonly", "basedirectory: base", INPUT, SPLIT, BASE, URL1, FILE1)
    (directory / "varnelConfig").write_text(configuration_of(lines))
    assert varnel(directory).returncode == 0
    # In the working directory, whatever the base directory.
    assert {file.name for file in directory.iterdir()} == {"base", "varnelConfig", log, rest}
    assert {file.name for file in (directory / "base").iterdir()} == {"in.ldif", "one.ldif"}
    for file in (directory / log, directory / rest, directory / "base/one.ldif"):
        file.unlink()
    shutil.move(directory / "base/in.ldif", directory)
    (directory / "varnelConfig").write_text(
        configuration_of(line for line in lines if "basedirectory" not in line)
    )
    assert varnel(directory).returncode == 0
    assert {file.name for file in directory.iterdir()} == {
        "base",
        "varnelConfig",
        log,
        rest,
        "in.ldif",
        "one.ldif",
    }


def test_files_of_the_page_are_the_defaults(varnel_page, configuration_page):
    files = re.findall(r"^ {5}(\S+)$", rendered_page.section(varnel_page, "FILES"), re.MULTILINE)
    assert files[0] == varnel_run.DEFAULT_NAME
    for file in files[1:3]:
        assert says(configuration_page, f"The default is {file} in the working directory")


# --- What was untrue or unclear ------------------------------------------------------------------------

ENTRY = "dn: o=example\no: example\n\n"


@pytest.fixture
def split(directory):
    """Runs the program over a text; the result and the number of the line in the log, if any."""

    def run(text):
        (directory / "varnelConfig").write_text(configuration_of(TWO_SERVERS))
        (directory / "in.ldif").write_text(text)
        for name in ("one.ldif", "two.ldif", "rest.ldif", "run.log"):
            (directory / name).unlink(missing_ok=True)
        done = varnel(directory)
        return (
            done,
            (directory / "run.log").read_text(),
            re.findall(r"^(VNL\d+[WE])", done.stderr, re.MULTILINE),
        )

    return run


def servers(directory):
    return (directory / "one.ldif").read_text() + (directory / "two.ldif").read_text()


def test_modifications_stop_the_run(split, varnel_page):
    assert says(
        varnel_page, "one with a line ‘-’, as modifications have, stops the run at that line (VNL032033E)"
    )
    done, log, told = split(ENTRY + "dn: cn=a,o=example\nchangetype: modify\nreplace: sn\nsn: b\n-\n\n")
    assert (done.returncode, log, told) == (2, "8\n", ["VNL032070W", "VNL032033E", "VNL032034E"])


def test_change_record_that_looks_like_an_entry_is_copied_as_one(split, directory, varnel_page):
    assert says(
        varnel_page, "A record whose lines are all like those of an entry is copied as an entry would be"
    )
    record = "dn: cn=a,o=example\nchangetype: add\nsn: b\n"
    done, log, told = split(ENTRY + record)
    assert (done.returncode, log, told) == (0, "", ["VNL032070W"])
    assert record in servers(directory)


@pytest.mark.parametrize(
    "line",
    ["jpegPhoto:: " + "QUJD" * 1500, "description: " + "some words " * 600, "member: " + "cn=x\\,y" * 1000],
    ids=["base64", "text", "DN"],
)
def test_most_unfolded_lines_stop_the_run(line, split, varnel_page):
    assert says(varnel_page, "Most unfolded exports with such lines therefore stop the run (VNL032033E)")
    done, _, told = split(f"{ENTRY}dn: cn=a,o=example\n{line}\n")
    assert (done.returncode, told) == (2, ["VNL032033E", "VNL032034E"])


def test_unfolded_line_of_valid_pieces_is_copied_unchanged(split, directory, varnel_page):
    assert says(varnel_page, "Where each piece happens to be valid, those are copied unchanged")
    limit = int(
        re.search(
            r"more than (\d+) bytes, its line end counted, is read in pieces", in_one_line(varnel_page)
        )[1]
    )
    head = "description: "
    line = head + "x" * (limit - len(head)) + "tail: of it"
    done, _, told = split(f"{ENTRY}dn: cn=a,o=example\n{line}\n")
    assert (done.returncode, told) == (0, [])
    assert f"\n{line}\n" in servers(directory)
    done, _, told = split(f"{ENTRY}dn: cn=a,o=example\n{line[:limit]}no colon\n")
    assert (done.returncode, told) == (2, ["VNL032033E", "VNL032034E"])


def test_limit_of_a_line_counts_its_end(split, directory, varnel_page):
    limit = int(
        re.search(
            r"more than (\d+) bytes, its line end counted, is read in pieces", in_one_line(varnel_page)
        )[1]
    )
    line = ("description: " + "x" * limit)[: limit - 1]
    done, _, told = split(f"{ENTRY}dn: cn=a,o=example\n{line}\n")
    assert (done.returncode, told) == (0, [])
    assert f"\n{line}\n" in servers(directory)
    # One byte more, and the line end is a piece of its own.
    done, _, told = split(f"{ENTRY}dn: cn=a,o=example\n{line}x\n")
    assert (done.returncode, told) == (0, ["VNL032060W"])


def test_each_piece_that_changes_the_output_is_named(split, varnel_page):
    assert says(varnel_page, "Each such place is named by a warning (VNL032060W).")
    line = "description: " + "x" * (4095 - 13) + "# left out"
    done, _, told = split(f"{ENTRY}dn: cn=a,o=example\n{line}\n{line}\n")
    assert (done.returncode, told) == (0, ["VNL032060W"] * 2)


def test_output_files_begin_as_the_page_says(split, directory, varnel_page):
    assert says(
        varnel_page,
        "An output file to which an entry goes begins with the line “version: 1” and two empty lines. "
        "A configured file to which no entry goes stays empty;",
    )
    done, _, _ = split(ENTRY)
    assert done.returncode == 0
    for name in ("one.ldif", "two.ldif"):
        assert (directory / name).read_text().startswith("version: 1\n\n\ndn: ")
    assert (directory / "rest.ldif").read_text() == ""


def test_unnamed_default_output_file_is_as_the_page_says(directory, varnel_page):
    assert says(
        varnel_page,
        "the default output file, where no line of the configuration names it, holds the line "
        "“version: 1” and one empty line then.",
    )
    assert says(varnel_page, "if none comes, it keeps what it holds.")
    lines = [line for line in TWO_SERVERS if line != REST]
    (directory / "varnelConfig").write_text(configuration_of(lines))
    (directory / "in.ldif").write_text(ENTRY)
    assert varnel(directory).returncode == 0
    assert (directory / "parent.ldif").read_bytes() == HEADER
    with (directory / "parent.ldif").open("a") as file:
        file.write("dn: o=of the last run\n")
    assert varnel(directory, "-r").returncode == 0
    assert (directory / "parent.ldif").read_text().endswith("dn: o=of the last run\n")


def test_dns_are_written_plainly(split, directory, varnel_page):
    assert says(
        varnel_page, "DNs are written as they are, not in base64, also where they hold bytes outside ASCII"
    )
    assert says(varnel_page, "control characters, they are written as escapes of the DN")
    done, _, _ = split(
        ENTRY + "dn:: Y249TcO8bGxlcixvPWV4YW1wbGU=\nsn: b\n\ndn:: Y249YQpiLG89ZXhhbXBsZQ==\nsn: c\n\n"
        "dn: cn=fo\n lded,o=example\nsn: d\n"
    )
    assert done.returncode == 0
    found = re.findall("^dn.*", servers(directory), re.MULTILINE)
    assert sorted(found) == sorted(
        [
            "dn: o=example",
            "dn: o=example",
            "dn: cn=Müller,o=example",
            "dn: cn=a\\0Ab,o=example",
            "dn: cn=folded,o=example",
        ]
    )


def test_full_disk_leaves_no_line_in_the_log_on_it(directory, varnel_page):
    """The log is on a full device; full disks with all files are in test_full_disks.py."""
    assert says(
        varnel_page,
        "Where the log cannot be written either, as on a full disk that it shares with the output files, "
        "that line is missing",
    )
    lines = ["logfile: /dev/full" if line == LOG else line for line in TWO_SERVERS]
    (directory / "varnelConfig").write_text(configuration_of(lines))
    (directory / "in.ldif").write_text("dn: o=example\nno colon\n")
    done = varnel(directory)
    assert (done.returncode, re.findall(r"^(VNL\d+E)", done.stderr, re.MULTILINE)) == (
        2,
        ["VNL032033E", "VNL032034E"],
    )


@pytest.mark.parametrize("above", [False, True], ids=["no base DN above", "a base DN above"])
def test_entries_below_a_multi_valued_base_dn(above, directory, varnel_page):
    assert says(
        varnel_page,
        "they go to the file of the base DN above it, if there is one, else to the default output file. A "
        "warning names such a base DN (VNL032065W), but only where that RDN is its first.",
    )
    sections = [("l=a+l=b,o=c", "first"), ("ou=x,ou=a+l=b,o=c", "second")] + [("o=c", "above")] * above
    lines = ["actiontype: splitonly", INPUT, LOG, REST, SPLIT]
    for number, (base, name) in enumerate(sections):
        lines += [f"basedn: {base}", f"url: ldap://{number}", f"file: {name}.ldif"]
    (directory / "varnelConfig").write_text(configuration_of(lines))
    names = [
        "o=c",
        "l=a+l=b,o=c",
        "cn=1,l=a+l=b,o=c",
        "ou=x,ou=a+l=b,o=c",
        "cn=1,ou=x,ou=a+l=b,o=c",
        "cn=1,ou=a+l=b,o=c",
    ]
    (directory / "in.ldif").write_text("".join(f"dn: {name}\nsn: x\n\n" for name in names))
    done = varnel(directory)
    assert done.returncode == 0
    assert re.findall(r"^VNL032065W: .*?the base DN (\S+)", done.stderr, re.MULTILINE) == ["L=A+L=B,O=C"]

    def in_file(name):
        file = directory / f"{name}.ldif"
        return re.findall("^dn: (.*)$", file.read_text(), re.MULTILINE) if file.exists() else []

    assert (in_file("first"), in_file("second")) == (["l=a+l=b,o=c"], ["ou=x,ou=a+l=b,o=c"])
    elsewhere = [name for name in names if name not in ("l=a+l=b,o=c", "ou=x,ou=a+l=b,o=c")]
    assert (in_file("above"), in_file("rest")) == ((elsewhere, []) if above else ([], elsewhere))


@pytest.mark.parametrize("options", [("-h",), ("-?",), ("--version",), ("-r", "-h")], ids=" ".join)
def test_usage_ends_in_the_version(options, directory, varnel_page):
    assert says(
        varnel_page,
        "a short usage text, whose last line tells the version of the program. There is no other option that "
        "tells it.",
    )
    done = varnel(directory, *options)
    version = re.search(r"This page describes version (\S+)\.", varnel_page)[1]
    assert (done.returncode, done.stderr, done.stdout.splitlines()[-1]) == (0, "", f"Version {version}.")


@pytest.mark.parametrize("level, traces", [("4", 0), ("x", 0), ("", None), ("1x", 1)])
def test_debug_levels(level, traces, directory, varnel_page):
    assert says(varnel_page, "The default is 0, and so is a text that does not begin with a number.")
    (directory / "varnelConfig").write_text(configuration_of(TWO_SERVERS))
    (directory / "in.ldif").write_text(ENTRY + "dn: cn=a,o=example\nsn: b\n")
    done = varnel(directory, "-d", level)
    if traces is None:
        assert says(varnel_page, "The argument of an option may not be empty, nor begin with ‘-’.")
        assert (done.returncode, done.stderr[:10]) == (1, "VNL032046E")
        return
    assert done.returncode == 0
    assert bool(re.search("^c8010000 ", done.stderr, re.MULTILINE)) == bool(traces)
    assert ("dirclient: server" in done.stderr) == (level == "4")


# --- Statuses ------------------------------------------------------------------------------------------


def test_statuses_of_the_page(split, directory, varnel_page):
    told = re.findall(r"^ {5}(\d) {2,}\S", rendered_page.section(varnel_page, "EXIT STATUS"), re.MULTILINE)
    assert told == ["0", "1", "2"]
    assert says(varnel_page, "The split failed in lines 1 to 9 of the input or in no line of it")
    assert says(varnel_page, "the split failed at an input line after the ninth.")
    assert split(ENTRY)[0].returncode == 0
    for line, status in ((9, 2), (10, 1)):
        done, log, _ = split(ENTRY + "x: y\n" * (line - 4) + "no colon\n")
        assert (done.returncode, log) == (status, f"{line}\n")
    (directory / "in.ldif").unlink()
    for name in ("one.ldif", "two.ldif", "rest.ldif"):
        (directory / name).unlink()
    assert varnel(directory).returncode == 1
    assert varnel(directory, "-f", "absent").returncode == 1
    assert varnel(directory, "-I", "absent").returncode == 1


# --- Examples ------------------------------------------------------------------------------------------


def commands_of_the_page(page):
    return re.findall(r"^ +\$ (.*)$", rendered_page.section(page, "EXAMPLES"), re.MULTILINE)


def shell(script, directory, **environment):
    return subprocess.run(
        ["sh", "-c", script],
        cwd=directory,
        capture_output=True,
        encoding="utf-8",
        timeout=60,
        env={**os.environ, "PATH": f"{BINARY.parent}:{os.environ['PATH']}", **environment},
    )


def test_commands_of_the_page(directory, varnel_page):
    plain, again, by_schema, compressed, version, load = commands_of_the_page(varnel_page)
    shutil.copytree(SOURCES / "examples/split", directory, dirs_exist_ok=True)
    shutil.copytree(SOURCES / "examples/instance", directory / "instance")
    configuration = directory / "instance/instance.conf"
    lines = [
        f"systemschema: {SOURCES / 'schema/core.schema'}" if line.endswith("core.schema") else line
        for line in configuration.read_text().splitlines()
    ]
    configuration.write_text("\n".join(lines) + "\n")
    assert shell(plain, directory).returncode == 0
    once = {file.name: file.read_bytes() for file in directory.glob("*.ldif")}
    assert shell(plain, directory).returncode == 1
    done = shell(again, directory)
    assert (done.returncode, done.stderr, "VNL032039I: " in done.stdout) == (0, "", True)
    assert {file.name: file.read_bytes() for file in directory.glob("*.ldif")} == once

    outputs = [name for name in once if name != "directory.ldif"]
    (directory / "varnelConfig").rename(directory / "split.conf")
    for name in outputs:
        (directory / name).unlink()
    done = shell(by_schema, directory)
    assert (done.returncode, done.stderr) == (0, "")
    assert "Using schema in instance ./instance" in (directory / "trace.txt").read_text()

    for name in outputs:
        (directory / name).unlink()
    (directory / "directory.ldif").unlink()
    (directory / "directory.ldif.gz").write_bytes(gzip.compress(once["directory.ldif"]))
    text = (directory / "split.conf").read_text()
    (directory / "stdin.conf").write_text(re.sub("(?m)^inputfile:.*", "inputfile: /dev/stdin", text))
    done = shell(compressed, directory)
    assert (done.returncode, done.stderr) == (0, "")
    assert {name: (directory / name).read_bytes() for name in outputs} == {
        name: once[name] for name in outputs
    }

    page_version = re.search(r"This page describes version (\S+)\.", varnel_page)[1]
    assert shell(version, directory).stdout == f"Version {page_version}.\n"

    # Tried with slapadd in test_real_directory.py: here, that the entries are behind the line it names.
    start = int(re.fullmatch(r"slapadd -j (\d+) -l server1\.ldif", load)[1])
    lines = (directory / "people1.ldif").read_text().splitlines()
    assert not any(lines[1:start]) and lines[start].startswith("dn: ")


@pytest.fixture
def cron_job(directory, varnel_page):
    """Runs the job of the page, with an export of the tests, in directories of the tests."""
    text = rendered_page.section(varnel_page, "EXAMPLES")
    script = "".join(
        line[11:]
        for line in text[text.index("#!/bin/sh") - 11 :].splitlines(keepends=True)
        if line.startswith(" " * 11)
    )
    for there in ("/var/backups/split", "/etc/varnel/varnelConfig"):
        assert script.count(there) == 1
        script = script.replace(there, str(directory) + there)
    (directory / "var/backups/split").mkdir(parents=True)
    (directory / "etc/varnel").mkdir(parents=True)
    configuration = (SOURCES / "examples/split/varnelConfig").read_text()
    assert "basedirectory" not in configuration
    (directory / "etc/varnel/varnelConfig").write_text(configuration)
    (directory / "bin").mkdir()
    slapcat = directory / "bin/slapcat"
    slapcat.write_text('#!/bin/sh\n[ "$1" = -l ] && cp "$EXPORT" "$2"\n')
    slapcat.chmod(0o755)
    job = directory / "split-directory"
    job.write_text(script)
    job.chmod(0o755)

    def run(export):
        return subprocess.run(
            [job],
            cwd="/",
            capture_output=True,
            encoding="utf-8",
            timeout=60,
            env={"PATH": f"{directory}/bin:{BINARY.parent}:{os.environ['PATH']}", "EXPORT": str(export)},
        )

    run.days = directory / "var/backups/split"
    return run


def test_cron_job_splits_into_a_directory_of_the_day(cron_job):
    before = datetime.date.today()
    done = cron_job(SOURCES / "examples/split/directory.ldif")
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    (day,) = cron_job.days.iterdir()
    assert day.name in (before.isoformat(), datetime.date.today().isoformat())
    files = {file.name: file.read_bytes() for file in day.iterdir()}
    assert {"complete", "messages.txt", "directory.ldif", "people1.ldif", "parent.ldif"} <= set(files)
    assert b"VNL032039I" in files["messages.txt"]
    assert {file.stat().st_mode & 0o77 for file in [day, *day.iterdir()]} == {0}

    # The second run of a day, which may be the first of the next: nothing of the first is touched.
    done = cron_job(os.devnull)
    if datetime.date.today() == before:
        assert done.returncode != 0 and "File exists" in done.stderr
    assert {file.name: file.read_bytes() for file in day.iterdir()} == files


def test_cron_job_tells_a_failure(cron_job, directory):
    (directory / "bad.ldif").write_text("dn: o=x\nno colon\n")
    done = cron_job(directory / "bad.ldif")
    assert done.returncode == 2
    told = done.stderr.splitlines()
    assert [line[:10] for line in told[:-1]] == ["VNL032033E", "VNL032034E"]
    (day,) = cron_job.days.iterdir()
    assert told[-1] == f"varnel: status 2; do not load {day}"
    assert not (day / "complete").exists()


def test_example_of_the_instance_page(directory):
    text = rendered_page.section(rendered_page.rendered("varnel-instance.conf.5"), "EXAMPLES")
    paths = re.findall(r"^ +(\w+): (\S+)$", text, re.MULTILINE)
    assert [key for key, _ in paths] == ["systemschema", "systemschema", "userschema"]
    instance = directory / "instance"
    (instance / "local").mkdir(parents=True)
    shutil.copy(SOURCES / "examples/instance/staff.schema", instance / "local")
    lines = []
    for key, path in paths:
        if path.endswith("/varnel/schema/core.schema"):
            path = SOURCES / "schema/core.schema"
        elif path.startswith("/etc/ldap/"):
            shutil.copy(path, instance) if os.path.exists(path) else (instance / "misc.schema").touch()
            path = "misc.schema"
        lines.append(f"{key}: {path}\n")
    (instance / "instance.conf").write_text("".join(lines))
    (directory / "varnelConfig").write_text(configuration_of(TWO_SERVERS))
    (directory / "in.ldif").write_text(ENTRY)
    done = varnel(directory, "-I", "./instance")
    assert (done.returncode, re.findall(r"^VNL033\d+E", done.stderr, re.MULTILINE)) == (0, [])


# --- The second program --------------------------------------------------------------------------------

with_varnelctl = pytest.mark.skipif("VARNELCTL_BINARY" not in os.environ, reason="varnelctl is not built")


def options_of_varnelctl():
    """(verb, names of the option, name of its argument or empty), as the program reads them."""
    printed = subprocess.run(
        [BUILD / "admin/print_completion", "table"], capture_output=True, encoding="utf-8", check=True
    ).stdout
    rows = [line.split("\t") for line in printed.splitlines()]
    return [(verb, names.split(), argument) for verb, names, argument, _ in rows]


@with_varnelctl
def test_page_of_varnelctl_has_each_option_of_each_verb():
    page = rendered_page.rendered("varnelctl.1")
    common = {"-f", "--config", "-I", "--instance", "--json", "-h", "--help"}
    description = rendered_page.section(page, "DESCRIPTION")
    told = dict(re.findall(r"^   (\w+)\n((?:(?!   \w).*\n?)*)", description, re.MULTILINE))
    for verb, names, _ in options_of_varnelctl():
        for name in set(names) - common:
            assert re.search(rf"(?<![\w-]){re.escape(name)}(?![\w-])", told[verb]), (verb, name)
    for name in common | {"--version"}:
        assert re.search(rf"(?<![\w-]){re.escape(name)}(?![\w-])", description), name


@with_varnelctl
def test_synopsis_of_varnelctl_has_each_verb():
    synopsis = rendered_page.section(rendered_page.rendered("varnelctl.1"), "SYNOPSIS")
    named = re.findall(r"^ +varnelctl (\w+)", synopsis, re.MULTILINE)
    verbs = list(dict.fromkeys(verb for verb, _, _ in options_of_varnelctl()))
    assert named == verbs == ["check", "plan", "split", "verify", "probe", "where", "fold"]


@with_varnelctl
def test_examples_of_the_page_of_varnelctl(directory):
    shutil.copytree(SOURCES / "examples/split", directory, dirs_exist_ok=True)
    (directory / "password").write_text("secret\n")
    configuration = directory / "varnelConfig"
    section = rendered_page.section(rendered_page.rendered("varnelctl.1"), "EXAMPLES")
    look, more, split, where, fold, probe = re.findall(r"^ +(varnelctl .*)$", section, re.MULTILINE)

    done = shell(look, directory)
    assert (done.returncode, done.stderr) == (0, "") and done.stdout.startswith("0 errors, 0 warnings\n")
    done = shell(more, directory)
    assert done.returncode == 0 and "With 4 servers in place of 3" in done.stdout
    (directory / "parent.ldif").write_text("that of the last time")
    done = shell(split, directory)
    assert (done.returncode, done.stderr) == (0, "") and done.stdout.endswith(" files: all right\n")
    done = shell(where, directory)
    number, _, file, _, name = done.stdout.rstrip("\n").split("\t")
    assert done.returncode == 0 and number in "123"
    assert f"\ndn: {name}\n" in pathlib.Path(file).read_text()
    done = shell(fold, directory)
    assert (done.returncode, done.stderr) == (0, "")
    unfolded = [(directory / name).read_text().replace("\n ", "") for name in ("directory.ldif", "folded.ldif")]
    assert unfolded[0] == unfolded[1]
    # Where servers answer, test_varnelctl_probe.py asks them. Nobody has this port.
    text = configuration.read_text()
    configuration.write_text(re.sub(r"ldap://[\w.:]+", "ldap://127.0.0.1:1", text))
    done = shell(probe, directory)
    assert done.returncode == 1 and re.search(r", \d+ unreachable \(100\.00 %\)", done.stdout), done


@with_varnelctl
def test_keys_of_the_json_are_those_of_the_page(directory):
    """Those of the object itself and, behind them, of what its lists hold."""
    section = rendered_page.section(rendered_page.rendered("varnelctl.1"), "JSON")
    told = dict(re.findall(r"^     (\w+) {2,}(\w.*(?:\n {9,}.*|\n)*)", section, re.MULTILINE))
    shutil.copytree(SOURCES / "examples/split", directory, dirs_exist_ok=True)
    configuration = directory / "varnelConfig"
    configuration.write_text(re.sub(r"ldap://[\w.:]+", "ldap://127.0.0.1:1", configuration.read_text()))
    assert shell("varnelctl split", directory).returncode == 0
    (directory / "people1.ldif").unlink()
    commands = {
        "check": ["check"],
        "plan": ["plan --servers 4"],
        "where": ["where cn=x x"],
        "verify": ["verify", "verify --names"],
        "probe": ["probe"],
    }
    assert set(told) == set(commands)
    for verb, lines in commands.items():
        own, inner = [], set()
        for line in lines:
            result = json.loads(shell(f"varnelctl {line} --json", directory).stdout)
            own += [key for key in result if key not in own]
            for key in ("findings", "names", "differences", "servers", "base_dns"):
                inner.update(*result.get(key, []))
        words = re.findall(r"\w+", told[verb])
        assert set(own) <= set(words), verb
        assert inner <= set(words), verb
        # And none that there is not: up to where the page speaks of one of them.
        listed = re.split(r"\.\s", re.sub(r"\([^)]*\)", "", told[verb]))[0]
        assert set(re.findall(r"\w+", listed)) - {"or"} == set(own), verb
