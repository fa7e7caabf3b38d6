"""Input and configuration in formats that are not read: the run says so."""

import base64
import bz2
import gzip
import lzma
import random
import shutil
import subprocess

import pytest

from varnel_run import DEFAULT_NAME, INPUT, ONE_SERVER, SUCCESS, failed_split, m

DATA = b"dn: o=example\no: example\n\ndn: o=x\n"



def compressed(program, data):
    if program == "zstd":
        if shutil.which("zstd") is None:
            pytest.skip("zstd is not installed")
        packed = subprocess.run(["zstd", "-c"], input=data, capture_output=True, check=True)
        return packed.stdout
    return {"gzip": gzip, "bzip2": bz2, "xz": lzma}[program].compress(data)


@pytest.mark.parametrize("program", ["gzip", "bzip2", "xz", "zstd"])
def test_a_compressed_input(site, program):
    # So much of what packs badly has line feeds among its packed bytes.
    noise = base64.b64encode(random.Random(1).randbytes(6000))
    site.write("in.ldif", compressed(program, b"dn: o=x\ndescription:: " + noise + b"\n"))
    site.configure(*ONE_SERVER)
    name = site.absolute("in.ldif")
    run = site.run()
    assert run.status == 2
    assert run.lines("stderr")[-1] == m(74, name, f"compressed data ({program})").line()
    assert run.identifiers()[-2:] == ["VNL032034E", "VNL032074E"]


@pytest.mark.parametrize("program", ["gzip", "bzip2", "xz", "zstd"])
def test_a_compressed_configuration(site, program):
    site.write("varnelConfig", compressed(program, b"actiontype: splitonly\n"))
    run = site.run()
    assert run.status == 1
    at = run.lines("stderr").index(m(74, DEFAULT_NAME, f"compressed data ({program})").line())
    assert run.message_lines("stderr")[at - 1][:10] in ("VNL032004E", "VNL032006E")
    assert run.identifiers()[-1] == "VNL032027E"


def test_the_pipe_that_the_message_proposes(site):
    site.configure(*("inputfile: /dev/stdin" if line == INPUT else line for line in ONE_SERVER))
    site.run(input=DATA).expect(0, *SUCCESS)


@pytest.mark.parametrize("lines", [["no colon"], ["dn: o=example", "bad"]])
def test_a_plain_input_that_is_at_fault_is_no_such_format(site, lines):
    site.write("in.ldif", "\n".join(lines) + "\n")
    site.configure(*ONE_SERVER)
    line = len(lines)
    site.run().expect(2, *failed_split(m(33, line, site.absolute("in.ldif")), m(34, line)))
