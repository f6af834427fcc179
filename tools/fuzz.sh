#!/usr/bin/env bash
# fuzz.sh SECONDS: runs every fuzz target for so long, one after the other, and stops at the first finding. New inputs
# stay in build/asan/tests/fuzz/found; a finding's input is written there too.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-600}

cmake --preset asan
for corpus in tests/fuzz/corpus/*/; do
    name=$(basename "$corpus")
    cmake --build build/asan --target "$name"
    found=build/asan/tests/fuzz/found/$name
    mkdir -p "$found"
    echo "$name: $seconds s"
    "build/asan/tests/fuzz/$name" -max_total_time="$seconds" -timeout=5 -max_len=2048 -print_final_stats=1 \
        -artifact_prefix="$found/finding-" "$found" "$corpus"
done
