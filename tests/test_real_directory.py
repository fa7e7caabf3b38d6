"""A real directory, split and served again.

A private slapd is filled over LDAP with names and values that are hard to spell, and exported with
slapcat. The export is split over three servers, every file is loaded into a slapd of its own, and
together they must hold what the first one held, each entry where the DN hash says.

Needs slapd and ldap-utils, and from the environment VARNEL_BINARY and VARNEL_WHICH_SERVER. Every
server listens on loopback only, keeps its data in a temporary directory and ends with the test.
"""

import base64
import collections
import os
import random
import re
import shutil
import socket
import subprocess
import time

import pytest

SUFFIX = "dc=example,dc=com"
BASE = "ou=People," + SUFFIX
SERVERS = 3
HEADER = "version: 1\n\n"
ROMAN_NUMERAL = "Ⅷ"

# Values for names: what a DN has to escape, what LDIF has to encode, what casing or preparing changes.
HARD_VALUES = [
    "Doe, Jane",
    "black+white",
    'the "quoted" one',
    '"quoted"',
    "back\\slash",
    "semi;colon",
    "less<more>",
    "equals=sign",
    "#hash",
    "#1234",
    " leading blank",
    "trailing blank ",
    "  two   and   three  ",
    "comma,at,every,step,",
    "ends with backslash\\",
    "colon: inside",
    ":first",
    "tab\there",
    "Jörg Åkesson",
    "Ærøskøbing",
    "Straße",
    "ΟΔΥΣΣΕΥΣ",
    "Иван Петров",
    "山田太郎",
    "نجيب محفوظ",
    "cafe\u0301",
    "ﬁligree",
    ROMAN_NUMERAL,
    "fullwidth ＡＢＣ",
    "soft\u00adhyphen",
    "no\u00a0break",
    "😀 smile",
    "x" * 200,
    "é" * 100,
    "0",
    "1.2.3",
]


def find_program(name):
    found = shutil.which(name, path=os.environ.get("PATH", "") + ":/usr/sbin:/sbin")
    if found is None:
        pytest.fail(name + " is missing; run scripts/install-packages.sh slapd ldap-utils")
    return found


def run(*command, **options):
    done = subprocess.run(
        [str(word) for word in command],
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        timeout=300,
        **options,
    )
    return done


def run_well(*command, **options):
    done = run(*command, **options)
    assert done.returncode == 0, (command, done.stdout.decode(), done.stderr.decode())
    return done


