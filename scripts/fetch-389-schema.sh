#!/bin/sh
# Fetches the schema files of Debian's 389-ds-base for the tests that read them, without installing
# the server: fetch-389-schema.sh DIR puts its standard schema into DIR/schema and its further schema
# files into DIR/data. Does nothing where DIR has them already.
set -eu

dir=${1:?usage: fetch-389-schema.sh DIR}
if ls "$dir"/schema/*.ldif >/dev/null 2>&1; then
  exit 0
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
chmod 755 "$work"
download="apt-get download -q -o APT::Sandbox::User=root"

if ! (cd "$work" && $download 389-ds-base); then
  apt-get update -q
  (cd "$work" && $download 389-ds-base)
fi
dpkg-deb -x "$work"/389-ds-base_*.deb "$work/package"

mkdir -p "$dir/data" "$dir/schema"
share=$work/package/usr/share/dirsrv
grep -liE '^(attributetypes|objectclasses):|^attributetype ' "$share"/data/*.ldif "$share"/data/*.schema |
  xargs -I{} cp {} "$dir/data/"
cp "$work"/package/etc/dirsrv/schema/*.ldif "$share"/schema/*.ldif "$dir/schema/"
