#!/bin/sh
# package_test.sh BUILD [OUT]: builds the three Debian packages of the build's architecture
# (into OUT when given, else a temporary directory) and checks their fields, their contents
# and the class of their binaries.
set -eu
build=$1
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
out=${2:-$tmp}
mkdir -p "$out"
(cd "$build" && cpack -G DEB -B "$out" >"$tmp/cpack.log" 2>&1) || { cat "$tmp/cpack.log" >&2; exit 1; }
rm -rf "$out/_CPack_Packages"
arch=$(sed -n 's/^set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE "\(.*\)")/\1/p' "$build/CPackConfig.cmake")
case $arch in
  amd64) multiarch=x86_64-linux-gnu class=ELF64 ;;
  i386) multiarch=i386-linux-gnu class=ELF32 ;;
  *) echo "unknown architecture '$arch'" >&2; exit 1 ;;
esac
version=$(sed -n 's/^set(CPACK_PACKAGE_VERSION "\(.*\)")/\1/p' "$build/CPackConfig.cmake")-1
fail() { echo "$*" >&2; exit 1; }

# deb <package>: the file; field <package> <name>: one control field.
deb() { f=$out/${1}_${version}_$arch.deb; [ -f "$f" ] || fail "no package $1 for $arch"; echo "$f"; }
field() { dpkg-deb --field "$(deb "$1")" "$2"; }
has() {  # has <package> <path>...: every path is in the package
  p=$1; shift
  dpkg-deb --contents "$(deb "$p")" | awk '{print $6}' >"$tmp/list"
  for f; do grep -qx "./$f" "$tmp/list" || fail "$p lacks $f"; done
}

lib=usr/lib/$multiarch
has libkvclient2 "$lib/libkvclient.so.2" "$lib/libkvclient.so.$(echo "$version" | sed 's/-1$//')"
has libkvclient-dev usr/include/kvclient.h "$lib/libkvclient.so" "$lib/pkgconfig/kvclient.pc" \
  "$lib/cmake/kvclient/kvclientConfig.cmake" "$lib/cmake/kvclient/kvclientTargets.cmake" \
  usr/share/doc/kvclient/api.md
has kvclient-tools usr/bin/kvsim usr/bin/kvcli usr/share/kvclient/forecourt.ini
# Each file in exactly one package, so the three install together.
for p in libkvclient2 libkvclient-dev kvclient-tools; do
  dpkg-deb --contents "$(deb $p)" | awk '$1 !~ /^d/ {print $6}'
done | sort | uniq -d | grep . && fail "files in more than one package"

for p in libkvclient2 libkvclient-dev kvclient-tools; do
  [ "$(field $p Architecture)" = "$arch" ] || fail "$p: Architecture $(field $p Architecture)"
  [ -n "$(field $p Maintainer)" ] && [ -n "$(field $p Description)" ] || fail "$p: no Maintainer or Description"
done
field libkvclient2 Depends | grep -q 'libc6 (>= ' || fail "libkvclient2 does not depend on libc6"
field libkvclient-dev Depends | grep -qF "libkvclient2 (= $version)" || fail "libkvclient-dev: $(field libkvclient-dev Depends)"
field kvclient-tools Depends | grep -qF "libkvclient2 (= $version)" || fail "kvclient-tools: $(field kvclient-tools Depends)"
dpkg-deb --ctrl-tarfile "$(deb libkvclient2)" | tar -x -O ./postinst | grep -q ldconfig || fail "postinst runs no ldconfig"
dpkg-deb --ctrl-tarfile "$(deb libkvclient2)" | tar -x -O ./shlibs | grep -qx "libkvclient 2 libkvclient2 (>= $version)" ||
  fail "no shlibs entry for libkvclient.so.2"

# The binaries are of the package's architecture; the .pc file names /usr.
mkdir "$tmp/x"
for p in libkvclient2 libkvclient-dev kvclient-tools; do dpkg-deb -x "$(deb $p)" "$tmp/x"; done
for f in "$lib/libkvclient.so.2" usr/bin/kvsim usr/bin/kvcli; do
  readelf -h "$tmp/x/$f" | grep -q "Class: *$class" || fail "$f is not $class"
done
readelf -d "$tmp/x/$lib/libkvclient.so.2" | grep -q 'SONAME.*\[libkvclient.so.2\]' || fail "bad SONAME"
grep -qx "prefix=/usr" "$tmp/x/$lib/pkgconfig/kvclient.pc" || fail "kvclient.pc: $(head -1 "$tmp/x/$lib/pkgconfig/kvclient.pc")"
echo "packages of $arch: fields, contents and binaries as expected"
