"""The verbs of varnelctl that only look, with each of their system calls failing in turn: an answer is the
right one, or the status says that there is none. test_varnelctl_split.py does the same to the one that writes."""

import errno

import pytest

import fault_runs
from fault_runs import OUTPUTS, fault_at, outputs_of, run_with_fault, sample_input
from varnel_run import TWO_SERVERS
from varnelctl_run import GOOD, SYSTEM_FAILED, WRONG, ControlSite

CALLS = ("openat", "read", "readv", "write", "writev", "close", "lseek", "newfstatat", "fstat", "statx",
         "getcwd", "prlimit64", "fcntl")  # fmt: skip
if fault_runs.SANITIZED:
    CALLS = tuple(name for name in CALLS if name != "prlimit64")
ERRORS = {"openat": errno.EACCES, "write": errno.ENOSPC, "writev": errno.ENOSPC, "getcwd": errno.ENOENT}
VERBS = [["check"], ["plan"], ["verify"], ["verify", "--names"], ["where", "cn=1,o=example"], ["fold", "in.ldif"]]
DATA = ["in.ldif", *OUTPUTS]
# Those whose status 1 would say something of the data.
COMPARING = ("verify", "fold")


@pytest.fixture
def ctl(binary, directory):
    """The directory of a split that is done."""
    site = ControlSite(binary, directory)
    data = sample_input(600)
    site.configure(*TWO_SERVERS)
    for name, content in {"in.ldif": data, "run.log": b"", **outputs_of(data)}.items():
        site.write(name, content)
    return site


def fault_found(ctl, call, verb, good, run):
    """What is wrong with a run in which the call failed; empty: nothing."""
    if run.status not in (GOOD, WRONG, SYSTEM_FAILED):
        return "no status of varnelctl"
    if run.status == GOOD:
        # A file of which the system tells nothing is none that exists to check.
        fewer = verb == ["check"] and call.name in ("newfstatat", "fstat", "statx")
        return "" if fewer or (run.stdout, run.stderr) == (good.stdout, good.stderr) else "another answer"
    if (run.stdout, run.stderr) in ((good.stdout, good.stderr), (b"", b"")):
        return "not a word"
    of_data = call.path.rpartition("/")[2] in DATA
    if run.status == WRONG and of_data and verb[0] in COMPARING:
        return "the data is blamed"
    if call.descriptor == 1 and run.status != SYSTEM_FAILED:
        return "lost output is no failure of the system"
    return ""


@pytest.mark.parametrize("verb", VERBS, ids=" ".join)
def test_each_call_fails(ctl, verb):
    before = ctl.tree()
    good = run_with_fault(ctl, fault_runs.GOOD_RUN, *verb, calls=CALLS)
    assert good.run.status == GOOD and good.run.stdout != b""
    wrong, unread, tried = [], set(), set()
    for index in range(fault_runs.first_call_of_main(good.calls), len(good.calls)):
        call = good.calls[index]
        if not fault_runs.is_of_the_program(ctl, call):
            continue
        fault = fault_at("fail", good.calls, index, ERRORS.get(call.name, errno.EIO))
        result = run_with_fault(ctl, fault, *verb, calls=CALLS)
        found = fault_found(ctl, call, verb, good.run, result.run)
        if found or ctl.tree() != before:
            wrong.append(f"{call}: {found or 'a file was changed'}: {result.shown()}")
        tried.add(call.name)
        if call.name == "read" and result.run.status == SYSTEM_FAILED:
            unread.add(call.path.rpartition("/")[2])
    assert wrong == []
    assert {"openat", "read", "write"} <= tried
    # What it goes through, it cannot do without.
    read = {"verify": set(DATA), "plan": {"in.ldif"}, "fold": {"in.ldif"}}
    assert unread == read.get(verb[0], set())
