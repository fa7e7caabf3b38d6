"""varnelctl probe: the running servers against the input.

Three slapd on loopback hold what a split gave them, but for one entry that was removed and one that
was put on another server; one of them is stopped for some of the tests. Needs slapd and ldap-utils,
as test_real_directory.py does.
"""

import dataclasses
import errno
import io
import os
import shutil
import socket
import subprocess
import tempfile
import threading
import pathlib

import fault_runs
import pytest
import verified_split
from test_real_directory import Slapd, find_program, run_well
from verified_split import GOOD, MISUSE, SYSTEM_FAILED, WRONG, control, counts, result_of

from varnel_run import HANG_GUARD_SECONDS

SUFFIX = "dc=example,dc=com"
BASE = "ou=People," + SUFFIX
SERVERS = 3
PEOPLE = 90


def person(number):
    return f"dn: uid=user{number},{BASE}\nobjectClass: account\nuid: user{number}\n"


INPUT = "\n".join(
    [
        f"dn: {SUFFIX}\nobjectClass: domain\ndc: example\n",
        f"dn: {BASE}\nobjectClass: organizationalUnit\nou: People\n",
        f"dn: ou=Other,{SUFFIX}\nobjectClass: organizationalUnit\nou: Other\n",
        *map(person, range(PEOPLE)),
    ]
)


@dataclasses.dataclass
class Place:
    """What verified_split works in."""

    path: pathlib.Path

    def configure(self, urls):
        lines = ["actiontype: splitonly", "inputfile: in.ldif", "logfile: run.log",
                 "defaultoutputfile: rest.ldif", "splitby: rdnhash", "basedn: " + BASE]  # fmt: skip
        for number, url in enumerate(urls):
            lines += [f"url: {url}", f"file: s{number}.ldif"]
        (self.path / "varnelConfig").write_text("\n".join(lines) + "\n")


@pytest.fixture(scope="module")
def directory():
    made = pathlib.Path(tempfile.mkdtemp(prefix="varnel-probe."))
    (made / "site").mkdir()
    yield made / "site"
    shutil.rmtree(made)


def make_certificate(directory, name):
    """A certificate for loopback that nobody trusts by itself."""
    key, certificate = directory / f"{name}.key", directory / f"{name}.pem"
    run_well("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "30", "-keyout", key,
             "-out", certificate, "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1")  # fmt: skip
    return key, certificate


def add_tls(server, directory):
    key, certificate = make_certificate(directory, "server")
    lines = f"TLSCertificateFile {certificate}\nTLSCertificateKeyFile {key}\n"
    server.config.write_text(server.config.read_text().replace("database mdb\n", lines + "database mdb\n", 1))
    return certificate


@pytest.fixture(scope="module")
def site(directory):
    """The split, and its servers as they should be."""
    place = Place(directory)
    place.configure([f"ldap://server{number}" for number in range(SERVERS)])
    (directory / "in.ldif").write_text(INPUT)
    run_well(os.path.realpath(os.environ["VARNEL_BINARY"]), cwd=directory)
    place.servers = []
    place.names = []
    try:
        for number in range(SERVERS):
            server = Slapd(directory / f"slapd{number}", BASE)
            place.servers.append(server)
            if number == 0:
                place.certificate = add_tls(server, directory)
            done = server.load(directory / f"s{number}.ldif", "-j", "3")
            assert done.returncode == 0, done.stderr
            text = (directory / f"s{number}.ldif").read_text()
            place.names.append([line[4:] for line in text.splitlines() if line.startswith("dn: uid=")])
        for server in place.servers:
            server.start()
        place.configure([server.url for server in place.servers])
        (directory / "password").write_text(Slapd.PASSWORD + "\n")
        yield place
    finally:
        for server in place.servers:
            server.stop()


@pytest.fixture
def damage(site):
    """Removes an entry of the first server; what was removed comes back."""
    name = site.names[0][2]
    change(site.servers[0], f"dn: {name}\nchangetype: delete\n")
    yield name
    change(site.servers[0], add_request(name))


def add_request(name):
    uid = name.split(",")[0][4:]
    return f"dn: {name}\nchangetype: add\nobjectClass: account\nuid: {uid}\n"


