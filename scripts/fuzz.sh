#!/usr/bin/env bash
# Builds the fuzz preset and runs the archive fuzzer, in one process, on a
# copy of its seed corpus for a while (default 60 s). Any crash, sanitizer
# report, leak, hang or oversized allocation fails the run; the input that
# caused it is kept in build/fuzz/artifacts/.
#   bash scripts/fuzz.sh [seconds]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-60}"
bash scripts/setup.sh fuzz
# Other builds may share the machine: one build at a time.
lock=/tmp/orvstd-build.lock
flock "$lock" cmake --preset fuzz >/dev/null
flock "$lock" cmake --build --preset fuzz --target archive_fuzzer

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cp -r src/orvstd/archive/testdata/fuzz_corpus "$work/corpus"
artifacts="build/fuzz/artifacts"
mkdir -p "$artifacts"
# 10 s for one input is a hang; 128 MB in one allocation from a few
# kilobytes of input is a hostile size taken at its word.
if ! build/fuzz/src/orvstd/archive/archive_fuzzer -max_total_time="$seconds" -timeout=10 -malloc_limit_mb=128 \
    -print_final_stats=1 -artifact_prefix="$artifacts/" "$work/corpus" >"$work/log" 2>&1; then
  tail -n 60 "$work/log"
  echo "fuzz: FAILED; the input is in $artifacts/" >&2
  exit 1
fi
grep -E '^stat::(number_of_executed_units|new_units_added)' "$work/log" || true
echo "fuzz: no failure in ${seconds} s"
