#!/usr/bin/env python3
"""Lists the attribute types of schema files, as an independent count for the tests.

Prints, for each file given, a line "F<tab>file", then "A<tab>first name" for every attribute type
and "M<tab>line number" for every definition whose keyword slapd does not know. It knows nothing of
the grammar: folds and comments are taken out, then lines are matched by their first word.
"""

import re
import sys


def logical_lines(text, ldif):
    """(number, text) of each line, continuations joined, comments left out."""
    lines = []
    for number, line in enumerate(text.replace("\r\n", "\n").split("\n"), 1):
        if lines and line and line[0] in (" " if ldif else " \t"):
            lines[-1][1] += line[1:] if ldif else " " + line.strip()
        else:
            lines.append([number, line])
    return [(number, line) for number, line in lines if line and not line.startswith("#")]


def first_name(definition):
    found = re.search(r"\sNAME\s*\(?\s*'([^']*)'", definition, re.IGNORECASE)
    return found.group(1) if found else ""


def list_file(name):
    ldif = name.endswith(".ldif")
    with open(name, encoding="latin-1") as stream:
        lines = logical_lines(stream.read(), ldif)
    print("F", name, sep="\t")
    for number, line in lines:
        if ldif:
            if re.match(r"(olc)?attributetypes:", line, re.IGNORECASE):
                print("A", first_name(line), sep="\t")
        elif re.match(r"attributetype[\s(]", line, re.IGNORECASE):
            print("A", first_name(line), sep="\t")
        elif re.match(r"\w+\s*\(", line) and not re.match(
                r"(objectclass|ldapsyntax|ditcontentrule)[\s(]", line, re.IGNORECASE):
            print("M", number, sep="\t")


for argument in sys.argv[1:]:
    list_file(argument)
