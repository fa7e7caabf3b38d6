#!/usr/bin/python3
"""Sends each LDAP request to the server that holds the entry: router.py CONFIGURATION

An example, not a product; README.md in this folder says what a real proxy would add.

A slapd in front speaks LDAP with the clients. Its back-sock (slapd-sock(5)) opens the socket of this
program for each request, writes the request as text and reads the answer as text. libdirclient says which
server is asked. The configuration is JSON:

    socket     the path of the socket
    library    libdirclient
    parent     the URL of the server of all that is below no base DN
    bases      base DN to the list of the URLs of its servers, in the order of the split's configuration
    user, password   as whom this program binds to the servers; it acts there for the client, by the control
                     of RFC 4370, so that the servers decide what the client may do
"""

import base64
import collections
import ctypes
import json
import os
import re
import socketserver
import sys

import ldap
import ldap.dn
from ldap.controls.simple import ProxyAuthzControl

SHARED = "cn=localhost"  # on every server
COMPARE_FALSE, COMPARE_TRUE, UNAVAILABLE = 5, 6, 52  # result codes of RFC 4511
SECONDS = 30  # for a server to answer in
# What the slapd in front adds of its own to each entry that is found.
ADDED_BY_THE_FRONT = {"entrydn", "subschemasubentry"}
MODIFICATIONS = {"add": ldap.MOD_ADD, "delete": ldap.MOD_DELETE, "replace": ldap.MOD_REPLACE,
                 "increment": ldap.MOD_INCREMENT}  # fmt: skip


# One step of a search: the servers to ask for `base` by `scope`; all of them, or the first that answers.
Question = collections.namedtuple("Question", "urls base scope all")


def parent_of(dn):
    return ldap.dn.dn2str(ldap.dn.str2dn(dn)[1:])


class Cluster:
    """Which servers hold a name."""

    def __init__(self, configuration):
        self.parent = configuration["parent"]
        self.bases = list(configuration["bases"])
        self.servers = list(configuration["bases"].values())
        self.library = ctypes.CDLL(configuration["library"])
        self.library.get_base_dn_index.argtypes = [ctypes.c_char_p, ctypes.POINTER(ctypes.c_char_p), ctypes.c_int]
        self.library.is_same_dn.argtypes = [ctypes.c_char_p, ctypes.c_char_p]
        self.library.get_hash_value_from_dn.argtypes = [ctypes.c_char_p, ctypes.c_char_p, ctypes.c_int]

    def index(self, dn, bases):
        """The innermost of the base DNs that is at or above the name; -1 for none."""
        texts = (ctypes.c_char_p * len(bases))(*(base.encode() for base in bases))
        found = self.library.get_base_dn_index(dn.encode(), texts, len(bases))
        if found < -1:
            raise MemoryError
        return found

    def is_same(self, dn, other):
        return self.library.is_same_dn(dn.encode(), other.encode()) == 1

    def is_base(self, dn):
        return any(self.is_same(dn, base) for base in self.bases)

    def holders(self, dn):
        """The servers that have the entry of this name: one, unless it is on several."""
        if self.index(dn, [SHARED]) == 0:
            return sorted({url for urls in self.servers for url in urls})
        at = self.index(dn, self.bases)
        if at < 0:
            return [self.parent]
        urls = self.servers[at]
        if self.is_same(dn, self.bases[at]):
            return urls
        number = self.library.get_hash_value_from_dn(dn.encode(), self.bases[at].encode(), len(urls))
        if number == 0:
            raise MemoryError
        return [urls[number - 1]]

    def questions(self, base, scope):
        """What to ask for a search."""
        if scope == ldap.SCOPE_BASE or self.index(base, [SHARED]) == 0:
            return [Question(self.holders(base), base, scope, all=False)]
        if self.index(base, self.bases) >= 0:
            return [Question(self.holders(base), base, scope, all=True)]
        asked = [Question([self.parent], base, scope, all=True)]
        for below, urls in zip(self.bases, self.servers):
            if self.index(below, [base]) != 0:
                continue
            if scope == ldap.SCOPE_SUBTREE:
                asked.append(Question(urls, below, scope, all=True))
            elif self.is_same(parent_of(below), base):
                asked.append(Question(urls, below, ldap.SCOPE_BASE, all=False))
        return asked


def is_down(fault):
    return isinstance(fault, (ldap.SERVER_DOWN, ldap.CONNECT_ERROR, ldap.TIMEOUT, ldap.UNAVAILABLE))


