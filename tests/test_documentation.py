"""What the documentation says is true: examples are run, lists compared with the program's."""

import os
import pathlib
import re
import shutil
import subprocess

import pytest

SOURCES = pathlib.Path(os.environ["VARNEL_SOURCES"])
BINARY = pathlib.Path(os.environ["VARNEL_BINARY"]).resolve()
SERVER_FILES = ["people1", "people2", "people3", "devices1", "devices2"]


def read(name):
    return (SOURCES / name).read_text(encoding="utf-8")


def run(*command, directory):
    environment = {**os.environ, "PATH": f"{BINARY.parent}:{os.environ['PATH']}"}
    return subprocess.run(
        command, cwd=directory, env=environment, capture_output=True, encoding="utf-8", timeout=60
    )


def section(text, heading):
    """The text below a heading, up to the next one of its level."""
    level = heading.split(" ")[0]
    return text.split(f"\n{heading}\n", 1)[1].split(f"\n{level} ", 1)[0]


def man_section(page, name):
    return page.split(f"\n.Sh {name}\n", 1)[1].split("\n.Sh ", 1)[0]


def dns(file):
    return re.findall(r"^dn: (.*)$", file.read_text(encoding="utf-8"), re.MULTILINE)


def test_first_split_of_the_readme(tmp_path):
    blocks = re.findall(r"```(sh|text)\n(.*?)```", section(read("README.md"), "## A first split"), re.DOTALL)
    assert [kind for kind, _ in blocks] == ["sh", "sh", "text"]
    printed = ""
    for kind, block in blocks:
        if kind == "sh":
            done = run("bash", "-euo", "pipefail", "-c", block, directory=tmp_path)
            assert (done.returncode, done.stderr) == (0, "")
            printed = done.stdout
        else:
            assert printed == block


def test_second_run_refuses_as_the_readme_says(tmp_path):
    setup = re.search(r"```sh\n(.*?)```", section(read("README.md"), "## A first split"), re.DOTALL)[1]
    run("bash", "-c", setup, directory=tmp_path)
    assert run("varnel", directory=tmp_path).returncode == 0
    before = (tmp_path / "people1.ldif").read_bytes()
    assert run("varnel", directory=tmp_path).returncode == 1
    assert (tmp_path / "people1.ldif").read_bytes() == before
    assert run("varnel", "-r", directory=tmp_path).returncode == 0
    assert (tmp_path / "people1.ldif").read_bytes() == before


def split_example(directory, *options):
    for name in ("varnelConfig", "directory.ldif"):
        shutil.copy(SOURCES / "examples/split" / name, directory)
    done = run("varnel", *options, directory=directory)
    assert (done.returncode, done.stderr) == (0, "")
    return {name: dns(directory / f"{name}.ldif") for name in SERVER_FILES + ["parent"]}


def test_bundled_example_loses_nothing(tmp_path):
    files = split_example(tmp_path)
    entries = len(re.findall(r"^dn:", read("examples/split/directory.ldif"), re.MULTILINE))
    shared = ["cn=localhost", "cn=crypto,cn=localhost"]
    bases = {"people": "ou=People,dc=example,dc=org", "devices": "ou=Devices,dc=example,dc=org"}
    own = []
    for name in SERVER_FILES:
        base = bases[name.rstrip("123")]
        assert files[name].count(base) == 1
        assert files[name][-2:] == shared
        share = [dn for dn in files[name] if dn not in [base, *shared]]
        assert share, f"{name}.ldif shows nothing"
        own += share
    everything = own + files["parent"] + list(bases.values()) + shared
    assert len(everything) == len(set(everything)) == entries


def test_bundled_example_shows_every_form_of_a_line():
    text = read("examples/split/directory.ldif")
    for form in (r"^dn:: ", r"^\w+:: .*\n ", r"^description: .*\n ", r"^# ", r"^dn: .*\\,", r"^dn: .*\+"):
        assert re.search(form, text, re.MULTILINE), form


def test_bundled_example_differs_by_the_schema(tmp_path):
    (tmp_path / "plain").mkdir()
    (tmp_path / "schema").mkdir()
    plain = split_example(tmp_path / "plain")
    by_schema = split_example(tmp_path / "schema", "-I", str(SOURCES / "examples/instance"))
    long_name = "cn=Ines Marek,organizationalUnitName=People,dc=example,dc=org"
    assert long_name in plain["parent"]
    assert any(long_name in by_schema[name] for name in ("people1", "people2", "people3"))
    badge = "badge=20 31,ou=Devices,dc=example,dc=org"
    below = "cn=lock,badgeNumber=2031,ou=Devices,dc=example,dc=org"
    assert any(badge in file and below in file for file in by_schema.values())
    assert not any(badge in file and below in file for file in plain.values())


