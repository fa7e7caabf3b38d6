"""Runs varnelctl in a directory of its own."""

import json
import os
import pathlib

import varnel_run

BINARY = pathlib.Path(os.environ.get("VARNELCTL_BINARY", "varnelctl")).resolve()

GOOD, WRONG, MISUSE, SYSTEM_FAILED = 0, 1, 2, 3


class ControlSite(varnel_run.Site):
    """A site whose run() is one of varnelctl, and split() one of varnel."""

    def __init__(self, varnel, path):
        super().__init__(BINARY, path)
        self.varnel = varnel_run.Site(varnel, path)

    def split(self, *arguments, **options):
        return self.varnel.run(*arguments, **options)

    def answer(self, status, *arguments, **options):
        """The standard output of a run with this status and nothing on standard error."""
        run = self.run(*arguments, **options)
        assert (run.status, run.stderr) == (status, b""), run
        return run.stdout

    def json(self, status, *arguments, **options):
        """The object that a run with --json prints."""
        run = self.run(*arguments, "--json", **options)
        assert run.status == status, run
        return json.loads(run.stdout)


def peak_memory(directory, *arguments):
    """In kB, of a good run."""
    return varnel_run.peak_memory(BINARY, directory, *arguments)
