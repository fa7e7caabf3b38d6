#!/usr/bin/env bash
# A whole distributed directory in small, on loopback: three servers with the files of a split, the parent
# server, and a slapd in front whose requests router.py sends to the server that holds the entry. An example:
# README.md in this folder tells what it shows and what a real proxy would add.
#
#   run.sh            starts all of it, says how to ask it, and stops it when ended (Control-C)
#
#   VARNEL            the program (default: that of the build beside this folder, else the one on the path)
#   LIBDIRCLIENT      the library (likewise)
#   TMPDIR            where its directory is made (default /tmp); the directory goes in the end
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
build=$here/../../build/release
PATH=$PATH:/usr/sbin:/sbin
base=dc=example,dc=org
# Passwords of this run. Only the router binds to the servers as $router.
router=cn=router,ou=People,$base
secret=$(od -An -N16 -tx1 /dev/urandom | tr -d ' \n')

complain() {
  echo "run.sh: $*" >&2
  exit 1
}

for program in slapd slapadd ldapwhoami; do
  command -v $program >/dev/null || complain "$program is missing; apt-get install slapd ldap-utils"
done
# Debian's own Python is the one that has Debian's modules.
/usr/bin/python3 -c 'import ldap' 2>/dev/null || complain "Python has no ldap; apt-get install python3-ldap"
if [[ -z ${VARNEL:-} ]]; then
  VARNEL=$build/varnel
  [[ -x $VARNEL ]] || VARNEL=$(command -v varnel) || complain "varnel is neither built nor on the path"
fi
if [[ -z ${LIBDIRCLIENT:-} ]]; then
  LIBDIRCLIENT=$build/libdirclient.so.1
  [[ -e $LIBDIRCLIENT ]] || LIBDIRCLIENT=libdirclient.so.1
fi

