"""A man page as its reader sees it."""

import os
import pathlib
import re
import subprocess
import textwrap

BUILD = pathlib.Path(os.environ["VARNEL_BUILD"]).resolve()


def rendered(page):
    """The text of a page of the build, without bold and underlined."""
    done = subprocess.run(
        ["mandoc", "-T", "utf8", "-O", "width=78", BUILD / "docs" / page],
        check=True,
        capture_output=True,
        encoding="utf-8",
    )
    return re.sub(".\x08", "", done.stdout)


def section(text, heading):
    """What stands below a heading of the first level (SYNOPSIS) or the second (   Schema)."""
    indent = re.search(rf"^( *){re.escape(heading)}$", text, re.MULTILINE)[1]
    found = re.search(
        rf"^{indent}{re.escape(heading)}\n(?P<body>.*?)(?=^ {{0,{len(indent)}}}\S|\Z)",
        text,
        re.MULTILINE | re.DOTALL,
    )
    return found["body"]


def paragraphs(text):
    """Its parts between empty lines, each without its outer indent."""
    return [textwrap.dedent(part) for part in re.split(r"\n\s*\n", text.strip("\n"))]
