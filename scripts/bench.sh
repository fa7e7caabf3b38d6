#!/usr/bin/env bash
# Measures varnel: bench.sh [-d DIR] [-s MEGABYTES] [-n ROUNDS] [-c CORE] [-w PARTS] [-g SIZES]
#   -d DIR        measures works 1 to 10 there as well, on a disk for instance; without it only in
#                 memory (/dev/shm; where that is missing or small, in the temporary directory)
#   -s MEGABYTES  size of each input (default 250); three times that is taken
#   -n ROUNDS     how often each contender runs (default 7)
#   -c CORE       the core on which the contenders run, work 10 apart (default 0)
#   -w PARTS      what is measured, by commas (default: all): works 1 to 10, instructions, growth,
#                 memory, parsers
#   -g SIZES      entries of the growth runs, by commas (default 100000,1000000,10000000); 200 bytes
#                 are taken for an entry of the largest
# docs/performance.md tells what the works are. The contenders of a work run in turn, A B A B ...,
# with the input in the page cache, and their medians are compared. Elapsed time is what counts;
# processor time stands beside it for machines that do other work meanwhile.
set -euo pipefail

usage() {
  echo "usage: $(basename "$0") [-d DIR] [-s MEGABYTES] [-n ROUNDS] [-c CORE] [-w PARTS] [-g SIZES]" >&2
  exit 2
}

disk=
megabytes=250
rounds=7
core=0
every_part=1,2,3,4,5,6,7,8,9,10,instructions,growth,memory,parsers
parts=$every_part
sizes=100000,1000000,10000000
while getopts d:s:n:c:w:g: option; do
  case $option in
    d) disk=$(realpath "$OPTARG") ;;
    s) megabytes=$OPTARG ;;
    n) rounds=$OPTARG ;;
    c) core=$OPTARG ;;
    w) parts=$OPTARG ;;
    g) sizes=$OPTARG ;;
    *) usage ;;
  esac
done
for part in ${parts//,/ }; do
  [[ ,$every_part, == *",$part,"* ]] || usage
done
cd "$(dirname "$0")/.."
top=$PWD
bin=$top/build/release

heading() {
  printf '\n========== %s ==========\n' "$*"
}

# wanted PART...: whether one of them is to be measured.
wanted() {
  local part
  for part in "$@"; do
    [[ ,$parts, == *",$part,"* ]] && return
  done
  return 1
}

# --- Contenders -----------------------------------------------------------------------------------
# They run in the working directory; outputs go to out/.

write_instance() {
  mkdir -p instance
  printf 'systemschema: %s/schema/core.schema\n' "$top" >instance/instance.conf
}

# bytes_of KIND: of one of its entries, roughly.
bytes_of() {
  case $1 in
    ordinary) echo 620 ;;
    small) echo 225 ;;
    large) echo 33500 ;;
    *) echo 480 ;;
  esac
}

# make_input KIND: KIND.ldif, of the size that is measured.
make_input() {
  if [[ ! -e $1.ldif ]]; then
    "$bin/bench/generate_ldif" "$1" $((megabytes * 1000000 / $(bytes_of "$1"))) >"$1.ldif"
  fi
}

# write_config FILE INPUT SERVERS [BASE...]: so many servers for each base DN, file names by number.
write_config() {
  local file=$1 input=$2 servers=$3 base server number=0
  shift 3
  {
    printf 'actiontype: splitonly\ninputfile: %s\nlogfile: out/split.log\n' "$input"
    printf 'defaultoutputfile: out/parent.ldif\nsplitby: rdnhash\n'
    for base in "${@:-ou=people}"; do
      printf 'basedn: %s,dc=example,dc=com\n' "$base"
      for ((server = 1; server <= servers; ++server)); do
        number=$((number + 1))
        printf 'url: ldap://server%d.example.com\nfile: out/server%d.ldif\n' "$number" "$number"
      done
    done
  } >"$file"
}

empty_output() {
  rm -rf out
  mkdir out
  # What an earlier round wrote is not to be written back in the time of this one.
  sync -f .
}

# A contender is a line of text: one of these functions and its arguments.
copy() {
  taskset -c "$core" cp "$1" out/copy.ldif
}

