#!/usr/bin/python3
"""Prints the export that the cluster serves: the directory of example.org, the same every time."""

import base64

PEOPLE = 240
DEVICES = 60
FIRST_NAMES = ["Amina", "Bartek", "Emeka", "Ines", "Jörg", "Olga", "Rosa", "Samuel", "Yuki", "Zoë"]
LAST_NAMES = ["Diallo", "Wójcik", "Obi", "Marek", "Åkesson", "Petrova", "Grant, Jr.", "Osei", "Tanaka"]


def line(kind, value):
    if value.isascii():
        return f"{kind}: {value}"
    return f"{kind}:: {base64.b64encode(value.encode()).decode()}"


def entry(dn, *attributes):
    print("\n".join(line(kind, value) for kind, value in [("dn", dn), *attributes]), end="\n\n")


def person(number):
    first, last = FIRST_NAMES[number % 10], LAST_NAMES[number % 9]
    name = f"{first} {last} {number}"
    dn = f"cn={name},ou=People,dc=example,dc=org".replace(", Jr", "\\, Jr")
    entry(
        dn, ("objectClass", "inetOrgPerson"), ("cn", name), ("sn", last), ("uid", f"user{number}"),
        ("userPassword", f"password {number}"),
    )  # fmt: skip
    if number % 8 == 0:
        entry(f"cn=telephone,{dn}", ("objectClass", "device"), ("cn", "telephone"))


print("version: 1\n")
entry("dc=example,dc=org", ("objectClass", "domain"), ("dc", "example"))
for unit in ("People", "Devices", "Groups"):
    entry(f"ou={unit},dc=example,dc=org", ("objectClass", "organizationalUnit"), ("ou", unit))
for each in range(PEOPLE):
    person(each)
for each in range(DEVICES):
    entry(f"cn=gauge {each},ou=Devices,dc=example,dc=org", ("objectClass", "device"), ("cn", f"gauge {each}"))
entry(
    "cn=staff,ou=Groups,dc=example,dc=org",
    ("objectClass", "groupOfNames"), ("cn", "staff"), ("member", "cn=Amina Diallo 0,ou=People,dc=example,dc=org"),
)  # fmt: skip
entry("cn=localhost", ("objectClass", "device"), ("cn", "localhost"))
entry("cn=crypto,cn=localhost", ("objectClass", "device"), ("cn", "crypto"))
