"""Configurations that are cut off or damaged: a run never crashes. It succeeds, or it says what is
wrong and fails."""

import random

import memcheck
import pytest

from varnel_run import DEFAULT_NAME, TWO_SERVERS, m

TEXT = ("# two servers\n" + "\n".join(TWO_SERVERS) + "\n").encode()

CONFIGURATION_MESSAGES = {f"VNL032{number:03}E" for number in (2, 4, 6, 7, 8, 13, 17, 48, 49, 51)}
EXPLANATIONS = {"VNL032062E", "VNL032073E", "VNL032074E"}
# What a damaged line may turn into beside a fault.
WARNINGS = {"VNL032036W", "VNL032065W", "VNL032071W", "VNL032072W"}
INPUT = b"dn: o=example\n\ndn: o=x\n"
GIVEN = {"varnelConfig", "in.ldif"}


def run_orderly(site, data):
    """Runs from an empty start; the status is 0, or 1 with one message on what is wrong
    and others that explain it."""
    for path in site.path.iterdir():
        path.unlink()
    site.write("in.ldif", INPUT)
    site.write("varnelConfig", data)
    run = site.run()
    identifiers = [x for x in run.identifiers() if x not in WARNINGS]
    if run.status == 0:
        assert identifiers[:3] == ["VNL032001I", "VNL032028I", "VNL032037I"], (data, run)
        assert "VNL032039I" in identifiers, (data, run)
    else:
        assert run.status == 1, (data, run)
        assert identifiers[0] == "VNL032001I" and identifiers[-1] == "VNL032027E", (data, run)
        told = [x for x in identifiers[1:-1] if x not in EXPLANATIONS]
        assert len(told) == 1 and set(told) <= CONFIGURATION_MESSAGES, (data, run)
        assert identifiers[1:2] == told, (data, run)
    assert site.read("in.ldif") == INPUT
    assert site.read("varnelConfig") == data
    return run


def complete_lines(size):
    return TEXT[:size].count(b"\n")


def test_every_beginning_of_a_configuration(site):
    for size in memcheck.some(range(len(TEXT) + 1)):
        run = run_orderly(site, TEXT[:size])
        tree = set(site.tree()) - GIVEN
        # A line that is cut off in its file name names another file, whose name is shorter.
        full = {"run.log", "rest.ldif", "one.ldif", "two.ldif", "varnel.log", "parent.ldif"}
        cut = {name for name in tree if any(whole.startswith(name) for whole in full)}
        bare = {"logfile", "defaultoutputfile", "file"}
        assert tree <= full | cut | bare, size
        last = TEXT[:size].rpartition(b"\n")[2]
        # A line without a colon is key and value both, so that a bare "file" names a file "file".
        begun = last == b"file" or (last.startswith(b"file: ") and len(last) > len(b"file: "))
        # The run succeeds where the text ends behind a "file" line: each "url" has its "file" then.
        whole = complete_lines(size) + (1 if begun else 0)
        assert (run.status == 0) == (whole in (9, 11) and (begun or not last)), size


def test_the_beginning_without_any_byte(site):
    run_orderly(site, b"").expect(1, m(1, DEFAULT_NAME), m(49, "basedn"), m(27))


@pytest.mark.parametrize("seed", range(8))
def test_configurations_with_random_faults(site, seed):
    generator = random.Random(seed)
    # No slash: every file stays in the directory of the test.
    faults = b"\n\n\r \0\t::=,+#\\\"axz019\xff"
    for _ in memcheck.some(range(40)):
        data = bytearray(TEXT)
        for _ in range(generator.choice([1, 1, 2, 6])):
            at = generator.randrange(len(data))
            kind = generator.randrange(3)
            if kind == 0:
                data[at] = generator.choice(faults)
            elif kind == 1:
                data.insert(at, generator.choice(faults))
            else:
                del data[at]
        run_orderly(site, bytes(data))


@pytest.mark.parametrize("seed", range(8))
def test_lines_in_random_order(site, seed):
    generator = random.Random(seed)
    lines = [*TWO_SERVERS, "basedn: o=other", "dn: o=x", "parenturl: x", "", "# comment"]
    for _ in memcheck.some(range(30)):
        chosen = generator.choices(lines, k=generator.randrange(1, 16))
        run_orderly(site, ("\n".join(chosen) + "\n").encode())
