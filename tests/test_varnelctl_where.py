"""varnelctl where: the server, URL, file and base DN of names."""

import json
import os
import random

import pytest
import split_model
import test_conservation
from varnelctl_run import GOOD, MISUSE, SYSTEM_FAILED, WRONG, ControlSite

from varnel_run import BASE, GLOBAL_LINES, TWO_SERVERS

BASES, REST, FILES = test_conservation.BASES, test_conservation.REST, test_conservation.FILES


@pytest.fixture
def site(binary, directory):
    return ControlSite(binary, directory)


@pytest.fixture
def two_servers(site):
    site.configure(*TWO_SERVERS)
    return site


def line(*columns):
    return b"\t".join(c.encode() if isinstance(c, str) else c for c in columns) + b"\n"


def expected_line(site, name):
    """By the model."""
    files = split_model.route(name, BASES, REST)
    sections = {split_model.normal_form(base): names for base, names in BASES.items()}
    nearest = next(
        (
            x
            for x in split_model.way_up(split_model.normal_form(name))
            if x in sections or x == split_model.CRYPTO
        ),
        None,
    )
    if nearest is None:
        return line("-", "-", site.absolute(REST), "-", name)
    if nearest == split_model.CRYPTO or split_model.normal_form(name) == nearest:
        return line("*", "*", "*", nearest, name)
    assert len(files) == 1
    server = sections[nearest].index(files[0]) + 1
    return line(str(server), f"ldap://{files[0]}", site.absolute(files[0]), nearest, name)


@pytest.mark.parametrize("seed", range(10))
def test_random_names_are_where_the_model_has_them(site, seed):
    entries = test_conservation.Entries(seed)
    names = [entries.dn() for _ in range(300)]
    test_conservation.configure(site)
    expected = b"".join(expected_line(site, name) for name in names)
    run = site.run("where", input=b"".join(name + b"\n" for name in names))
    assert (run.status, run.stdout, run.stderr) == (GOOD, expected, b"")


@pytest.mark.parametrize("seed", range(4))
def test_names_are_where_a_split_puts_them(site, seed):
    entries = test_conservation.Entries(seed)
    names = [entries.dn().lstrip() for _ in range(100)]
    test_conservation.configure(site)
    site.write("in.ldif", b"".join(b"dn: " + name + b"\n\n" for name in names))
    answers = site.run("where", "--json", input=b"".join(name + b"\n" for name in names))
    answers = json.loads(answers.stdout)["names"]
    assert site.split().status == 0
    written = {name: b"" for name in [*FILES, REST]}
    for name, answer in zip(names, answers):
        for file in answer["files"]:
            written[os.path.basename(file)] += b"\ndn: " + name + b"\n"
    for name, content in written.items():
        assert site.read(name).removeprefix(b"version: 1\n\n") == content


def test_columns(two_servers):
    site = two_servers
    assert site.answer(
        GOOD, "where", "o=example", "CN=Crypto , cn=LocalHost", "o=elsewhere", "o=", "uid=b;O=Example"
    ) == (
        line("*", "*", "*", "O=EXAMPLE", "o=example")
        + line("*", "*", "*", "CN=LOCALHOST", "CN=Crypto , cn=LocalHost")
        + line("-", "-", site.absolute("rest.ldif"), "-", "o=elsewhere")
        + line("-", "-", site.absolute("rest.ldif"), "-", "o=")
        + line("2", "ldap://two", site.absolute("two.ldif"), "O=EXAMPLE", "uid=b;O=Example")
    )


def test_two_servers_of_one_file_are_told_apart(site):
    site.configure(*GLOBAL_LINES, BASE, "url: ldap://a", "file: f", "url: ldap://b", "file: f")
    names = [b"cn=%d,o=example" % number for number in range(20)]
    lines = site.answer(GOOD, "where", input=b"\n".join(names)).splitlines()
    servers = [split_model.server_number(name, b"o=example", 2) for name in names]
    assert {*servers} == {1, 2}
    assert [row.split(b"\t")[:2] for row in lines] == [
        [b"%d" % server, [b"ldap://a", b"ldap://b"][server - 1]] for server in servers
    ]


def test_unusable_names_are_told_with_their_line_and_the_others_answered(two_servers):
    names = b"o=example\r\nnonsense\n\n\xff\x01=\no=ex\0ample\no=example\\\no=example"
    run = two_servers.run("where", input=names)
    row = line("*", "*", "*", "O=EXAMPLE", "o=example")
    assert (run.status, run.stdout) == (WRONG, row + row)
    assert run.stderr == b"".join(
        b"standard input:%d: error: no usable DN, %s\n" % (number, text)
        for number, text in [
            (2, b"nonsense"), (3, b""), (4, b"\xff\\01="), (5, b"o=ex\\00ample"), (6, b"o=example\\"),
        ]
    )  # fmt: skip


def test_an_unusable_argument(two_servers):
    run = two_servers.run("where", "o=example", "nonsense")
    assert run.status == WRONG and run.stdout.count(b"\n") == 1
    assert run.stderr == b"argument:2: error: no usable DN, nonsense\n"


def test_control_bytes_of_a_name_are_escaped(two_servers):
    name = b"uid=a\tb\x1b[31m,o=example"
    row = two_servers.answer(GOOD, "where", input=name)
    assert row.split(b"\t")[4:] == [b"uid=a\\09b\\1B[31m,o=example\n"]


