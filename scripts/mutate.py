"""Does the work of scripts/mutate.sh, which tells what it is."""

import argparse
import collections
import concurrent.futures
import contextlib
import ctypes
import fcntl
import json
import multiprocessing
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import traceback

import mutations

TOP = pathlib.Path(__file__).resolve().parent.parent
WORK = TOP / "build" / "mutate"
SOURCES = WORK / "sources"  # as they were at the start, whatever is edited meanwhile
EQUIVALENT = SOURCES / "scripts" / "equivalent-mutants.tsv"
FOLDERS = ("actors/", "common/", "config/", "driver/", "ldifsplit/", "platform/", "referrals/")
# Tests, tables, texts, and a program that only a test runs.
APART = re.compile(r"_test\.|SchemaProbe|unicode_tables\.|catalog\.cpp|commandLineOptions\.h|string_prep_lines")
ENOUGH = 0.95

# They look at the form of the sources, at scripts, at tables that are not mutated, at speed, or take long to
# show once more what others show.
NOT_RUN = re.compile(r"tests\.test_(sources|mutations|installation|real_directory)|unicode_tables\.|bench\.")
LONG_TEST = "string_prep.AgreesWithIndependentComputationInASample"
ITS_SOURCES = "platform/dirclient/string_prep."

MEMORY = 8 << 30
LARGEST_FILE = 4 << 30
BUILD_LIMIT = 900

CMAKE_OPTIONS = {
    "CMAKE_BUILD_TYPE": "Mutant",
    "CMAKE_C_FLAGS": "-O1 -w",
    "CMAKE_CXX_FLAGS": "-O1 -w",
    "CMAKE_EXE_LINKER_FLAGS": "-fuse-ld=lld",
    "CMAKE_SHARED_LINKER_FLAGS": "-fuse-ld=lld",
    "CMAKE_C_COMPILER_LAUNCHER": "ccache",
    "CMAKE_CXX_COMPILER_LAUNCHER": "ccache",
    # Else the build runs what it has built.
    "CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE": "PRE_TEST",
}

# A mutant: `file` with one mutation. What became of it: `verdict`, and `how`, by what and when.
Mutant = collections.namedtuple("Mutant", "file mutation")
Result = collections.namedtuple("Result", "mutant verdict how discarded")
Test = collections.namedtuple("Test", "name command environment directory pattern seconds")

# --- Processes ------------------------------------------------------------------------------------

libc = ctypes.CDLL(None, use_errno=True)
PR_SET_PDEATHSIG = 1
PR_SET_CHILD_SUBREAPER = 36


def adopt_orphans():
    """What a child leaves running becomes a child of this process."""
    libc.prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)


def die_with_parent(number):
    """This process gets that signal when its parent ends."""
    libc.prctl(PR_SET_PDEATHSIG, number, 0, 0, 0)


def kill_children():
    """Until there is none, with those that they leave behind."""
    while True:
        for pid in pathlib.Path(f"/proc/self/task/{os.getpid()}/children").read_text().split():
            with contextlib.suppress(ProcessLookupError):
                os.kill(int(pid), signal.SIGKILL)
        try:
            os.waitpid(-1, 0)
        except ChildProcessError:
            return


def run(command, log, directory, limit, environment=None):
    """The status, or None where the time was over. Nothing that it started is left running."""

    def prepare():
        die_with_parent(signal.SIGKILL)
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
        resource.setrlimit(resource.RLIMIT_FSIZE, (LARGEST_FILE, LARGEST_FILE))

    with open(log, "wb") as output:
        process = subprocess.Popen(
            command, cwd=directory, env={**os.environ, **(environment or {})}, stdin=subprocess.DEVNULL,
            stdout=output, stderr=subprocess.STDOUT, start_new_session=True, preexec_fn=prepare,
        )  # fmt: skip
        try:
            return process.wait(limit)
        except subprocess.TimeoutExpired:
            return None
        finally:
            process.kill()
            process.wait()
            kill_children()


# --- A copy of the sources, and its build ---------------------------------------------------------


