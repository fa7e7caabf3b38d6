"""The release preset compiles and links as distributions harden their programs, and the files that it
builds show it. Of a build without VARNEL_HARDEN there is nothing to see."""

import json
import os
import pathlib
import re
import subprocess

import message_texts
import pytest

BUILD = pathlib.Path(os.environ["VARNEL_BUILD"]).resolve()
PROGRAM = pathlib.Path(os.environ["VARNEL_BINARY"]).resolve()
LIBRARY = BUILD / "libdirclient.so"


def is_hardened():
    cache = (BUILD / "CMakeCache.txt").read_text(encoding="utf-8")
    return re.search(r"^VARNEL_HARDEN:\w+=(ON|1|TRUE|YES)$", cache, re.MULTILINE) is not None


HARDENED = pytest.mark.skipif(not is_hardened(), reason="this build is not a hardened one")
EACH_FILE = pytest.mark.parametrize("file", [PROGRAM, LIBRARY], ids=["program", "library"])


def readelf(*arguments):
    done = subprocess.run(["readelf", "--wide", *arguments], capture_output=True, encoding="utf-8", check=True)
    return done.stdout


def symbols_from_elsewhere(file):
    """Names that the dynamic loader looks up in other files, without their versions."""
    return {name.split("@")[0] for name in re.findall(r" UND (\S+)", readelf("--dyn-syms", file))}


def test_the_release_preset_is_hardened():
    presets = json.loads((message_texts.sources() / "CMakePresets.json").read_text(encoding="utf-8"))
    variables = {preset["name"]: preset.get("cacheVariables", {}) for preset in presets["configurePresets"]}
    assert variables["release"]["VARNEL_HARDEN"] == "ON"


@pytest.mark.skipif(bool(os.environ.get("VARNEL_SANITIZE")), reason="a sanitizer is a library of its own")
@EACH_FILE
def test_it_needs_no_library_beyond_those_of_the_language_and_of_the_system(file):
    """varnelctl alone is linked with others."""
    needed = re.findall(r"\(NEEDED\).*\[(.*)\]", readelf("--dynamic", file))
    assert needed
    assert [name for name in needed if not re.match(r"(libstdc\+\+|libm|libgcc_s|libc|ld-linux[\w-]*)\.so\.", name)] == []


@HARDENED
@EACH_FILE
def test_it_is_loaded_at_any_address(file):
    assert re.search(r"^\s*Type:\s+DYN ", readelf("--file-header", file), re.MULTILINE)


@HARDENED
def test_the_program_is_a_position_independent_executable():
    assert re.search(r"\(FLAGS_1\).*\bPIE\b", readelf("--dynamic", PROGRAM))


@HARDENED
@EACH_FILE
def test_what_is_relocated_is_bound_at_the_start_and_then_read_only(file):
    assert re.search(r"^\s*GNU_RELRO ", readelf("--program-headers", file), re.MULTILINE)
    assert re.search(r"\(FLAGS\).*\bBIND_NOW\b", readelf("--dynamic", file))


@HARDENED
@EACH_FILE
def test_stacks_are_guarded(file):
    assert "__stack_chk_fail" in symbols_from_elsewhere(file)


@HARDENED
@EACH_FILE
def test_functions_of_the_c_library_check_the_sizes_of_buffers(file):
    checking = {name for name in symbols_from_elsewhere(file) if re.fullmatch(r"__\w+_chk", name)}
    assert "__vsnprintf_chk" in checking


@HARDENED
@EACH_FILE
def test_every_source_is_compiled_with_the_guards_of_the_stack(file):
    """The compiler notes its options beside the debug information."""
    options = re.findall(r"GNU C(?:\+\+)?\d+ .*", readelf("--string-dump=.debug_str", file))
    if not options:
        pytest.skip("this compiler does not note its options")
    for noted in options:
        assert {"-fstack-protector-strong", "-fstack-clash-protection"} <= set(noted.split())
