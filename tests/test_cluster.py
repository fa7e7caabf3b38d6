"""examples/cluster: the directory behind its front is one directory.

Starts the example as a user does, drives it over LDAP by several clients, stops a server of it and then all of
it, and finds nothing left. Needs slapd, ldap-utils and python3-ldap. VARNEL_LOOKUPS says how many entries are
looked up (default 1000).
"""

import base64
import collections
import concurrent.futures
import ctypes
import os
import pathlib
import random
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import time

import ldap
import memcheck
import pytest

pytestmark = pytest.mark.skipif(
    bool(os.environ.get("VARNEL_SANITIZE")), reason="Python cannot load the library of a build with sanitizers"
)

SOURCES = pathlib.Path(os.environ["VARNEL_SOURCES"])
BINARY = pathlib.Path(os.environ["VARNEL_BINARY"]).resolve()
LIBRARY = BINARY.parent / "libdirclient.so.1"
LOOKUPS = int(os.environ.get("VARNEL_LOOKUPS", "1000"))
CLIENTS = 4
PATIENCE = memcheck.patience(300)
SUFFIX = "dc=example,dc=org"
PEOPLE, DEVICES, SHARED = f"ou=People,{SUFFIX}", f"ou=Devices,{SUFFIX}", "cn=localhost"
ADMIN, ADMIN_PASSWORD = f"cn=admin,{SUFFIX}", "secret"

Cluster = collections.namedtuple("Cluster", "process directory url servers parent export")


def processes_of_session(session):
    """The processes that a program and its children are, however they were started; zombies apart."""
    found = []
    for stat in pathlib.Path("/proc").glob("[0-9]*/stat"):
        try:
            state, _, _, its_session = stat.read_text().rpartition(")")[2].split()[:4]
        except (FileNotFoundError, ProcessLookupError):
            continue
        if int(its_session) == session and state != "Z":
            found.append(int(stat.parent.name))
    return found


def wait_until(condition):
    deadline = time.monotonic() + PATIENCE
    while not condition():
        assert time.monotonic() < deadline
        time.sleep(0.05)


def connect(url, dn="", password=""):
    connection = ldap.initialize(url)
    connection.set_option(ldap.OPT_NETWORK_TIMEOUT, PATIENCE)
    connection.set_option(ldap.OPT_TIMEOUT, PATIENCE)
    connection.set_option(ldap.OPT_REFERRALS, 0)
    connection.simple_bind_s(dn, password)
    return connection


def read_ldif(text):
    """DN to its attributes, each a type with the set of its values."""
    entries = {}
    for record in text.replace("\n ", "").split("\n\n"):
        lines = [line for line in record.split("\n") if line and not line.startswith(("#", "version"))]
        pairs = []
        for line in lines:
            kind, mark, value = re.fullmatch(r"([^:]+)(::?) ?(.*)", line).groups()
            raw = base64.b64decode(value) if mark == "::" else value.encode()
            pairs.append((kind, raw))
        if pairs:
            assert pairs[0][0] == "dn"
            attributes = collections.defaultdict(set)
            for kind, value in pairs[1:]:
                attributes[kind].add(value)
            name = normal(pairs[0][1].decode())
            assert name not in entries, f"{name} twice"
            entries[name] = dict(attributes)
    return entries


def normal(dn):
    """One spelling of each name of the export."""
    return dn.replace("\\,", "\\2C")


@pytest.fixture(scope="module")
def cluster():
    assert LIBRARY.exists(), LIBRARY
    # The path of a socket has to be short.
    place = pathlib.Path(tempfile.mkdtemp(prefix="varnel-test.", dir="/tmp"))
    log = pathlib.Path(f"{place}.log")
    with open(log, "wb") as out:
        process = subprocess.Popen(
            [SOURCES / "examples/cluster/run.sh"], stdin=subprocess.DEVNULL, stdout=out, stderr=out,
            start_new_session=True, cwd="/",
            env={**os.environ, "TMPDIR": str(place), "VARNEL": str(BINARY), "LIBDIRCLIENT": str(LIBRARY)},
        )  # fmt: skip
    try:
        wait_until(lambda: b"Running until" in log.read_bytes() or process.poll() is not None)
        assert process.poll() is None, log.read_text()
        (directory,) = place.iterdir()
        servers = [(directory / f"server{i}/url").read_text().strip() for i in (1, 2, 3)]
        url = (directory / "front/url").read_text().strip()
        assert url in log.read_text()
        export = read_ldif((directory / "directory.ldif").read_text())
        yield Cluster(process, directory, url, servers, (directory / "parent/url").read_text().strip(), export)
        # Stopped as by Control-C, it leaves nothing.
        router_log = (directory / "router.log").read_text()
        process.send_signal(signal.SIGTERM)
        assert process.wait(PATIENCE) == 0
        wait_until(lambda: processes_of_session(process.pid) == [])
        assert list(place.iterdir()) == []
        assert router_log == ""
    finally:
        for pid in processes_of_session(process.pid):
            os.kill(pid, signal.SIGKILL)
        process.wait()
        shutil.rmtree(place)
        log.unlink()