def change(server, text):
    done = subprocess.run(
        [find_program("ldapmodify"), *server.login()], input=text.encode(), capture_output=True, timeout=120
    )
    assert done.returncode == 0, done


def differences(result):
    return [(each["kind"], each["dn"], each["url"], each["instead"]) for each in result["differences"]]


def test_all_is_where_it_should_be(site):
    result = result_of(site, "probe", "--sample", "all", "--others", status=GOOD)
    assert counts(result) == {"found": PEOPLE + 1}
    assert (result["entries"], result["sampled"], result["without_server"]) == (PEOPLE + 1, PEOPLE + 1, 2)
    assert result["percent"]["found"] == 100
    assert sum(each["asked"] for each in result["servers"]) == 3 * PEOPLE + 3
    assert [each["here"] for each in result["servers"]] == [len(names) + 1 for names in site.names]
    assert differences(result) == []


def test_without_others_only_the_own_server_is_asked(site):
    result = result_of(site, "probe", "--sample", "all", status=GOOD)
    assert [each["asked"] for each in result["servers"]] == [len(names) + 1 for names in site.names]


def test_the_text(site):
    done = control(site, "probe", "--sample", "all")
    lines = done.stdout.decode().splitlines()
    assert done.returncode == GOOD and done.stderr == b""
    assert lines[-2] == (
        f"{PEOPLE + 1} of {PEOPLE + 1} entries: {PEOPLE + 1} found (100.00 %), 0 missing (0.00 %), "
        "0 misplaced (0.00 %), 0 unreachable (0.00 %); 2 entries more have no server"
    )
    assert lines[-1].endswith(" questions a second")


def test_a_sample_is_drawn_and_has_the_base_entries(site):
    result = result_of(site, "probe", "--sample", "10", status=GOOD)
    assert (result["entries"], result["sampled"]) == (PEOPLE + 1, 11)
    result = result_of(site, "probe", "--sample", "0", status=GOOD)
    assert result["sampled"] == 1
    assert result_of(site, "probe", status=GOOD)["sampled"] == PEOPLE + 1


def test_samples_differ_and_reach_far(site, damage):
    """Of 40 samples of a third each one that has the entry finds it missing."""
    seen = [counts(verified_split.json.loads(control(site, "probe", "--sample", "30", "--json").stdout))
            for _ in range(40)]  # fmt: skip
    assert {"found": 31} in seen and {"found": 30, "missing": 1} in seen


def test_a_removed_entry_is_missing(site, damage):
    result = result_of(site, "probe", "--sample", "all", status=WRONG)
    assert counts(result) == {"found": PEOPLE, "missing": 1}
    assert differences(result) == [("missing", damage, site.servers[0].url, "")]
    line = INPUT.splitlines().index("dn: " + damage) + 1
    assert result["differences"][0]["input_line"] == line


def test_an_entry_on_another_server_is_misplaced(site, damage):
    change(site.servers[2], add_request(damage))
    try:
        result = result_of(site, "probe", "--sample", "all", status=WRONG)
        assert counts(result) == {"found": PEOPLE, "misplaced": 1}
        assert differences(result) == [("misplaced", damage, site.servers[0].url, site.servers[2].url)]
        text = control(site, "probe", "--sample", "all").stdout.decode()
        assert text.startswith(f"{site.servers[0].url}: misplaced, {damage}, line ")
        assert f"it is at {site.servers[2].url}\n" in text
    finally:
        change(site.servers[2], f"dn: {damage}\nchangetype: delete\n")


def test_an_entry_on_two_servers_shows_with_others(site):
    name = site.names[0][3]
    change(site.servers[1], add_request(name))
    try:
        result_of(site, "probe", "--sample", "all", status=GOOD)
        result = result_of(site, "probe", "--sample", "all", "--others", status=WRONG)
        assert differences(result) == [("misplaced", name, site.servers[0].url, site.servers[1].url)]
    finally:
        change(site.servers[1], f"dn: {name}\nchangetype: delete\n")


