#!/usr/bin/env bash
# Runs each transport fuzzer for FUZZ_SECONDS (default 60) from freshly written seeds plus the
# corpus kept from earlier runs. Fails when a fuzzer finds a crash, a leak or a hang.
# Usage: fuzz/run.sh <build dir>
set -euo pipefail
build=$1
seconds=${FUZZ_SECONDS:-60}
out=$build/run
rm -rf "$out/seeds"
mkdir -p "$out/seeds/readmsg" "$out/seeds/processmsg" "$out/corpus/readmsg" "$out/corpus/processmsg" "$out/artifacts"
"$build/fuzz/fuzz_seeds" "$out/seeds/readmsg" "$out/seeds/processmsg"

status=0
# name:max_len. A read may carry several whole messages of 2072 bytes.
for target in readmsg:8192 processmsg:4096; do
  name=${target%%:*}
  len=${target##*:}
  echo "fuzz_$name: ${seconds} s"
  if "$build/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=10 -max_len="$len" -print_final_stats=1 \
      -artifact_prefix="$out/artifacts/$name-" "$out/corpus/$name" "$out/seeds/$name" >"$out/$name.log" 2>&1; then
    grep -E '^(Done|stat::average_exec_per_sec|stat::peak_rss_mb)' "$out/$name.log" | sed 's/^/  /'
  else
    echo "fuzz_$name FAILED: $out/$name.log, inputs in $out/artifacts/" >&2
    grep -A30 -E '^==[0-9]+==|^SUMMARY|ERROR: libFuzzer' "$out/$name.log" | head -60 >&2 || true
    status=1
  fi
done
exit $status
