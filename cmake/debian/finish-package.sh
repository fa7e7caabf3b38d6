#!/bin/sh
# Makes a package that cpack has built one as Debian has them: with its copyright and changelog, pages
# compressed, a trigger in place of scripts that call ldconfig, and checksums of the files that it holds
# (those of packages of debug symbols name others).
#
#   finish-package.sh COPYRIGHT CHANGELOG PACKAGE
set -eu
umask 022

copyright=$1
changelog=$2
package=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root

dpkg-deb --raw-extract "$package" "$root"
name=$(sed -n 's/^Package: //p' "$root/DEBIAN/control")
docs=$root/usr/share/doc
mkdir -p "$docs"
case $name in
  *-dbgsym) ln -s "${name%-dbgsym}" "$docs/$name" ;;
  *)
    mkdir -p "$docs/$name"
    cat "$copyright" >"$docs/$name/copyright"
    gzip -9nc "$changelog" >"$docs/$name/changelog.gz"
    ;;
esac
if [ -d "$root/usr/share/man" ]; then
  find "$root/usr/share/man" -type f -exec gzip -9n {} +
fi
if [ -e "$root/DEBIAN/postinst" ]; then
  rm "$root/DEBIAN/postinst" "$root/DEBIAN/postrm"
  echo 'activate-noawait ldconfig' >"$root/DEBIAN/triggers"
fi
(
  cd "$root"
  find . -type f ! -path './DEBIAN/*' -printf '%P\0' | sort -z | xargs -0 md5sum >DEBIAN/md5sums
)
dpkg-deb --root-owner-group -Zxz --build "$root" "$work/package" >/dev/null
cat "$work/package" >"$package"