@pytest.fixture
def silent():
    """A port where connections are taken and nobody answers."""
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        listener.listen(5)
        yield f"ldap://127.0.0.1:{listener.getsockname()[1]}"


@pytest.fixture
def closed():
    """A port where nobody listens, and that nobody else gets."""
    with socket.socket() as unused:
        unused.bind(("127.0.0.1", 0))
        yield f"ldap://127.0.0.1:{unused.getsockname()[1]}"


@pytest.mark.parametrize("kind", ["silent", "closed"])
def test_a_server_that_is_down_counts_its_share(site, damage, kind, request):
    urls = [server.url for server in site.servers]
    down = request.getfixturevalue(kind)
    site.configure([urls[0], down, urls[2]])
    try:
        result = result_of(site, "probe", "--sample", "all", "--timeout", "2", status=WRONG)
        # The base entry is at the other two, but not to be seen at this one.
        share = len(site.names[1]) + 1
        assert counts(result) == {"found": PEOPLE - share, "missing": 1, "unreachable": share}
        assert [bool(each["failure"]) for each in result["servers"]] == [False, True, False]
        assert {each[0] for each in differences(result)} <= {"missing", "unreachable"}
    finally:
        site.configure(urls)


def test_a_server_that_stops_counts_its_share(site):
    site.servers[1].stop()
    try:
        result = result_of(site, "probe", "--sample", "all", status=WRONG)
        share = len(site.names[1]) + 1
        assert counts(result) == {"found": PEOPLE + 1 - share, "unreachable": share}
    finally:
        # On another port it is another server to the configuration.
        site.servers[1].start()
        site.configure([server.url for server in site.servers])


def taken(stream):
    """The next element of a BER encoding: its tag, and its content."""
    tag, size = stream.read(2)
    if size > 127:
        size = int.from_bytes(stream.read(size - 128), "big")
    return tag, stream.read(size)


def element(tag, content):
    return bytes([tag, len(content)]) + content


class ScriptedServer:
    """Lets everybody bind, and answers each search with this result code; silence and breaking off in
    place of an answer are below."""

    SILENCE, BREAKING_OFF = -1, -2
    BIND, BOUND, SEARCH, SEARCHED = 0x60, 0x61, 0x63, 0x65

    def __init__(self, code):
        self.code = code
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.url = f"ldap://127.0.0.1:{self.listener.getsockname()[1]}"
        self.thread = threading.Thread(target=self.serve)
        self.thread.start()

    def serve(self):
        connection, _ = self.listener.accept()
        with connection, connection.makefile("rb") as stream:
            while stream.peek(1):
                _, message = taken(stream)
                request = io.BytesIO(message)
                _, number = taken(request)
                operation = request.read(1)[0]
                if operation == self.BIND:
                    connection.sendall(self.answer(number, self.BOUND, 0))
                elif operation == self.SEARCH and self.code == self.BREAKING_OFF:
                    # It goes on reading, so that it is an answer that fails and no question.
                    connection.shutdown(socket.SHUT_WR)
                    self.code = self.SILENCE
                elif operation == self.SEARCH and self.code != self.SILENCE:
                    connection.sendall(self.answer(number, self.SEARCHED, self.code))

    @staticmethod
    def answer(number, operation, code):
        result = element(0x0A, bytes([code])) + 2 * element(0x04, b"")
        return element(0x30, element(0x02, number) + element(operation, result))

    def stop(self):
        self.thread.join(HANG_GUARD_SECONDS)
        self.listener.close()


@pytest.mark.parametrize("code, kind, failure", [
    (32, "missing", ""),  # noSuchObject
    (34, "missing", ""),  # invalidDNSyntax
    (50, "unreachable", "Insufficient access"),  # insufficientAccessRights
    (ScriptedServer.SILENCE, "unreachable", "no answer in 2 seconds"),
    (ScriptedServer.BREAKING_OFF, "unreachable", "the connection broke off"),
])  # fmt: skip
def test_a_server_that_answers_no_search_counts_its_share(site, code, kind, failure):
    urls = [server.url for server in site.servers]
    scripted = ScriptedServer(code)
    site.configure([urls[0], scripted.url, urls[2]])
    try:
        result = result_of(site, "probe", "--sample", "all", "--timeout", "2", status=WRONG)
    finally:
        site.configure(urls)
    scripted.stop()
    share = len(site.names[1]) + 1
    assert counts(result) == {"found": PEOPLE + 1 - share, kind: share}
    assert [each["failure"] for each in result["servers"]] == ["", failure, ""]
    assert differences(result)[0][2] == scripted.url