class Slapd:
    """One slapd with one database, everything of it in `directory`."""

    PASSWORD = "loopback only"

    def __init__(self, directory, suffix):
        self.suffix = suffix
        self.process = None
        self.url = None
        self.secure_url = None  # where it has a certificate
        self.directory = directory
        self.root = "cn=admin," + suffix
        self.config = directory / "slapd.conf"
        (directory / "data").mkdir(parents=True)
        schema = "".join(
            f"include /etc/ldap/schema/{name}.schema\n" for name in ("core", "cosine", "inetorgperson")
        )
        self.config.write_text(
            f"{schema}"
            "modulepath /usr/lib/ldap\n"
            "moduleload back_mdb\n"
            f"pidfile {directory}/pid\n"
            "database mdb\n"
            "maxsize 268435456\n"
            "dbnosync\n"
            f'suffix "{suffix}"\n'
            f"directory {directory}/data\n"
            f'rootdn "{self.root}"\n'
            f'rootpw "{self.PASSWORD}"\n'
        )

    def start(self):
        slapd = find_program("slapd")
        for _ in range(5):
            with socket.socket() as probe, socket.socket() as other:
                places = []
                for each in (probe, other):
                    each.bind(("127.0.0.1", 0))
                    places.append(f"127.0.0.1:{each.getsockname()[1]}")
            self.url = "ldap://" + places[0]
            if "TLSCertificateFile" in self.config.read_text():
                self.secure_url = "ldaps://" + places[1]
            urls = " ".join(filter(None, [self.url, self.secure_url]))
            with open(self.directory / "log", "ab") as log:
                self.process = subprocess.Popen(
                    [slapd, "-f", self.config, "-h", urls, "-d", "0"],
                    stdin=subprocess.DEVNULL,
                    stdout=log,
                    stderr=log,
                )
            if self.answers():
                return
            self.stop()
        pytest.fail("slapd does not start: " + (self.directory / "log").read_text())

    def answers(self):
        deadline = time.monotonic() + 30
        while time.monotonic() < deadline and self.process.poll() is None:
            who = run(find_program("ldapwhoami"), *self.login())
            if who.returncode == 0:
                return True
            time.sleep(0.1)
        return False

    def stop(self):
        if self.process is not None:
            self.process.terminate()
            try:
                self.process.wait(30)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
            self.process = None

    def login(self):
        return ["-x", "-H", self.url, "-D", self.root, "-w", self.PASSWORD]

    def add_over_ldap(self, file):
        run_well(find_program("ldapadd"), *self.login(), "-f", file)

    def load(self, file, *options):
        return run(find_program("slapadd"), "-f", self.config, *options, "-l", file)

    def export(self, file):
        run_well(find_program("slapcat"), "-f", self.config, "-b", self.suffix, "-l", file)
        return file

    def finds(self, dn):
        """Whether a base search for `dn` gives its entry."""
        found = run(
            find_program("ldapsearch"), *self.login(), "-LLL", "-b", dn, "-s", "base", "(objectClass=*)", "1.1"
        )
        assert found.returncode in (0, 32), found.stderr  # 32: no such object
        return found.returncode == 0


def escape(value):
    """The value as it stands in a DN (RFC 4514)."""
    text = re.sub(r'([,+"\\<>;=])', r"\\\1", value)
    text = re.sub(r"[\x00-\x1f]", lambda match: f"\\{ord(match[0]):02x}", text)
    if text.startswith(("#", " ")):
        text = "\\" + text
    if text.endswith(" ") and len(text) > 1:
        text = text[:-1] + "\\ "
    return text


def ldif_line(kind, value):
    raw = value if isinstance(value, bytes) else value.encode()
    if re.fullmatch(rb"[!-9;=-~]([ -~]*[!-~])?", raw):
        return f"{kind}: {raw.decode()}\n"
    return f"{kind}:: {base64.b64encode(raw).decode()}\n"


def ldif_entry(dn, attributes):
    return "".join(ldif_line(kind, value) for kind, value in [("dn", dn), *attributes]) + "\n"


def invent_directory():
    """The LDIF text of a directory, parents before children."""
    chance = random.Random(20)
    text = [
        ldif_entry(SUFFIX, [("objectClass", "domain"), ("dc", "example")]),
        ldif_entry(BASE, [("objectClass", "organizationalUnit"), ("ou", "People")]),
        ldif_entry("ou=Groups," + SUFFIX, [("objectClass", "organizationalUnit"), ("ou", "Groups")]),
    ]

    def person(rdn, name, uid):
        attributes = [("objectClass", "inetOrgPerson"), ("cn", name), ("uid", uid), ("sn", "of " + uid)]
        number = len(text)
        if number % 5 == 0:
            attributes.append(("description", f"line {number} " + "long value " * 600))
        if number % 7 == 0:
            attributes.append(("jpegPhoto", chance.randbytes(5000)))
        if number % 3 == 0:
            attributes += [("mail", f"{uid}@example.com"), ("mail", f"{uid}@mail.example.com")]
        if number % 11 == 0:
            attributes.append(("description", " leading, trailing and\nbroken lines \n"))
        text.append(ldif_entry(f"{rdn},{BASE}", attributes))

    def child(parent, name):
        text.append(ldif_entry(f"cn={escape(name)},{parent}", [("objectClass", "device"), ("cn", name)]))

    for index, value in enumerate(HARD_VALUES):
        uid = f"hard{index}"
        person("cn=" + escape(value), value, uid)
        child(f"cn={escape(value)},{BASE}", "token")
        child(f"cn={escape(value)},{BASE}", value)
        both = f"{value} again"
        person(f"cn={escape(both)}+uid={uid}b", both, uid + "b")
        child(f"uid={uid}b+cn={escape(both)},{BASE}", value)
    for index in range(200):
        uid = f"user{index}"
        person("uid=" + uid, f"Person {index}", uid)
        if index % 4 == 0:
            child(f"uid={uid},{BASE}", f"phone of {index}")
    for index in range(10):
        attributes = [("objectClass", "groupOfNames"), ("cn", f"group {index}")]
        attributes += [("member", f"uid=user{member},{BASE}") for member in range(index, 200, 20)]
        text.append(ldif_entry(f"cn=group {index},ou=Groups,{SUFFIX}", attributes))
    return "".join(text)


