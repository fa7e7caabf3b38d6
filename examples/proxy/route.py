#!/usr/bin/env python3
"""Which servers a proxy asks, for a directory that varnel has spread over several of them.

  route.py [-s SCHEMAFILE]... CONFIGURATION < requests

It does what route.c does, and its requests and answers are the same: read, write, one, sub and
rename, each with a DN (rename with two, and a tab between them). VARNEL_LIBDIRCLIENT names the
library where the system's loader does not find it.
"""

import ctypes
import os
import sys


class RecordOfDn(ctypes.Structure):
    """ldap_escDN of dirclient.h."""

    _fields_ = [
        ("firstRDN", ctypes.c_void_p),
        ("rdnCount", ctypes.c_int32),
        ("normalizedText", ctypes.c_char_p),
    ]


Reporter = ctypes.CFUNCTYPE(None, ctypes.c_char_p, ctypes.c_void_p)


class Library:
    """The functions of libdirclient, with names as bytes and lack of memory as an exception."""

    def __init__(self, schemas=()):
        name = os.environ.get("VARNEL_LIBDIRCLIENT", "libdirclient.so.1")
        self.library = ctypes.CDLL(name, use_errno=True)
        self.suffix = "_by_schema" if schemas else ""
        self.normalize = self.library.dn_normalize_esc if schemas else self.library.dn_normalize_light_esc
        self.normalize.restype = ctypes.POINTER(RecordOfDn)
        self.normalize.argtypes = [ctypes.c_char_p]
        self.library.free_ldap_escDN.argtypes = [ctypes.POINTER(ctypes.POINTER(RecordOfDn))]
        self.library.free_ldap_escDN.restype = None
        # ctypes keeps no reference to a function that C may still call.
        self.reporter = Reporter(lambda line, _: print(os.fsdecode(line), file=sys.stderr))
        self.library.ldcf_api_schema_report_to(self.reporter, None)
        self.library.ldcf_api_schema_init()
        for schema in schemas:
            self.library.ldcf_api_schema_parse(ctypes.c_char_p(os.fsencode(schema)))
        if schemas:
            self.library.ldcf_api_schema_complete()

    def call(self, name, *arguments):
        return getattr(self.library, name + self.suffix)(*arguments)

    def index_of(self, dn, bases):
        texts = (ctypes.c_char_p * len(bases))(*bases)
        index = self.call("get_base_dn_index", ctypes.c_char_p(dn), texts, len(bases))
        if index == -2:
            raise MemoryError
        return index

    def is_same(self, dn, other):
        return self.call("is_same_dn", ctypes.c_char_p(dn), ctypes.c_char_p(other)) != 0

    def server_of(self, dn, base, count):
        server = self.call("get_hash_value_from_dn", ctypes.c_char_p(dn), ctypes.c_char_p(base), count)
        if server == 0:
            raise MemoryError
        return server

    def rdn_count(self, dn):
        """0 for the empty DN, and for what is no DN."""
        record = self.normalize(dn)
        if not record:
            raise MemoryError
        count = record.contents.rdnCount
        self.library.free_ldap_escDN(ctypes.byref(record))
        return count


class Router:
    """Answers with sets of places: (number of a base DN, number of its server), or PARENT."""

    PARENT = (-1, 0)

    def __init__(self, library, bases, servers):
        """`servers` holds a list of URLs for each base DN."""
        self.library = library
        self.bases = bases
        self.servers = servers

    def all_of(self, base):
        return {(base, server) for server in range(len(self.servers[base]))}

    def of_entry(self, dn):
        base = self.library.index_of(dn, self.bases)
        if base < 0:
            return {self.PARENT}
        if self.library.is_same(dn, self.bases[base]):
            return self.all_of(base)
        count = len(self.servers[base])
        return {(base, self.library.server_of(dn, self.bases[base], count) - 1)}

    def bases_below(self, dn):
        return [
            i for i, base in enumerate(self.bases) if dn == b"" or self.library.index_of(base, [dn]) == 0
        ]

    def of_children(self, dn):
        """A base DN may itself be directly below the name."""
        level = self.library.rdn_count(dn) + 1
        places = self.of_entry(dn)
        for base in self.bases_below(dn):
            if self.library.rdn_count(self.bases[base]) == level:
                places |= self.all_of(base)
        return places

    def of_subtree(self, dn):
        return self.of_entry(dn).union(*(self.all_of(base) for base in self.bases_below(dn)))

    def check(self, dn):
        """The keys below cn=localhost are on each server of a base DN, which uses its own; nobody asks
        for them through a proxy."""
        if self.library.rdn_count(dn) == 0:
            raise ValueError("not a DN")
        if self.library.index_of(dn, [b"cn=localhost"]) == 0:
            raise ValueError("each server has its own cn=localhost")

    def of_rename(self, dns):
        """A server cannot rename what another one is to hold: the proxy refuses (result code 71,
        affectsMultipleDSAs), or copies the entry and all below it, and deletes the old ones."""
        dn, tab, new_dn = dns.partition(b"\t")
        if not tab:
            raise ValueError("the new name is missing")
        self.check(dn)
        self.check(new_dn)
        if self.bases_below(dn) or self.bases_below(new_dn):
            raise ValueError("a base DN is renamed by a new split alone")
        places = self.of_entry(new_dn)
        if places != self.of_entry(dn):
            raise ValueError("the entry would move to another server")
        return places

    def answer(self, operation, dn):
        if operation == b"rename":
            return self.of_rename(dn)
        # The empty DN is the root, where a search may begin.
        if not (dn == b"" and operation in (b"one", b"sub")):
            self.check(dn)
        operations = {
            b"read": self.of_entry,
            b"write": self.of_entry,
            b"one": self.of_children,
            b"sub": self.of_subtree,
        }
        if operation not in operations:
            raise ValueError("no such request")
        return operations[operation](dn)

    def names_of(self, places):
        return [
            b"parent" if place == self.PARENT else self.servers[place[0]][place[1]]
            for place in sorted(places)
        ]


def read_configuration(name):
    bases, servers = [], []
    with open(name, "rb") as file:
        for line in file:
            key, _, value = line.partition(b":")
            if key.strip().lower() == b"basedn":
                bases.append(value.strip())
                servers.append([])
            elif key.strip().lower() == b"url":
                servers[-1].append(value.strip())
    return bases, servers


def main(arguments):
    schemas = []
    while arguments[:1] == ["-s"] and len(arguments) > 1:
        schemas.append(arguments[1])
        del arguments[:2]
    if len(arguments) != 1:
        print(__doc__.strip(), file=sys.stderr)
        return 1
    router = Router(Library(schemas), *read_configuration(arguments[0]))
    for line in sys.stdin.buffer:
        operation, blank, dn = line.rstrip(b"\n").partition(b" ")
        try:
            if not blank:
                raise ValueError("no such request")
            answer = b" ".join(router.names_of(router.answer(operation, dn)))
        except ValueError as error:
            answer = b"error: " + str(error).encode()
        sys.stdout.buffer.write(answer + b"\n")
        sys.stdout.buffer.flush()
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
