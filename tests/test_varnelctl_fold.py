"""varnelctl fold: no line over 76 bytes, and the same text."""

import base64
import bz2
import gzip
import lzma
import random
import re
import subprocess

import pytest
from varnelctl_run import GOOD, MISUSE, SYSTEM_FAILED, ControlSite, peak_memory

from varnel_run import MEASURES_MEMORY, ONE_SERVER, SUCCESS

LONGEST = 76


@pytest.fixture
def site(binary, directory):
    return ControlSite(binary, directory)


# --- A model --------------------------------------------------------------------------------------


def line_end(line):
    found = re.search(rb"\r?\n\Z", line)
    return found.group() if found else b""


def characters(text):
    """Each byte that is part of no UTF-8 character is one by itself."""
    return [c.encode("utf-8", "surrogateescape") for c in text.decode("utf-8", "surrogateescape")]


def folded(data):
    lines = re.findall(rb"[^\n]*\n|[^\n]+\Z", data)
    style = next((line_end(line) for line in lines if line_end(line)), b"\n")
    result = []
    for line in lines:
        own = line_end(line)
        pieces = [b""]
        for character in characters(line[: len(line) - len(own)]):
            if len(pieces[-1]) + len(character) > (LONGEST if len(pieces) == 1 else LONGEST - 1):
                pieces.append(b"")
            pieces[-1] += character
        for piece in pieces[:-1]:
            result += [piece, b"\r\n" if piece.endswith(b"\r") else style, b" "]
        result += [pieces[-1], own]
        style = own or style
    return b"".join(result)


def unfolded(data):
    return re.sub(rb"\r?\n ", b"", data)


def longest_line(data):
    return max(len(re.sub(rb"\r\Z", b"", line)) for line in data.split(b"\n"))


def test_the_model_on_plain_cases():
    assert folded(b"a" * 76 + b"\nb") == b"a" * 76 + b"\nb"
    assert folded(b"a" * 77 + b"\r\n") == b"a" * 76 + b"\r\n a\r\n"
    assert folded(b"a" * 75 + "é".encode() + b"\n") == b"a" * 75 + b"\n " + "é".encode() + b"\n"


# --- Properties -----------------------------------------------------------------------------------


def check(site, data):
    result = site.answer(GOOD, "fold", input=data)
    assert result == folded(data)
    assert longest_line(result) <= LONGEST
    assert unfolded(result) == unfolded(data)
    assert site.answer(GOOD, "fold", input=result) == result
    return result


PARTS = [b"a", b" ", b"\xc3\xa9", "山".encode(), "\U0001f600".encode(), b"\xff", b"\xc3", b"\xa9",
         b"\xe5\xb1", b"\xf0\x9f\x98", b"\xed\xa0\x80", b"\xc0\xaf", b"\xf4\x90\x80\x80", b"\xe0\x80\x80",
         b"\r", b"\0", b"\t", b"#"]  # fmt: skip


def random_text(generator):
    data = b""
    for _ in range(generator.randrange(1, 12)):
        some = generator.choices(PARTS, k=generator.choice([1, 2, 4]))
        size = generator.choice([0, 1, 70, 74, 75, 76, 77, 78, 150, 151, 152, 227, 400])
        size += generator.randrange(-2, 3)
        line = b""
        while len(line) < size:
            line += generator.choice(some)
        data += line + generator.choice([b"\n", b"\n", b"\r\n", b"\n ", b"\r\n ", b"\r", b""])
    return data


@pytest.mark.parametrize("seed", range(8))
def test_random_texts(site, seed):
    generator = random.Random(seed)
    for _ in range(10):
        check(site, random_text(generator))


def test_texts_longer_than_any_block(site):
    generator = random.Random(0)
    data = b"".join(random_text(generator) for _ in range(2500))
    assert len(data) > 1_500_000
    check(site, b"first\n" + data)


