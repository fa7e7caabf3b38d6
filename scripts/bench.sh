#!/usr/bin/env bash
# Measures varnel against cp of the same file: bench.sh [-d DIR] [-s MEGABYTES] [-n ROUNDS] [-c CORE]
#   -d DIR        where the files go, on a disk or in /dev/shm (default: the temporary directory);
#                 takes twice the size of the input
#   -s MEGABYTES  size of the input (default 250)
#   -n ROUNDS     how often each of the two runs (default 7)
#   -c CORE       the core on which all of it runs (default 0)
# Both run in turn on one core, cp, varnel, cp, varnel, ..., with the input in the page cache; a
# second varnel configuration has more servers. Processor time counts where other work shares the
# core. Then the peak memory at two sizes of the input, and the parsers alone.
set -euo pipefail

directory=${TMPDIR:-/tmp}
megabytes=250
rounds=7
core=0
while getopts d:s:n:c: option; do
  case $option in
    d) directory=$OPTARG ;;
    s) megabytes=$OPTARG ;;
    n) rounds=$OPTARG ;;
    c) core=$OPTARG ;;
    *)
      echo "usage: $(basename "$0") [-d DIR] [-s MEGABYTES] [-n ROUNDS] [-c CORE]" >&2
      exit 2
      ;;
  esac
done
directory=$(realpath "$directory")
cd "$(dirname "$0")/.."
bin=$PWD/build/release

heading() {
  printf '\n========== %s ==========\n' "$*"
}

heading "Packages"
./scripts/install-packages.sh g++ cmake ninja-build libgtest-dev libgmock-dev libbenchmark-dev time

heading "Build"
cmake --preset release
cmake --build --preset release -j "$(nproc)" \
  --target varnel generate_ldif ldif_bench dirclient_bench

work=$(mktemp -d "$directory/varnel-bench.XXXXXX")
trap 'rm -rf "$work"' EXIT

# write_config FILE INPUT OUTPUT-DIRECTORY SERVERS
write_config() {
  local server
  {
    printf 'actiontype: splitonly\ninputfile: %s\nlogfile: %s/split.log\n' "$2" "$3"
    printf 'defaultoutputfile: %s/parent.ldif\nsplitby: rdnhash\n' "$3"
    printf 'basedn: ou=people,dc=example,dc=com\n'
    for ((server = 1; server <= $4; ++server)); do
      printf 'url: ldap://server%d.example.com\nfile: %s/server%d.ldif\n' "$server" "$3" "$server"
    done
  } >"$1"
}

out=$work/out
empty_output() {
  rm -rf "$out"
  mkdir "$out"
  # What an earlier round wrote is not to be written back in the time of this one.
  sync -f "$work"
}

# timed COMMAND...: its wall-clock and its processor seconds on one core.
timed() {
  local TIMEFORMAT='%3R %3U %3S'
  { time taskset -c "$core" "$@" >/dev/null 2>&1; } 2>&1 | awk '{ print $1, $2 + $3 }'
}

# median COLUMN, of the lines of its input
median() {
  sort -n -k "$1,$1" |
    awk -v c="$1" '{ v[NR] = $c } END { print NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

# compare SERVERS: medians of cp and varnel, and their ratios.
compare() {
  local round
  write_config "$work/varnelConfig" "$input" "$out" "$1"
  : >"$work/cp" && : >"$work/varnel"
  for ((round = 0; round < rounds; ++round)); do
    empty_output
    timed cp "$input" "$out/copy.ldif" >>"$work/cp"
    empty_output
    timed "$bin/varnel" -f "$work/varnelConfig" >>"$work/varnel"
    if ! grep -q '^dn:' "$out/server1.ldif"; then
      echo "varnel wrote nothing; run it on $work/varnelConfig" >&2
      exit 1
    fi
  done
  printf '%3d servers\n' "$1"
  local column what
  for column in 1 2; do
    what=$( ((column == 1)) && echo elapsed || echo processor)
    awk -v what="$what" -v bytes="$(stat -c %s "$input")" -v cp="$(median "$column" <"$work/cp")" \
      -v varnel="$(median "$column" <"$work/varnel")" \
      'BEGIN { printf "  %-9s  cp %.3f s, varnel %.3f s (%.0f MB/s), ratio %.2f\n",
               what, cp, varnel, bytes / varnel / 1e6, varnel / cp }'
  done
}

# peak_memory INPUT
peak_memory() {
  empty_output
  write_config "$work/varnelConfig" "$1" "$out" 16
  /usr/bin/time -f %M -o "$work/peak" "$bin/varnel" -f "$work/varnelConfig" >/dev/null
  printf '%6d MB of input: %s kB\n' $(($(stat -c %s "$1") / 1000000)) "$(cat "$work/peak")"
}

heading "Input: $megabytes MB in $directory ($(stat -f -c %T "$directory"))"
input=$work/input.ldif
"$bin/bench/generate_ldif" "$megabytes" >"$input"
printf '%d entries\n' "$(grep -c '^dn:' "$input")"
cat "$input" >/dev/null

heading "varnel against cp, medians of $rounds rounds in turn, one core"
compare 4
compare 64

heading "Peak memory of varnel, 16 servers"
"$bin/bench/generate_ldif" $((megabytes / 10 + 1)) >"$work/small.ldif"
peak_memory "$work/small.ldif"
peak_memory "$input"

heading "The parsers alone"
rm -rf "$work"
taskset -c "$core" "$bin/bench/ldif_bench" 2>/dev/null
taskset -c "$core" "$bin/bench/dirclient_bench" 2>/dev/null
