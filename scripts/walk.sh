#!/usr/bin/env bash
# The whole walk of a user who has nothing but an installation, slapd and ldap-utils: the installed example is
# checked, split and verified, each file is loaded into a server of its own on a free port of 127.0.0.1, all
# servers are asked for every entry, and a client finds an entry at the server that varnelctl and the router in C
# name for another spelling of it. Prints what is typed, behind "$ ", and what that prints. The first step that
# fails, or that prints something else than it must, ends the walk with a nonzero status. Servers and files end
# with it.
#
#   walk.sh [PREFIX]   where varnel is installed (default: /usr)
#
# What is typed is shown before anything in it is expanded, and sets variables of its own.
# shellcheck disable=SC2016,SC2154
set -euo pipefail

prefix=${1:-/usr}
examples=$prefix/share/varnel/examples
export LC_ALL=C.UTF-8
PATH=$prefix/bin:$PATH:/usr/sbin:/sbin
work=$(mktemp -d /tmp/walk-XXXXXX)
printed=$work/printed  # by the last step
in_step=no
mkdir "$work/site"
cd "$work/site"

finish() {
  local status=$? file
  if [[ $in_step == yes ]]; then
    cat "$printed"
    echo "walk.sh: this step failed" >&2
  fi
  for file in ./*/slapd.pid; do
    end_server "$file" || true
  done
  rm -rf "$work"
  exit "$status"
}
trap finish EXIT

# end_server PID-FILE: stops the server, if it runs, and waits until it has closed its data and that file is gone.
end_server() {
  for _ in $(seq 300); do
    [[ -e $1 ]] || return 0
    kill "$(<"$1")" 2>/dev/null || true
    sleep 0.1
  done
  echo "walk.sh: the server of $1 does not end" >&2
  return 1
}

# step COMMANDS: shows them as somebody would type them, runs them here, and shows what they print.
step() {
  sed '1s/^/$ /;2,$s/^/> /' <<<"$1"
  in_step=yes
  eval "$1" >"$printed" 2>&1
  in_step=no
  cat "$printed"
}

# expect LINE: the last step has printed it.
expect() {
  if ! grep -qxF -- "$1" "$printed"; then
    echo "walk.sh: expected this line: $1" >&2
    exit 1
  fi
}

# Ports that nobody has at the moment: free_ports COUNT
free_ports() {
  python3 -c '
import socket, sys
probes = [socket.create_server(("127.0.0.1", 0)) for _ in range(int(sys.argv[1]))]
print(*(probe.getsockname()[1] for probe in probes))' "$1"
}

# expect_same WHAT EXPECTED FOUND
expect_same() {
  if [[ $2 != "$3" ]]; then
    printf 'walk.sh: %s: expected\n%s\nand found\n%s\n' "$@" >&2
    exit 1
  fi
}

# entry_of DN: the entry as the export has it.
entry_of() {
  sed -n "/^dn: $1\$/,/^\$/p" directory.ldif | grep .
}

read -r -a ports <<<"$(free_ports 6)"
urls=("${ports[@]/#/ldap://127.0.0.1:}")

# --- Before the split ---

step "cp $examples/split/* ."
step "sed -i -e 's/people1.example.org:389/127.0.0.1:${ports[0]}/' \\
  -e 's/people2.example.org:389/127.0.0.1:${ports[1]}/' -e 's/people3.example.org:389/127.0.0.1:${ports[2]}/' \\
  -e 's/devices1.example.org:389/127.0.0.1:${ports[3]}/' -e 's/devices2.example.org:389/127.0.0.1:${ports[4]}/' \\
  varnelConfig"
step "instance=$examples/instance"
step 'varnelctl check -I $instance'
expect '0 errors, 0 warnings'
step 'varnelctl plan -I $instance'

# --- The split ---

step 'varnel -I $instance'
expect 'VNL032039I: The split is complete.'
step 'varnelctl verify -I $instance'
grep -q ': all right$' "$printed"

# --- Loading, by the functions of the page ---

step "page=$prefix/share/doc/varnel/loading.md"
step 'sed -n "/^localhost=/,/^shared_entries/p;/^start() {/,/^}/p" $page >functions.sh'
step '. ./functions.sh'
step 'serve() {
  mkdir -p $1/data $1/shared
  cat >$1/slapd.conf <<END
include /etc/ldap/schema/core.schema
include /etc/ldap/schema/cosine.schema
include /etc/ldap/schema/inetorgperson.schema
include $instance/staff.schema
modulepath /usr/lib/ldap
moduleload back_mdb
pidfile $PWD/$1/slapd.pid

database mdb
suffix "$2"
directory $PWD/$1/data

database mdb
suffix "cn=localhost"
directory $PWD/$1/shared
END
  own_entries $1.ldif | slapadd -f $1/slapd.conf -b $2
  shared_entries $1.ldif | slapadd -f $1/slapd.conf -b cn=localhost
  start $1/slapd.conf $3
}'
for at in 0 1 2; do
  step "serve people$((at + 1)) ou=People,dc=example,dc=org ${urls[at]}"
done
for at in 3 4; do
  step "serve devices$((at - 2)) ou=Devices,dc=example,dc=org ${urls[at]}"
done
step "serve parent dc=example,dc=org ${urls[5]}"

# --- Asking the servers ---

step 'varnelctl probe -I $instance --sample all --others'

# --- A client's look-up, through varnelctl and through a router ---

step "name='commonName = yuki  TANAKA, organizationalUnitName=people,dc=example,dc=org'"
step 'varnelctl where -I $instance "$name"'
step "cp $examples/proxy/{route.c,Makefile} . && make route"
step "core=$prefix/share/varnel/schema/core.schema"
step './route -s $core -s $instance/staff.schema varnelConfig <<<"read $name"'
routed=$(<"$printed")
step 'server=$(varnelctl where -I $instance "$name" | cut -f 2)
ldapsearch -x -LLL -H $server -b "$name" -s base'
expect_same "the server that varnelctl names" "$server" "$routed"
expect_same "the entry found" "$(entry_of 'cn=Yuki Tanaka,ou=People,dc=example,dc=org')" "$(grep . "$printed")"
step "for other in ${urls[*]:0:3} \\
  ${urls[*]:3}; do
  [[ \$other == \$server ]] ||
    ldapsearch -x -LLL -H \$other -b \"\$name\" -s base 1.1 || echo \"\$other: status \$?\"
done"
for url in "${urls[@]}"; do
  [[ $url == "$server" ]] || expect "$url: status 32"
done

# --- An entry of the parent server ---

step "name='cn=harbour staff, ou=groups,dc=example,dc=org'"
step './route -s $core -s $instance/staff.schema varnelConfig <<<"read $name"'
expect parent
step "ldapsearch -x -LLL -H ${urls[5]} -b \"\$name\" -s base 1.1"
expect 'dn: cn=Harbour staff,ou=Groups,dc=example,dc=org'

step 'for server in people? devices? parent; do kill $(cat $server/slapd.pid); done'
for file in {people?,devices?,parent}/slapd.pid; do
  end_server "$file"
done