def test_example_of_the_configuration_page_is_accepted(tmp_path):
    page = read("docs/varnelConfig.5")
    config = re.search(r"\.Bd [^\n]*\n(.*?)\.Ed", man_section(page, "EXAMPLES"), re.DOTALL)[1]
    config = config.replace("/var/tmp/split", str(tmp_path))
    config = config.replace("/var/backups/directory.ldif", str(tmp_path / "directory.ldif"))
    shutil.copy(SOURCES / "examples/split/directory.ldif", tmp_path)
    (tmp_path / "varnelConfig").write_text(config)
    done = run("varnel", directory=tmp_path)
    assert (done.returncode, done.stderr) == (0, "")
    assert "ou=Devices,dc=example,dc=org" in dns(tmp_path / "devices.ldif")


def test_configuration_page_has_every_key():
    page = read("docs/varnelConfig.5")
    documented = re.findall(r"^\.It Cm (\w+) :", page, re.MULTILINE)
    documented += re.findall(r"^\.Cm (\w+)\nis another name of the key", page, re.MULTILINE)
    keys = re.findall(r'^const std::string \w+Key = "(\w+)";', read("config/configKeys.cpp"), re.MULTILINE)
    # The program defines these keys, and accepts them nowhere.
    reserved = {"parenturl", "rdnfilter", "numservers", "rdnhash", "subtreedn", "dn"}
    assert sorted(documented) == sorted(set(keys) - reserved)


def option_string():
    """The option letters of the program, each with whether it takes an argument."""
    text = re.search(r"optionString = (.*?);", read("driver/main.cpp"), re.DOTALL)[1]
    letters = "".join(re.findall(r"""["'](.*?)["']""", text))
    assert letters.startswith(":")
    return {letter: argument == ":" for letter, argument in re.findall(r"(\w)(:?)", letters)}


def man_page_options():
    rows = re.findall(r"^\.It Fl (\w)( Ar \w+)?$", man_section(read("docs/varnel.1"), "OPTIONS"), re.MULTILINE)
    return {letter: bool(argument) for letter, argument in rows}


def synopsis_options():
    rows = re.findall(r"^\.Op Fl (\w)( Ar \w+)?$", man_section(read("docs/varnel.1"), "SYNOPSIS"), re.MULTILINE)
    return {letter: bool(argument) for letter, argument in rows}


def usage(directory):
    done = run("varnel", "-?", directory=directory)
    assert done.returncode == 0
    return done.stdout


def usage_first_line_options(directory):
    rows = re.findall(r"\[-(\w)( [A-Z]+)?\]", usage(directory).split("\n")[0])
    return {letter: bool(argument) for letter, argument in rows}


def usage_list_options(directory):
    rows = re.findall(r"^  -(\w)( [A-Z]+)?  ", usage(directory), re.MULTILINE)
    return {letter: bool(argument) for letter, argument in rows}


@pytest.mark.parametrize(
    "documented",
    [
        lambda directory: man_page_options(),
        lambda directory: synopsis_options(),
        usage_first_line_options,
        usage_list_options,
    ],
    ids=["man page", "synopsis", "first line of the usage", "list of the usage"],
)
def test_options_are_those_of_the_program(documented, tmp_path):
    program = option_string()
    assert len(program) == 4
    assert documented(tmp_path) == program


def test_completion_offers_the_options_of_the_program():
    offered = re.search(r"\*\).*-W '([^']*)'", read("docs/varnel.bash-completion"))[1]
    assert offered.split() == ["-" + letter for letter in option_string()]


def test_completion_works_in_bash(tmp_path):
    script = (
        f"source {SOURCES}/docs/varnel.bash-completion; COMP_WORDS=(varnel -); COMP_CWORD=1; _varnel; "
        'echo "${COMPREPLY[@]}"'
    )
    assert run("bash", "-c", script, directory=tmp_path).stdout == "-f -r -d -I\n"


@pytest.mark.parametrize("page", ["README.md", "CONTRIBUTING.md"])
def test_links_lead_somewhere(page):
    targets = re.findall(r"\]\(([^)#:]+)\)", read(page))
    assert targets
    assert [target for target in targets if not (SOURCES / target).exists()] == []


def test_folder_map_names_every_folder():
    named = set(re.findall(r"^\| `([\w/]+)/` \|", read("CONTRIBUTING.md"), re.MULTILINE))
    skipped = {"build"}
    folders = {f.name for f in SOURCES.iterdir() if f.is_dir() and not f.name.startswith((".", "_"))}
    folders |= {"platform/" + f.name for f in (SOURCES / "platform").iterdir() if f.is_dir()}
    assert named == folders - skipped
