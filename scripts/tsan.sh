#!/usr/bin/env bash
# Builds the tests of the concurrent modules under ThreadSanitizer and runs
# each binary several times over (default 20; first argument to change).
#   bash scripts/tsan.sh        bash scripts/tsan.sh 50
set -euo pipefail
cd "$(dirname "$0")/.."
repeat="${1:-20}"
targets=(kernel_test platform_test archive_test object_test workmgr_test math_test)
bash scripts/setup.sh
cmake --preset tsan >/dev/null
cmake --build --preset tsan --target "${targets[@]}"
export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1"
for t in "${targets[@]}"; do
  bin=$(find build/tsan/src -name "$t" -type f -perm -u+x | head -1)
  echo "tsan: $t x$repeat"
  "$bin" --gtest_repeat="$repeat" --gtest_brief=1
done
