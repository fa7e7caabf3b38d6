#!/usr/bin/env bash
# Runs every check that the project has, on a bare Debian 12 or anything above it: installs what is
# missing, checks the form of the sources, builds and tests by g++, by clang++ and under sanitizers,
# watches its threads and memory, analyses, fuzzes for a moment. Runs on after a failure; the last line
# counts, and any failure gives a nonzero status. Each line of the summary tells how many seconds its step
# took.
#
#   VARNEL_FUZZ_SECONDS   seconds for each fuzz target (default 6; 0: only replay the kept inputs)
set -euo pipefail
cd "$(dirname "$0")/.."

jobs=$(nproc)
fuzz_seconds=${VARNEL_FUZZ_SECONDS:-6}
passed=0
failed=0
summary=()
last_step=0  # when it ended, in seconds since the start

heading() {
  printf '\n========== %s ==========\n' "$*"
}

# count PASSED FAILED TEXT: adds to the totals and a line to the summary.
count() {
  passed=$((passed + $1))
  failed=$((failed + $2))
  summary+=("$(printf '%-6s %4d s  %s' "$( (($2 == 0)) && echo ok || echo FAILED)" $((SECONDS - last_step)) "$3")")
  last_step=$SECONDS
}

# check TITLE COMMAND...: one check that passes or fails as the command does.
check() {
  local title=$1
  shift
  heading "$title"
  if "$@"; then
    count 1 0 "$title"
  else
    count 0 1 "$title"
  fi
}

# The files of our own whose names match: sources NAME-PATTERN...
sources() {
  local name tests=()
  for name in "$@"; do
    tests+=(-o -name "$name")
  done
  find . \( -path ./build -o -path ./.git \) -prune -o -type f \( "${tests[@]:1}" \) -print0 | sort -z
}

check_format() {
  sources '*.h' '*.c' '*.cpp' | xargs -0 clang-format --dry-run -Werror
}

check_shell_scripts() {
  { sources '*.sh' && printf '.ci/run\0'; } | xargs -0 shellcheck
}

