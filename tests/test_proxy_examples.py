"""The example of a proxy's routing, in C and in Python, from installed files alone: both name the servers where
a split has put the entries."""

import os
import pathlib
import re
import shutil
import subprocess

import pytest
import split_model

SOURCES = pathlib.Path(os.environ["VARNEL_SOURCES"])
BASE = "dc=example,dc=org"

CONFIGURATION = f"""\
# Guests are spread apart from the other people, below whom they stand.
actiontype: splitonly
inputfile: in.ldif
logfile: log
defaultoutputfile: parent
splitby: rdnhash
basedn: ou=People,{BASE}
url: ldap://p1
file: p1
url: ldap://p2
file: p2
url: ldap://p3
file: p3
basedn: ou=Guests,ou=People,{BASE}
url: ldap://g1
file: g1
url: ldap://g2
file: g2
BaseDN :  ou=Devices , {BASE}
url: ldap://d1
file: d1
"""


def run(*command, **options):
    done = subprocess.run(
        [str(word) for word in command], capture_output=True, encoding="utf-8", timeout=120, **options
    )
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


@pytest.fixture(scope="module")
def prefix(tmp_path_factory):
    if os.environ.get("VARNEL_SANITIZE"):
        pytest.skip("a sanitized library is none to install")
    directory = tmp_path_factory.mktemp("installed")
    run(os.environ["VARNEL_CMAKE"], "--install", os.environ["VARNEL_BUILD"], "--prefix", directory)
    return directory


@pytest.fixture(scope="module")
def routers(prefix, tmp_path_factory):
    """The commands of the two examples, and what they need of the environment."""
    library = next(prefix.rglob("libdirclient.so.1"))
    built = tmp_path_factory.mktemp("built") / "proxy"
    shutil.copytree(prefix / "share/varnel/examples/proxy", built)
    environment = {
        **os.environ,
        "PKG_CONFIG_PATH": str(library.parent / "pkgconfig"),
        "LD_LIBRARY_PATH": str(library.parent),
        "CC": os.environ["VARNEL_CC"],
        "CFLAGS": "-std=c11 -Wall -Wextra -Wpedantic -Werror",
    }
    run("make", "-C", built, env=environment)
    return [[built / "route"], [built / "route.py"]], environment


@pytest.fixture
def answers(routers, tmp_path):
    """Request -> answer of both examples, which have to agree."""
    commands, environment = routers

    def ask(requests, configuration=CONFIGURATION, options=()):
        (tmp_path / "configuration").write_text(configuration, encoding="utf-8")
        printed = [
            run(*command, *options, tmp_path / "configuration", env=environment,
                input="".join(f"{request}\n" for request in requests)).splitlines()
            for command in commands
        ]  # fmt: skip
        assert printed[0] == printed[1]
        return dict(zip(requests, printed[0], strict=True))

    return ask


ROUTES = {
    # At a base DN: every server of it has the entry.
    f"read ou=People,{BASE}": "ldap://p1 ldap://p2 ldap://p3",
    f"write OU = people ; {BASE}": "ldap://p1 ldap://p2 ldap://p3",
    # The inner base DN is no entry of the outer one's servers.
    f"read ou=guests,ou=People,{BASE}": "ldap://g1 ldap://g2",
    # Above, beside: the parent server.
    f"read {BASE}": "parent",
    f"write cn=a,ou=Staff,{BASE}": "parent",
    f"read cn=x\\,ou=People,{BASE}": "parent",
    "read o=elsewhere": "parent",
    # One server, though the name is long.
    f"read cn=a,cn=b,ou=Devices,{BASE}": "ldap://d1",
    f"sub cn=b,ou=Devices,{BASE}": "ldap://d1",
    f"one cn=b,ou=Devices,{BASE}": "ldap://d1",
    # Searches at and above the base DNs.
    f"one ou=People,{BASE}": "ldap://p1 ldap://p2 ldap://p3 ldap://g1 ldap://g2",
    f"sub ou=People,{BASE}": "ldap://p1 ldap://p2 ldap://p3 ldap://g1 ldap://g2",
    f"sub ou=guests,ou=people,{BASE}": "ldap://g1 ldap://g2",
    f"one {BASE}": "parent ldap://p1 ldap://p2 ldap://p3 ldap://d1",
    f"sub {BASE}": "parent ldap://p1 ldap://p2 ldap://p3 ldap://g1 ldap://g2 ldap://d1",
    "one dc=org": "parent",
    "sub dc=org": "parent ldap://p1 ldap://p2 ldap://p3 ldap://g1 ldap://g2 ldap://d1",
    "one ": "parent",
    "sub ": "parent ldap://p1 ldap://p2 ldap://p3 ldap://g1 ldap://g2 ldap://d1",
    # Renaming.
    f"rename cn=a,ou=Devices,{BASE}\tcn=b,ou=Devices,{BASE}": "ldap://d1",
    f"rename cn=a,ou=Staff,{BASE}\tcn=b,{BASE}": "parent",
    f"rename cn=a,ou=Staff,{BASE}\tcn=a,ou=Devices,{BASE}": "error: the entry would move to another server",
    f"rename ou=Devices,{BASE}\tou=Things,{BASE}": "error: a base DN is renamed by a new split alone",
    f"rename {BASE}\tdc=other,dc=org": "error: a base DN is renamed by a new split alone",
    f"rename cn=a,{BASE}\tou=Devices,{BASE}": "error: a base DN is renamed by a new split alone",
    f"rename cn=a,{BASE}": "error: the new name is missing",
    "rename cn=a\tb": "error: not a DN",
    "read no dn": "error: not a DN",
    "read ": "error: not a DN",
    "read": "error: no such request",
    f"move {BASE}": "error: no such request",
    "read cn=key, CN=LocalHost": "error: each server has its own cn=localhost",
}