work=$(mktemp -d "${TMPDIR:-/tmp}/varnel-cluster.XXXXXX")
pids=()
starting=
# shellcheck disable=SC2317  # the trap calls it
stop() {
  trap - EXIT INT TERM
  local all=("${pids[@]}" ${starting:+"$starting"})
  if ((${#all[@]} > 0)); then
    kill "${all[@]}" 2>/dev/null || true
    wait "${all[@]}" 2>/dev/null || true
  fi
  rm -rf "$work"
}
trap stop EXIT
trap 'exit 0' INT TERM
cd "$work"

# Two halves of a server's file (docs/loading.md): its own entries, and those that all servers share.
# shellcheck disable=SC2016  # that is awk's $1
localhost='tolower($1) ~ /^dn: *(.*[^\\], *)?cn *= *localhost *$/'
own_entries() { LC_ALL=C awk -v RS= -v ORS='\n\n' -F '\n' "NR > 1 && !($localhost)" "$1"; }
shared_entries() { LC_ALL=C awk -v RS= -v ORS='\n\n' -F '\n' "NR > 1 && $localhost" "$1"; }

# Who may do what, at every server and at the front: the administrator all, everybody else read, a password only
# be compared by a bind.
rules() {
  cat <<END
access to attrs=userPassword by dn.exact="cn=admin,$base" write by self write by anonymous auth
access to * by dn.exact="cn=admin,$base" write by * read
END
}

general() {
  cat <<END
include /etc/ldap/schema/core.schema
include /etc/ldap/schema/cosine.schema
include /etc/ldap/schema/inetorgperson.schema
modulepath /usr/lib/ldap
moduleload $2
pidfile $work/$1/slapd.pid
sizelimit unlimited
END
}

# database SERVER DIRECTORY SUFFIX [PASSWORD]: one whose root is the router, and where its name is at home also the
# password.
database() {
  mkdir -p "$1/$2"
  cat <<END
database mdb
suffix "$3"
directory $work/$1/$2
maxsize 268435456
dbnosync
rootdn "$router"
${4:+rootpw $4}
END
  rules
}

# slapd_at NAME: starts a server on a free port; its URL is then in NAME/url. Another process may be
# quicker to take the port, so it is tried again.
slapd_at() {
  local port url pid
  for _ in 1 2 3 4 5; do
    port=$(/usr/bin/python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
    url=ldap://127.0.0.1:$port
    slapd -f "$1/slapd.conf" -h "$url" -d 0 >"$1/log" 2>&1 &
    pid=$!
    starting=$pid
    for _ in $(seq 600); do
      if ! kill -0 $pid 2>/dev/null; then
        starting=
        continue 2
      fi
      if ldapwhoami -x -H "$url" >/dev/null 2>&1 && kill -0 $pid 2>/dev/null; then
        pids+=("$pid")
        starting=
        echo "$url" >"$1/url"
        return
      fi
      sleep 0.1
    done
    kill $pid
    wait $pid || true
  done
  complain "slapd does not start: $(cat "$1/log")"
}

/usr/bin/python3 "$here/make_directory.py" >directory.ldif
cp "$here/varnelConfig" .
"$VARNEL" >split.messages || complain "the split failed"

for number in 1 2 3; do
  server=server$number
  mkdir $server
  {
    general $server back_mdb
    database $server people "ou=People,$base" "$secret"
    if [[ -f devices$number.ldif ]]; then
      database $server devices "ou=Devices,$base"
    fi
    database $server shared cn=localhost
    # The router may act for each client whose name is in a database of which it is the root: so there is an
    # empty one for those whose entries are elsewhere.
    database $server elsewhere "$base"
  } >$server/slapd.conf
  own_entries people$number.ldif | slapadd -f $server/slapd.conf -b "ou=People,$base"
  if [[ -f devices$number.ldif ]]; then
    own_entries devices$number.ldif | slapadd -f $server/slapd.conf -b "ou=Devices,$base"
  fi
  shared_entries people$number.ldif | slapadd -f $server/slapd.conf -b cn=localhost
  slapd_at $server
done

# At the parent server the administrator has a password, and the router a name in a database of its own.
mkdir parent
{
  general parent back_mdb
  database parent data "$base" "$secret"
} >parent/slapd.conf
slapadd -f parent/slapd.conf -j 3 -l parent.ldif
slapadd -f parent/slapd.conf <<END
dn: cn=admin,$base
objectClass: organizationalRole
objectClass: simpleSecurityObject
cn: admin
userPassword: secret
END
slapd_at parent

cat >router.json <<END
{
  "socket": "$work/router.socket",
  "library": "$LIBDIRCLIENT",
  "parent": "$(cat parent/url)",
  "bases": {
    "ou=People,$base": ["$(cat server1/url)", "$(cat server2/url)", "$(cat server3/url)"],
    "ou=Devices,$base": ["$(cat server1/url)", "$(cat server2/url)"]
  },
  "user": "$router",
  "password": "$secret"
}
END
chmod 600 router.json ./*/slapd.conf
/usr/bin/python3 "$here/router.py" router.json >router.log 2>&1 &
router_pid=$!
pids+=("$router_pid")
echo $router_pid >router.pid

mkdir front
{
  general front back_sock
  cat <<END
database sock
suffix "$base"
suffix "cn=localhost"
socketpath $work/router.socket
extensions binddn
lastmod off
END
  rules
} >front/slapd.conf
until [[ -S router.socket ]]; do
  kill -0 $router_pid 2>/dev/null || complain "the router does not start: $(cat router.log)"
  sleep 0.1
done
slapd_at front

front=$(cat front/url)
cat <<END
The directory of $base is at $front. For example:

  ldapsearch -x -H $front -b $base '(uid=user1*)' cn
  ldapwhoami -x -H $front -D "cn=Amina Diallo 0,ou=People,$base" -w "password 0"
  ldapdelete -x -H $front -D cn=admin,$base -w secret "cn=gauge 7,ou=Devices,$base"

Its files are in $work. To stop one of the servers: kill \$(cat $work/server2/slapd.pid)
Running until Control-C.
END
wait "$router_pid" || true
complain "the router ended: $(cat router.log)"