def test_texts_that_come_in_small_parts(site):
    generator = random.Random(3)
    data = b"".join(random_text(generator) for _ in range(5))
    with site.start("fold", stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
        at = 0
        while at < len(data):
            size = generator.randrange(1, 60)
            process.stdin.write(data[at : at + size])
            process.stdin.flush()
            at += size
        assert process.communicate()[0] == folded(data)
    assert process.returncode == GOOD


@pytest.mark.parametrize("end", [b"\n", b"\r\n", b""])
@pytest.mark.parametrize("size", [*range(74, 80), *range(150, 154)])
def test_lines_about_the_limit(site, size, end):
    data = b"a" * size + end
    result = check(site, data)
    assert (result == data) == (size <= LONGEST)


@pytest.mark.parametrize("character", ["é", "山", "\U0001f600"])
@pytest.mark.parametrize("before", range(70, 77))
def test_no_character_is_divided(site, before, character):
    text = b"a" * before + character.encode() * 50 + b"\n"
    result = check(site, text)
    for line in result.splitlines():
        line.decode("utf-8")


# --- Line ends ------------------------------------------------------------------------------------


def test_a_fold_has_the_line_end_of_the_line_before(site):
    long = b"x" * 80
    data = b"\n".join([long, long + b"\r", long, b""])
    assert check(site, data) == (
        b"x" * 76 + b"\n xxxx\n" + b"x" * 76 + b"\n xxxx\r\n" + b"x" * 76 + b"\r\n xxxx\n"
    )


def test_the_first_line_looks_ahead_to_its_end(site):
    assert check(site, b"y" * 100_000 + b"\r\n").count(b"\r\n") == 1 + (100_000 - 2) // 75


def test_the_end_of_a_very_long_first_line_is_not_waited_for(site):
    data = b"y" * 300_000 + b"\r\n" + b"z" * 77 + b"\n"
    result = site.answer(GOOD, "fold", input=data)
    first, second = result.split(b"\r\n", 1)
    assert unfolded(first) == b"y" * 300_000 and b"\r" not in first
    assert second == b"z" * 76 + b"\r\n z\n"


def test_a_lone_carriage_return_is_no_part_of_a_fold(site):
    data = b"x" * 75 + b"\r" + b"y" * 5 + b"\n"
    assert check(site, data) == b"x" * 75 + b"\r\r\n " + b"y" * 5 + b"\n"


def test_comments_and_folds(site):
    data = b"#" + b" c" * 60 + b"\n" + b"dn: o=x\n ample\n " + b"v" * 90 + b"\n"
    lines = check(site, data).splitlines()
    assert [len(line) for line in lines] == [76, 46, 7, 6, 76, 16]


@pytest.mark.parametrize("data", [b"", b"\n", b"\r\n", b"\r", b" ", b"\n\n\n"])
def test_little(site, data):
    assert site.answer(GOOD, "fold", input=data) == data


# --- For a split ----------------------------------------------------------------------------------


def ldapsearch_export(generator):
    """Lines as they come with -o ldif-wrap=no."""
    data = b"version: 1\n\n"
    names = [b"o=example"] + [b"cn=%d,ou=%s,o=example" % (i, b"u" * i) for i in range(0, 6000, 600)]
    for name in names:
        data += b"dn: " + name + b"\ndescription: " + "é".encode() * generator.randrange(3000) + b"\n"
        photo = generator.randbytes(generator.choice([10, 5000]))
        data += b"jpegPhoto:: " + base64.b64encode(photo) + b"\n\n"
    value = base64.b64encode(generator.randbytes(750_000))
    assert len(value) == 1_000_000
    return data + b"dn: cn=large,o=example\njpegPhoto:: " + value + b"\n"


def test_what_ldapsearch_wrote_can_be_split(site):
    data = ldapsearch_export(random.Random(1))
    site.configure(*ONE_SERVER)
    site.write("in.ldif", data)
    # As it is it cannot be: the pieces of base64 values are no LDIF lines.
    run = site.split()
    assert run.status == 2 and "VNL032033E" in run.identifiers()
    for name in ("one.ldif", "rest.ldif", "run.log"):
        (site.path / name).unlink()
    result = site.answer(GOOD, "fold", "in.ldif")
    site.write("in.ldif", result)
    run = site.split()
    run.expect_exactly(0, *SUCCESS)
    wanted = data.removeprefix(b"version: 1\n\n")
    found = unfolded(site.read("one.ldif")).removeprefix(b"version: 1\n\n")
    assert re.sub(rb"\n+", b"\n", found).strip() == re.sub(rb"\n+", b"\n", wanted).strip()


# --- Files ----------------------------------------------------------------------------------------


def zstandard(data):
    return subprocess.run(["zstd", "-q", "-c"], input=data, stdout=subprocess.PIPE, check=True).stdout


TEXT = b"dn: o=example\ndescription: " + b"abc " * 50_000 + b"\n"
FORMATS = {"plain": bytes, "gz": gzip.compress, "bz2": bz2.compress, "xz": lzma.compress, "zst": zstandard}


@pytest.mark.parametrize("kind", FORMATS)
@pytest.mark.parametrize("way", ["file", "standard input", "pipe", "dash"])
def test_inputs(site, kind, way):
    site.write("in", FORMATS[kind](TEXT))
    if way == "file":
        result = site.answer(GOOD, "fold", "in")
    elif way == "dash":
        result = site.answer(GOOD, "fold", "-", input=site.read("in"))
    elif way == "pipe":
        result = site.answer(GOOD, "fold", input=site.read("in"))
    else:
        with open(site.path / "in", "rb") as stream:
            result = site.answer(GOOD, "fold", stdin=stream)
    assert result == folded(TEXT)


def test_standard_input_that_was_begun(site):
    site.write("in", b"first\n" + TEXT)
    with open(site.path / "in", "rb", buffering=0) as stream:
        stream.read(6)
        assert site.answer(GOOD, "fold", stdin=stream) == folded(TEXT)


def test_a_compressed_input_that_was_cut_short(site):
    generator = random.Random(2)
    site.write("in.gz", gzip.compress(generator.randbytes(500_000))[:-1000])
    run = site.run("fold", "in.gz")
    assert run.status == SYSTEM_FAILED
    assert run.stderr.startswith(b"varnelctl: in.gz: ")


@MEASURES_MEMORY
def test_the_memory_does_not_grow_with_a_line(site):
    def peak(size):
        site.write("in", b"dn: o=x\nd: " + b"x" * size + b"\n")
        return peak_memory(site.path, "fold", "in")

    assert peak(60_000_000) < peak(1_000_000) + 4_000


# --- Faults ---------------------------------------------------------------------------------------


def test_a_missing_file(site):
    run = site.run("fold", "nowhere")
    assert (run.status, run.stdout) == (SYSTEM_FAILED, b"")
    assert run.stderr == b"varnelctl: nowhere: No such file or directory\n"


def test_a_directory(site):
    run = site.run("fold", ".")
    assert run.status == SYSTEM_FAILED and run.stderr != b""


@pytest.mark.parametrize("kind", ["plain", "gz"])
def test_output_that_cannot_be_written(site, kind):
    site.write("in", FORMATS[kind](TEXT * 20))
    with open("/dev/full", "wb") as full:
        run = site.run("fold", "in", stdout=full)
    assert run.status == SYSTEM_FAILED
    assert run.stderr == b"varnelctl: standard output: No space left on device\n"


@pytest.mark.parametrize("arguments", [["--bad"], ["a", "b"], ["-f"]])
def test_wrong_use(site, arguments):
    run = site.run("fold", *arguments)
    assert run.status == MISUSE and run.stdout == b"" and run.stderr != b""


def test_help(site):
    assert b"FILE" in site.answer(GOOD, "fold", "--help")