def test_binding_with_a_password(site):
    login = ["-D", site.servers[0].root, "-y", "password"]
    assert counts(result_of(site, "probe", *login, status=GOOD)) == {"found": PEOPLE + 1}
    (site.path / "wrong").write_text(Slapd.PASSWORD + "\n\n")
    result = result_of(site, "probe", "-D", site.servers[0].root, "-y", "wrong", status=WRONG)
    assert counts(result) == {"unreachable": PEOPLE + 1}
    assert "nvalid credentials" in result["servers"][0]["failure"]
    done = control(site, "probe", "-D", "cn=x", "-y", "nowhere")
    assert done.returncode == SYSTEM_FAILED and b"nowhere: No such file" in done.stderr
    done = control(site, "probe", "-D", "cn=x", "-y", ".")
    assert (done.returncode, done.stderr) == (SYSTEM_FAILED, b"varnelctl: .: Is a directory\n")
    (site.path / "from-elsewhere").write_bytes(Slapd.PASSWORD.encode() + b"\r\n")
    login[-1] = "from-elsewhere"
    assert counts(result_of(site, "probe", *login, status=GOOD)) == {"found": PEOPLE + 1}


def test_starttls(site):
    trusted = ["--starttls", "--ca", str(site.certificate)]
    site.configure([site.servers[0].url] * SERVERS)
    try:
        # The one server now has the names of all three places in the list.
        result = result_of(site, "probe", "--sample", "all", *trusted, status=WRONG)
        assert len(result["servers"]) == 1
        assert counts(result) == {"found": len(site.names[0]) + 1, "missing": PEOPLE - len(site.names[0])}
        environment = {**os.environ, "LDAPTLS_REQCERT": "demand"}
        done = control(site, "probe", "--starttls", env=environment)
        assert done.returncode == WRONG and b"91 unreachable" in done.stdout
    finally:
        site.configure([server.url for server in site.servers])
    result = result_of(site, "probe", "--sample", "all", *trusted, status=WRONG)
    assert counts(result) == {"found": len(site.names[0]), "unreachable": PEOPLE + 1 - len(site.names[0])}


def test_a_certificate_that_cannot_be_read(site):
    result = result_of(site, "probe", "--starttls", "--ca", "nowhere", status=WRONG)
    assert counts(result) == {"unreachable": PEOPLE + 1}
    assert {each["failure"] for each in result["servers"]} == {"Local error"}


@pytest.mark.parametrize("more", [(), ("--starttls",)])
def test_ldaps(site, more):
    """There StartTLS has nothing to begin."""
    site.configure([site.servers[0].secure_url] * SERVERS)
    try:
        arguments = ["--sample", "all", *more]
        result = result_of(site, "probe", *arguments, "--ca", str(site.certificate), status=WRONG)
        assert [each["url"] for each in result["servers"]] == [site.servers[0].secure_url]
        assert counts(result) == {"found": len(site.names[0]) + 1, "missing": PEOPLE - len(site.names[0])}
    finally:
        site.configure([server.url for server in site.servers])


def test_one_server_by_ldaps_and_the_others_not(site):
    urls = [server.url for server in site.servers]
    site.configure([site.servers[0].secure_url, *urls[1:]])
    try:
        result = result_of(site, "probe", "--sample", "all", "--others", "--ca", str(site.certificate), status=GOOD)
        assert counts(result) == {"found": PEOPLE + 1}
    finally:
        site.configure(urls)


