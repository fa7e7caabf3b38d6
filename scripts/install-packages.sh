#!/usr/bin/env bash
# Installs the Debian packages that are named and not yet installed, and says what it does:
# install-packages.sh PACKAGE...
#
# Works as root or through sudo. No server is left running: a slapd or sshd that this installs is neither
# started now nor at the next start of the machine.
set -euo pipefail

if (($# == 0)); then
  echo "usage: $(basename "$0") PACKAGE..." >&2
  exit 2
fi

installed() {
  [[ $(dpkg-query --show --showformat='${Status}' "$1" 2>/dev/null || true) == *' installed' ]]
}

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
  echo "This is no Debian system. Install by hand what these Debian packages hold: $*" >&2
  exit 1
fi

missing=()
for package in "$@"; do
  installed "$package" || missing+=("$package")
done
if ((${#missing[@]} == 0)); then
  echo "Every package needed is installed already."
  exit 0
fi

as_root=()
if ((EUID != 0)); then
  if ! command -v sudo >/dev/null; then
    echo "Not root, and there is no sudo. Install as root: apt-get install ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi

# Packages start their services as they are installed, unless this file says that none may start.
# A machine that has such a file keeps its own.
policy=/usr/sbin/policy-rc.d
own_policy=no
remove_own_policy() {
  if [[ $own_policy == yes ]]; then
    "${as_root[@]}" rm -f "$policy"
  fi
}
trap remove_own_policy EXIT
if [[ ! -e $policy ]]; then
  own_policy=yes
  printf '#!/bin/sh\nexit 101\n' | "${as_root[@]}" tee "$policy" >/dev/null
  "${as_root[@]}" chmod 755 "$policy"
fi

apt_get() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive RUNLEVEL=1 apt-get -q "$@" </dev/null
}

echo "Installing: ${missing[*]}"
apt_get update
apt_get install --yes --no-install-recommends "${missing[@]}"

# leave_off PACKAGE SERVICE: if this run installed the package.
leave_off() {
  if [[ " ${missing[*]} " == *" $1 "* ]]; then
    echo "Leaving the $2 of the package stopped and switched off: only private ones are started."
    "${as_root[@]}" invoke-rc.d "$2" stop >/dev/null 2>&1 || true
    "${as_root[@]}" update-rc.d "$2" disable >/dev/null 2>&1 || true
  fi
}
leave_off slapd slapd
leave_off openssh-server ssh