def read_ldif(file):
    """The entries of a file: DN to its (type, value) pairs in order. No DN may come twice."""
    unfolded = file.read_bytes().replace(b"\n ", b"")
    entries = {}
    for record in re.split(rb"\n\n+", unfolded.strip(b"\n")):
        pairs = []
        for line in record.split(b"\n"):
            kind, mark, value = re.fullmatch(rb"([^:]+)(::?) *(.*)", line, re.DOTALL).groups()
            pairs.append((kind.decode(), base64.b64decode(value, validate=True) if mark == b"::" else value))
        if pairs[0][0] == "version":
            pairs.pop(0)
        if not pairs:
            continue
        assert pairs[0][0] == "dn", record
        dn = pairs[0][1].decode()
        assert dn not in entries, dn
        entries[dn] = pairs[1:]
    return entries


def respell(dn):
    """The same name, as a careless client might send it."""
    def recase(letter):
        other = letter.swapcase()
        return other if len(other) == 1 and other.swapcase() == letter else letter

    # Escapes first, so that a pair of hexadecimal digits or the type of an RDN is not torn apart.
    tokens = re.findall(r"\\[0-9A-Fa-f]{2}|\\.|,|\+|.", dn, re.DOTALL)
    return "".join({",": " , ", "+": " + "}.get(token, recase(token) if len(token) == 1 else token) for token in tokens)


def is_below(dn, base):
    return dn.lower().endswith("," + base.lower())


Split = collections.namedtuple("Split", "original directory export outcome")


def server_numbers(dns):
    """The server that the client library names for each of the DNs."""
    done = subprocess.run(
        [os.environ["VARNEL_WHICH_SERVER"], BASE, str(SERVERS)],
        input="".join(dn + "\n" for dn in dns), capture_output=True, text=True, check=True,
    )  # fmt: skip
    return dict(zip(dns, (int(number) for number in done.stdout.split())))


@pytest.fixture(scope="module")
def slapds(tmp_path_factory):
    """Makes servers, and ends them all whatever happens."""
    made = []

    def make(name, suffix):
        made.append(Slapd(tmp_path_factory.mktemp(name), suffix))
        return made[-1]

    yield make
    for server in made:
        server.stop()


@pytest.fixture(scope="module")
def split(slapds, tmp_path_factory):
    directory = tmp_path_factory.mktemp("split")
    source = slapds("source", SUFFIX)
    source.start()
    (directory / "add.ldif").write_text(invent_directory())
    source.add_over_ldap(directory / "add.ldif")
    source.stop()
    export = source.export(directory / "export.ldif")
    config = (
        f"actiontype: splitonly\nbasedirectory: {directory}\ninputfile: export.ldif\nlogfile: split.log\n"
        f"defaultoutputfile: parent.ldif\nsplitby: rdnhash\nbasedn: {BASE}\n"
    )
    for server in range(1, SERVERS + 1):
        config += f"url: ldap://server{server}.example.com\nfile: server{server}.ldif\n"
    (directory / "varnelConfig").write_text(config)
    outcome = run_well(os.path.realpath(os.environ["VARNEL_BINARY"]), cwd=directory)
    return Split(read_ldif(export), directory, export, outcome)


