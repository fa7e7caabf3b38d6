"""The messages as a reader of the streams sees them: identifier, severity, text.

The severities stand here by hand; the texts come out of the program's table, so that a test can
say which arguments stand in which place.
"""

import functools
import os
import pathlib
import re

INFORMATION = {1, 5, 28, 30, 37, 39, 43}
WARNINGS = {36, 60}
# Of set 33: what leaves a part of a schema out, but does not end the run.
SCHEMA_WARNINGS = {8, 20, 21, 22, 23, 24, 25, 26}

ROW = re.compile(
    r"\{(\d+),\s*(\d+),\s*'([A-Z])',\s*(\d+),\s*((?:\"(?:[^\"\\]|\\.)*\"\s*)+)\}", re.DOTALL
)
PIECE = re.compile(r"\"((?:[^\"\\]|\\.)*)\"", re.DOTALL)
ESCAPES = {"n": "\n", "t": "\t", '"': '"', "\\": "\\"}


def sources():
    return pathlib.Path(os.environ["VARNEL_SOURCES"])


@functools.lru_cache(maxsize=None)
def catalog():
    """(set, number) -> (severity, argument count, text)"""
    table = {}
    for row in ROW.finditer((sources() / "platform/messages/catalog.cpp").read_text()):
        text = "".join(piece.group(1) for piece in PIECE.finditer(row.group(5)))
        text = re.sub(r"\\(.)", lambda escape: ESCAPES[escape.group(1)], text)
        table[int(row.group(1)), int(row.group(2))] = (row.group(3), int(row.group(4)), text)
    return table


def severity(message_set, number):
    if message_set == 33:
        return "W" if number in SCHEMA_WARNINGS else "E"
    assert message_set == 32
    return "I" if number in INFORMATION else "W" if number in WARNINGS else "E"


def shown(argument):
    """A message is one line, whatever its arguments hold."""
    return "".join(
        f"\\{ord(c):02X}" if ord(c) < 0x20 or ord(c) == 0x7F else c for c in argument
    )


def render(message_set, number, arguments):
    assert (message_set, number) in catalog(), f"message {number} has no text"
    _, count, text = catalog()[message_set, number]
    assert count == len(arguments), f"message {number} takes {count} arguments"
    text = re.sub(r"%(\d)\$s", lambda place: shown(arguments[int(place.group(1)) - 1]), text)
    return f"VNL{message_set:03d}{number:03d}{severity(message_set, number)}: {text}"
