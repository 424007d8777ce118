#!/usr/bin/env bash
# Builds the library and the orv tool, then runs the demo.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default --target orv
./build/default/apps/orv/orv demo
