"""docs/scale.md is true: the parts of an export, split by several jobs at a time, are together what one run
gives. Needs the package parallel, slapd for the loading, and openssh-server and openssh-client for the hosts."""

import getpass
import os
import pathlib
import random
import re
import shutil
import socket
import subprocess
import time

import memcheck
import pytest
from test_real_directory import find_program

SOURCES = pathlib.Path(os.environ["VARNEL_SOURCES"])
BINARY = pathlib.Path(os.environ["VARNEL_BINARY"]).resolve()
FILES = ["people1", "people2", "people3", "devices1", "devices2", "parent"]
PEOPLE = "ou=People,dc=example,dc=org"
PATIENCE = memcheck.patience(300)


def blocks(heading, page="docs/scale.md"):
    text = (SOURCES / page).read_text(encoding="utf-8").split(f"\n## {heading}\n")[1].split("\n## ")[0]
    return re.findall(r"^```sh\n(.*?)^```$", text, re.DOTALL | re.MULTILINE)


def run(script, directory, **variables):
    path = f"{BINARY.parent}:{os.environ['PATH']}:/usr/sbin:/sbin"
    return subprocess.run(
        ["bash", "-euo", "pipefail", "-c", script], cwd=directory, stdin=subprocess.DEVNULL, capture_output=True,
        encoding="utf-8", timeout=PATIENCE,
        env={**os.environ, "PATH": path, "HOME": str(directory), **variables},
    )  # fmt: skip


def run_well(script, directory, **variables):
    done = run(script, directory, **variables)
    assert done.returncode == 0, (done.stdout, done.stderr)
    return done


def invent_export():
    """One with all that a cut could mistake for the beginning of an entry, or lose one by."""
    chance = random.Random(8)
    text = "version: 1\n\n"
    text += "dn: dc=example,dc=org\nobjectClass: domain\ndc: example\n\n"
    for unit in ("People", "Devices"):
        text += f"dn: ou={unit},dc=example,dc=org\nobjectClass: organizationalUnit\nou: {unit}\n\n"
    for number in range(600):
        unit = chance.choice(["People", "People", "Devices", "Groups"])
        text += chance.choice(["", f"# entry {number}, of\n# dn: cn={number}\n", "\n", "#\n\n"])
        folded = chance.choice(["", "\n "])
        text += f"dn: cn=dn: {number},{folded}ou={unit},dc=example,dc=org\nobjectClass: person\ncn: dn: {number}\n"
        text += "seeAlso: cn=x\n"
        # Where two jobs cut, so that a cut at any line is one inside an entry.
        for line in range(400 if number == 300 else 1):
            text += f"memberdn: dn: {number}\ndescription: {line}\n dn: folded\n dn:: b\n"
        text += f"description: {'dn:' * chance.randrange(200)}\n\n"
    return text + "dn: cn=localhost\nobjectClass: device\ncn: localhost\n"


@pytest.fixture(params=["example", "invented", "invented, CR LF"])
def site(request, tmp_path):
    """A directory with an export, and the files of a single run in `single`."""
    shutil.copy(SOURCES / "examples/split/varnelConfig", tmp_path)
    if request.param == "example":
        shutil.copy(SOURCES / "examples/split/directory.ldif", tmp_path)
    else:
        text = invent_export()
        if "CR LF" in request.param:
            text = text.replace("\n", "\r\n")
        (tmp_path / "directory.ldif").write_bytes(text.encode())
    (tmp_path / "single").mkdir()
    for name in ("varnelConfig", "directory.ldif"):
        shutil.copy(tmp_path / name, tmp_path / "single")
    run_well("cd single && varnel", tmp_path)
    return tmp_path


def entries(file):
    return file.read_bytes().count(b"\ndn: ")


def expect_whole(site, *parts):
    joining = blocks("Load part by part")[1]
    run_well(joining, site)
    found = sorted(part.name for part in site.glob("part*"))
    assert len(found) in parts
    for part in found:
        assert sum(entries(site / part / f"{name}.ldif") for name in FILES) > 0, "a part without entries"
    for name in FILES:
        assert (site / "whole" / f"{name}.ldif").read_bytes() == (site / "single" / f"{name}.ldif").read_bytes()


def test_two_jobs_give_what_one_run_gives(site):
    (split,) = blocks("On many cores")
    run_well(split, site)
    expect_whole(site, 2)


def test_a_dozen_parts_stay_in_order(site):
    (split,) = blocks("On many cores")
    run_well(split.replace("--jobs 2", "--jobs 12"), site)
    expect_whole(site, *range(3, 13))


