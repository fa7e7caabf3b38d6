"""What the documentation says is true: examples are run, lists compared with the program's."""

import os
import pathlib
import re
import shutil
import subprocess

import message_texts
import pytest

SOURCES = pathlib.Path(os.environ["VARNEL_SOURCES"])
BINARY = pathlib.Path(os.environ["VARNEL_BINARY"]).resolve()
BUILD = pathlib.Path(os.environ["VARNEL_BUILD"]).resolve()
PAGES = ["varnel.1", "varnelConfig.5", "varnel-instance.conf.5", "dirclient.3"]
SERVER_FILES = ["people1", "people2", "people3", "devices1", "devices2"]


def read(name):
    return (SOURCES / name).read_text(encoding="utf-8")


def made(name):
    """A file that the build makes for readers."""
    return (BUILD / "docs" / name).read_text(encoding="utf-8")


def cache_entry(name):
    cache = (BUILD / "CMakeCache.txt").read_text(encoding="utf-8")
    return re.search(rf"^{name}:\w+=(.*)$", cache, re.MULTILINE)[1]


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


@pytest.mark.skipif("VARNELCTL_BINARY" not in os.environ, reason="varnelctl is not built")
def test_chapter_of_the_readme_on_varnelctl(tmp_path):
    setup = re.search(r"```sh\n(.*?)```", section(read("README.md"), "## A first split"), re.DOTALL)[1]
    assert run("bash", "-c", setup + "varnel", directory=tmp_path).returncode == 0
    chapter = section(read("README.md"), "## Before, during and after a split")
    blocks = re.findall(r"```(sh|text)\n(.*?)```", chapter, re.DOTALL)
    assert [kind for kind, _ in blocks] == ["sh", "text"] * 3
    for (_, commands), (_, expected) in zip(blocks[::2], blocks[1::2], strict=True):
        done = run("bash", "-euo", "pipefail", "-c", commands, directory=tmp_path)
        assert (done.returncode, done.stderr) == (0, "")
        assert done.stdout == expected


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
    page = made("varnelConfig.5")
    config = re.search(r"\.Bd [^\n]*\n(.*?)\.Ed", man_section(page, "EXAMPLES"), re.DOTALL)[1]
    config = config.replace("/var/tmp/split", str(tmp_path))
    config = config.replace("/var/backups/directory.ldif", str(tmp_path / "directory.ldif"))
    shutil.copy(SOURCES / "examples/split/directory.ldif", tmp_path)
    (tmp_path / "varnelConfig").write_text(config)
    done = run("varnel", directory=tmp_path)
    assert (done.returncode, done.stderr) == (0, "")
    assert "ou=Devices,dc=example,dc=org" in dns(tmp_path / "devices.ldif")


def test_configuration_page_has_every_key():
    page = made("varnelConfig.5")
    documented = re.findall(r"^\.It Cm (\w+) :", page, re.MULTILINE)
    documented += re.findall(r"^\.Cm (\w+)\nis another name of the key", page, re.MULTILINE)
    keys = re.findall(r'^const std::string \w+Key = "(\w+)";', read("config/configKeys.cpp"), re.MULTILINE)
    # The program defines these keys, and accepts them nowhere.
    reserved = {"parenturl", "rdnfilter", "numservers", "rdnhash", "subtreedn", "dn"}
    assert sorted(documented) == sorted(set(keys) - reserved)


def test_message_on_an_illegal_key_names_the_keys():
    documented = re.findall(r"^\.It Cm (\w+) :", made("varnelConfig.5"), re.MULTILINE)
    _, _, text = message_texts.catalog()[32, 4]
    assert [key for key in documented if not re.search(rf"\b{key}\b", text)] == []


def option_table():
    """Of the program's options, in their order: letter, argument name (may be empty), meaning, default."""
    printed = subprocess.run(
        [BUILD / "driver/print_options", "table"], check=True, capture_output=True, encoding="utf-8"
    ).stdout
    return [tuple(line.split("\t")) for line in printed.splitlines()]


def options_with_arguments():
    return [(letter, argument) for letter, argument, _, _ in option_table()]


def options_of_man_section(name, macro):
    rows = re.findall(
        rf"^\.{macro} Fl (\w)(?: Ar (\w+))?$", man_section(made("varnel.1"), name), re.MULTILINE
    )
    return [(letter, argument.upper()) for letter, argument in rows]


def usage(directory):
    done = run("varnel", "-?", directory=directory)
    assert done.returncode == 0
    return done.stdout


@pytest.mark.parametrize(
    "section_name, macro", [("SYNOPSIS", "Op"), ("OPTIONS", "It")], ids=["synopsis", "options"]
)
def test_man_page_has_the_options_of_the_program(section_name, macro):
    assert options_of_man_section(section_name, macro) == options_with_arguments()


def test_man_page_tells_each_default():
    """Its paragraph has the first words of the default, those before a semicolon, or says "By default"."""
    paragraphs = re.split(r"^\.It Fl ", man_section(made("varnel.1"), "OPTIONS"), flags=re.MULTILINE)[1:]
    for (letter, _, _, default), paragraph in zip(option_table(), paragraphs, strict=True):
        assert paragraph.startswith(letter)
        value = default.split(";")[0]
        told = re.search(r"[Tt]he default\b", paragraph) and value in paragraph
        assert told or "\nBy default " in paragraph, letter