def test_names_of_any_length(two_servers):
    name = b"uid=" + b"x" * 300_000 + b",o=example"
    row = two_servers.answer(GOOD, "where", input=name + b"\no=example")
    server = split_model.jump_hash(b"UID=" + b"X" * 300_000, 2)
    assert row.startswith(b"%d\t" % server) and row.count(name) == 1 and row.count(b"\n") == 2


def test_no_names(two_servers):
    assert two_servers.answer(GOOD, "where", input=b"") == b""
    assert two_servers.json(GOOD, "where", input=b"") == {"names": [], "count": 0, "unusable": 0}


def test_json(two_servers):
    site = two_servers
    names = b"o=example\nuid=\xff,o=example\nx\ncn=localhost\no=y"
    one, two, rest = (site.absolute(x) for x in ("one.ldif", "two.ldif", "rest.ldif"))
    urls = ["ldap://one", "ldap://two"]
    server = split_model.jump_hash(b"UID=\xff", 2)
    assert site.json(WRONG, "where", input=names) == {
        "names": [
            {"line": 1, "name": "o=example", "normal_name": "O=EXAMPLE", "base_dn": "O=EXAMPLE",
             "server": "*", "urls": urls, "files": [one, two]},
            {"line": 2, "name": "uid=\ufffd,o=example", "normal_name": "UID=\ufffd,O=EXAMPLE",
             "base_dn": "O=EXAMPLE", "server": server, "urls": [urls[server - 1]],
             "files": [[one, two][server - 1]]},
            {"line": 3, "name": "x", "error": "no usable DN"},
            {"line": 4, "name": "cn=localhost", "normal_name": "CN=LOCALHOST",
             "base_dn": "CN=LOCALHOST", "server": "*", "urls": urls, "files": [one, two]},
            {"line": 5, "name": "o=y", "normal_name": "O=Y", "base_dn": None, "server": "-",
             "urls": [], "files": [rest]},
        ],
        "count": 5,
        "unusable": 1,
    }  # fmt: skip


def test_the_schema_of_an_instance_says_what_names_are_equal(two_servers):
    examples = os.path.join(os.environ["VARNEL_SOURCES"], "schema", "core.schema")
    os.mkdir(two_servers.path / "instance")
    two_servers.write("instance/instance.conf", f"systemschema: {examples}\n")
    names = ["organizationName=example", "2.5.4.10=example"]
    rows = two_servers.answer(GOOD, "where", "-I", "./instance", *names).splitlines()
    assert [row.split(b"\t")[0] for row in rows] == [b"*", b"*"]
    rows = two_servers.answer(GOOD, "where", *names).splitlines()
    assert [row.split(b"\t")[0] for row in rows] == [b"-", b"-"]


def test_an_unknown_instance(two_servers):
    run = two_servers.run("where", "-I", "./nowhere", "o=x")
    assert run.status == WRONG and b"VNL033002E" in run.stderr and run.stdout == b""


def test_no_file_is_needed_or_made(two_servers):
    before = two_servers.tree()
    assert "in.ldif" not in before
    two_servers.answer(GOOD, "where", "o=example")
    assert two_servers.tree() == before


def test_an_unusable_configuration(site):
    site.configure(*TWO_SERVERS[:-1])
    run = site.run("where", "o=example")
    assert run.status == WRONG and run.stdout == b""
    assert b"varnelConfig" in run.stderr and b"error: " in run.stderr


def test_a_missing_configuration(site):
    run = site.run("where", "-f", "nowhere", "o=example")
    assert run.status == WRONG and b"nowhere" in run.stderr


@pytest.mark.parametrize("option", ["--bad", "-x", "-f"])
def test_wrong_use(two_servers, option):
    run = two_servers.run("where", option)
    assert run.status == MISUSE and run.stdout == b"" and run.stderr != b""


def test_help(site):
    text = site.answer(GOOD, "where", "--help").decode()
    for wanted in ("-f,--config", "-I,--instance", "--json", "DN", "tabs"):
        assert wanted in text


def test_output_that_cannot_be_written(two_servers):
    with open("/dev/full", "wb") as full:
        run = two_servers.run("where", "o=example", stdout=full)
    assert run.status == SYSTEM_FAILED
    assert run.stderr == b"varnelctl: standard output: No space left on device\n"


def test_input_that_cannot_be_read(two_servers):
    directory = os.open(two_servers.path, os.O_RDONLY)
    run = two_servers.run("where", stdin=directory)
    os.close(directory)
    assert run.status == SYSTEM_FAILED
    assert run.stderr == b"varnelctl: standard input: Is a directory\n"


def test_many_names_in_pieces_of_any_size(two_servers):
    """Through a pipe, so that lines come in parts."""
    generator = random.Random(1)
    names = [b"cn=%x,o=example" % generator.getrandbits(4 * generator.randrange(1, 60)) for _ in range(5000)]
    rows = two_servers.answer(GOOD, "where", input=b"\n".join(names)).splitlines()
    assert [row.split(b"\t")[4] for row in rows] == names
    for name, row in zip(names[:200], rows):
        server = split_model.server_number(name, b"o=example", 2)
        assert row.startswith(b"%d\t" % server)
