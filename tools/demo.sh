#!/usr/bin/env bash
# Installs what is missing, builds the virtual library and the example on it, then runs the example on a chart of 24 measured
# patches.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh build
mkdir -p build/logs
log=build/logs/demo.log
echo "building (the log is $log)"
if ! { cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVEX_BUILD_TESTS=OFF -DORVEX_BUILD_BENCHMARKS=OFF &&
    cmake --build build/demo --target chart; } >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    exit 1
fi
exec build/demo/examples/chart tests/data/colorchecker24.csv
