#!/bin/sh
# with_kvsim.sh KVSIM COMMAND...: runs COMMAND while kvsim serves on free loopback ports,
# with KVSIM_CALL, KVSIM_EVENTS and KVSIM_CONTROL in its environment; kvsim stops after it.
set -eu
kvsim=$1; shift
out=$(mktemp -d)
"$kvsim" --no-stdin --flow 2.5 --speed 4 >"$out/kvsim.out" 2>&1 &
pid=$!
trap 'kill $pid 2>/dev/null || true; wait $pid 2>/dev/null || true; rm -rf "$out"' EXIT INT TERM
ready=
for _ in $(seq 1 100); do
  ready=$(grep '^KVSIM READY' "$out/kvsim.out" || true)
  [ -n "$ready" ] && break
  kill -0 $pid 2>/dev/null || break
  sleep 0.1
done
[ -n "$ready" ] || { echo "kvsim did not start:" >&2; cat "$out/kvsim.out" >&2; exit 1; }
port() { echo "$ready" | sed -n "s/.* $1=\([0-9]*\).*/\1/p"; }
KVSIM_CALL=$(port call) KVSIM_EVENTS=$(port events) KVSIM_CONTROL=$(port control) "$@"
