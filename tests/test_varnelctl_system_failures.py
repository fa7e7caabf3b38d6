"""What varnelctl does where the system or the data fails it, whatever the verb: status 3 and a reason."""

import resource

import fault_runs
import memcheck
import pytest
from test_foreign_formats import compressed
from varnelctl_run import GOOD, SYSTEM_FAILED, ControlSite

from varnel_run import ONE_SERVER

FIRST = b"dn: o=example\no: example\n"
SECOND = b"\ndn: cn=x,o=example\ncn: x\n"
READING_VERBS = [["plan"], ["split", "--replace"], ["verify"], ["verify", "--names"]]


@pytest.fixture
def site(binary, directory):
    return ControlSite(binary, directory)


def expect_failure(run, reason):
    assert (run.status, run.stdout) == (SYSTEM_FAILED, b""), run
    assert run.lines("stderr")[-1].startswith("varnelctl: ") and reason in run.lines("stderr")[-1], run


@pytest.mark.skipif(memcheck.ON, reason=memcheck.NEEDS_MEMORY)
@pytest.mark.skipif(fault_runs.SANITIZED, reason="a sanitizer takes more address space than that")
@pytest.mark.parametrize("verb", READING_VERBS, ids=" ".join)
def test_no_memory(site, verb):
    site.configure(*ONE_SERVER)
    # One value, which has to be in memory as a whole.
    site.write("in.ldif", b"dn: o=example\nx: " + b"\n ".join([b"x" * 4000] * 15_000) + b"\n")
    megabytes = 100
    run = site.run(*verb, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (megabytes << 20,) * 2))
    expect_failure(run, "out of memory")


# --- Compressed data ------------------------------------------------------------------------------


@pytest.mark.parametrize("verb", READING_VERBS, ids=" ".join)
@pytest.mark.parametrize("program", ["gzip", "bzip2", "xz", "zstd"])
def test_what_follows_compressed_data_is_not_passed_over(site, program, verb):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", FIRST + SECOND)
    assert site.run("split").status == GOOD
    first, second = compressed(program, FIRST), compressed(program, SECOND)
    site.write("in.ldif", first + second)
    assert site.run(*verb).status == GOOD
    for behind in (b"\n" + second, second[:5], bytes(102) + second, bytes(300_000) + b"x"):
        site.write("in.ldif", first + behind)
        expect_failure(site.run(*verb), "in.ldif")


@pytest.mark.parametrize("program", ["gzip", "bzip2", "xz"])
def test_zeros_behind_compressed_data_are_padding(site, program):
    site.configure(*ONE_SERVER)
    data = compressed(program, FIRST + SECOND)
    for zeros in (4, 512, 600_000):
        site.write("in.ldif", data + bytes(zeros))
        assert site.run("split", "--replace").status == GOOD
        assert site.read("one.ldif").count(b"dn: ") == 2


@pytest.mark.parametrize("program", ["gzip", "bzip2"])
def test_what_follows_compressed_data_from_a_pipe(site, program):
    site.configure(*("inputfile: /dev/stdin" if "inputfile" in x else x for x in ONE_SERVER))
    first, second = compressed(program, FIRST), compressed(program, SECOND)
    expect_failure(site.run("split", input=first + b"\n" + second), "stdin")
    assert site.run("split", input=first + second).status == GOOD
    assert site.read("one.ldif").count(b"dn: ") == 2


def test_a_name_that_a_reason_has_in_it_stays_on_its_line(site):
    name = "in\x1b[31m\x7f.ldif"
    site.configure(*(f"inputfile: {name}" if "inputfile" in x else x for x in ONE_SERVER))
    site.write(name, compressed("gzip", FIRST)[:-9])
    expect_failure(site.run("plan"), "in\\1B[31m\\7F.ldif: truncated")


# --- Output files ---------------------------------------------------------------------------------


@pytest.mark.parametrize("verb", [["verify"], ["verify", "--names"]], ids=" ".join)
def test_an_output_file_that_the_system_does_not_tell_of_is_not_missing(site, verb):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", FIRST)
    assert site.run("split").status == GOOD
    (site.path / "one.ldif").unlink()
    (site.path / "one.ldif").symlink_to("one.ldif")
    expect_failure(site.run(*verb), "one.ldif: Too many levels of symbolic links")
