#!/usr/bin/env bash
# Builds the Debian packages and tries them in a clean root of the same release: lintian, installation, the walk
# from the installed example to an entry that a client finds (scripts/walk.sh), a split without a schema, the
# examples from the installed files alone, debug symbols, removal that leaves nothing behind. Takes minutes and
# downloads a compiler and slapd for the root, so the run of all tests does not call it; the apt sources of this
# machine serve the root too.
#
#   VARNEL_PACKAGES   a directory with the packages to try; without it, they are built
#   VARNEL_KEEP       a directory where the packages that were built are kept
set -euo pipefail
cd "$(dirname "$0")/.."

# In the root, as "test-packages.sh --inside": the packages are in /packages.
inside() {
  export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8
  # What is needed beside our packages, so that removing them can be told from removing these. The slapd of the
  # package has no configuration and is not started.
  echo 'slapd slapd/no_configuration boolean true' | debconf-set-selections
  printf '#!/bin/sh\nexit 101\n' >/usr/sbin/policy-rc.d
  chmod 755 /usr/sbin/policy-rc.d
  echo "-- Installing"
  typed "apt-get install --yes --quiet --no-install-recommends slapd ldap-utils python3-ldap \\
    gcc libc6-dev make pkg-config python3 libstdc++6 >/dev/null"
  snapshot >/before
  typed "apt-get install --yes --quiet /packages/*.deb >/dev/null"
  typed "dpkg-query --show varnel varnelctl libdirclient1 libdirclient-dev"
  dpkg --install /packages/*.ddeb >/dev/null
  dpkg --audit
  ldconfig --print-cache | grep -q 'libdirclient.so.1 '

  echo "-- The walk"
  bash /packages/walk.sh

  echo "-- A split, without and with a schema"
  local options
  for options in "" "-I /usr/share/varnel/examples/instance"; do
    rm -rf /tmp/split
    cp -r /usr/share/varnel/examples/split /tmp/split
    # shellcheck disable=SC2086
    (cd /tmp/split && varnel $options | grep VNL032039I && grep -c '^dn:' ./*.ldif && varnelctl verify $options)
  done

  echo "-- Examples from installed files"
  cp -r /usr/share/varnel/examples/proxy /tmp/proxy
  make -C /tmp/proxy CFLAGS='-Wall -Wextra -Werror' >/dev/null
  local requests by_c by_python
  requests='sub dc=example,dc=org
read cn=Yuki Tanaka,ou=People,dc=example,dc=org'
  by_c=$(/tmp/proxy/route /tmp/split/varnelConfig <<<"$requests")
  by_python=$(/tmp/proxy/route.py /tmp/split/varnelConfig <<<"$requests")
  echo "$by_c"
  [[ $by_c == "$by_python" && $by_c == parent\ ldap://people1.example.org* ]]

  echo "-- The directory in small, with a proxy in front"
  /usr/share/varnel/examples/cluster/run.sh >/tmp/cluster.log 2>&1 &
  local cluster=$! front
  until grep 'Running until' /tmp/cluster.log; do
    kill -0 "$cluster" || { cat /tmp/cluster.log; return 1; }
    sleep 0.5
  done
  front=$(sed -n 's/^The directory of .* is at \(.*\)\. For example:$/\1/p' /tmp/cluster.log)
  ldapsearch -x -LLL -H "$front" -b dc=example,dc=org '(cn=Amina Diallo 0)' cn >/tmp/found
  kill "$cluster"
  wait "$cluster"
  [[ $(cat /tmp/found) == $'dn: cn=Amina Diallo 0,ou=People,dc=example,dc=org\ncn: Amina Diallo 0' ]]

  echo "-- Debug symbols of the program and of the library"
  local file id
  for file in /usr/bin/varnel /usr/bin/varnelctl "$(echo /usr/lib/*/libdirclient.so.1)"; do
    id=$(readelf -n "$file" | sed -n 's/.*Build ID: //p')
    readelf -S "/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug" 2>/dev/null | grep -q debug_info
  done

  echo "-- Removing"
  rm -rf /tmp/split /tmp/proxy /tmp/cluster.log /tmp/found
  typed "apt-get purge --auto-remove --yes --quiet varnel varnelctl libdirclient-dev libdirclient1 \\
    varnel-dbgsym varnelctl-dbgsym libdirclient1-dbgsym >/dev/null"
  snapshot >/after
  diff /before /after
  echo "The root holds the files that it held before, and no other."
}

# Shows a command as it is typed, and runs it.
typed() {
  printf '$ %s\n' "$1"
  eval "$1"
}

# Every file of the root but those in which programs keep their own state.
snapshot() {
  find / -xdev \( -path /proc -o -path /sys -o -path /dev -o -path /var/lib/dpkg -o -path /var/lib/apt -o \
    -path /var/cache -o -path /var/log -o -path /tmp -o -path /packages \) -prune -o \
    ! -path /before ! -path /after -print | sort
}

build_packages() {
  ./scripts/install-packages.sh g++ cmake ninja-build dpkg-dev file \
    libcli11-dev nlohmann-json3-dev libarchive-dev libldap-dev
  cmake --preset package
  cmake --build --preset package
  cpack --config build/package/CPackConfig.cmake -B "$1"
  rm -rf "$1/_CPack_Packages"
}

if [[ ${1-} == --inside ]]; then
  inside
  exit
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
chmod 755 "$work"
packages=${VARNEL_PACKAGES:-$work/packages}
if [[ -z ${VARNEL_PACKAGES:-} ]]; then
  build_packages "$packages"
  if [[ -n ${VARNEL_KEEP:-} ]]; then
    cp "$packages"/*deb "$VARNEL_KEEP"
  fi
fi
./scripts/install-packages.sh lintian mmdebstrap

echo "-- Lintian"
user=()
if ((EUID == 0)); then
  user=(--allow-root)
fi
lintian "${user[@]}" --fail-on error,warning "$packages"/*deb

shopt -s nullglob
sources=(/etc/apt/sources.list.d/*.sources /etc/apt/sources.list.d/*.list)
if [[ -s /etc/apt/sources.list ]]; then
  sources+=(/etc/apt/sources.list)
fi
apt-config dump | grep -E '^Acquire::(http|https|Check)' >"$work/apt.conf" || true
# shellcheck source=/dev/null
release=$(. /etc/os-release && echo "$VERSION_CODENAME")
# The hooks are run by a shell that knows the root as $1.
# shellcheck disable=SC2016
mmdebstrap --quiet --variant=apt --format=null --aptopt="$work/apt.conf" \
  --customize-hook='mkdir "$1/packages"' \
  --customize-hook="copy-in $(printf '%s ' "$packages"/*deb scripts/{test-packages,walk}.sh) /packages" \
  --customize-hook='chroot "$1" bash /packages/test-packages.sh --inside' \
  "$release" /dev/null "${sources[@]}"
echo "The packages are good."
