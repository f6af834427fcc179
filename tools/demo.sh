#!/usr/bin/env bash
# Installs what is missing, builds the virtual library and the program ox, then measures a chart on the bench: lists the
# instrument, calibrates it, scans the chart, verifies it against its reference, and writes a report.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh build
mkdir -p build/logs
log=build/logs/demo.log
echo "building (the log is $log)"
if ! { cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVEX_BUILD_TESTS=OFF -DORVEX_BUILD_BENCHMARKS=OFF &&
    cmake --build build/demo --target ox; } >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    exit 1
fi
PATH=$PWD/build/demo/apps/ox:$PATH
chart=tests/data/colorchecker24.csv

# try ARGUMENTS...: shows a command, and runs it.
try() {
    printf '\n$ ox %s\n' "$*"
    ox "$@"
}

try list --virtual chart
try calibrate --virtual chart
try scan --virtual chart --reference $chart --columns color,spectrum,density -o build/demo/strip.json
try convert build/demo/strip.json --space CIELab --density DIN --columns color,density
try verify $chart build/demo/strip.json --mean 0.1 --max 0.5 -o /dev/null
try read --virtual lamps --mode ambient --space CIExyY --count 6
try report build/demo/strip.json --reference $chart -o build/demo/report.html
