#!/usr/bin/env bash
# Builds everything under a preset (default: "default") and runs all tests.
#   bash scripts/test.sh            optimised build with debug info
#   bash scripts/test.sh sanitize   AddressSanitizer + UndefinedBehaviorSanitizer
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-default}"
bash scripts/setup.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset"