@pytest.fixture
def front(cluster):
    return connect(cluster.url)


@pytest.fixture
def admin(cluster):
    return connect(cluster.url, ADMIN, ADMIN_PASSWORD)


@pytest.fixture(scope="module")
def hash_of():
    library = ctypes.CDLL(str(LIBRARY))
    return lambda dn, base, count: library.get_hash_value_from_dn(dn.encode(), base.encode(), count)


def base_of(dn):
    return next((base for base in (PEOPLE, DEVICES, SHARED) if dn == base or dn.endswith("," + base)), None)


def below(export, base):
    return [dn for dn in export if dn.endswith("," + base)]


def who_has(cluster, dn):
    """The numbers of the servers that have an entry of this name, by asking each."""
    found = []
    for number, url in enumerate(cluster.servers, 1):
        try:
            connect(url).search_s(dn, ldap.SCOPE_BASE, attrlist=["1.1"])
            found.append(number)
        except ldap.NO_SUCH_OBJECT:
            pass
    return found


def read(connection, dn):
    ((_, attributes),) = connection.search_s(dn, ldap.SCOPE_BASE)
    return {kind: set(values) for kind, values in attributes.items()}


def found(connection, base, scope, filter="(objectClass=*)"):
    names = [dn for dn, _ in connection.search_s(base, scope, filter, ["1.1"])]
    assert len(names) == len(set(names))
    return set(names)


def visible(attributes):
    """What an anonymous client sees."""
    return {kind: values for kind, values in attributes.items() if kind != "userPassword"}


def test_the_export_is_spread_over_all_servers(cluster):
    """Else the tests that follow would show nothing."""
    assert len(cluster.export) == 337
    shares = collections.Counter(who_has(cluster, dn)[0] for dn in below(cluster.export, PEOPLE)[:60])
    assert set(shares) == {1, 2, 3}


def test_ldapsearch_at_the_front_finds_every_entry(cluster):
    text = ""
    for base in (SUFFIX, SHARED):
        done = subprocess.run(
            ["ldapsearch", "-x", "-LLL", "-H", cluster.url, "-b", base],
            capture_output=True, encoding="utf-8", timeout=PATIENCE,
        )  # fmt: skip
        assert done.returncode == 0, done.stderr
        text += done.stdout
    entries = read_ldif(text)
    # The administrator's entry is the example's own.
    assert entries.pop(ADMIN)
    assert entries == {dn: visible(attributes) for dn, attributes in cluster.export.items()}


def test_searches_by_every_scope(cluster, front):
    people = below(cluster.export, PEOPLE)
    children = {dn for dn in people if dn.count(",") == PEOPLE.count(",") + 1}
    assert found(front, PEOPLE, ldap.SCOPE_BASE) == {PEOPLE}
    assert found(front, PEOPLE, ldap.SCOPE_ONELEVEL) == children
    assert found(front, PEOPLE, ldap.SCOPE_SUBTREE) == {PEOPLE, *people}
    assert found(front, SUFFIX, ldap.SCOPE_BASE) == {SUFFIX}
    assert found(front, SUFFIX, ldap.SCOPE_ONELEVEL) == {PEOPLE, DEVICES, f"ou=Groups,{SUFFIX}", ADMIN}
    parent = next(dn for dn in people if f"cn=telephone,{dn}" in cluster.export)
    assert found(front, parent, ldap.SCOPE_ONELEVEL) == {f"cn=telephone,{parent}"}
    assert found(front, parent, ldap.SCOPE_SUBTREE) == {parent, f"cn=telephone,{parent}"}
    assert len(found(front, SUFFIX, ldap.SCOPE_SUBTREE, "(uid=user1*)")) == 111
    assert found(front, PEOPLE, ldap.SCOPE_SUBTREE, "(cn=nobody)") == set()
    with pytest.raises(ldap.NO_SUCH_OBJECT):
        found(front, f"cn=nobody,{PEOPLE}", ldap.SCOPE_BASE)


