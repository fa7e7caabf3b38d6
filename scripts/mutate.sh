#!/usr/bin/env bash
# Tests the tests: puts small faults into the sources, one at a time, and tells which ones no test notices.
# mutate.sh [-n COUNT] [-s SEED] [-f FIRST] [-j JOBS] [-l] [FILE | FILE:LINE]...
#   -n COUNT    how many mutants (default 150), spread evenly over the code of the product
#   -s SEED     which ones (default 1); the same seed takes the same ones of the same sources
#   -f FIRST    leaves out those before this one, in the order of -l, to go on with a run that was broken off
#   -j JOBS     how many at a time (default: the number of processors)
#   -l          only lists the mutants, those included that will turn out not to compile
#   FILE        only mutants of these sources, or of these lines of them
# The faults are those of scripts/mutations.py. A mutant that does not compile, or whose object code is
# that of the source, is replaced by another one. The last lines list the survivors, and the score: the
# share that was killed of all mutants but those that scripts/equivalent-mutants.tsv names, which change
# nothing that anybody could notice. The status is 0 where the score is 95 % or more.
#
# It all happens in copies of the sources below build/mutate, which are gone in the end, killed or not.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-packages.sh \
  g++ cmake ninja-build ccache lld libgtest-dev libgmock-dev python3 python3-pytest slapd ldap-utils
exec nice -n 10 python3 -B scripts/mutate.py "$@"
