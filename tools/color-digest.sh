#!/usr/bin/env bash
# Builds the digest of colorimetry with both compilers, without and with optimisation, and compares what it prints.
set -euo pipefail
cd "$(dirname "$0")/.."
mkdir -p build/logs
log=build/logs/color-digest.log
: >"$log"
first=
for compiler in g++ clang++-14; do
    for optimisation in -O0 -O3; do
        tree=build/digest-$compiler$optimisation
        {
            cmake -G Ninja -S . -B "$tree" -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_COMPILER="$compiler" \
                -DCMAKE_CXX_FLAGS="$optimisation" -DORVEX_BUILD_BENCHMARKS=OFF
            cmake --build "$tree" --target color_digest
        } >>"$log" 2>&1 || { tail -n 40 "$log"; exit 1; }
        digest=$("$tree/tests/cmetry/digest/color_digest")
        printf '%-12s %s\n%s\n' "$compiler" "$optimisation" "$digest"
        first=${first:-$digest}
        [ "$digest" = "$first" ] || { echo "differs"; exit 1; }
    done
done
echo "the same bits"