# The pages as the release build makes them of their templates.
check_man_pages() {
  local pages=(build/release/docs/*.[1-8]) found
  # Whether the pages that ours refer to are installed is no matter of ours.
  found=$(mandoc -T lint "${pages[@]}" 2>&1 |
    grep -vE 'referenced manual not found|outdated mandoc\.db' || true)
  echo "$found"
  [[ -z $found ]]
}

build() {
  cmake --preset "$1" "${@:2}" && cmake --build --preset "$1" -j "$jobs"
}

# The product's own sources: no tests, no benches, no fuzz targets.
check_with_clang_tidy() {
  sources '*.cpp' |
    grep -zZvE '_test\.cpp$|^\./(bench|fuzz|tests)/' |
    xargs -0 -n 1 -P "$jobs" clang-tidy -p build/release --quiet
}

# The same sources. .cppcheck-suppressions says what is not followed, and why.
check_with_cppcheck() {
  sources '*.cpp' |
    grep -zZvE '_test\.cpp$|^\./(bench|fuzz|tests|testsupport)/' |
    xargs -0 cppcheck -j "$jobs" --quiet --enable=warning,performance,portability,style --std=c++20 -I . \
      --suppressions-list=.cppcheck-suppressions --error-exitcode=1
}

# The client library in several threads, under the thread sanitizer.
check_threads() {
  cmake --preset tsan && cmake --build --preset tsan -j "$jobs" --target dirclient_threads_test &&
    ctest --preset tsan -R '^dirclient_threads_test\.'
}

# Some tests of the whole program with its memory watched.
check_memory() {
  VARNEL_MEMCHECK=1 ctest --preset release -j "$jobs" -L memcheck
}

attribute() {
  sed -n "s/.*<testsuite[^>]* $2=\"\([0-9]*\)\".*/\1/p;s/^[[:space:]]*$2=\"\([0-9]*\)\".*/\1/p" "$1" | head -n 1
}

# build_and_test PRESET [CTEST-ARGUMENT...]: the tests count one by one.
build_and_test() {
  local preset=$1 report all bad skipped
  shift
  heading "Build: $preset"
  if ! build "$preset"; then
    count 0 1 "build $preset"
    return
  fi
  count 1 0 "build $preset"
  heading "Tests: $preset"
  report=$PWD/build/$preset/ctest-report.xml
  rm -f "$report"
  local status=0
  # Many tests wait for other programs.
  ctest --preset "$preset" -j $((jobs + 1)) --output-junit "$report" "$@" || status=$?
  if [[ ! -f $report ]]; then
    count 0 1 "tests of $preset did not run"
    return
  fi
  all=$(attribute "$report" tests)
  bad=$(attribute "$report" failures)
  skipped=$(attribute "$report" skipped)
  if ((status != 0 && bad == 0)); then
    bad=1
  fi
  count $((all - bad - skipped)) "$bad" "tests of $preset: $all, of which failed $bad, skipped $skipped"
}

fuzz() {
  local target targets status=0
  # The targets alone, and what they are linked with.
  mapfile -t targets < <(basename -s .cpp fuzz/*_fuzz.cpp)
  { cmake --preset fuzz "$@" && cmake --build --preset fuzz -j "$jobs" --target "${targets[@]}"; } || return 1
  mapfile -t targets < <(find build/fuzz -type f -executable -name '*_fuzz' | sort)
  if ((${#targets[@]} == 0)); then
    echo "No fuzz target was built."
    return 1
  fi
  for target in "${targets[@]}"; do
    local name corpus
    name=$(basename "$target" _fuzz)
    corpus=$(mktemp -d)
    echo "-- $name: $fuzz_seconds s"
    # New finds go to the first directory, a throw-away one; the kept inputs are only read.
    local inputs=("$corpus")
    if [[ -d fuzz/corpus/$name ]]; then
      inputs+=("fuzz/corpus/$name")
    fi
    # The same inputs each time: a failure is about the change at hand. Searching on is for longer runs.
    "$target" -seed=1 -max_total_time="$fuzz_seconds" -verbosity=0 -artifact_prefix="$PWD/build/fuzz/" "${inputs[@]}" || status=1
    rm -rf "$corpus"
  done
  return "$status"
}

heading "Packages"
./scripts/install-packages.sh \
  g++ cmake ninja-build clang clang-format clang-tidy libclang-rt-14-dev \
  libgtest-dev libgmock-dev libbenchmark-dev python3 python3-pytest slapd ldap-utils openssl mandoc shellcheck \
  valgrind cppcheck zstd make pkg-config zsh fish libcli11-dev nlohmann-json3-dev libarchive-dev libldap-dev \
  389-ds-base parallel python3-ldap openssh-server openssh-client

if [[ -x scripts/fetch-389-schema.sh ]]; then
  heading "Schema files of another server, as test input"
  # The tests look for them there.
  if ./scripts/fetch-389-schema.sh build/389-schema; then
    count 1 0 "schema files of another server"
  else
    count 0 1 "schema files of another server"
  fi
fi

check "Format of the C and C++ sources" check_format
check "Shell scripts" check_shell_scripts
build_and_test release
check "Man pages" check_man_pages
# The tests of the whole program and the counts of its instructions are for g++ alone: the unit tests
# show what a compiler makes of the sources.
build_and_test clang -E '^(tests|bench)\.'
# Five themes of the second program take minutes there; its other themes and all unit tests go through most of
# the same sources.
build_and_test asan -E '^tests\.test_varnelctl_(faults|probe|split|verify|verify_names)$'
check "Threads" check_threads
check "Memory" check_memory
check "Static analysis: clang-tidy" check_with_clang_tidy
check "Static analysis: cppcheck" check_with_cppcheck
if [[ -d fuzz ]] && ((fuzz_seconds > 0)); then
  check "Fuzzing, a moment for each target" fuzz
fi

check "The demo" ./scripts/demo.sh

heading "Summary"
printf '%s\n' "${summary[@]}"
echo "$passed passed, $failed failed"
((failed == 0))
