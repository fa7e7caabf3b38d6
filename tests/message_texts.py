"""The messages as a reader of the streams sees them: identifier, severity, text.

All of it comes out of the program's own catalog, so that a test can say which message is printed
with which arguments. test_messages.py holds the catalog against what users rely on.
"""

import functools
import json
import os
import pathlib
import re
import subprocess


def sources():
    return pathlib.Path(os.environ["VARNEL_SOURCES"])


@functools.lru_cache(maxsize=None)
def catalog():
    """(set, number) -> (severity, argument count, text)"""
    printer = pathlib.Path(os.environ["VARNEL_BUILD"]) / "docs/print_message_list"
    printed = subprocess.run([printer, "--json"], check=True, capture_output=True, timeout=60).stdout
    return {
        (row["set"], row["number"]): (row["severity"], row["arguments"], row["text"])
        for row in json.loads(printed)
    }


def severity(message_set, number):
    return catalog()[message_set, number][0]


def shown(argument):
    """A message is one line, whatever its arguments hold."""
    return "".join(
        f"\\{ord(c):02X}" if ord(c) < 0x20 or ord(c) == 0x7F else c for c in argument
    )


def render(message_set, number, arguments):
    assert (message_set, number) in catalog(), f"message {number} has no text"
    letter, count, text = catalog()[message_set, number]
    assert count == len(arguments), f"message {number} takes {count} arguments"
    text = re.sub(r"%(\d)\$s", lambda place: shown(arguments[int(place.group(1)) - 1]), text)
    return f"VNL{message_set:03d}{number:03d}{letter}: {text}"