class Hosts:
    """host1 and host2: an sshd that listens on two ports of loopback, whose logins are those of the user at hand,
    with a home and a PATH of their own. `config` is a configuration of ssh that knows them and nothing else."""

    def __init__(self, directory):
        self.directory = directory
        self.config = directory / "config"
        self.log = directory / "log"
        (directory / "home").mkdir()
        self.process = None
        # sshd does not start as root without it; the service's own start makes it.
        self.separation = pathlib.Path("/run/sshd") if os.geteuid() == 0 else None
        self.made_separation = False
        for key in ("host_key", "user_key"):
            subprocess.run([find_program("ssh-keygen"), "-q", "-t", "ed25519", "-N", "", "-f", directory / key],
                           stdin=subprocess.DEVNULL, check=True)  # fmt: skip

    def start(self):
        for _ in range(5):
            if self.separation is not None and not self.separation.exists():
                self.separation.mkdir(mode=0o755)
                self.made_separation = True
            with socket.socket() as one, socket.socket() as other:
                for each in (one, other):
                    each.bind(("127.0.0.1", 0))
                self.ports = [each.getsockname()[1] for each in (one, other)]
            self.configure()
            with open(self.log, "wb") as log:
                self.process = subprocess.Popen(
                    [find_program("sshd"), "-D", "-e", "-f", self.directory / "sshd_config"],
                    stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                )  # fmt: skip
            if self.answers():
                return
            self.stop()
        pytest.fail("sshd does not start: " + self.log.read_text())

    def configure(self):
        here = self.directory
        (here / "sshd_config").write_text(
            "".join(f"ListenAddress 127.0.0.1:{port}\n" for port in self.ports)
            + f"HostKey {here}/host_key\nAuthorizedKeysFile {here}/user_key.pub\nPidFile none\n"
            "StrictModes no\nUsePAM no\nPasswordAuthentication no\nKbdInteractiveAuthentication no\n"
            "PermitRootLogin prohibit-password\nSubsystem sftp internal-sftp\nLogLevel VERBOSE\n"
            f'SetEnv HOME={here}/home "PATH={BINARY.parent}:/usr/local/bin:/usr/bin:/bin"\n'
        )
        key = (here / "host_key.pub").read_text()
        (here / "known_hosts").write_text("".join(f"[127.0.0.1]:{port} {key}" for port in self.ports))
        self.config.write_text(
            "".join(f"Host host{i}\nPort {port}\n" for i, port in enumerate(self.ports, 1))
            + f"Host *\nHostName 127.0.0.1\nUser {getpass.getuser()}\nIdentityFile {here}/user_key\n"
            f"IdentitiesOnly yes\nIdentityAgent none\nUserKnownHostsFile {here}/known_hosts\n"
            "GlobalKnownHostsFile /dev/null\nStrictHostKeyChecking yes\nBatchMode yes\n"
        )

    def answers(self):
        deadline = time.monotonic() + 60
        while time.monotonic() < deadline and self.process.poll() is None:
            if self.log.read_text().count("Server listening on") == len(self.ports):
                return True
            time.sleep(0.05)
        return False

    def stop(self):
        if self.process is not None:
            self.process.terminate()
            self.process.wait(PATIENCE)
        if self.made_separation:
            self.separation.rmdir()
            self.made_separation = False

    def connections(self):
        """How many each host had."""
        return [self.log.read_text().count(f" on 127.0.0.1 port {port} ") for port in self.ports]


@pytest.fixture
def hosts(tmp_path_factory):
    made = Hosts(tmp_path_factory.mktemp("hosts"))
    try:
        made.start()
        yield made
    finally:
        made.stop()


@pytest.mark.parametrize("site", ["invented"], indirect=True)
def test_two_hosts_give_what_one_run_gives(site, hosts):
    """Nothing of the single run can help: the hosts have their files elsewhere."""
    configure = blocks("On many cores")[0].split("\n")[0]
    prepare, split = blocks("On many machines")
    script = "\n".join(
        [
            f'ssh() {{ command ssh -F {hosts.config} "$@"; }}',
            f'scp() {{ command scp -q -F {hosts.config} "$@"; }}',
            configure,
            prepare,
            split.replace("parallel ", f"parallel --ssh 'ssh -F {hosts.config}' "),
        ]
    )
    done = run(script.replace("/var/tmp/split", f"{site}/far"), site)
    if "because account is locked" in hosts.log.read_text():
        pytest.skip("sshd lets nobody into the account that runs the tests, whatever the key")
    assert done.returncode == 0, (done.stdout, done.stderr)
    # Of each host mkdir, scp, and the part.
    assert all(count >= 3 for count in hosts.connections()), hosts.log.read_text()
    for part in (site / "far").glob("part*"):
        part.rename(site / part.name)
    expect_whole(site, 2)


def test_a_part_that_fails_fails_the_whole(site):
    (split,) = blocks("On many cores")
    with open(site / "directory.ldif", "ab") as export:
        export.write(b"\nno LDIF\n")
    done = run(split, site)
    assert done.returncode != 0
    assert "VNL032033E" in done.stderr


def test_parts_are_loaded_one_after_the_other(tmp_path):
    export = invent_export()
    # Only what the core schema of slapd has.
    export = re.sub(r"memberdn: .*\n", "", export).replace("person\n", "device\n")
    (tmp_path / "directory.ldif").write_text(export.replace("seeAlso: cn=x", "serialNumber: 1"))
    shutil.copy(SOURCES / "examples/split/varnelConfig", tmp_path)
    (tmp_path / "people1/data").mkdir(parents=True)
    (tmp_path / "people1/slapd.conf").write_text(
        "include /etc/ldap/schema/core.schema\nmodulepath /usr/lib/ldap\nmoduleload back_mdb\n"
        f'database mdb\nsuffix "{PEOPLE}"\ndirectory {tmp_path}/people1/data\n'
    )
    (split,) = blocks("On many cores")
    (functions,) = blocks("What each file holds", "docs/loading.md")
    load = blocks("Load part by part")[0]
    run_well(split + functions + load, tmp_path)
    loaded = run_well(f"slapcat -f people1/slapd.conf -b {PEOPLE}", tmp_path).stdout.count("\ndn:") + 1
    assert entries(tmp_path / "part0002/people1.ldif") > 10
    assert loaded == sum(entries(tmp_path / f"part000{i}/people1.ldif") for i in (1, 2)) - 1