split() {
  taskset -c "$core" "$bin/varnel" -f "$@"
}

copy_through_pipe() {
  # shellcheck disable=SC2002 # the first cat is one side of the pipe
  cat "$1" | cat >out/copy.ldif
}

copy_unbound() {
  cp "$1" out/copy.ldif
}

split_through_pipe() {
  # shellcheck disable=SC2002 # as above
  cat "$1" | "$bin/varnel" -f "$2"
}

split_unbound() {
  "$bin/varnel" -f "$1"
}

# timed COMMAND...: its elapsed and its processor seconds.
timed() {
  local TIMEFORMAT='%3R %3U %3S'
  if ! { time "$@" >messages 2>&1; } 2>seconds; then
    echo "failed: $*" >&2
    cat messages >&2
    exit 1
  fi
  awk '{ print $1, $2 + $3 }' seconds
}

# A split that sends nothing to the servers, or little, would look fast.
check_output() {
  local all parent
  all=$(du -sb --apparent-size out | cut -f 1)
  parent=$(stat -c %s out/parent.ldif 2>/dev/null || echo 0)
  if ((all < megabytes * 800000 || parent > 1000)); then
    echo "not the outputs that were to be measured: $1" >&2
    exit 1
  fi
}

# interleave CONTENDER...: runs them in turn; the times of the first go to times.1, and so on.
interleave() {
  local round number contender command
  rm -f times.*
  for ((round = 0; round < rounds; ++round)); do
    number=0
    for contender in "$@"; do
      number=$((number + 1))
      read -ra command <<<"$contender"
      empty_output
      timed "${command[@]}" >>"times.$number"
      check_output "$contender"
    done
  done
}