def result(code, matched="", info=""):
    lines = [f"code: {code}"] + ([f"matched: {matched}"] if matched else [])
    lines += ["info: " + info.replace("\n", " ")] if info else []
    return "RESULT\n" + "\n".join(lines) + "\n"


def result_of(fault, url):
    """The answer that says what a server said, or that it says nothing."""
    if is_down(fault):
        return result(UNAVAILABLE, info=f"{url} does not answer")
    told = fault.args[0] if fault.args and isinstance(fault.args[0], dict) else {}
    return result(max(told.get("result", 80), 1), told.get("matched", ""), told.get("info", ""))


def ldif(dn, attributes):
    def line(kind, value):
        return f"{kind}:: {base64.b64encode(value).decode()}\n"

    lines = [
        line(kind, value)
        for kind, values in attributes.items()
        if kind.lower() not in ADDED_BY_THE_FRONT
        for value in values
    ]
    return line("dn", dn.encode()) + "".join(lines) + "\n"


class Request:
    """What back-sock sent: a name, and (type, value) pairs with values as bytes, in order."""

    def __init__(self, data):
        self.name, _, rest = data.partition(b"\n")
        self.name = self.name.decode()
        self.pairs = []
        for line in re.split(rb"\n(?! )", rest):
            # The password may have any bytes in it, line ends too; its length comes before.
            if line.startswith(b"cred: "):
                start = rest.index(b"\ncred: ") + len(b"\ncred: ")
                self.pairs.append(("cred", rest[start : start + int(self.text("credlen"))]))
                break
            kind, mark, value = re.fullmatch(rb"([^:]*)(:?:?) ?(.*)", line.replace(b"\n ", b""), re.DOTALL).groups()
            if kind:
                value = base64.b64decode(value) if mark == b"::" else value
                self.pairs.append((kind.decode(), value))

    def text(self, kind):
        return next((value.decode() for found, value in self.pairs if found == kind), "")

    def after(self, kind):
        """The pairs behind the first of this type."""
        at = [found for found, _ in self.pairs].index(kind)
        return self.pairs[at + 1 :]

    @staticmethod
    def is_complete(data):
        """A blank line ends a request, but one in a password does not."""
        password = re.search(rb"\ncredlen: (\d+)\ncred: ", data) if data.startswith(b"BIND\n") else None
        if password:
            return len(data) >= password.end() + int(password[1]) + 2
        return data.endswith(b"\n\n")


