#!/bin/sh
# make demo: starts kvsim on free loopback ports, runs pos_demo against it, stops kvsim.
# usage: tools/demo.sh [build directory]
set -eu
build=${1:-build/x86_64}
kvsim=$build/sim/kvsim
demo=$build/examples/pos_demo
for f in "$kvsim" "$demo"; do
  [ -x "$f" ] || { echo "demo: $f is not built" >&2; exit 1; }
done

out=$(mktemp -d)
"$kvsim" --no-stdin --flow 2.5 >"$out/kvsim.out" 2>&1 &
pid=$!
cleanup() {
  kill "$pid" 2>/dev/null || true
  wait "$pid" 2>/dev/null || true
  rm -rf "$out"
}
trap cleanup EXIT INT TERM

# kvsim prints "KVSIM READY call=<port> events=<port> control=<port> pid=<pid>" once listening.
ready=
for _ in $(seq 1 100); do
  ready=$(grep '^KVSIM READY' "$out/kvsim.out" || true)
  [ -n "$ready" ] && break
  kill -0 "$pid" 2>/dev/null || break
  sleep 0.1
done
if [ -z "$ready" ]; then
  echo "demo: kvsim did not start:" >&2
  cat "$out/kvsim.out" >&2
  exit 1
fi
port() { echo "$ready" | sed -n "s/.* $1=\([0-9]*\).*/\1/p"; }
echo "kvsim listening: call port $(port call), events port $(port events), control port $(port control)"
echo

start=$(date +%s)
"$demo" 127.0.0.1 "$(port call)" "$(port events)" "$(port control)"
echo
echo "demo: done in $(( $(date +%s) - start )) s"