def test_a_certificate_that_is_not_trusted(site):
    """That of another server is no reason to trust this one, whatever the system trusts."""
    _, other = make_certificate(site.path, "other")
    urls = [server.url for server in site.servers]
    site.configure([site.servers[0].secure_url, *urls[1:]])
    try:
        environment = {**os.environ, "LDAPTLS_REQCERT": "never", "LDAPTLS_CACERT": str(site.certificate)}
        done = control(site, "probe", "--sample", "all", "--json", "--ca", str(other), env=environment)
        result = verified_split.json.loads(done.stdout)
        share = len(site.names[0]) + 1
        assert done.returncode == WRONG
        assert counts(result) == {"found": PEOPLE + 1 - share, "unreachable": share}
        assert [bool(each["failure"]) for each in result["servers"]] == [True, False, False]
    finally:
        site.configure(urls)


class Probed:
    """What fault_runs works with."""

    def __init__(self, site):
        self.path = site.path
        self.binary = os.path.realpath(os.environ["VARNELCTL_BINARY"])


def test_each_call_on_its_files_fails(site):
    """The answer is the right one, or the status says that there is none."""
    calls = ("openat", "read", "newfstatat", "fstat", "statx", "getcwd", "fcntl", "write", "writev")
    arguments = ["probe", "--sample", "all", "--json", "-D", site.servers[0].root, "-y", "password"]
    program = Probed(site)
    good = fault_runs.run_with_fault(program, fault_runs.GOOD_RUN, *arguments, calls=calls)
    assert good.run.status == GOOD
    wanted = counts(verified_split.json.loads(good.run.stdout))
    names = ["in.ldif", "password", "varnelConfig", "1", ""]
    wrong, failed = [], set()
    for index in range(fault_runs.first_call_of_main(good.calls), len(good.calls)):
        call = good.calls[index]
        name = call.path.rpartition("/")[2]
        of_it = call.path.startswith(str(site.path)) or name == call.path or call.path.startswith("./")
        if name not in names or not of_it or not fault_runs.is_of_the_program(program, call):
            continue
        fault = fault_runs.fault_at("fail", good.calls, index, errno.EIO)
        run = fault_runs.run_with_fault(program, fault, *arguments, calls=calls).run
        if run.status == GOOD:
            if counts(verified_split.json.loads(run.stdout)) != wanted:
                wrong.append((call, run))
        elif run.status not in (WRONG, SYSTEM_FAILED) or run.stderr == b"":
            wrong.append((call, run))
        elif call.name in ("read", "write"):
            failed.add((name, run.status))
    assert wrong == []
    assert failed == {("in.ldif", SYSTEM_FAILED), ("password", SYSTEM_FAILED), ("varnelConfig", WRONG),
                      ("1", SYSTEM_FAILED)}  # fmt: skip


def test_an_unusable_line_of_the_input(site):
    try:
        (site.path / "in.ldif").write_text(INPUT + "no LDIF\n")
        result = result_of(site, "probe", status=WRONG)
        assert counts(result) == {"found": PEOPLE + 1} and result["unusable_lines"] == 1
        (site.path / "in.ldif").write_text(INPUT + "no LDIF\n" * 30)
        done = control(site, "probe")
        assert (done.returncode, done.stderr.count(b"no LDIF line: a split stops here\n")) == (WRONG, 20)
        assert result_of(site, "probe", status=WRONG)["unusable_lines"] == 30
        (site.path / "in.ldif").write_text("")
        done = control(site, "probe")
        assert (done.returncode, done.stderr.splitlines()[-1].split(b":", 1)[1]) == (
            WRONG, b"1: the input is empty: a split stops here"
        )  # fmt: skip
    finally:
        (site.path / "in.ldif").write_text(INPUT)


def test_an_unusable_configuration(site):
    urls = [server.url for server in site.servers]
    site.configure(["no url", *urls])
    try:
        done = control(site, "probe")
    finally:
        site.configure(urls)
    assert (done.returncode, done.stdout) == (WRONG, b"")
    assert b"varnelConfig:7: error: " in done.stderr


def test_misuse(site):
    for arguments in (["--sample", "x"], ["--sample", "-1"], ["-D", "cn=x"], ["-y", "password"], ["--timeout", "0"],
                      ["more"]):  # fmt: skip
        assert control(site, "probe", *arguments).returncode == MISUSE, arguments
    assert control(site, "probe", "--help").returncode == GOOD
