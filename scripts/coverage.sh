#!/usr/bin/env bash
# Measures which lines of the product its tests run: coverage.sh [CTEST-ARGUMENT...]
# Builds the preset coverage, runs its tests (all, or those that the arguments choose), and prints the share of
# each folder and of all. The lines that no test ran are listed in build/coverage/uncovered.txt. Fails where a
# test fails or fewer than 98 of 100 lines were run.
set -euo pipefail
cd "$(dirname "$0")/.."

least=98
folders=(actors admin common config driver ldifsplit platform referrals)
build=build/coverage

./scripts/install-packages.sh \
  g++ cmake ninja-build libgtest-dev libgmock-dev libbenchmark-dev python3 python3-pytest slapd ldap-utils \
  mandoc zstd make pkg-config zsh fish libcli11-dev nlohmann-json3-dev libarchive-dev libldap-dev 389-ds-base \
  parallel python3-ldap openssh-server openssh-client

cmake --preset coverage
# The counts of other runs. From the beginning, since the build runs programs whose output the tests look at.
find "$build" -name '*.gcda' -delete
cmake --build --preset coverage --clean-first -j "$(nproc)"

status=0
ctest --preset coverage -j "$(nproc)" "$@" || status=$?

enough=0
scripts/line_coverage.py . "$build" "$build/uncovered.txt" "$least" "${folders[@]}" || enough=$?

if ((status != 0)); then
  echo "Tests failed, so the figures are of no use."
  exit "$status"
fi
exit "$enough"