def test_a_size_limit_counts_the_entries_of_all_servers(cluster, front):
    message = front.search_ext(PEOPLE, ldap.SCOPE_SUBTREE, sizelimit=250)
    entries = []
    with pytest.raises(ldap.SIZELIMIT_EXCEEDED):
        while True:
            entries += front.result(message, all=0)[1]
    assert len(entries) == 250


def respell(dn, chance):
    return chance.choice([dn, dn.upper(), dn.lower(), dn.replace(",", " , ").replace("=", " = ")])


def test_many_look_ups_by_several_clients(cluster):
    names = [dn for dn in cluster.export if "\\" not in dn]

    def client(number):
        chance = random.Random(number)
        connection = connect(cluster.url)
        wrong = []
        for _ in range(LOOKUPS // CLIENTS):
            dn = chance.choice(names)
            if read(connection, respell(dn, chance)) != visible(cluster.export[dn]):
                wrong.append(dn)
        return wrong

    with concurrent.futures.ThreadPoolExecutor(CLIENTS) as clients:
        assert list(clients.map(client, range(CLIENTS))) == [[]] * CLIENTS


def test_binds_and_compares_are_answered_by_the_server_that_holds_the_entry(cluster, front):
    asked = set()
    for dn in [dn for dn in below(cluster.export, PEOPLE) if "uid" in cluster.export[dn]][:20]:
        (password,) = cluster.export[dn]["userPassword"]
        assert connect(cluster.url, dn, password.decode()).whoami_s() == f"dn:{dn}"
        with pytest.raises(ldap.INVALID_CREDENTIALS):
            connect(cluster.url, dn, password.decode() + "x")
        (uid,) = cluster.export[dn]["uid"]
        assert front.compare_s(dn, "uid", uid) is True
        assert front.compare_s(dn, "uid", uid + b"x") is False
        asked.update(who_has(cluster, dn))
    assert asked == {1, 2, 3}


def test_a_new_entry_lands_at_the_server_that_the_hash_names(cluster, admin, front, hash_of):
    for base, count in ((PEOPLE, 3), (DEVICES, 2)):
        landed = set()
        for number in range(20):
            dn = f"cn=new {number},{base}"
            admin.add_s(dn, [("objectClass", [b"device"]), ("cn", [f"new {number}".encode()])])
            below_it = f"cn=part,{dn}"
            admin.add_s(below_it, [("objectClass", [b"device"]), ("cn", [b"part"])])
            server = hash_of(dn, base, count)
            assert who_has(cluster, dn) == who_has(cluster, below_it) == [server]
            assert read(front, dn) == {"objectClass": {b"device"}, "cn": {f"new {number}".encode()}}
            with pytest.raises(ldap.ALREADY_EXISTS):
                admin.add_s(dn.upper(), [("objectClass", [b"device"]), ("cn", [b"x"])])
            landed.add(server)
        assert landed == set(range(1, count + 1))
        for number in range(20):
            dn = f"cn=new {number},{base}"
            with pytest.raises(ldap.NOT_ALLOWED_ON_NONLEAF):
                admin.delete_s(dn)
            admin.delete_s(f"cn=part,{dn}")
            admin.delete_s(dn)
            assert who_has(cluster, dn) == []


def test_changes_reach_the_entry_byte_by_byte(cluster, admin, front):
    hard = [b"two\n\nlines\nuid: x", b" leading", "Å".encode(), b": colon", b"-", b"dn: x"]
    for dn in below(cluster.export, DEVICES)[:10]:
        before = read(front, dn)
        admin.modify_s(dn, [(ldap.MOD_ADD, "description", hard), (ldap.MOD_REPLACE, "serialNumber", [b"5"])])
        assert read(front, dn) == {**before, "description": set(hard), "serialNumber": {b"5"}}
        admin.modify_s(dn, [(ldap.MOD_DELETE, "description", hard[:5]), (ldap.MOD_DELETE, "serialNumber", None)])
        assert read(front, dn) == {**before, "description": {hard[5]}}
        admin.modify_s(dn, [(ldap.MOD_REPLACE, "description", None)])
        assert read(front, dn) == before
    with pytest.raises(ldap.NO_SUCH_OBJECT):
        admin.modify_s(f"cn=nobody,{PEOPLE}", [(ldap.MOD_ADD, "description", [b"x"])])


def test_a_change_of_what_several_servers_hold_reaches_them_all(cluster, admin):
    for dn, servers in ((PEOPLE, [1, 2, 3]), (DEVICES, [1, 2]), (SHARED, [1, 2, 3])):
        admin.modify_s(dn, [(ldap.MOD_ADD, "description", [b"for all"])])
        for number in servers:
            assert read(connect(cluster.servers[number - 1]), dn)["description"] == {b"for all"}
        admin.modify_s(dn, [(ldap.MOD_DELETE, "description", None)])
        for number in servers:
            assert "description" not in read(connect(cluster.servers[number - 1]), dn)


def test_a_rename_to_another_server_is_refused(cluster, admin, hash_of):
    for number in range(20):
        dn = f"cn=gauge {number},{DEVICES}"
        new = f"cn=meter {number}"
        if hash_of(dn, DEVICES, 2) == hash_of(f"{new},{DEVICES}", DEVICES, 2):
            admin.rename_s(dn, new)
            assert who_has(cluster, f"{new},{DEVICES}") == [hash_of(dn, DEVICES, 2)]
            admin.rename_s(f"{new},{DEVICES}", f"cn=gauge {number}")
        else:
            with pytest.raises(ldap.AFFECTS_MULTIPLE_DSAS):
                admin.rename_s(dn, new)


def test_a_password_may_have_any_bytes(cluster, admin):
    dn = below(cluster.export, PEOPLE)[0]
    for password in (b"two\n\nlines", b"\n", b"ends so\n\n", "ü: ".encode()):
        admin.modify_s(dn, [(ldap.MOD_ADD, "userPassword", [password])])
        assert connect(cluster.url, dn, password).whoami_s() == f"dn:{dn}"
        with pytest.raises(ldap.INVALID_CREDENTIALS):
            connect(cluster.url, dn, password + b"\n")
        admin.modify_s(dn, [(ldap.MOD_DELETE, "userPassword", [password])])


def test_a_request_may_come_in_pieces(cluster):
    """A blank line ends a request, but not one in a password."""
    dn = below(cluster.export, PEOPLE)[0]
    (password,) = cluster.export[dn]["userPassword"]
    for tail, code in ((b"", b"0"), (b"\n\nx", b"49")):
        cred = password + tail
        request = b"BIND\nmsgid: 1\ndn: %s\nmethod: 128\ncredlen: %d\ncred: %s\n\n" % (
            dn.encode(), len(cred), cred,
        )  # fmt: skip
        with socket.socket(socket.AF_UNIX) as router:
            router.settimeout(PATIENCE)
            router.connect(str(cluster.directory / "router.socket"))
            for piece in re.findall(rb".{1,100}?(?:\n\n|$)|.{1,100}", request, re.DOTALL):
                router.sendall(piece)
                time.sleep(0.1)
            answer = router.makefile("rb").read()
        assert answer.startswith(b"RESULT\ncode: %s\n" % code)


def test_the_servers_decide_what_a_client_may_do(cluster, front):
    dn, other = below(cluster.export, PEOPLE)[0], below(cluster.export, DEVICES)[0]
    (password,) = cluster.export[dn]["userPassword"]
    client = connect(cluster.url, dn, password.decode())
    with pytest.raises(ldap.INSUFFICIENT_ACCESS):
        client.delete_s(other)
    with pytest.raises(ldap.STRONG_AUTH_REQUIRED):
        front.delete_s(other)
    # Neither is a password found by a filter.
    assert found(front, PEOPLE, ldap.SCOPE_SUBTREE, f"(userPassword={password.decode()})") == set()


def test_a_stopped_server_gives_errors_for_its_share_alone(cluster, hash_of):
    """Last of all: the server stays stopped. It is the one that is asked first for what several have."""
    pid = int((cluster.directory / "server1/slapd.pid").read_text())
    os.kill(pid, signal.SIGKILL)
    wait_until(lambda: pid not in processes_of_session(cluster.process.pid))
    connection = connect(cluster.url)
    lost = set()
    for base, count in ((PEOPLE, 3), (DEVICES, 2)):
        lost.update(dn for dn in below(cluster.export, base) if hash_of(dn, base, count) == 1)
    assert 80 < len(lost) < 200
    unavailable = set()
    for dn, attributes in cluster.export.items():
        try:
            assert read(connection, dn) == visible(attributes)
        except ldap.UNAVAILABLE:
            unavailable.add(dn)
    assert unavailable == lost
    # What several servers hold is with another one too.
    assert connection.compare_s(PEOPLE, "ou", b"People") is True
    # A search over all the servers brings what the others have, and then the error.
    message = connection.search(SUFFIX, ldap.SCOPE_SUBTREE, attrlist=["1.1"])
    entries = []
    with pytest.raises(ldap.UNAVAILABLE):
        while True:
            entries += [dn for dn, _ in connection.result(message, all=0)[1]]
    shared = {dn for dn in cluster.export if base_of(dn) == SHARED}
    assert sorted(entries) == sorted({*cluster.export, ADMIN} - lost - shared)