@pytest.fixture(scope="module")
def servers(split, slapds):
    """The servers, loaded and running; the first is the one without a number, for the default file."""
    loaded = []
    for name, suffix in [("parent", SUFFIX)] + [(f"server{i}", BASE) for i in range(1, SERVERS + 1)]:
        server = slapds(name, suffix)
        done = server.load(split.directory / f"{name}.ldif", "-j", "3")
        assert done.returncode == 0, (name, done.stderr.decode())
        assert b"line" not in done.stderr and b"error" not in done.stderr.lower(), done.stderr.decode()
        loaded.append(server)
    for server in loaded:
        server.start()
    return loaded


@pytest.fixture(scope="module")
def contents(servers):
    return [read_ldif(server.export(server.directory / "back.ldif")) for server in servers]


def test_the_run_succeeds_and_says_so(split):
    assert b"VNL032039I" in split.outcome.stdout
    assert split.outcome.stderr == b""


def test_the_directory_has_what_makes_names_hard(split):
    names = "\n".join(split.original)
    assert len(split.original) > 400
    for part in ("\\2C", "\\2B", "\\22", "\\5C", "\\20", "+uid=", "ö", "山"):
        assert part in names, part
    export = split.export.read_bytes()
    assert re.search(rb"\ndn:: [^\n]*\n [^\n]*\n", export), "no folded DN in base64"
    assert re.search(rb"\ndn: [^\n]*\n [^\n]*\n", export), "no folded DN"


def test_each_file_begins_with_the_header(split):
    for name in ["parent"] + [f"server{i}" for i in range(1, SERVERS + 1)]:
        with open(split.directory / f"{name}.ldif", encoding="utf-8") as file:
            assert file.read(len(HEADER)) == HEADER, name


def test_slapadd_needs_to_start_behind_the_header(split, slapds):
    done = slapds("unskipped", BASE).load(split.directory / "server1.ldif")
    assert done.returncode != 0


def test_no_entry_is_lost_or_doubled(split, contents):
    count = collections.Counter(dn for content in contents for dn in content)
    assert count == {dn: SERVERS if dn == BASE else 1 for dn in split.original}


def test_every_attribute_is_kept(split, contents):
    for content in contents:
        for dn, attributes in content.items():
            assert sorted(attributes) == sorted(split.original[dn]), dn


def test_the_base_entry_is_on_every_server_and_not_with_the_parent(contents):
    assert [BASE in content for content in contents] == [False] + [True] * SERVERS


def test_the_parent_has_all_that_is_not_below_the_base(split, contents):
    assert set(contents[0]) == {dn for dn in split.original if dn != BASE and not is_below(dn, BASE)}


def test_each_entry_is_on_the_server_that_the_hash_names(split, contents):
    below = [dn for dn in split.original if is_below(dn, BASE)]
    found = {dn: [i for i, content in enumerate(contents) if dn in content] for dn in below}
    assert found == {dn: [number] for dn, number in server_numbers(below).items()}


def test_every_server_has_a_fair_share(contents):
    below = [sum(is_below(dn, BASE) for dn in content) for content in contents[1:]]
    assert min(below) > sum(below) / SERVERS / 2, below


def test_a_client_finds_each_entry_under_another_spelling(split, servers):
    """The proxy hashes what the client wrote, and the server that it names must know that name."""
    below = [dn for dn in split.original if is_below(dn, BASE) and not dn.startswith("uid=")]
    spellings = {dn: respell(dn) for dn in below}
    at = server_numbers(below)
    at_other_spelling = server_numbers(list(spellings.values()))
    elsewhere = []
    lost = []
    for dn, spelling in spellings.items():
        assert spelling != dn
        if at_other_spelling[spelling] != at[dn]:
            elsewhere.append((dn, spelling))
        # To slapd the two cases of a Roman numeral are two names, whichever server is asked.
        elif ROMAN_NUMERAL not in dn and not servers[at[dn]].finds(spelling):
            lost.append((dn, spelling))
    assert elsewhere == []
    assert lost == []
