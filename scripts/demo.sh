#!/usr/bin/env bash
# Shows the tool at work on a bare Debian 12 or anything above it: installs what is missing, builds,
# splits the example directory of examples/split and shows what went where. What the installation and the
# compiler print is shown only where they fail. Works in a new temporary directory each time, which it leaves
# for a closer look.
set -euo pipefail
cd "$(dirname "$0")/.."
top=$PWD

heading() {
  printf '\n========== %s ==========\n' "$*"
}

# Shows a command as it would be typed, then runs it.
run() {
  printf '\n$ %s\n' "$*"
  "$@"
}

work=$(mktemp -d "${TMPDIR:-/tmp}/varnel-demo.XXXXXX")

# quietly COMMAND...: what it prints is shown if it fails, and then the demo ends.
quietly() {
  local status=0
  "$@" >"$work/output" 2>&1 || status=$?
  if ((status != 0)); then
    cat "$work/output"
    echo "This failed, with status $status: $*"
    rm -r "$work"
    exit "$status"
  fi
  rm "$work/output"
}

# The DNs of an LDIF file that varnel wrote: there every DN is one line of plain text.
dns() {
  sed -n 's/^dn: /  /p' "$1"
}

show_result() {
  local file
  for file in people?.ldif devices?.ldif parent.ldif; do
    printf '\n%s\n' "$file"
    dns "$file"
  done
}

# show_shares FILE...: entries and bytes of each, with a bar of its part of all bytes.
show_shares() {
  local all file
  all=$(cat "$@" | wc -c)
  for file; do
    echo "$file $(grep -c '^dn: ' "$file") $(wc -c <"$file")"
  done | awk -v all="$all" '
    BEGIN { printf "%-14s %8s %8s  %5s\n", "file", "entries", "bytes", "share" }
    {
      bar = sprintf("%" int(40 * $3 / all + 0.5) "s", ""); gsub(/ /, "#", bar)
      printf "%-14s %8d %8d  %4.1f %%  %s\n", $1, $2, $3, 100 * $3 / all, bar
    }'
}

heading "Packages and build"
echo "A minute or two where nothing is there yet."
quietly ./scripts/install-packages.sh g++ cmake ninja-build
# The tests need further packages. A build directory that has them already keeps them.
if [[ ! -f build/release/CMakeCache.txt ]]; then
  quietly cmake --preset release -DBUILD_TESTING=OFF
fi
quietly cmake --build --preset release --target varnel -j "$(nproc)"
PATH=$top/build/release:$PATH

for copy in split split-by-schema; do
  mkdir "$work/$copy"
  cp examples/split/varnelConfig examples/split/directory.ldif "$work/$copy"
done

heading "The configuration: what to split, and over which servers"
cd "$work/split"
run cat varnelConfig

heading "The input: $(grep -c '^dn:' directory.ldif) entries of a small directory, exported as LDIF"
run head -n 28 directory.ldif
echo "..."

heading "The split"
run varnel

heading "What went where"
cat <<'TEXT'
Each server file holds its base entry, its share of the entries below, each with its whole subtree,
and the cn=localhost subtree that every server needs. All else is in parent.ldif.
TEXT
show_result

heading "The same split by a schema"
cat <<'TEXT'
Without a schema a name is taken as it is written. The schema of an instance (-I) also knows that
organizationalUnitName is ou, badge is badgeNumber, and that blanks do not count in a badge number.
TEXT
cd "$work/split-by-schema"
run varnel -I "$top/examples/instance"
printf '\nIn other files than before ("<" without the schema, ">" with it):\n\n'
for copy in split split-by-schema; do
  (cd "$work/$copy" && for file in people?.ldif devices?.ldif parent.ldif; do
    dns "$file" | sed "s/\$/  in $file/"
  done) | sort >"$work/$copy.list"
done
# diff says by its status that they differ, which they should.
{ diff "$work/split.list" "$work/split-by-schema.list" || true; } | grep '^[<>]'
rm "$work/split.list" "$work/split-by-schema.list"

heading "One of the files, ready to be loaded into its server"
run head -n 12 people1.ldif
echo "..."

heading "The shares"
cat <<'TEXT'
By the DN hash, which depends on nothing but the name, the base DN and the number of servers, so that the
proxy in front of the servers finds each entry where it lies. Over millions of entries the servers of a base
DN have even shares.

TEXT
show_shares people?.ldif devices?.ldif parent.ldif

heading "The next step"
cat <<TEXT
To load a file into a slapd whose only database has the base DN as its suffix, leave out the header and
cn=localhost, which is below another suffix (slapd.conf also includes examples/instance/staff.schema for the
devices):

  cd $work/split-by-schema
  awk -v RS= -v ORS='\n\n' 'NR > 1 && !/^dn: ([^\n]*,)?cn=localhost\n/' people1.ldif |
    slapadd -f slapd.conf

docs/loading.md has the whole way from an export to running servers, and examples/cluster/run.sh starts all
of it in small: servers with these files, and a router in front.
For a directory of your own, go on with "A first split" in README.md.

The files are in $work
TEXT