class Handler(socketserver.StreamRequestHandler):
    """One request: a connection of back-sock."""

    def handle(self):
        data = b""
        while not Request.is_complete(data):
            more = self.request.recv(65536)
            if not more:
                return
            data += more
        request = Request(data)
        act = getattr(self, "do_" + request.name.lower(), None)
        if act is None:
            return  # UNBIND wants no answer, as nothing is kept between requests
        try:
            self.answer(act(request))
        except Exception as fault:  # whatever happened, the client is told
            print(f"{request.name}: {fault!r}", file=sys.stderr, flush=True)
            self.answer(result(80, info="the router failed, see its log"))

    def answer(self, text):
        self.wfile.write(text.encode())

    def open(self, url, dn, password):
        connection = ldap.initialize(url)
        connection.set_option(ldap.OPT_NETWORK_TIMEOUT, SECONDS)
        connection.set_option(ldap.OPT_TIMEOUT, SECONDS)
        connection.set_option(ldap.OPT_REFERRALS, 0)
        connection.simple_bind_s(dn, password)
        return connection

    def at_each(self, request, act):
        """Does the same at each server that holds the entry; the first fault ends it and is the answer."""
        for url in self.server.cluster.holders(request.text("dn")):
            answer = self.at(url, request, act)
            if "\ncode: 0\n" not in answer:
                break
        return answer

    def at_any(self, request, act):
        """Does it at the first server that holds the entry and answers."""
        for url in self.server.cluster.holders(request.text("dn")):
            answer = self.at(url, request, act)
            if f"\ncode: {UNAVAILABLE}\n" not in answer:
                break
        return answer

    def at(self, url, request, act):
        """The answer to what `act` does at this server for the client, by its connection and controls; it may
        return a result code other than 0."""
        try:
            connection = self.open(url, self.server.user, self.server.password)
            try:
                client = request.text("binddn")
                code = act(connection, [ProxyAuthzControl(True, f"dn:{client}".encode() if client else b"")])
            finally:
                connection.unbind_s()
            return result(code or 0)
        except ldap.LDAPError as fault:
            return result_of(fault, url)

    def do_bind(self, request):
        dn, password = request.text("dn"), dict(request.pairs).get("cred", b"")
        if request.text("method") != "128":
            return result(7, info="simple binds only")  # authMethodNotSupported
        for url in self.server.cluster.holders(dn):
            try:
                self.open(url, dn, password).unbind_s()
                return result(0)
            except ldap.LDAPError as fault:
                answer = result_of(fault, url)
            if f"\ncode: {UNAVAILABLE}\n" not in answer:
                break
        return answer

    def do_search(self, request):
        limit, sent, faults = int(request.text("sizelimit")), 0, []
        for question in self.server.cluster.questions(request.text("base"), int(request.text("scope"))):
            entries, more_faults = self.ask(question, request)
            faults += more_faults
            for dn, attributes in entries:
                # The slapd in front takes no more than that, nor any result behind it.
                if 0 < limit == sent:
                    return result(4)  # sizeLimitExceeded
                sent += 1
                self.answer(ldif(dn, attributes))
        return faults[0] if faults else result(0)

    def ask(self, question, request):
        """The entries found, the base entry once, and the answers that tell of a fault."""
        attributes = request.text("attrs").split()
        # back-sock takes no entry without attributes; the slapd in front leaves out what was not asked for.
        wanted = None if attributes == ["all"] else [*(each for each in attributes if each != "1.1"), "objectClass"]
        found, faults, base_found = [], [], False

        def search(connection, controls):
            nonlocal base_found
            entries = connection.search_ext_s(
                question.base, question.scope, request.text("filter"), wanted, serverctrls=controls
            )
            for dn, values in entries:
                if dn is None or (base_found and self.server.cluster.is_base(dn)):
                    continue  # a referral, or another server's copy
                found.append((dn, values))
            base_found = base_found or any(self.server.cluster.is_base(dn) for dn, _ in found)

        for url in question.urls:
            answer = self.at(url, request, search)
            if "\ncode: 0\n" not in answer:
                faults.append(answer)
            elif not question.all:
                return found, []
        return found, faults

    def do_compare(self, request):
        (kind, value), *_ = request.after("dn")

        def act(connection, controls):
            is_true = connection.compare_ext_s(request.text("dn"), kind, value, controls)
            return COMPARE_TRUE if is_true else COMPARE_FALSE

        return self.at_any(request, act)

    def do_add(self, request):
        attributes = {}
        for kind, value in request.after("dn"):
            attributes.setdefault(kind, []).append(value)

        def act(connection, controls):
            connection.add_ext_s(request.text("dn"), list(attributes.items()), controls)

        return self.at_each(request, act)

    def do_delete(self, request):
        def act(connection, controls):
            connection.delete_ext_s(request.text("dn"), controls)

        return self.at_each(request, act)

    def do_modify(self, request):
        changes, begins = [], True
        for kind, value in request.after("dn"):
            if kind == "-":
                begins = True
            elif begins:
                changes.append((MODIFICATIONS[kind], value.decode(), []))
                begins = False
            else:
                changes[-1][2].append(value)
        changes = [(change, kind, values or None) for change, kind, values in changes]

        def act(connection, controls):
            connection.modify_ext_s(request.text("dn"), changes, controls)

        return self.at_each(request, act)

    def do_modrdn(self, request):
        dn, new_rdn, new_parent = request.text("dn"), request.text("newrdn"), request.text("newSuperior")
        holders = self.server.cluster.holders(dn)
        if len(holders) > 1 or self.server.cluster.holders(f"{new_rdn},{new_parent or parent_of(dn)}") != holders:
            return result(71, info="the new name belongs to another server")  # affectsMultipleDSAs

        def act(connection, controls):
            connection.rename_s(dn, new_rdn, new_parent or None, request.text("deleteoldrdn") == "1", controls)

        return self.at_each(request, act)


class Router(socketserver.ThreadingMixIn, socketserver.UnixStreamServer):
    daemon_threads = True
    request_queue_size = 128


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        configuration = json.load(file)
    os.umask(0o077)
    with Router(configuration["socket"], Handler) as router:
        router.cluster = Cluster(configuration)
        router.user, router.password = configuration["user"], configuration["password"]
        router.serve_forever()


if __name__ == "__main__":
    main()