def test_requests_go_where_the_entries_are(answers):
    assert answers(ROUTES) == ROUTES


def test_a_rename_below_a_base_dn_stays_if_the_hash_does(answers):
    """It is the RDN directly below the base DN that counts."""
    people = f"ou=People,{BASE}"
    servers = {name: split_model.jump_hash(b"CN=" + name.upper().encode(), 3) for name in "abcdefgh"}
    assert len(set(servers.values())) > 1
    requests = {}
    for name, server in servers.items():
        stays = f"ldap://p{server}"
        moves = "error: the entry would move to another server"
        requests[f"rename cn=a,{people}\tcn={name},{people}"] = stays if server == servers["a"] else moves
        requests[f"rename cn=x,cn={name},{people}\tcn=y,cn={name},{people}"] = stays
        requests[f"rename cn=x,cn=a,{people}\tcn=x,cn={name},{people}"] = (
            stays if server == servers["a"] else moves
        )
    assert answers(requests) == requests


def names_of(file):
    lines = file.read_text(encoding="utf-8").splitlines() if file.exists() else []
    return {line[4:] for line in lines if line.startswith("dn: ")}


def check_against_a_split(binary, directory, answers, ldif, varnel_options, options, respelled):
    (directory / "in.ldif").write_text(ldif, encoding="utf-8")
    (directory / "varnelConfig").write_text(CONFIGURATION, encoding="utf-8")
    run(binary, *varnel_options, cwd=directory)
    places = {}
    for server in ["parent", "p1", "p2", "p3", "g1", "g2", "d1"]:
        for dn in names_of(directory / server):
            places.setdefault(dn, []).append("parent" if server == "parent" else f"ldap://{server}")
    expected = {f"read {respelled(dn)}": " ".join(servers) for dn, servers in places.items()}
    assert answers(expected, options=options) == expected
    return {url for servers in places.values() for url in servers}


NAMES = ["Rosa Grant", 'An "x"', "a\\,b", "M\u00fcller", "\u0416", "#1", "c+d", "e;f", "  blank", "g=h", "i\\\\"]


def entries(types):
    """Entries at, above, below and beside the base DNs, in the order of an export."""
    dns = ["dc=org", BASE, f"ou=Staff,{BASE}"]
    for unit in (f"ou=People,{BASE}", f"ou=Guests,ou=People,{BASE}", f"ou=Devices,{BASE}", f"ou=Staff,{BASE}"):
        dns.append(unit)
        for i, name in enumerate(NAMES + [f"user{i}" for i in range(40)]):
            value = name.strip().replace("+", "\\+").replace(";", "\\;").replace('"', '\\"')
            value = value.replace("#", "\\#", 1)
            dn = f"{types[i % len(types)]}={value},{unit}"
            dns += [dn, f"cn=deep,{dn}"]
    return dns


def ldif_of(dns):
    return "version: 1\n\n" + "".join(f"dn: {dn}\nobjectClass: top\n\n" for dn in dict.fromkeys(dns))


def spread_out(dn):
    """Another spelling of the same name."""
    return dn.replace(",ou=", " , OU = ").replace("dc=", "DC=").replace("cn=", "Cn =  ").replace("user", "USER")


def test_every_entry_of_a_split_is_found(binary, directory, answers):
    used = check_against_a_split(binary, directory, answers, ldif_of(entries(["cn", "uid"])), [], [], spread_out)
    assert len(used) == 7


def test_every_entry_of_a_split_by_a_schema_is_found(binary, directory, answers):
    instance = SOURCES / "examples/instance"
    schemas = ["-s", SOURCES / "schema/core.schema", "-s", instance / "staff.schema"]
    used = check_against_a_split(
        binary, directory, answers, ldif_of(entries(["cn", "commonName", "uid", "keyName"])), ["-I", instance], schemas,
        lambda dn: dn.replace("cn=", "2.5.4.3=").replace("uid=", "userid = ").replace(",ou=", ",organizationalUnitName="),
    )  # fmt: skip
    assert len(used) == 7


def test_example_of_the_readme(routers):
    folder = SOURCES / "examples/proxy"
    readme = (folder / "README.md").read_text(encoding="utf-8")
    command, requests, printed = re.search(
        r"```sh\n(.*?) <<'END'\n(.*?)END\n```\n\n```text\n(.*?)```", readme, re.DOTALL
    ).groups()
    assert command == "route varnelConfig"
    commands, environment = routers
    for router in commands:
        configuration = SOURCES / "examples/split/varnelConfig"
        assert run(*router, configuration, env=environment, input=requests) == printed


def test_problems_of_a_schema_are_told(routers, tmp_path):
    commands, environment = routers
    (tmp_path / "configuration").write_text(CONFIGURATION, encoding="utf-8")
    for command in commands:
        done = subprocess.run(
            [*command, "-s", tmp_path / "missing", tmp_path / "configuration"], env=environment,
            input=f"read {BASE}\n", capture_output=True, encoding="utf-8", timeout=60,
        )  # fmt: skip
        assert done.stderr.startswith("VNL033020W: Schema file ")
        assert done.stdout == "parent\n"