def copy_sources():
    """What git knows or would add; returns the names."""
    command = ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
    listed = subprocess.run(command, cwd=TOP, check=True, capture_output=True).stdout
    names = sorted(set(listed.decode().split("\0")) - {""})
    names = [name for name in names if (TOP / name).is_file()]
    for name in names:
        (SOURCES / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(TOP / name, SOURCES / name)
    return names


class Bench:
    """A copy of the sources and what is built of it."""

    def __init__(self, number, temporary):
        self.directory = WORK / str(number)
        self.tree = self.directory / "tree"
        self.build = self.directory / "build"
        self.log = self.directory / "log"
        # Tests run with other rights too.
        self.temporary = temporary / str(number)
        self.dependents = collections.defaultdict(set)  # of a source: the objects made of it
        self.inputs = {}  # of a target: all that it is made of
        self.tests = []

    def set_up(self):
        self.temporary.mkdir(mode=0o755)
        shutil.copytree(SOURCES, self.tree)
        options = [f"-D{key}={value}" for key, value in CMAKE_OPTIONS.items()]
        self.require("cmake", "-G", "Ninja", "-S", str(self.tree), "-B", str(self.build), *options)
        self.require("ninja", "-j", str(os.cpu_count()))
        self.read_dependents()
        self.read_tests()

    def call(self, *command, limit=BUILD_LIMIT, **environment):
        environment = {"CCACHE_BASEDIR": str(self.directory), "CCACHE_NOHASHDIR": "1", **environment}
        return run(command, self.log, self.build if self.build.exists() else self.tree, limit, environment)

    def require(self, *command, **options):
        if self.call(*command, **options) != 0:
            sys.exit(f"{self.tail()}\nThis failed without any mutation: {' '.join(command)}")

    def tail(self):
        return "\n".join(self.log.read_text(errors="replace").splitlines()[-40:])

    def read_dependents(self):
        self.require("ninja", "-t", "deps")
        target = None
        for line in self.log.read_text().splitlines():
            if line.startswith("    "):
                path = os.path.relpath((self.build / line.strip()).resolve(), self.tree)
                self.dependents[path].add(target)
            elif line:
                target = line.split(": #deps")[0]

    def read_tests(self):
        """Each program of unit tests is one test here, whatever it holds."""
        self.require("ctest", "--show-only=json-v1")
        found = {}
        for test in json.loads(self.log.read_text())["tests"]:
            properties = {entry["name"]: entry["value"] for entry in test["properties"]}
            command, name = test["command"], test["name"]
            if NOT_RUN.match(name):
                continue
            if any(word.startswith("--gtest_filter") for word in command):
                name = pathlib.Path(command[0]).name
                command = [command[0], "--gtest_fail_fast", "--gtest_brief=1"]
            elif name.startswith("tests."):
                command = [*command, "-x"]
            environment = dict(pair.split("=", 1) for pair in properties.get("ENVIRONMENT", []))
            directory = properties.get("WORKING_DIRECTORY", str(self.build))
            pattern = "|".join(properties.get("PASS_REGULAR_EXPRESSION", []))
            found[name] = Test(name, command, environment, directory, pattern, None)
        self.tests = list(found.values())

    def targets(self, test):
        """What has to be built for a test; nothing stands for everything."""
        if test.name.startswith("tests."):
            return []
        words = (os.path.relpath(word, self.build) for word in test.command if word.startswith("/"))
        return [word for word in words if not word.startswith("..")]

    def depends(self, test, objects):
        for target in self.targets(test):
            if target not in self.inputs:
                self.require("ninja", "-t", "inputs", target)
                self.inputs[target] = set(self.log.read_text().split())
        return any(self.inputs[target] & objects for target in self.targets(test)) or not self.targets(test)

    def run_test(self, test):
        """0 where it passed, None where it took too long, and the seconds that it took."""
        start = time.monotonic()
        environment = {**test.environment, "TMPDIR": str(self.temporary)}
        limit = BUILD_LIMIT if test.seconds is None else 20 + 8 * test.seconds
        status = run(test.command, self.log, test.directory, limit, environment)
        if test.pattern and status is not None:
            status = 0 if re.search(test.pattern, self.log.read_text(errors="replace")) else 1
        shutil.rmtree(self.temporary, ignore_errors=True)
        self.temporary.mkdir(mode=0o755)
        return status, time.monotonic() - start

    def measure_tests(self):
        measured = []
        for test in self.tests:
            status, seconds = self.run_test(test)
            if status != 0:
                sys.exit(f"{self.tail()}\nThis test fails without any mutation: {test.name}")
            measured.append(test._replace(seconds=seconds))
        return measured

    # --- A mutant ---------------------------------------------------------------------------------

    def tests_of(self, file, objects):
        """Those of its folder come first, those of the whole program last, and of all the shortest."""
        folder = os.path.dirname(file) + "/"

        def rank(test):
            whole_program = test.name.startswith("tests.")
            near = any(target.startswith(folder) for target in self.targets(test))
            return whole_program, not near, test.seconds

        wanted = [test for test in self.tests if test.name != LONG_TEST or file.startswith(ITS_SOURCES)]
        return sorted((test for test in wanted if self.depends(test, objects)), key=rank)

    def contents(self, objects):
        return {name: (self.build / name).read_bytes() for name in objects}

    def make_objects(self, objects):
        return self.call("ninja", *sorted(objects), CCACHE_DISABLE="1") == 0

    def verdict(self, file):
        """And by what: of the mutated file."""
        objects = self.dependents[file]
        own = {name for name in objects if "_test" not in name and "/fuzz/" not in name} or objects
        for some in (own, objects):
            before = self.contents(some)
            if not self.make_objects(some):
                return ("discarded", "does not compile") if some is own else ("killed", "compiling the tests")
            if self.contents(some) != before:
                break
        else:
            return "discarded", "the same object code"
        for test in self.tests_of(file, objects):
            if self.call("ninja", *self.targets(test), CCACHE_DISABLE="1") != 0:
                return "killed", "the build"
            status, _ = self.run_test(test)
            if status != 0:
                return "killed", test.name + (" (hangs)" if status is None else "")
        return "survived", ""

    def try_mutant(self, mutant):
        path = self.tree / mutant.file
        original = path.read_text()
        path.write_text(mutated(original, mutant.mutation))
        try:
            return self.verdict(mutant.file)
        finally:
            path.write_text(original)
            self.require("ninja", *sorted(self.dependents[mutant.file]))

    def first_that_counts(self, mutants, equivalent):
        discarded = 0
        for mutant in mutants:
            start = time.monotonic()
            why = equivalent.get(key_of(mutant))
            verdict, how = ("equivalent", why) if why else self.try_mutant(mutant)
            if verdict != "discarded":
                return Result(mutant, verdict, f"{how}, {time.monotonic() - start:.0f} s", discarded)
            discarded += 1
        return Result(None, "none", "", discarded)


# --- Mutants --------------------------------------------------------------------------------------


def mutated(text, mutation):
    return text[: mutation.begin] + mutation.new + text[mutation.end :]


def line_of(text, mutation):
    return text.count("\n", 0, mutation.begin) + 1


def lines_around(text, begin, end):
    """The lines that text[begin:end] touches, as one, without the blanks that do not count."""
    first = text.rfind("\n", 0, begin) + 1
    last = text.find("\n", end)
    return " ".join(text[first : last if last >= 0 else len(text)].split())


def before_and_after(mutant):
    text = (SOURCES / mutant.file).read_text()
    begin, end, new, _ = mutant.mutation
    changed = mutated(text, mutant.mutation)
    return lines_around(text, begin, end), lines_around(changed, begin, begin + len(new))


def key_of(mutant):
    """By this a mutant is known again after its line has moved."""
    return (mutant.file, *before_and_after(mutant))


def read_equivalent():
    """Key of a mutant -> why nobody can notice it."""
    rows = [line.split("\t") for line in EQUIVALENT.read_text().splitlines() if not line.startswith("#")]
    return {tuple(row[:3]): row[3] for row in rows}


def describe(mutant):
    text = (SOURCES / mutant.file).read_text()
    before, after = before_and_after(mutant)
    line = line_of(text, mutant.mutation)
    return f"{mutant.file}:{line} {mutant.mutation.kind}\n    - {before}\n    + {after}"


def all_mutants(names, places):
    """Of the product's sources; where places are given, of those alone."""
    found = []
    for name in names:
        if not name.startswith(FOLDERS) or not name.endswith((".cpp", ".h")) or APART.search(name):
            continue
        text = (SOURCES / name).read_text()
        for mutation in mutations.mutations_of(text):
            if not places or {name, f"{name}:{line_of(text, mutation)}"} & places:
                found.append(Mutant(name, mutation))
    return found


def draw(mutants, count, seed):
    """As many lists of neighbours, each in an order by chance: the first that counts is taken."""
    count = min(count, len(mutants))
    bounds = [len(mutants) * i // count for i in range(count + 1)] if count else [0]
    drawn = []
    for begin, end in zip(bounds, bounds[1:]):
        stratum = mutants[begin:end]
        random.Random(f"{seed} {begin}").shuffle(stratum)
        drawn.append(stratum)
    return drawn


# --- The run --------------------------------------------------------------------------------------

bench = None  # of this worker


def start_worker(numbers, temporary, tests):
    global bench
    die_with_parent(signal.SIGKILL)
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    signal.signal(signal.SIGTERM, signal.SIG_DFL)
    adopt_orphans()
    bench = Bench(numbers.get(), temporary)
    bench.set_up()
    if tests:
        durations = {test.name: test.seconds for test in tests}
        bench.tests = [test._replace(seconds=durations[test.name]) for test in bench.tests]


def measure_tests():
    return bench.measure_tests()


def work(stratum, equivalent):
    return bench.first_that_counts(stratum, equivalent)


def workers(count, first, *arguments):
    context = multiprocessing.get_context("fork")
    numbers = context.SimpleQueue()
    for number in range(first, first + count):
        numbers.put(number)
    return concurrent.futures.ProcessPoolExecutor(count, context, start_worker, (numbers, *arguments))


def report(results, seed):
    of = collections.Counter(result.verdict for result in results)
    print("\nSurvivors:" if of["survived"] else "\nNo survivors.")
    for result in results:
        if result.verdict == "survived":
            print(describe(result.mutant))
    judged = of["killed"] + of["survived"]
    score = of["killed"] / judged if judged else 1.0
    hangs = sum("(hangs)" in result.how for result in results)
    discarded = sum(result.discarded for result in results)
    print(
        f"\nseed {seed}: {judged + of['equivalent']} mutants, killed {of['killed']} (by a time limit {hangs}),"
        f" survived {of['survived']}, equivalent {of['equivalent']};"
        f" {discarded} did not compile or made no difference.\nscore {100 * score:.1f} %"
    )
    return 0 if score >= ENOUGH else 1


def conduct(options, temporary):
    names = copy_sources()
    drawn = draw(all_mutants(names, set(options.places)), options.n, options.s)[options.f - 1 :]
    if not drawn:
        sys.exit("There is nothing to mutate there.")
    if options.l:
        for stratum in drawn:
            print(describe(stratum[0]))
        return 0
    print(f"{len(drawn)} mutants. First the build and the tests without any.", flush=True)
    with workers(1, 0, temporary, []) as first:
        tests = first.submit(measure_tests).result()
    print(f"{len(tests)} tests, {sum(test.seconds for test in tests):.0f} s.", flush=True)
    equivalent, results = read_equivalent(), []
    with workers(options.j, 1, temporary, tests) as pool:
        pending = [pool.submit(work, stratum, equivalent) for stratum in drawn]
        for future in concurrent.futures.as_completed(pending):
            result = future.result()
            results.append(result)
            if result.mutant:
                print(f"{len(results)}: {result.verdict} ({result.how}) {describe(result.mutant)}", flush=True)
    return report(results, options.s)


def clean_up(temporary):
    kill_children()
    shutil.rmtree(WORK, ignore_errors=True)
    shutil.rmtree(temporary, ignore_errors=True)
    with contextlib.suppress(OSError):
        WORK.parent.rmdir()  # where it holds nothing else


def guarded(action, temporary):
    """Does it in a child. Whichever of the two is killed, the other one removes what there is."""
    adopt_orphans()
    guard, child = os.getpid(), os.fork()
    if child == 0:
        die_with_parent(signal.SIGTERM)
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            signal.signal(number, lambda *_: os._exit(clean_up(temporary) or 130))
        adopt_orphans()
        status = 130
        try:
            status = action() if os.getppid() == guard else 130
        except SystemExit as end:
            print(end, file=sys.stderr)
            status = 1
        except BaseException:
            traceback.print_exc()
            status = 1
        finally:
            sys.stdout.flush()
            sys.stderr.flush()
            clean_up(temporary)
            os._exit(status)
    for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
        signal.signal(number, lambda number, _: os.kill(child, number))
    _, status = os.waitpid(child, 0)
    clean_up(temporary)
    return os.waitstatus_to_exitcode(status)


def ordinal(text):
    if int(text) < 1:
        raise argparse.ArgumentTypeError("the first one is 1")
    return int(text)


def main():
    parser = argparse.ArgumentParser(prog="mutate.sh", usage="see the head of scripts/mutate.sh")
    parser.add_argument("-n", type=int, default=150)
    parser.add_argument("-s", type=int, default=1)
    parser.add_argument("-j", type=int, default=os.cpu_count())
    parser.add_argument("-f", type=ordinal, default=1)
    parser.add_argument("-l", action="store_true")
    parser.add_argument("places", nargs="*")
    options = parser.parse_args()
    WORK.parent.mkdir(exist_ok=True)
    with open(__file__, "rb") as lock:
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            sys.exit("Another run is at work here.")
        shutil.rmtree(WORK, ignore_errors=True)
        temporary = pathlib.Path(tempfile.mkdtemp(prefix="varnel-mutate."))
        temporary.chmod(0o755)
        sys.exit(1 if guarded(lambda: conduct(options, temporary), temporary) else 0)


if __name__ == "__main__":
    main()
