#!/bin/sh
# install_test.sh BUILD SOURCE: installs the build into a temporary prefix, builds the POS
# example there with pkg-config and with find_package, and runs both against the installed
# kvsim. Nothing from the build or source tree is used but the example's source.
set -eu
build=$1 src=$2
here=$(cd "$(dirname "$0")" && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
prefix=$tmp/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$prefix/lib/$(gcc -print-multiarch)
for f in "$libdir/libkvclient.so" "$libdir/libkvclient.so.2" "$prefix/include/kvclient.h" \
         "$libdir/pkgconfig/kvclient.pc" "$libdir/cmake/kvclient/kvclientConfig.cmake" \
         "$prefix/bin/kvsim" "$prefix/bin/kvcli" "$prefix/share/kvclient/forecourt.ini"; do
  [ -e "$f" ] || { echo "not installed: $f" >&2; exit 1; }
done
[ "$(readlink "$libdir/libkvclient.so")" = libkvclient.so.2 ] || { echo "bad development link" >&2; exit 1; }

# Only the installed copy may be found at run time.
export LD_LIBRARY_PATH=$libdir
cp "$src/examples/pos_demo.c" "$tmp/"
PKG_CONFIG_PATH=$libdir/pkgconfig
export PKG_CONFIG_PATH
cc -std=gnu99 -Wall -Werror -o "$tmp/pos_demo_pc" "$tmp/pos_demo.c" $(pkg-config --cflags --libs kvclient)

mkdir "$tmp/cmake"
cat >"$tmp/cmake/CMakeLists.txt" <<'CM'
cmake_minimum_required(VERSION 3.16)
project(pos_demo C)
find_package(kvclient 2.5 REQUIRED)
add_executable(pos_demo ../pos_demo.c)
target_link_libraries(pos_demo PRIVATE kvclient::kvclient)
CM
cmake -S "$tmp/cmake" -B "$tmp/cmake/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$tmp/cmake/build" >/dev/null

# The example finishes a whole sale only when it runs against a working installed library.
for demo in "$tmp/pos_demo_pc" "$tmp/cmake/build/pos_demo"; do
  ldd "$demo" | grep -q "$libdir/libkvclient.so.2" || { echo "$demo does not use the installed library" >&2; exit 1; }
  "$here/with_kvsim.sh" "$prefix/bin/kvsim" sh -c \
    "'$demo' 127.0.0.1 \$KVSIM_CALL \$KVSIM_EVENTS \$KVSIM_CONTROL >'$tmp/out' 2>&1" || {
    cat "$tmp/out" >&2; echo "$demo failed against the installed kvsim" >&2; exit 1; }
  grep -q 'cleared, paid cash' "$tmp/out"
done
"$here/with_kvsim.sh" "$prefix/bin/kvsim" sh -c \
  "'$prefix/bin/kvcli' --call-port \$KVSIM_CALL --events-port \$KVSIM_EVENTS version" | grep -q 'Client Version'
echo "installed, built with pkg-config and find_package, and run against kvsim"