def test_usage_has_every_option_with_meaning_and_default(tmp_path):
    text = usage(tmp_path)
    calls = re.findall(r"\[-(\w)(?: ([A-Z]+))?\]", text.split("\n")[0])
    assert calls == options_with_arguments()
    described = re.findall(
        r"^  -(\w)(?: ([A-Z]+))?  +((?:.*\n)(?: {10,}.*\n)*)", text, re.MULTILINE
    )
    assert [
        (letter, argument, " ".join(words.split())) for letter, argument, words in described
    ] == [
        (letter, argument, f"{meaning} (default: {default})")
        for letter, argument, meaning, default in option_table()
    ]
    assert max(len(line) for line in text.splitlines()) < 80


def test_version_is_the_project_s_wherever_it_is_told(tmp_path):
    version = cache_entry("CMAKE_PROJECT_VERSION")
    assert re.fullmatch(r"\d+\.\d+\.\d+", version)
    assert usage(tmp_path).endswith(f"\nVersion {version}.\n")
    for page in PAGES:
        assert f"\nThis page describes version {version}.\n" in made(page)


def test_version_stands_once_in_the_sources():
    declared = f"VERSION {cache_entry('CMAKE_PROJECT_VERSION')} "
    assert read("CMakeLists.txt").count(declared) == 1
    version = re.compile(rf"\b{re.escape(declared.split()[1])}\b")
    told = [
        name
        for name in ["README.md", "CONTRIBUTING.md", *map(str, (SOURCES / "docs").iterdir())]
        if version.search(read(name))
    ]
    assert told == []


def test_man_pages_name_the_directories_of_this_build(tmp_path):
    # The program tells where it looks for an instance.
    told = run("varnel", "-I", "absent", directory=tmp_path).stderr
    instances = re.search(r"there is no directory (/.*)/absent,", told)[1]
    schema = cache_entry("CMAKE_INSTALL_PREFIX") + "/share/varnel/schema/core.schema"
    pages = {page: made(page) for page in PAGES}
    assert f"\n.It Pa {instances}\n" in pages["varnel.1"]
    assert f"\n.Pa {instances} .\n" in pages["varnel-instance.conf.5"]
    assert f"\n.It Pa {instances}\n" in pages["varnel-instance.conf.5"]
    assert f"\n.It Pa {schema}\n" in pages["varnel-instance.conf.5"]
    assert f"\nsystemschema: {schema}\n" in pages["varnel-instance.conf.5"]
    messages = cache_entry("CMAKE_INSTALL_PREFIX") + "/share/doc/varnel/messages.md"
    assert f"\n.Pa {messages} .\n" in pages["varnel.1"]
    # Nothing is left of the templates, and none of them names such a directory itself.
    for page in PAGES:
        assert "@" not in pages[page]
        assert "/usr/" not in read(f"docs/{page}.in")


def test_list_of_messages_has_each_once():
    listed = re.findall(r"^## (VNL\d{6}[IWE]) \((\w+)\)$", made("messages.md"), re.MULTILINE)
    kinds = {"I": "information", "W": "warning", "E": "error"}
    assert listed == [
        (f"VNL{message_set:03d}{number:03d}{severity}", kinds[severity])
        for (message_set, number), (severity, _, _) in sorted(message_texts.catalog().items())
    ]


@pytest.mark.parametrize(
    "words, offered",
    [
        (["varnel", "-"], None),
        (["varnel", "-d", ""], "1\n4\n5\n"),
        (["varnel", "-f", "split."], "split.conf\n"),
        (["varnel", "-I", "inst"], "instance\n"),
    ],
    ids=["options", "debug levels", "files", "directories"],
)
def test_completion_works_in_bash(words, offered, tmp_path):
    (tmp_path / "split.conf").touch()
    (tmp_path / "instance.txt").touch()
    (tmp_path / "instance").mkdir()
    script = (
        'source "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _varnel; printf "%s\\n" "${COMPREPLY[@]}"'
    )
    if offered is None:
        offered = "".join(f"-{letter}\n" for letter, _ in options_with_arguments())
    done = run("bash", "-c", script, BUILD / "docs/varnel.bash-completion", *words, directory=tmp_path)
    assert (done.stdout, done.stderr) == (offered, "")


def test_tests_that_the_page_on_reliability_names_are_there():
    page = read("docs/reliability.md")
    themes = {path.stem: path.read_text(encoding="utf-8") for path in (SOURCES / "tests").glob("test_*.py")}
    functions = set(re.findall(r"^def (test_\w+)\(", "\n".join(themes.values()), re.MULTILINE))
    named = set(re.findall(r"`(?:tests/)?(test_\w+)(?:\.py)?(?:\[[^`]*)?`", page))
    assert len(named) > 40
    assert named - functions - set(themes) == set()
    units = "".join(path.read_text(encoding="utf-8") for path in SOURCES.rglob("*_test.cpp"))
    for suite, name in re.findall(r"`([A-Z]\w+)\.([A-Z]\w+)`", page):
        assert re.search(rf"\b{suite},\s*{name}\)", units), (suite, name)


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