# median COLUMN, of the lines of its input
median() {
  sort -n -k "$1,$1" |
    awk -v c="$1" '{ v[NR] = $c } END { print NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

# elapsed N, processor N: medians of contender N.
elapsed() {
  median 1 <"times.$1"
}

processor() {
  median 2 <"times.$1"
}

# --- Works ----------------------------------------------------------------------------------------

# ratio NUMERATOR DENOMINATOR
ratio() {
  awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'
}

# print_row WORK WHAT LIMIT ELAPSED PROCESSOR MEDIANS
print_row() {
  printf '%-4s %-44s %8s %9s %10s  %s\n' "$@"
}

# print_ratio WORK WHAT LIMIT: of contender 2 to contender 1.
print_ratio() {
  print_row "$@" "$(ratio "$(elapsed 2)" "$(elapsed 1)")" \
    "$(ratio "$(processor 2)" "$(processor 1)")" "$(elapsed 1) s, $(elapsed 2) s"
}

# against_copy WORK LIMIT KIND
against_copy() {
  make_input "$3"
  write_config "$3.conf" "$3.ldif" 3
  interleave "copy $3.ldif" "split $3.conf"
  print_ratio "$1" "$3, against cp" "$2"
  rm "$3.ldif"
}

# against_plain WORK WHAT LIMIT KIND SERVERS [BASE...]: against plain over three servers.
against_plain() {
  local work=$1 what=$2 limit=$3 kind=$4
  shift 4
  make_input plain
  write_config plain.conf plain.ldif 3
  make_input "$kind"
  write_config contender.conf "$kind.ldif" "$@"
  interleave "split plain.conf" "split contender.conf"
  print_ratio "$work" "$what, against plain" "$limit"
  rm -f plain.ldif "$kind.ldif"
}

work_1() {
  against_copy 1 '<= 2.40' ordinary
}

work_2() {
  against_copy 2 '<= 2.80' small
}

work_3() {
  against_copy 3 '<= 1.80' large
}

work_4() {
  against_plain 4 unicode '<= 1.50' unicode 3
  against_plain 4 'unicode in base64' - unicode-base64 3
}

work_5() {
  against_plain 5 'two assertions in an RDN' '<= 1.50' multivalued 3
}

work_6() {
  against_plain 6 'eight RDNs below the base DN' '<= 1.25' deep 3
}

work_7() {
  local units
  read -ra units <<<"$(printf 'ou=unit%d ' {100..599})"
  against_plain 7 '500 base DNs of one server' '<= 1.20' manybases 1 "${units[@]}"
}

work_8() {
  against_plain 8 '300 servers' '<= 1.30' plain 300
}

work_9() {
  make_input ordinary
  write_config ordinary.conf ordinary.ldif 3
  write_instance
  interleave "split ordinary.conf" "split ordinary.conf -I ./instance"
  print_ratio 9 'ordinary with -I, against without' '<= 1.10'
  rm ordinary.ldif
}

# The limit is 1.3 times the copy through a pipe, and what varnel takes beyond cp without one. That
# difference is taken off, so that the rest can be compared with 1.3.
work_10() {
  make_input ordinary
  write_config ordinary.conf ordinary.ldif 3
  write_config pipe.conf /dev/stdin 3
  interleave "copy_unbound ordinary.ldif" "split_unbound ordinary.conf" \
    "copy_through_pipe ordinary.ldif" "split_through_pipe ordinary.ldif pipe.conf"
  local median_of figures=()
  for median_of in elapsed processor; do
    figures+=("$(awk -v cp="$($median_of 1)" -v varnel="$($median_of 2)" \
      -v copied="$($median_of 3)" -v piped="$($median_of 4)" \
      'BEGIN { printf "%.2f", (piped - (varnel - cp)) / copied }')")
  done
  print_row 10 'ordinary by pipe, less (varnel - cp)' '<= 1.30' "${figures[@]}" \
    "$(elapsed 1) s, $(elapsed 2) s; by pipe $(elapsed 3) s, $(elapsed 4) s"
  rm ordinary.ldif
}

measure_works() {
  local work
  cat <<'TEXT'
elapsed     the time of the split, divided by that of the contender named behind "against": 2.00 is
            twice as long as cp, or as the plain split. For work 10, see docs/performance.md.
wanted      what it should be at most
processor   the same of the processor time, which says more where the machine has other work
medians     the elapsed times themselves: of the contender named, and of the split

TEXT
  print_row work what wanted elapsed processor medians
  for work in {1..10}; do
    if wanted "$work"; then
      "work_$work"
    fi
  done
}

# --- The rest -------------------------------------------------------------------------------------

count_instructions() {
  local kind limit
  cat <<'TEXT'
What a split executes for one entry more, whatever else the machine does: the same count each time.

TEXT
  for kind in ordinary:4500 small:2600; do
    limit=${kind#*:}
    kind=${kind%:*}
    "$top/bench/instructions_an_entry.py" "$bin/varnel" "$bin/bench/generate_ldif" "$kind" |
      awk -v limit="$limit" '{
        printf "%-10s instructions an entry <= %d: %d; to ask whether traces are on < 1.00 %%: %.2f %%\n",
               $1, limit, $2, $6 / $2 * 100 }'
  done
}

# Processor time; the largest input decides how long this takes.
measure_growth() {
  local size round first='' nanoseconds
  cat <<'TEXT'
Processor time of an entry, for ever more entries. Divided by the first figure: a split of a hundred times as
many entries takes a hundred times as long, and no more.

TEXT
  write_config tiny.conf tiny.ldif 3
  for size in ${sizes//,/ }; do
    "$bin/bench/generate_ldif" tiny "$size" >tiny.ldif
    rm -f times.1
    for ((round = 0; round < rounds; ++round)); do
      empty_output
      timed split tiny.conf >>times.1
    done
    nanoseconds=$(awk -v s="$(processor 1)" -v n="$size" 'BEGIN { printf "%.0f", s / n * 1e9 }')
    first=${first:-$nanoseconds}
    printf '%9d entries: %5d ns an entry; against the first <= 1.10: %s\n' "$size" \
      "$nanoseconds" "$(ratio "$nanoseconds" "$first")"
  done
  rm tiny.ldif
}

# peak_memory KIND ENTRIES SERVERS
peak_memory() {
  "$bin/bench/generate_ldif" "$1" "$2" >memory.ldif
  write_config memory.conf memory.ldif "$3"
  empty_output
  /usr/bin/time -f %M -o peak "$bin/varnel" -f memory.conf >messages
  printf '%9d entries, %3d output files: <= %d kB: %d kB\n' "$2" $(($3 + 1)) \
    $((8192 + 256 * ($3 + 1))) "$(cat peak)"
  rm memory.ldif
}

measure_memory() {
  local entries=$((megabytes * 1000000 / $(bytes_of ordinary))) servers
  cat <<'TEXT'
The most memory that a split had at a time. It depends on the output files, not on the entries.

TEXT
  for servers in 3 300; do
    peak_memory ordinary $((entries / 10)) "$servers"
    peak_memory ordinary "$entries" "$servers"
  done
}

# print_figure CSV BENCHMARK LIMIT UNIT: bytes or nanoseconds of one benchmark.
print_figure() {
  awk -F, -v name="$2" -v limit="$3" -v unit="$4" '
    $1 == "\"" name "\"" && unit == "ns" { printf "%-36s %8s ns:   %.0f ns\n", name, limit, $4 }
    $1 == "\"" name "\"" && unit == "GB/s" { printf "%-36s %8s GB/s: %.2f GB/s\n", name, limit, $6 / 1e9 }' "$1"
}

measure_parsers() {
  local bench
  cat <<'TEXT'
What the split's own steps take, without files: the check of the input's lines, in bytes a second; the normal
form of a DN of 60 bytes, from its normal form and from lower case; the hash of that DN.

TEXT
  for bench in ldif dirclient; do
    taskset -c "$core" "$bin/bench/${bench}_bench" --benchmark_out="$bench.csv" \
      --benchmark_out_format=csv 2>/dev/null
  done
  echo
  print_figure ldif.csv checkLines/ordinary30 '>= 1.5' GB/s
  print_figure ldif.csv checkLines/foldedBase64 '>= 4.0' GB/s
  print_figure dirclient.csv normalizeForSplit/normalForm '< 40' ns
  print_figure dirclient.csv normalizeForSplit/lowerCase '< 60' ns
  print_figure dirclient.csv hash/normalForm '< 60' ns
}

# --- The run --------------------------------------------------------------------------------------

# memory_directory MEGABYTES: /dev/shm where it has so much room, else the temporary directory.
memory_directory() {
  if [[ $(stat -f -c %T /dev/shm 2>/dev/null) == tmpfs ]] &&
    (($(df --output=avail -B 1000000 /dev/shm | tail -n 1) > $1)); then
    echo /dev/shm
  else
    echo "${TMPDIR:-/tmp}"
  fi
}

# enter DIRECTORY: a new working directory in it, in place of the one before.
scratch=
leave() {
  cd "$top"
  [[ -z $scratch ]] || rm -rf "$scratch"
}
trap leave EXIT
enter() {
  leave
  scratch=$(mktemp -d "$1/varnel-bench.XXXXXX")
  cd "$scratch"
}

SECONDS=0

heading "Packages"
./scripts/install-packages.sh g++ cmake ninja-build libgtest-dev libgmock-dev libbenchmark-dev \
  python3 time valgrind

heading "Build"
cmake --preset release
cmake --build --preset release -j "$(nproc)" \
  --target varnel generate_ldif ldif_bench dirclient_bench

room=$((megabytes * 4))
if wanted growth; then
  largest=$(tr , '\n' <<<"$sizes" | sort -n | tail -n 1)
  room=$((room > largest / 5000 ? room : largest / 5000))
fi
memory=$(memory_directory "$room")

if wanted {1..10}; then
  for place in "$memory" ${disk:+"$disk"}; do
    enter "$place"
    heading "$megabytes MB, medians of $rounds rounds, in $place ($(stat -f -c %T "$place"))"
    measure_works
  done
fi
enter "$memory"
if wanted instructions; then
  heading "Instructions, by callgrind"
  count_instructions
fi
if wanted growth; then
  heading "Growth, tiny entries"
  measure_growth
fi
if wanted memory; then
  heading "Peak memory"
  measure_memory
fi
if wanted parsers; then
  heading "The parsers alone"
  measure_parsers
fi
printf '\nMeasured in %d s.\n' "$SECONDS"
